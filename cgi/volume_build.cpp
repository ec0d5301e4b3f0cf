// volume_build.cgi: builds a volume, and says how far that is.
//
//   GET  [poll=1]   {"data": {"state": "building", "step": 40, "volume": "/volume2", ...}, "success": true};
//                   a poll does not keep an idle session alive
//   POST action=start&volume=1&size=64
//                   a file of 64 MiB on volume 1 becomes the next volume's; answered when the worker has begun. What is
//                   wrong with a field stands in {"errors": {field: message}, "success": false}
//
// The state: "none" where nothing has been built, "building", "done", "failed" with the words in "failure", "stopped"
// of a worker that has gone without a word, "unreadable" of a record that is none.
#include <sys/stat.h>
#include <tarvel/string_bundle.h>
#include <tarvel/tarvel.h>
#include <tarvel/volume.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "background.h"
#include "reply.h"
#include "volume_worker.h"
#include "who.h"

namespace {

constexpr int64_t kMiB = 1024 * 1024;
constexpr long kMostMiB = 1024 * 1024;
constexpr int kMostVolumes = 9;  // an identifier has one digit
constexpr char kFolder[] = "/@volumes";
constexpr char kLock[] = "volume_build";

std::string Words(const std::string& section, const std::string& key) {
  std::string name = section;
  return StringBundle(name.data(), nullptr, nullptr, nullptr, nullptr, nullptr).Text(key.c_str(), "");
}

// While somebody has the lock no other building can begin: before a worker says that the work is its own, and until it
// has gone after its last word.
const char* StateOf(bool building, int status) {
  if (building || site::WorkLock(kLock).IsTaken()) return "building";
  if (status == site::kFailed) return "failed";
  return status == site::kInProgress ? "stopped" : "done";
}

int Show(Tarvel& request) {
  Json::Value data(Json::objectValue);
  _tag_cgi_volume_action_ record;
  if (!Volume::ReadActionFile(request, record)) {
    data["state"] = request.IsModuleDataExist(site::kVolumeRecord) ? "unreadable" : "none";
    return site::Succeed(request, data);
  }
  const bool building = Volume::IsVolBuilding(request, record);
  const std::string state = StateOf(building, record.status);
  data["state"] = state;
  data["volume"] = record.volPath;
  data["device"] = record.inProgressDevPath;
  data["action"] = record.action;
  data["step"] = record.step;
  if (state == "failed") {
    data["failure"] = Words(record.errSection, record.errKey);
    data["line"] = record.errLine;
  }
  return site::Succeed(request, data);
}

int RefuseField(Tarvel& request, const char* field, const char* section, const char* key) {
  Json::Value reply;
  reply["success"] = false;
  reply["errors"][field] = Words(section, key);
  return site::Send(request, reply);
}

// The free bytes of a writable volume; -1 when there is none with this identifier.
int64_t FreeBytesOf(const std::string& id) {
  Json::Value list(Json::objectValue);
  Volume().VolumeListGet(list, true);
  for (const Json::Value& volume : list["volume_list"]) {
    if (volume["value"] == id) return strtoll(volume["size_free"].asCString(), nullptr, 10);
  }
  return -1;
}

// Whole numbers alone; 0 for anything else.
long SizeInMiB(const char* text) {
  if (*text == '\0' || strspn(text, "0123456789") != strlen(text)) return 0;
  errno = 0;
  const long size = strtol(text, nullptr, 10);
  return errno == 0 && size <= kMostMiB ? size : 0;
}

bool Exists(const std::string& path) {
  struct stat ignored;
  return lstat(path.c_str(), &ignored) == 0;
}

// The next number for which there is neither a folder of a volume nor a file; "" when all are taken.
std::string NextFile(const std::string& folder, std::string& volume_path) {
  for (int number = 1; number <= kMostVolumes; ++number) {
    volume_path = "/volume" + std::to_string(number);
    const std::string file = "volume" + std::to_string(number) + ".img";
    if (!Exists(volume_path) && !Exists(folder + "/" + file)) return file;
  }
  return "";
}

int Begin(Tarvel& request, const std::string& id, int64_t bytes) {
  site::WorkLock lock(kLock);
  if (!lock.Take() || Volume::IsVolBuilding(request)) {
    return site::Refuse(request, "volumes", "error_building_already");
  }
  char path[64] = "";
  Volume::CGIRenderVolPath(id, path, sizeof(path));
  site::VolumeImage image = {std::string(path) + kFolder, "", "", bytes};
  image.file = NextFile(image.folder, image.volume_path);
  if (image.file.empty()) return site::Refuse(request, "volumes", "error_too_many");
  // Before the reply, so that whoever looks next sees this building and not the one before. The write never reports a
  // failure, and without the record nobody would learn what becomes of it.
  site::RecordBeginning(request, image);
  _tag_cgi_volume_action_ record;
  const bool recorded = Volume::ReadActionFile(request, record) && record.inProgressDevPath == image.Path();
  if (!recorded) return site::Refuse(request, "volumes", "error_build_not_started");
  if (!site::RunInBackground(lock, [&] { site::BuildVolume(request, image); })) {
    request.RemoveModuleData(site::kVolumeRecord);
    return site::Refuse(request, "volumes", "error_build_not_started");
  }
  return site::Succeed(request, Json::Value(image.volume_path));
}

int Start(Tarvel& request) {
  const std::string id = request.In("volume", "");
  const int64_t free_bytes = FreeBytesOf(id);
  if (free_bytes < 0) return RefuseField(request, "volume", "volumes", "error_unknown_volume");
  const long size = SizeInMiB(request.In("size", ""));
  if (size < 1) return RefuseField(request, "size", "volumes", "error_size");
  if (size > free_bytes / kMiB) return RefuseField(request, "size", "volumes", "error_build_no_room");
  return Begin(request, id, size * kMiB);
}

}  // namespace

int main() {
  Tarvel request(true);
  const std::string action = request.In("action", "");
  const bool changes = !action.empty();
  if (changes && !site::IsOwnPost()) return site::RefuseChange(request);
  const int mode = changes ? site::kActivity : site::ModeOfLook(request);
  if (!request.IsAuthorized(nullptr, mode, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  if (!changes) return Show(request);
  return action == "start" ? Start(request) : site::Refuse(request, "error", "error_unknown_action");
}
