#ifndef TESTS_UNIT_SUPPORT_ENVIRONMENT_H
#define TESTS_UNIT_SUPPORT_ENVIRONMENT_H

#include <cstdlib>
#include <optional>
#include <string>

namespace tarvel_test {

/// One variable of the environment with another value, or without one, until this object ends.
class Variable {
 public:
  /// A null value takes the variable out of the environment.
  Variable(const char* name, const char* value) : name_(name) {
    const char* const before = std::getenv(name);
    if (before != nullptr) before_ = before;
    Set(value);
  }
  ~Variable() { Set(before_ ? before_->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

  void Set(const char* value) {
    if (value != nullptr) {
      setenv(name_.c_str(), value, 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

 private:
  std::string name_;
  std::optional<std::string> before_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_ENVIRONMENT_H
