// What a program asks of the server that it runs on.
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "internal/buffer.h"
#include "internal/log.h"
#include "internal/saturated_int.h"
#include "kest_conf.h"
#include "platform/kestnet.h"
#include "platform/klib.h"
#include "string_bundle.h"
#include "vhost.h"
#include "webutils.h"

namespace {

constexpr char kLogSource[] = "webutils";

constexpr size_t kHostNameBytes = 256;
constexpr size_t kDomainNameBytes = 64;
constexpr size_t kTaggedBytes = 256;
constexpr size_t kTagBytes = 64;
constexpr size_t kDigestBytes = 16;
constexpr size_t kPasswordBytes = 255;
constexpr int kMailValuesBytes = 512;
constexpr uint32_t kCurrentZone = 1;
constexpr int kVirtualHostPorts = 10;
constexpr char kHttpHosts[] = "/usr/kest/etc/httpd-vhost.conf-user";
constexpr char kHttpsHosts[] = "/usr/kest/etc/httpd-ssl-vhost.conf-user";

char* Argument(const char* text) { return const_cast<char*>(text); }

enum Setting {
  kFtp,
  kFtpLow,
  kFtpHigh,
  kHttp,
  kDownloadStart,
  kDownloadEnd,
  kSurveillanceLow,
  kSurveillanceHigh,
  kCfsHttp,
  kCfsHttps,
  kAdmin,
  kSecureAdmin,
  kSettings
};

constexpr const char* kSettingKeys[kSettings] = {
    "ftpport",
    "ftplowport",
    "ftphighport",
    "httpport",
    "download_start_port",
    "download_end_port",
    "surveillance_low_port",
    "surveillance_high_port",
    "cfs_httpport",
    "cfs_httpsport",
    "admin_port",
    "secure_admin_port",
};

// The ports that are to be given to a service, against those that others have.
class PortCheck {
 public:
  PortCheck(int low, int high) : low_(low), high_(high) {
    for (size_t i = 0; i < kSettings; ++i) {
      ports_[i] = tarvel_internal::SaturatedInt(conf_.Info(Argument(kSettingKeys[i]), Argument("")));
    }
  }

  bool Holds(int port) const { return low_ <= port && port <= high_; }
  bool HoldsSetting(Setting setting) const { return Holds(ports_[setting]); }

  // Two pieces on purpose, not one test of overlap: a range whose ends are not in order counts as it always has.
  bool MeetsRange(Setting first, Setting last) const {
    return HoldsSetting(last) || (ports_[first] <= high_ && ports_[last] >= high_);
  }

  bool HoldsAnyOf(const int* ports, int count) const {
    for (int i = 0; i < count; ++i) {
      if (Holds(ports[i])) return true;
    }
    return false;
  }

 private:
  KestConf conf_;
  const int low_;
  const int high_;
  std::array<int, kSettings> ports_ = {};
};

// The zone's name may fill its field without a NUL.
std::string NameOf(const KESTAPPLEZONE& zone) { return std::string(zone.name, strnlen(zone.name, sizeof zone.name)); }

}  // namespace

std::string WebUtils::GetServerName() {
  char name[kHostNameBytes] = "";
  if (gethostname(name, sizeof name) != 0) {
    syslog(LOG_ERR, "%s:%s(%d): getting hostname error.", kLogSource, "GetServerName", __LINE__);
    return "";
  }
  return name;
}

std::string WebUtils::GetDomainName() {
  char name[kDomainNameBytes] = "";
  int is_domain = 0;
  if (WINIQuery1(name, sizeof name, &is_domain, nullptr) < 0 || is_domain == 0) return "";
  return name;
}

bool WebUtils::IsJoinDomain(std::string& domain) {
  char name[kDomainNameBytes] = "";
  int is_domain = 0;
  int can_be_tested = 0;
  if (WINIQuery1(name, sizeof name, &is_domain, &can_be_tested) < 0) return false;
  domain = name;
  return is_domain != 0 && can_be_tested != 0 && KESTWinTestJoin(KESTWinADSJoined()) == 0;
}

bool WebUtils::IsDomainObject(const std::string& name) { return name.find('\\') != std::string::npos; }

bool WebUtils::GetURLByProtocol(std::string& url, bool https, char* port) {
  const char* const host = std::getenv("HTTP_HOST");
  if (host == nullptr) {
    LogError("%s (%d) Can't find HTTP_HOST in env");
    return false;
  }
  // The browser's own port is dropped; an address in brackets is cut at its first colon, deliberately so.
  const std::string name(host, std::strcspn(host, ":"));
  url = (https ? "https://" : "http://") + name + ":" + port;
  return true;
}

int WebUtils::IsPortConflict(const char* service, int low, int high) {
  if (low == 0 && high == 0) return 0;
  const PortCheck check(low, high);
  const auto is = [service](const char* name) { return std::strcmp(service, name) == 0; };
  const size_t bytes = kVirtualHostPorts * sizeof(int);
  const tarvel_internal::Buffer block(static_cast<char*>(std::calloc(kVirtualHostPorts, sizeof(int))));
  if (!block) {
    LogError("%s:%d out of memory!!");
    return 1;
  }
  int* const ports = reinterpret_cast<int*>(static_cast<void*>(block.get()));

  if (!is("adminUI") && (check.HoldsSetting(kAdmin) || check.HoldsSetting(kSecureAdmin))) return 1;
  if (!is("ftp") && (check.HoldsSetting(kFtp) || check.MeetsRange(kFtpLow, kFtpHigh))) return 1;
  if (!is("http")) {
    if (check.HoldsSetting(kHttp)) return 1;
    const int count = VHost::VHostPortGet(kHttpHosts, ports, kVirtualHostPorts);
    if (count < 0) {
      LogError("%s:%d VHostPortGet() failed!! file[%s]", kHttpHosts);
      return 1;
    }
    if (check.HoldsAnyOf(ports, count)) return 1;
  }
  std::memset(ports, 0, bytes);
  if (!is("https")) {
    const int count = VHost::VHostPortGet(kHttpsHosts, ports, kVirtualHostPorts);
    if (count < 0) {
      LogError("%s:%d VHostPortGet() failed!! file[%s]", kHttpsHosts);
      return 1;
    }
    if (check.HoldsAnyOf(ports, count)) return 1;
  }
  if (!is("download") && check.MeetsRange(kDownloadStart, kDownloadEnd)) return 1;
  if (!is("surveillance") && check.MeetsRange(kSurveillanceLow, kSurveillanceHigh)) return 1;
  if (is("cfs")) return 0;
  return check.HoldsSetting(kCfsHttp) || check.HoldsSetting(kCfsHttps) ? 1 : 0;
}

std::string WebUtils::CreateCGIETag() {
  const char* const script = std::getenv("SCRIPT_NAME");
  if (script == nullptr) return "";
  const char* const query = std::getenv("QUERY_STRING");
  char address[kTaggedBytes];
  std::snprintf(address, sizeof address, "%s?%s", script, query != nullptr ? query : "");
  unsigned char d[kDigestBytes] = {};
  if (KLIBSmbMd4Hash(address, d, sizeof d) != 0) return "";
  char tag[kTagBytes];
  // Unpadded on purpose: browsers echo the tag back, and it must match byte for byte.
  std::snprintf(tag, sizeof tag, "%x%x%x%x-%x%x%x%x-%x%x%x%x-%x%x%x%x", d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7],
                d[8], d[9], d[10], d[11], d[12], d[13], d[14], d[15]);
  return tag;
}

bool WebUtils::OutputNotModifiedIfMatch(const std::string& etag) {
  if (etag.empty()) return false;
  const char* const known = std::getenv("HTTP_IF_NONE_MATCH");
  if (known == nullptr || std::strcmp(known, etag.c_str()) != 0) return false;
  std::printf("Status: 304 Not Modified\r\nETag: %s\r\n\r\n", etag.c_str());
  return true;
}

void WebUtils::SendUserInfoMail(const std::string& userName, const std::string& password, const std::string& recipient,
                                const std::string& event) {
  if (recipient.empty()) return;
  struct FreeHash {
    void operator()(PSZHASH hash) const { KLIBSzHashFree(hash); }
  };
  std::unique_ptr<KLIBSZHASH, FreeHash> values(PshKLIBSzHashAlloc(kMailValuesBytes));
  if (!values) return;
  StringBundle texts(Argument("common"), nullptr, nullptr, nullptr, nullptr, nullptr);
  KLIBSzHashSetValue(values.get(), "%USER_NAME%", userName.c_str());
  char cut[kPasswordBytes];
  std::snprintf(cut, sizeof cut, "%s", password.c_str());
  KLIBSzHashSetValue(values.get(), "%PASSWD%", password.empty() ? texts.Text("no_pw", "") : cut);
  // Nobody learns whether it was sent, on purpose: the account has been made by then.
  KESTMailSendEventToUser(event.c_str(), values.get(), recipient.c_str());
  values.reset();
}

std::vector<std::string> WebUtils::EnumTimeZones() {
  int bytes = 0;
  // The first answer is ignored on purpose: it tells the size whatever it is.
  KESTZoneEnum(nullptr, 0, &bytes);
  if (bytes < 0) return {};
  const tarvel_internal::Buffer buffer(static_cast<char*>(std::malloc(static_cast<size_t>(bytes))));
  if (!buffer) return {};
  const int count = KESTZoneEnum(buffer.get(), bytes, &bytes);
  char* const* const names = reinterpret_cast<char**>(static_cast<void*>(buffer.get()));
  std::vector<std::string> zones;
  for (int i = 0; i < count; ++i) zones.emplace_back(names[i]);
  return zones;
}

std::string WebUtils::GetCurrentAppleZone() {
  KESTAPPLEZONE* list = nullptr;
  std::string name;
  if (KESTAppleZoneGet(nullptr, &list) == 0) {
    const KESTAPPLEZONE* zone = list;
    while (zone != nullptr && (zone->flags & kCurrentZone) == 0) zone = zone->next;
    if (zone != nullptr) name = NameOf(*zone);
  }
  if (list != nullptr) KESTAppleZoneFree(list);
  return name;
}
