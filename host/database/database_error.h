#ifndef KEST_HOST_DATABASE_DATABASE_ERROR_H_
#define KEST_HOST_DATABASE_DATABASE_ERROR_H_

namespace kest {

// What a function of the module answers after the database failed: the negative of the ErrorCode that fits best.
int DatabaseFailure();

}  // namespace kest

#endif  // KEST_HOST_DATABASE_DATABASE_ERROR_H_
