// Account names are compared without regard to case: each is also kept in a folded form.
#ifndef KEST_HOST_ACCOUNTS_FOLD_NAME_H_
#define KEST_HOST_ACCOUNTS_FOLD_NAME_H_

#include <string>

namespace kest {

// Longest name, in bytes: what the callers' buffers of 493 bytes hold.
constexpr size_t kMaxNameBytes = 492;

// The form in which names that differ only in case are equal (Unicode case folding, composed). Text that is not UTF-8
// comes back as it is: no stored name is equal to it.
std::string FoldName(const std::string& name);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_FOLD_NAME_H_
