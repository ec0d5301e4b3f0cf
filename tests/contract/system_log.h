#ifndef TESTS_CONTRACT_SYSTEM_LOG_H_
#define TESTS_CONTRACT_SYSTEM_LOG_H_

#include <mutex>
#include <string>
#include <thread>

/// Takes the place of the system log while it lives: the appliance tree's /dev/log leads to this socket. It is emptied
/// all the time, because whoever logs into a full one waits.
class SystemLog {
 public:
  SystemLog();
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  bool bound() const { return bound_; }

  /// Everything logged since the last call, one message a line.
  std::string Take();

 private:
  void Receive();
  void Send(const char* message) const;

  int fd_;
  bool bound_;
  std::mutex mutex_;
  std::string text_;
  std::thread receiver_;
};

#endif  // TESTS_CONTRACT_SYSTEM_LOG_H_
