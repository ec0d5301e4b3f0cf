#ifndef KEST_HOST_ACCOUNTS_HOME_MOVE_H_
#define KEST_HOST_ACCOUNTS_HOME_MOVE_H_

#include <stdint.h>

#include <string>

#include "host/database/database.h"

namespace kest {

// The folder of a home on its way to another name: back again unless it is kept.
//
// The folder is renamed just before the database says so. A process can be killed between the two, so the way is noted
// first, in a transaction of its own, and the note goes with the commit (docs/decisions/0093).
class HomeMove {
 public:
  HomeMove() = default;
  ~HomeMove();
  HomeMove(const HomeMove&) = delete;
  HomeMove& operator=(const HomeMove&) = delete;

  // Notes the way if there is a folder to be moved and nothing at the other end. False when the database failed.
  static bool Note(Database& database, int64_t uid, const std::string& from, const std::string& to);

  // Moves it, and takes the note back in the transaction that the caller holds. 0, also when there is no such folder;
  // else the negative of an ErrorCode, -kErrorTaken when something is in the way.
  int Move(Database& database, int64_t uid, const std::string& from, const std::string& to);
  void Keep() { moved_ = false; }

 private:
  std::string from_;
  std::string to_;
  bool moved_ = false;
};

// Homes that a killed process has left on their way go back to where the database says that they are. 0, or the
// negative of an ErrorCode.
int RecoverHomes(Database& database);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_HOME_MOVE_H_
