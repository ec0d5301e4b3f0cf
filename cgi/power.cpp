// power.cgi: restarts the appliance, or shuts it down.
//
//   POST action=restart|shutdown   answered first, done then
//
// What happens is up to the machine: whoever holds the other end of the pipe (appliance/serve in the demonstration).
#include <fcntl.h>
#include <tarvel/tarvel.h>
#include <unistd.h>

#include <string>

#include "reply.h"
#include "who.h"

namespace {

constexpr char kPipe[] = "/run/stop";

// One line into the pipe, without waiting for anybody.
bool Ask(const std::string& action) {
  const int fd = open(kPipe, O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return false;
  const std::string line = action + "\n";
  const bool asked = write(fd, line.data(), line.size()) == static_cast<ssize_t>(line.size());
  close(fd);
  return asked;
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!site::IsOwnPost()) return site::RefuseChange(request);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;

  const std::string action = request.In("action", "");
  if (action != "restart" && action != "shutdown") return site::Refuse(request, "error", "error_unknown_action");
  if (!Ask(action)) return site::Refuse(request, "error", "error_power_failed");
  return site::Succeed(request, Json::Value(action));
}
