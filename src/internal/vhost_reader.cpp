#include "internal/vhost_reader.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "internal/log.h"
#include "internal/saturated_int.h"
#include "platform/klib.h"

namespace tarvel_internal {

namespace {

constexpr char kLogSource[] = "vhost";

constexpr char kListen[] = "Listen";
constexpr char kServerName[] = "ServerName";
constexpr char kDocumentRoot[] = "DocumentRoot";

bool BeginsWith(const char* line, const char* prefix) { return std::strncmp(line, prefix, std::strlen(prefix)) == 0; }

// In place. False when the platform cannot.
bool Trim(char* text) {
  if (KLIBStrTrimSpace(text, nullptr) >= 0) return true;
  LogDebug("%s:%d KLIBStrTrimSpace() failed! szInput[%s], errno=[0x%04X]", text, KLIBErrGet());
  return false;
}

// The value of a line of a file; false, and logged twice, when it has none.
bool ReadValueIn(const char* file, char* line, char** value) {
  if (ReadValue(line, value)) return true;
  LogError("%s:%d Failed to parse value in the virtual host file [%s], szBuf=[%s]", file, line);
  return false;
}

// A file's lines, of any length, trimmed.
class LineReader {
 public:
  explicit LineReader(const char* path) : file_(std::fopen(path, "r")) {
    if (file_ == nullptr) LogError("%s:%d Fail to open [%s] file. errno=%d/%m", path, errno);
  }
  ~LineReader() {
    std::free(line_);
    if (file_ != nullptr) std::fclose(file_);
  }
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  bool is_open() const { return file_ != nullptr; }

  /// The next line, writable; null at the end, and when it cannot be trimmed.
  char* Next() {
    if (getline(&line_, &room_, file_) < 0) return nullptr;
    failed_ = !Trim(line_);
    return failed_ ? nullptr : line_;
  }
  bool failed() const { return failed_; }

 private:
  FILE* const file_;
  char* line_ = nullptr;
  size_t room_ = 0;
  bool failed_ = false;
};

// Gathers the hosts of one file, line by line. One item serves them all: what a block does not name is left from
// before.
class HostGatherer {
 public:
  HostGatherer(const char* file, int type, Json::Value& list) : file_(file), list_(list) { item_["vhosttype"] = type; }

  int count() const { return count_; }

  /// False when the platform cannot trim a piece of the line.
  bool Take(char* line) {
    // Every other line says nothing of a host: empty ones, comments, and those of the ports.
    if (BeginsWith(line, "<VirtualHost")) {
      Begin(line);
    } else if (!in_default_) {
      if (BeginsWith(line, kServerName)) {
        TakeName(line);
      } else if (BeginsWith(line, kDocumentRoot)) {
        return TakeFolder(line);
      } else if (std::strcmp(line, "</VirtualHost>") == 0) {
        complete_ = true;
      }
    }
    return true;
  }

  /// The last host needs a name and a folder, deliberately; those before it just an end.
  void End() {
    const Json::Value& item = item_;
    if (complete_ && !in_default_ && !item["folder"].asString().empty() && !item["host"].asString().empty()) {
      list_.append(item_);
    }
  }

 private:
  void Begin(char* line) {
    if (count_ > 0 && complete_) list_.append(item_);
    // Whatever the last character is, it counts as the closing bracket.
    line[std::strlen(line) - 1] = '\0';
    const char* colon = std::strrchr(line, ':');
    item_["port"] = colon != nullptr ? SaturatedInt(colon + 1) : 0;
    item_["folder"] = "";
    item_["host"] = "";
    in_default_ = complete_ = false;
    ++count_;
  }

  void TakeName(char* line) {
    char* name = nullptr;
    if (!ReadValueIn(file_, line, &name)) return;
    if (*name == '*') {
      item_["port"] = 0;
      item_["folder"] = "";
      item_["host"] = "";
      in_default_ = true;
      --count_;
      return;
    }
    char* colon = std::strrchr(name, ':');
    if (colon != nullptr) *colon = '\0';
    item_["host"] = name;
  }

  bool TakeFolder(const char* line) {
    std::string path = line + sizeof kDocumentRoot - 1;
    if (!Trim(path.data())) return false;
    const char* slash = std::strrchr(path.c_str(), '/');
    if (slash == nullptr) {
      LogError("%s:%d The format of virtual host configure file[%s] is wrong!! szBuf=%s", file_, line);
      return true;
    }
    std::string folder = slash + 1;
    if (!folder.empty() && folder.back() == '"') folder.pop_back();
    item_["folder"] = folder;
    return true;
  }

  const char* const file_;
  Json::Value& list_;
  Json::Value item_;
  int count_ = 0;
  bool in_default_ = false;
  bool complete_ = false;
};

}  // namespace

bool ReadValue(char* line, char** value) {
  if (line == nullptr || value == nullptr) {
    LogError("%s:%d Bad parameters!!");
    return false;
  }
  char* separator = std::strrchr(line, ' ');
  if (separator == nullptr) separator = std::strrchr(line, '\t');
  if (separator == nullptr) {
    LogError("%s:%d The line format is wrong!! szLine=%s.", line);
    return false;
  }
  *value = separator + 1;
  return true;
}

int ReadPorts(const char* file, int* ports, int max) {
  if (file == nullptr || ports == nullptr || max < 1) {
    LogError("%s:%d Bad parameter!!");
    return -1;
  }
  LineReader lines(file);
  if (!lines.is_open()) return 0;
  int count = 0;
  while (char* line = lines.Next()) {
    if (!BeginsWith(line, kListen)) continue;
    if (count >= max) {
      LogError("%s:%d The number of virtual host port is greater than %d!!", max);
      return -1;
    }
    char* value = nullptr;
    if (ReadValueIn(file, line, &value)) ports[count++] = SaturatedInt(value);
  }
  return lines.failed() ? -1 : count;
}

int ReadHosts(const char* file, int type, Json::Value& list) {
  if (file == nullptr || type > 1) {
    LogError("%s:%d Bad parameters!!");
    return 0;
  }
  LineReader lines(file);
  if (!lines.is_open()) return 0;
  HostGatherer hosts(file, type, list);
  while (char* line = lines.Next()) {
    if (!hosts.Take(line)) return hosts.count();
  }
  if (!lines.failed()) hosts.End();
  return hosts.count();
}

}  // namespace tarvel_internal
