// What names of shares mean.
#include "host/shares/share_names.h"

#include <string.h>
#include <strings.h>

#include "platform/kestdir.h"

namespace kest {
namespace {

constexpr const char* kServiceShares[] = {"homes", "home", "surveillance", "usbbackup", "satabackup"};
constexpr int kOfService = 1, kOfExternalDisk = 2;

bool IsNumbered(const char* name, const char* prefix) {
  const size_t length = strlen(prefix);
  if (name == nullptr || strncasecmp(name, prefix, length) != 0) return false;
  return name[length + strspn(name + length, "0123456789")] == '\0';
}

}  // namespace

bool IsServiceShareName(const char* name) {
  for (const char* service : kServiceShares) {
    if (strcasecmp(name, service) == 0) return true;
  }
  return false;
}

bool IsExternalShareName(const char* name) { return IsNumbered(name, "usbshare") || IsNumbered(name, "satashare"); }

}  // namespace kest

int ShareNameCheck(const char* name) {
  if (name == nullptr) return 0;
  return (kest::IsServiceShareName(name) ? kest::kOfService : 0) |
         (kest::IsExternalShareName(name) ? kest::kOfExternalDisk : 0);
}

int BlShareIIsSATASection(const char* name) { return kest::IsNumbered(name, "satashare") ? 1 : 0; }

int BlShareIIsUsbSection(const char* name) { return kest::IsNumbered(name, "usbshare") ? 1 : 0; }
