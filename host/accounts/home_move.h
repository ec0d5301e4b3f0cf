#ifndef KEST_HOST_ACCOUNTS_HOME_MOVE_H_
#define KEST_HOST_ACCOUNTS_HOME_MOVE_H_

#include <string>

namespace kest {

// The folder of a home on its way to another name: back again unless it is kept.
class HomeMove {
 public:
  HomeMove() = default;
  ~HomeMove();
  HomeMove(const HomeMove&) = delete;
  HomeMove& operator=(const HomeMove&) = delete;

  // 0, also when there is no such folder; else the negative of an ErrorCode, -kErrorTaken when something is in the way.
  int Move(const std::string& from, const std::string& to);
  void Keep() { moved_ = false; }

 private:
  std::string from_;
  std::string to_;
  bool moved_ = false;
};

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_HOME_MOVE_H_
