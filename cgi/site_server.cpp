#include "site_server.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "descriptor.h"

namespace site {

namespace {

constexpr char kControl[] = "/run/sites/control";
constexpr char kOutcome[] = "/run/sites/outcome";
constexpr char kRequest[] = "reload\n";
// A web server that has to be replaced finishes what it has begun first.
constexpr timeval kPatience = {40, 0};

std::string ReadToEnd(int fd) {
  std::string text;
  char piece[4096];
  for (ssize_t count = read(fd, piece, sizeof piece); count > 0; count = read(fd, piece, sizeof piece)) {
    text.append(piece, static_cast<size_t>(count));
  }
  return text;
}

// The next word of a line, up to a tab.
std::string TakeWord(std::string& line) {
  const size_t tab = line.find('\t');
  const std::string word = line.substr(0, tab);
  line.erase(0, tab == std::string::npos ? tab : tab + 1);
  return word;
}

void TakeLine(std::string line, SiteOutcome& outcome) {
  const std::string kind = TakeWord(line);
  if (kind == "served") outcome.is_known = true;
  if (kind == "refused") outcome.is_known = outcome.is_refused = true;
  if (kind != "closed" && kind != "left") return;
  const int port = atoi(TakeWord(line).c_str());
  if (kind == "closed") {
    outcome.closed.insert(port);
  } else {
    outcome.left.emplace(port, TakeWord(line));
  }
}

SiteOutcome Understand(const std::string& text) {
  SiteOutcome outcome;
  size_t start = 0;
  for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
    TakeLine(text.substr(start, end - start), outcome);
    start = end + 1;
  }
  return outcome;
}

Descriptor Connect() {
  Descriptor control(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, kControl, sizeof kControl);
  setsockopt(control.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
  if (connect(control.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return Descriptor();
  return control;
}

}  // namespace

SiteOutcome ReloadSites() {
  const Descriptor control = Connect();
  const auto size = static_cast<ssize_t>(strlen(kRequest));
  if (!control.IsOpen() || send(control.get(), kRequest, strlen(kRequest), MSG_NOSIGNAL) != size) return {};
  return Understand(ReadToEnd(control.get()));
}

SiteOutcome LastSiteOutcome() {
  const Descriptor outcome(open(kOutcome, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  return outcome.IsOpen() ? Understand(ReadToEnd(outcome.get())) : SiteOutcome();
}

}  // namespace site
