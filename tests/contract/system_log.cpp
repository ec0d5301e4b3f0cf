#include "system_log.h"

#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr char kPath[] = "/run/log.sock";
constexpr char kMark[] = "everything before this has arrived";
constexpr char kEnd[] = "nothing comes after this";

sockaddr_un Address() {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, kPath, sizeof(kPath));
  return address;
}

}  // namespace

SystemLog::SystemLog() : fd_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  unlink(kPath);
  const sockaddr_un address = Address();
  bound_ = bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  if (bound_) receiver_ = std::thread([this] { Receive(); });
}

SystemLog::~SystemLog() {
  if (bound_) {
    Send(kEnd);
    receiver_.join();
  }
  close(fd_);
  unlink(kPath);
}

void SystemLog::Receive() {
  char message[4096];
  for (;;) {
    const ssize_t got = recv(fd_, message, sizeof(message), 0);
    if (got < 0) continue;
    const std::string line(message, static_cast<size_t>(got));
    if (line == kEnd) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    text_ += line + "\n";
  }
}

void SystemLog::Send(const char* message) const {
  const sockaddr_un address = Address();
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sendto(fd, message, strlen(message), 0, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  close(fd);
}

std::string SystemLog::Take() {
  const std::string mark = std::string(kMark) + "\n";
  Send(kMark);
  for (;; usleep(1000)) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const size_t at = text_.find(mark);
    if (at == std::string::npos) continue;
    const std::string before = text_.substr(0, at);
    text_.erase(0, at + mark.size());
    return before;
  }
}
