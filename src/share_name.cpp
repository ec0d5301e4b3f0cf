// Which names a share may have, and how many shares there may be.
#include <strings.h>

#include <cstring>

#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/saturated_int.h"
#include "kest_conf.h"
#include "platform/klib.h"
#include "share.h"

namespace {

constexpr char kLogSource[] = "share";

constexpr int kNamesBytes = 512;
constexpr int kDescriptionCharacters = 64;
constexpr int kServiceName = 1;

constexpr int kAllowed = 1;
constexpr int kExists = -1;
constexpr int kInvalid = -2;
constexpr int kReserved = -3;
constexpr int kSameName = -4;

constexpr const char* kReservedNames[] = {"global", "homes", "home", "printers", ".", "..", "usbbackup", "satabackup"};
constexpr const char* kReservedPrefixes[] = {"usbshare", "satashare"};

char* Argument(const char* text) { return const_cast<char*>(text); }

bool Is(const std::string& name, const char* other) { return strcasecmp(name.c_str(), other) == 0; }

bool HasUserHomes() {
  KestConf conf;
  return std::strcmp(conf.Info(Argument("userHomeEnable"), Argument("")), "yes") == 0;
}

}  // namespace

bool SDK::Share::IsShareName(const std::string& name) { return BlKLIBIsShareName(name.c_str()) != 0; }

bool SDK::Share::IsShareNameReserved(const std::string& name) {
  // An ordinary share may be called so where users have no homes.
  const bool is_free = !HasUserHomes() && Is(name, "homes");
  for (const char* reserved : kReservedNames) {
    if (!is_free && Is(name, reserved)) return true;
  }
  for (const char* prefix : kReservedPrefixes) {
    if (strncasecmp(name.c_str(), prefix, std::strlen(prefix)) == 0) return true;
  }
  return false;
}

bool SDK::Share::UsedBySurveillance(const std::string& name) { return Is(name, "surveillance"); }

bool SDK::Share::IsShareForExternalBackup(const std::string& name) {
  return Is(name, "usbbackup") || Is(name, "satabackup");
}

bool SDK::Share::IsSharePermissionSetable(const std::string& name) {
  return !IsShareForExternalBackup(name) && !UsedBySurveillance(name);
}

bool SDK::Share::IsServiceShare(std::string name) { return (ShareNameCheck(name.c_str()) & kServiceName) != 0; }

bool SDK::Share::IsShareDescription(std::string& desc) {
  return KLIBUnicodeUTF8StrCountChar(desc.c_str()) <= kDescriptionCharacters;
}

bool SDK::Share::IsSATAShare(char* name) { return BlShareIIsSATASection(name) != 0; }

bool SDK::Share::IsUSBShare(char* name) { return BlShareIIsUsbSection(name) != 0; }

int SDK::Share::IsShareCreatable(const std::string& name) {
  if (!IsShareName(name)) return kInvalid;
  if (IsShareExist(name)) return kExists;
  return IsShareNameReserved(name) || UsedBySurveillance(name) ? kReserved : kAllowed;
}

int SDK::Share::IsShareRenameTo(const std::string& from, const std::string& to) {
  if (from == to) return kSameName;
  if (!IsShareName(to)) return kInvalid;
  if (UsedBySurveillance(from) || IsShareNameReserved(from)) return kReserved;
  if (UsedBySurveillance(to) || IsShareNameReserved(to)) return kReserved;
  // Another case of letters finds the share itself, so its existence is not asked.
  if (KLIBUnicodeUTF8StrCaseCmp(from.c_str(), to.c_str()) == 0) return kAllowed;
  return IsShareExist(to) ? kExists : kAllowed;
}

bool SDK::Share::IsReachMaxShareCount() {
  KestConf conf;
  const int limit = tarvel_internal::SaturatedInt(conf.Def(Argument("maxshares"), Argument("16")));
  tarvel_internal::TextList names(kNamesBytes);
  if (!names) {
    LogError("%s:%d PslKLIBSzListAlloc failed [%X]", static_cast<unsigned>(KLIBErrGet()));
    return false;
  }
  return limit <= KESTShareEnum(names.Slot(), KEST_SHARE_ENUM_COUNTED);
}
