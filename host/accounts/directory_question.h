// What the modules' functions have in common that ask the directory database.
#ifndef KEST_HOST_ACCOUNTS_DIRECTORY_QUESTION_H_
#define KEST_HOST_ACCOUNTS_DIRECTORY_QUESTION_H_

#include "host/accounts/directory.h"
#include "host/database/database_error.h"
#include "host/module/contained.h"

namespace kest {

// Runs `body` on the shared connection. Its result, or the negative of an ErrorCode where the database cannot be had.
template <typename Body>
int AskDirectory(const Body& body) {
  return Contained([&] {
    const auto database = Directory();
    return database == nullptr ? DatabaseFailure() : body(*database);
  });
}

// Opens a walk over the directory. 0, or the negative of an ErrorCode.
template <typename Cursor>
int OpenWalk(Cursor** cursor) {
  return Contained([=] {
    *cursor = Cursor::Open();
    return *cursor == nullptr ? DatabaseFailure() : 0;
  });
}

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_DIRECTORY_QUESTION_H_
