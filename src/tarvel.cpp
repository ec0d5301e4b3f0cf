#include "tarvel.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "internal/buffer.h"
#include "internal/json_text.h"
#include "internal/log.h"
#include "internal/mounted_volumes.h"
#include "platform/kestdir.h"
#include "platform/keststorage.h"

namespace {

constexpr char kLogSource[] = "tarvel";

constexpr char kTextReply[] = "text/plain; charset=\"UTF-8\"";
constexpr char kUploadReply[] = "text/html; charset=\"UTF-8\"";
constexpr int kUploadPathBytes = 128;
constexpr int kNoUploadPath = -9;
constexpr int kLoginBufferBytes = 64;
constexpr int kDomainUser = 2;
constexpr int64_t kSmallFileBytes = 1048576;
constexpr int kTmpPathBytes = 4096;
constexpr char kModuleDir[] = "/tmp/tarvel/modules";
constexpr char kMakeModuleDir[] = "/bin/mkdir -p /tmp/tarvel/modules";
constexpr char kConfigFile[] = "/usr/kest/etc/tarvel.cfg";

using tarvel_internal::Buffer;
using tarvel_internal::MountedVolumes;

class OpenFile {
 public:
  explicit OpenFile(const char* path) : fd_(open(path, O_RDONLY)) {}
  ~OpenFile() {
    if (fd_ >= 0) close(fd_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int fd() const { return fd_; }

 private:
  int fd_;
};

struct Refusal {
  const char* reason;
  const char* section;
  const char* key;
};

Refusal RefusalFor(int answer) {
  switch (answer) {
    case -1:
      return {"timeout", "login", "error_timeout"};
    case -2:
    case -5:
      return {"unauth", "login", "error_noprivilege"};
    case -3:
      return {"relogin", "login", "error_interrupt"};
    default:
      return {"system", "common", "error_system"};
  }
}

Json::Value RefusalReply(const Refusal& refusal) {
  Json::Value reply(Json::objectValue);
  reply["success"] = false;
  reply["total"] = 0;
  reply["items"] = Json::Value(Json::arrayValue);
  reply["errno"]["section"] = refusal.section;
  reply["errno"]["key"] = refusal.key;
  return reply;
}

// Names are not checked on purpose: modules address sub-paths with them.
std::string ModuleRecord(const char* name) { return std::string(kModuleDir) + "/" + name; }

}  // namespace

Tarvel::Tarvel(bool loadParams) : default_content_type_(kTextReply) {
  setsid();
  std::memset(login_user_, 0, sizeof login_user_);
  KestCgiInit("", &context_);
  KestCgiLoadInCookies(&context_);
  if (loadParams) LoadIn();
}

Tarvel::~Tarvel() { KestCgiFree(&context_); }

bool Tarvel::LoadIn() {
  if (params_loaded_) return false;
  const Buffer line(KestCgiGetParamLine());
  if (!line) return false;
  // What a failed parse left behind is kept on purpose, so In() may be non-null beside form parameters.
  if (!LoadJSONParam(line.get())) KestCgiParseCGIParam(&context_, line.get());
  params_loaded_ = true;
  return true;
}

bool Tarvel::LoadJSONParam(char* text) { return tarvel_internal::ParseJson(text, json_params_); }

Json::Value* Tarvel::In() { return json_params_.size() != 0 ? &json_params_ : nullptr; }

const char* Tarvel::In(const char* name, const char* defaultValue) {
  return KestCgiGetCGIParam(&context_, name, defaultValue);
}

int Tarvel::LoadIn(char* uploadDir) {
  char dir[kUploadPathBytes];
  if (uploadDir == nullptr) {
    if (!FindUploadTmpPath(dir, sizeof dir)) {
      LogError("%s(%d)no path for upload");
      return kNoUploadPath;
    }
  } else {
    std::snprintf(dir, sizeof dir, "%s", uploadDir);
  }
  const int result = KestCgiLoadUploadData(&context_, dir, 0);
  if (result < 0) LogError("%s(%d)failed to upload to path %s", dir);
  return result;
}

bool Tarvel::IsUploadRequest() { return KestCgiIsUploadRequest() == 1; }

bool Tarvel::FindUploadTmpPath(char* buf, int size) {
  if (buf == nullptr || size <= 0) return false;
  const MountedVolumes volumes;
  for (const KESTMOUNTVOL* volume = volumes.first(); volume != nullptr; volume = volume->next) {
    if (volume->mounted == 0 || volume->writable == 0) continue;
    std::snprintf(buf, static_cast<size_t>(size), "%s/@tmp", volume->path);
    return true;
  }
  return false;
}

const char* Tarvel::GetCookie(const char* name, const char* defaultValue) {
  return KestCgiGetInCookies(&context_, name, defaultValue);
}

const char* Tarvel::GetSessionID() { return KestCgiGetInCookies(&context_, "id", nullptr); }

int Tarvel::GetSessionFilePath(char* buf, int size) { return KestCgiGetSessPath(&context_, buf, size); }

const char* Tarvel::GetUILanguage() { return KestCgiGetLang(&context_); }

int Tarvel::UpdateCookiesHash() { return KestCgiLoadInCookies(&context_); }

bool Tarvel::AddCookieToHeader(char* a, char* b, char* c) {
  return KestCgiSetCookies(&context_, b, c, nullptr, a, nullptr, nullptr) == 1;
}

std::string Tarvel::GetLoginUserName() const { return login_user_; }

bool Tarvel::IsAuthorized(const char* redirectUrl, int mode, _tag_cgi_position position) {
  std::memset(login_user_, 0, sizeof login_user_);
  CgiAuthRequest record = {mode, 0, 0};
  const int answer = KestCgiIsAuthorized(&context_, login_user_, kUserNameBytes, &record, position);
  if (answer > 0) return true;

  // The platform may have named a user whom it then refused.
  std::memset(login_user_, 0, sizeof login_user_);
  if (redirectUrl != nullptr) {
    KestCgiRedirect(&context_, redirectUrl);
    return false;
  }
  const Refusal refusal = RefusalFor(answer);
  KestCgiSetHTTPHeader(&context_, "x-request-error", refusal.reason);
  std::string type = IsUploadRequest() ? kUploadReply : default_content_type_;
  WriteHeader(type.data());
  Json::Value reply = RefusalReply(refusal);
  WriteBody(reply);
  return false;
}

int Tarvel::Login(_tag_login_params* params) {
  char session[kLoginBufferBytes] = "";
  const int result = KestCgiLogin(&context_, session, sizeof session, params);
  if (result != 1) return result;
  if (IsDomainUG(params->user) == kDomainUser && KestCgiDomValidShareWrite(params->user, session) < 0) {
    LogError("%s (%d) KestCgiDomValidShareWrite failed.");
  }
  return 1;
}

int Tarvel::LoginNoAuth(_tag_login_params* params) { return KestCgiLoginNoAuth(&context_, nullptr, nullptr, params); }

bool Tarvel::Logout() { return KestCgiLogout(&context_, login_user_) != 0; }

bool Tarvel::IsAdmin() const { return strcasecmp(login_user_, "admin") == 0; }

int Tarvel::AddHeader(const char* name, const char* value) { return KestCgiSetHTTPHeader(&context_, name, value); }

bool Tarvel::WriteHeader(char* contentType) {
  return KestCgiSetHTTPHeader(&context_, "Content-type", contentType) != 0 && KestCgiPrintHTTPHeader(&context_) != 0;
}

void Tarvel::SetDefaultContentType(const char* type) { default_content_type_ = type; }

bool Tarvel::WriteBody(Json::Value& reply) {
  std::printf("%s", tarvel_internal::FormatJson(reply).c_str());
  return true;
}

int Tarvel::Redirect(const char* url) { return KestCgiRedirect(&context_, url); }

char* Tarvel::szReadFile(const char* path) {
  const OpenFile file(path);
  if (file.fd() < 0) {
    if (errno != ENOENT) LogError("%s (%d) Failed to open %s. (%s)", path, std::strerror(errno));
    return nullptr;
  }
  struct stat info;
  if (fstat(file.fd(), &info) != 0) {
    LogError("%s (%d) Failed to stat file. (%s)", std::strerror(errno));
    return nullptr;
  }
  const int64_t size = info.st_size;
  if (size > kSmallFileBytes) {
    LogError("%s (%d) Can't read file > 1MB.");
    return nullptr;
  }
  const auto bytes = static_cast<size_t>(size);
  Buffer buffer(static_cast<char*>(std::malloc(bytes + 1)));
  if (!buffer) {
    LogError("%s (%d) Failed to malloc(%lld).", static_cast<long long>(size));
    return nullptr;
  }
  std::memset(buffer.get(), 0, bytes + 1);
  // One read on purpose, without a retry: what is short here has changed under our hands.
  const ssize_t got = read(file.fd(), buffer.get(), bytes);
  if (got != size) {
    LogError("%s (%d) read file failed. (%d) != (%lld), errno=%s", static_cast<int>(got), static_cast<long long>(size),
             std::strerror(errno));
    return nullptr;
  }
  return buffer.release();
}

bool Tarvel::ReadTmp(const char* path, Json::Value& out) {
  if (path == nullptr) return false;
  const Buffer text(szReadFile(path));
  return text && tarvel_internal::ParseJson(text.get(), out);
}

bool Tarvel::WriteTmp(const char* path, Json::Value& value) {
  if (path == nullptr) return true;
  char tmp[kTmpPathBytes];
  std::snprintf(tmp, sizeof tmp, "%s.tmp", path);
  const std::string text = tarvel_internal::FormatJson(value);
  std::FILE* file = std::fopen(tmp, "w+");
  if (file == nullptr) {
    LogError("%s(%d) Failed to fopen %s, reason=%s.\n", tmp, std::strerror(errno));
    return true;
  }
  // Deliberately unchecked, like the result: callers cannot learn of a failed write.
  std::fputs(text.c_str(), file);
  std::fclose(file);
  std::rename(tmp, path);
  return true;
}

bool Tarvel::IsModuleDataExist(const char* name) {
  struct stat info;
  return name != nullptr && stat(ModuleRecord(name).c_str(), &info) == 0;
}

bool Tarvel::ReadModuleData(const char* name, Json::Value& out) {
  return name != nullptr && ReadTmp(ModuleRecord(name).c_str(), out);
}

bool Tarvel::WriteModuleData(const char* name, Json::Value& value) {
  if (name == nullptr) return true;
  struct stat info;
  if (stat(kModuleDir, &info) != 0) {
    // The result is ignored on purpose: without the directory the write itself fails and says so.
    [[maybe_unused]] const int ignored = std::system(kMakeModuleDir);
  }
  return WriteTmp(ModuleRecord(name).c_str(), value);
}

int Tarvel::RemoveModuleData(const char* name) {
  return name == nullptr ? -1 : std::remove(ModuleRecord(name).c_str());
}

bool Tarvel::LoadConfig(Json::Value& out) { return ReadTmp(kConfigFile, out); }

bool Tarvel::SaveConfig(Json::Value& value) { return WriteTmp(kConfigFile, value); }
