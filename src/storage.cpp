#include "storage.h"

#include <cstddef>
#include <cstdio>

#include "internal/log.h"
#include "internal/mounted_volumes.h"
#include "internal/platform_record.h"
#include "platform/kestdir.h"
#include "platform/kestsched.h"
#include "platform/klib.h"
#include "volume.h"

namespace {

constexpr char kLogSource[] = "storage";

constexpr size_t kLabelBytes = 32;
constexpr size_t kQuotaPathBytes = 492;
constexpr char kProgressFile[] = "/tmp/usbdiskapplying";
constexpr char kProgressLine[] = "%s=\"%s\"\n";

enum Bus { kUsb = 1, kSata = 2 };
constexpr int kFileSystems = 3;
constexpr const char* kFileSystemNames[kFileSystems] = {"FAT", "EXT3", "EXT4"};

// What the event log says of a format.
constexpr int kDiskCategory = 1;
constexpr int kInformation = 1;
constexpr int kError = 3;
constexpr int kFormatFailed = 0x12300004;
constexpr int kFormatDone = 0x12300005;

using ShareRecord = tarvel_internal::PlatformRecord<KESTSHARE, KESTShareFree>;

// Result of the formatting; `info` stays empty when the volume cannot be read afterwards.
int Format(char* dev, int bus, int fs_type, EXTVOLINFO& info) {
  const int result = bus == kUsb ? KESTUSBVolInit(dev, fs_type) : KESTSATAVolInit(dev, fs_type, 1);
  // Asked whatever the first answered, on purpose: pages want the share's name also of a disk that failed.
  const int read = bus == kUsb ? KESTDiskUSBDevGetVolInfo(dev, &info) : KESTSATAGetVolInfo(dev, &info);
  if (read != 0) info = {};
  return result;
}

bool Publish(const char* dev, const EXTVOLINFO& info) {
  SHAREDEFAULTREQ request = {info.shareName, info.sharePath, dev};
  ShareRecord share;
  if (ShareDefaultGet(&request, share.Slot()) < 0) {
    LogError("%s:%d Failed to get default share access right by %s", info.shareName);
    return false;
  }
  // The disk can be used by now, so what fails here is only logged, on purpose.
  if (KESTShareSet(info.shareName, share.get(), nullptr) != 0) {
    LogError("%s:%d Failed to set share. szShareName=[%s], errno=[0x%04X]", info.shareName,
             static_cast<unsigned>(KLIBErrGet()));
  }
  if (KESTNFSRuleSetAll(info.sharePath, 0) != 0) {
    LogError("%s:%d Failed to set NFS setting of share. szSharePath=[%s]", info.sharePath);
  }
  ErrServicesHup();
  return true;
}

using QuotaCall = int (*)(const char* path, const char* name, _tag_KEST_QUOTA_* quota);

// The platform wants the path first.
bool Quota(QuotaCall call, const char* name, const std::string& path, _tag_KEST_QUOTA_* quota) {
  char cut[kQuotaPathBytes];
  std::snprintf(cut, sizeof cut, "%s", path.c_str());
  return call(cut, name, quota) == 0;
}

}  // namespace

bool SDK::Storage::InitExtDisk(char* dev, int bus, int fsType, char* shareOut, int shareSize) {
  if (dev == nullptr || (bus != kUsb && bus != kSata) || fsType < 1 || fsType > kFileSystems ||
      (shareOut != nullptr && shareSize <= 0)) {
    LogError("%s:%d Bad parameters!!");
    return false;
  }
  EXTVOLINFO info = {};
  const bool formatted = Format(dev, bus, fsType, info) == 0;
  if (shareOut != nullptr) std::snprintf(shareOut, static_cast<size_t>(shareSize), "%s", info.shareName);
  char label[kLabelBytes];
  std::snprintf(label, sizeof label, "%.*s", static_cast<int>(sizeof label - 1), info.volumeName);
  if (!formatted) LogError("%s:%d format type=[%d] %s  Failed. Error Code:%d", fsType, dev, KLIBErrGet());
  KLIBFileSetKeyValue(kProgressFile, dev, formatted ? "success" : "fail", kProgressLine);
  KESTLogSet1(kDiskCategory, formatted ? kInformation : kError, formatted ? kFormatDone : kFormatFailed, label,
              kFileSystemNames[fsType - 1], "", "");
  if (!formatted) return false;
  return info.shareName[0] == '\0' || Publish(dev, info);
}

bool SDK::Storage::GetQuota(const char* name, const std::string& path, _tag_KEST_QUOTA_* quota) {
  return Quota(KESTQuotaGet, name, path, quota);
}

bool SDK::Storage::SetQuota(const char* name, const std::string& path, _tag_KEST_QUOTA_* quota) {
  return Quota(KESTQuotaSet, name, path, quota);
}

std::vector<std::string> SDK::Storage::EnumVolumeID(bool writableOnly) {
  std::vector<std::string> ids;
  const tarvel_internal::MountedVolumes list;
  for (const KESTMOUNTVOL* volume = list.first(); volume != nullptr; volume = volume->next) {
    std::string id;
    if (writableOnly && volume->writable == 0) continue;
    if (Volume::CGIRenderVolID(volume->path, id)) ids.push_back(id);
  }
  return ids;
}
