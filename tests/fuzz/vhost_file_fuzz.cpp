// Files of virtual hosts that anybody may have written, against a reader written by hand; what was read is written and
// read once more.
#include <algorithm>
#include <climits>
#include <optional>
#include <vector>

#include "fuzz_input.h"
#include "internal/vhost_reader.h"
#include "internal/vhost_writer.h"
#include "scratch_folder.h"
#include "vhost.h"

// Most of these files are worth a line in the log.
extern "C" void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");
void SilentSyslog(int, const char*, ...) {}

namespace {

constexpr char kWhite[] = " \t\r\n\v\f";
constexpr int kMaxPorts = 10;

struct Host {
  std::optional<int> port;
  std::string name;
  std::string folder;
};

std::string Trimmed(const std::string& text) {
  const size_t begin = text.find_first_not_of(kWhite);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(kWhite) + 1 - begin);
}

std::vector<std::string> Lines(const std::string& bytes) {
  std::vector<std::string> lines;
  for (size_t at = 0; at < bytes.size();) {
    const size_t end = std::min(bytes.find('\n', at), bytes.size());
    lines.push_back(Trimmed(bytes.substr(at, end - at).c_str()));
    at = end + 1;
  }
  return lines;
}

bool Begins(const std::string& line, const std::string& prefix) { return line.rfind(prefix, 0) == 0; }

int Number(const std::string& text) {
  return static_cast<int>(std::clamp<long long>(std::strtoll(text.c_str(), nullptr, 10), INT_MIN, INT_MAX));
}

// What stands behind the last one of these bytes; false when there is none.
bool Behind(const std::string& line, char byte, std::string& rest) {
  const size_t at = line.rfind(byte);
  if (at != std::string::npos) rest = line.substr(at + 1);
  return at != std::string::npos;
}

bool Value(const std::string& line, std::string& value) {
  return Behind(line, ' ', value) || Behind(line, '\t', value);
}

std::vector<Host> Hosts(const std::vector<std::string>& lines, int& count) {
  std::vector<Host> hosts;
  Host host;
  bool ended = false, own = false;
  count = 0;
  for (const std::string& line : lines) {
    std::string value;
    if (Begins(line, "Listen") || Begins(line, "NameVirtualHost") || Begins(line, "#")) continue;
    if (Begins(line, "<VirtualHost")) {
      if (count > 0 && ended) hosts.push_back(host);
      host = Host();
      host.port = Behind(line.substr(0, line.size() - 1), ':', value) ? Number(value) : 0;
      ended = own = false;
      ++count;
    } else if (own) {
      continue;
    } else if (Begins(line, "ServerName") && Value(line, value)) {
      own = Begins(value, "*");
      if (own) {
        host = Host();
        host.port = 0;
        --count;
      } else {
        host.name = value.substr(0, value.rfind(':'));
      }
    } else if (Begins(line, "DocumentRoot") && Behind(Trimmed(line.substr(12)), '/', value)) {
      host.folder = value.substr(0, value.size() - (!value.empty() && value.back() == '"' ? 1 : 0));
    } else if (line == "</VirtualHost>") {
      ended = true;
    }
  }
  if (ended && !own && !host.name.empty() && !host.folder.empty()) hosts.push_back(host);
  return hosts;
}

void RequireSame(const std::vector<Host>& hosts, const Json::Value& list, int type) {
  Require(list.size() == hosts.size());
  for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
    const Json::Value& item = list[i];
    const Host& host = hosts[i];
    Require(item["vhosttype"] == type && item["host"].asString() == host.name);
    Require(item["folder"].asString() == host.folder && item.isMember("port") == host.port.has_value());
    if (host.port) Require(item["port"] == *host.port);
  }
}

void RequirePorts(const std::string& path, const std::vector<std::string>& lines) {
  std::vector<int> expected;
  bool too_many = false;
  for (const std::string& line : lines) {
    std::string value;
    if (!Begins(line, "Listen") || too_many) continue;
    too_many = expected.size() == kMaxPorts;
    if (!too_many && Value(line, value)) expected.push_back(Number(value));
  }
  int ports[kMaxPorts] = {};
  const int count = VHost::VHostPortGet(path.c_str(), ports, kMaxPorts);
  Require(count == (too_many ? -1 : static_cast<int>(expected.size())));
  Require(std::equal(expected.begin(), expected.end(), ports));
}

// A host whose name is one that a block can carry is the same after it was written and read.
void RequireCarried(const ScratchFolder& folder, const Json::Value& item) {
  const std::string name = item["host"].asString();
  if (name.empty() || item["folder"].asString().empty() || name[0] == '*' || name.find(':') != std::string::npos)
    return;
  if (!item.isMember("port")) return;
  const std::string path = folder.File("carried");
  FILE* const file = fopen(path.c_str(), "w");
  Require(file != nullptr && tarvel_internal::VHostConfWrite(file, item));
  fclose(file);
  Json::Value list;
  Require(tarvel_internal::ReadHosts(path.c_str(), item["vhosttype"].asInt(), list) == 1);
  Require(list.size() == 1 && list[0] == item);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ScratchFolder folder;
  FuzzInput input(data, size);
  const int type = static_cast<int>(input.Choice(2));
  const std::string bytes = input.Rest();
  const std::string path = folder.Put("hosts", bytes);
  const std::vector<std::string> lines = Lines(bytes);

  int expected_count = 0;
  const std::vector<Host> expected = Hosts(lines, expected_count);
  Json::Value list;
  Require(tarvel_internal::ReadHosts(path.c_str(), type, list) == expected_count);
  RequireSame(expected, list, type);
  RequirePorts(path, lines);
  for (Json::ArrayIndex i = 0; i < std::min(list.size(), 4U); ++i) RequireCarried(folder, list[i]);
  return 0;
}
