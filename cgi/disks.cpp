// disks.cgi: the external disks, and their formatting.
//
//   GET  [poll=1]   {"data": {"disks": [{"id": "usb1", "device": "...", "state": "success", ...}]}, "success": true};
//                   a poll does not keep an idle session alive
//   POST action=format&disk=usb1&device=/volume1/@disks/usb1.img&file_system=EXT4
//                   answered when the formatting has begun: it goes on in a process of its own
//
// The state of a disk is what the library says of it in /tmp/usbdiskapplying, "success" or "fail"; before that it is
// "formatting", of a process that has gone without a word "interrupted", and "" where nothing was done.
#include <fcntl.h>
#include <tarvel/storage.h>
#include <tarvel/tarvel.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "background.h"
#include "external_disks.h"
// The library tells of a disk only what became of its formatting; its name and its share are the platform's to tell.
#include "platform/keststorage.h"
// The library has no call that reads its own progress file.
#include "platform/klib.h"
#include "reply.h"
#include "who.h"

namespace {

using site::ExternalDisk;

constexpr char kProgressFile[] = "/tmp/usbdiskapplying";
constexpr char kProgressLine[] = "%s=\"%s\"\n";
constexpr char kFormatting[] = "formatting";
constexpr const char* kFileSystems[] = {"FAT", "EXT3", "EXT4"};
constexpr int kShareBytes = 132;

site::WorkLock LockOf(const ExternalDisk& disk) { return site::WorkLock("format_" + disk.id); }

bool SetProgress(const ExternalDisk& disk, const char* value) {
  return KLIBFileSetKeyValue(kProgressFile, disk.device.c_str(), value, kProgressLine) >= 0;
}

std::string StateOf(const ExternalDisk& disk) {
  if (LockOf(disk).IsTaken()) return kFormatting;
  char value[16] = "";
  KLIBFileGetKeyValue(kProgressFile, disk.device.c_str(), value, sizeof(value), 0);
  return strcmp(value, kFormatting) == 0 ? "interrupted" : value;
}

// 0 of a disk that is not there.
int64_t SizeOf(const std::string& device) {
  const site::Descriptor file(open(device.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  const off_t end = file.IsOpen() ? lseek(file.get(), 0, SEEK_END) : 0;
  return std::max<off_t>(end, 0);
}

EXTVOLINFO VolumeOf(const ExternalDisk& disk) {
  std::string device = disk.device;
  EXTVOLINFO info = {};
  const int read = disk.bus == site::kUsb ? KESTDiskUSBDevGetVolInfo(device.data(), &info)
                                          : KESTSATAGetVolInfo(device.data(), &info);
  return read == 0 ? info : EXTVOLINFO{};
}

int List(Tarvel& request) {
  Json::Value data;
  data["disks"] = Json::Value(Json::arrayValue);
  for (const ExternalDisk& disk : site::FindExternalDisks()) {
    const EXTVOLINFO volume = VolumeOf(disk);
    Json::Value item;
    item["id"] = disk.id;
    item["device"] = disk.device;
    item["name"] = volume.volumeName;
    item["share"] = volume.shareName;
    item["size"] = std::to_string(SizeOf(disk.device));
    item["state"] = StateOf(disk);
    data["disks"].append(item);
  }
  return site::Succeed(request, data);
}

// From 1, as the library counts them; 0 for none.
int FileSystemNumber(const char* name) {
  for (size_t i = 0; i < std::size(kFileSystems); ++i) {
    if (strcmp(kFileSystems[i], name) == 0) return static_cast<int>(i) + 1;
  }
  return 0;
}

// Why the disk cannot be formatted at all, as far as that can be told before anything is done; null when it may go on.
const char* Obstacle(const ExternalDisk& disk) {
  const site::Descriptor device(open(disk.device.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (device.IsOpen()) return nullptr;
  if (errno == EACCES || errno == EPERM || errno == EROFS) return "error_no_right";
  return "error_not_there";
}

void FormatDisk(const ExternalDisk& disk, int file_system) {
  std::string device = disk.device;
  char share[kShareBytes] = "";
  // What became of it stands in the progress file, and its reasons in the system's log.
  SDK::Storage::InitExtDisk(device.data(), disk.bus, file_system, share, sizeof(share));
}

int Start(Tarvel& request, const ExternalDisk& disk, int file_system) {
  const char* const obstacle = Obstacle(disk);
  if (obstacle != nullptr) return site::Refuse(request, "disks", obstacle);
  site::WorkLock lock = LockOf(disk);
  if (!lock.Take()) {
    return site::Refuse(request, "disks", errno == EAGAIN ? "error_formatting_already" : "error_not_started");
  }
  // The file cannot carry every name, and without it nobody would learn how the formatting ends.
  if (!SetProgress(disk, kFormatting)) return site::Refuse(request, "disks", "error_no_progress");
  if (!site::RunInBackground(lock, [&] { FormatDisk(disk, file_system); })) {
    SetProgress(disk, "fail");
    return site::Refuse(request, "disks", "error_not_started");
  }
  return site::Succeed(request, Json::Value(disk.id));
}

int Format(Tarvel& request) {
  const int file_system = FileSystemNumber(request.In("file_system", ""));
  if (file_system == 0) return site::Refuse(request, "disks", "error_unknown_file_system");
  const std::string id = request.In("disk", "");
  const auto disks = site::FindExternalDisks();
  const auto disk = std::find_if(disks.begin(), disks.end(), [&](const auto& one) { return one.id == id; });
  if (disk == disks.end()) return site::Refuse(request, "disks", "error_unknown_disk");
  // What was confirmed is a device: in the meantime another may have come to the same place.
  if (disk->device != request.In("device", "")) return site::Refuse(request, "disks", "error_other_device");
  return Start(request, *disk, file_system);
}

}  // namespace

int main() {
  Tarvel request(true);
  const std::string action = request.In("action", "");
  const bool changes = !action.empty();
  if (changes && !site::IsOwnPost()) return site::RefuseChange(request);
  const int mode = changes ? site::kActivity : site::ModeOfLook(request);
  if (!request.IsAuthorized(nullptr, mode, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  if (!changes) return List(request);
  return action == "format" ? Format(request) : site::Refuse(request, "error", "error_unknown_action");
}
