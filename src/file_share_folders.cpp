// The folders in a folder.
#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include "file_share.h"
#include "internal/log.h"
#include "platform/klib.h"

namespace {

constexpr char kLogSource[] = "file_share";
// The system's own folder in each folder.
constexpr char kMetadata[] = "@eadir";

using Entry = _tag_SUBDIR_ENTRY_INFO_;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

WEBFMERR OpeningFailure(int reason) {
  if (reason == ENOENT || reason == ENOTDIR) return WEBFMERR_MISSING;
  return reason == EACCES ? WEBFMERR_DENIED : WEBFMERR_QUERY_FAILED;
}

// By its entry alone, so links and entries of unknown type are none, on purpose.
bool IsSubFolder(const dirent& entry) {
  return entry.d_type == DT_DIR && std::strcmp(entry.d_name, ".") != 0 && std::strcmp(entry.d_name, "..") != 0;
}

// Appends the folder when it is still there and one that users see.
void Append(const std::string& dir, const char* name, std::vector<Entry>& entries) {
  std::string path = dir + "/" + name;
  struct stat info = {};
  if (lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || strcasecmp(name, kMetadata) == 0) return;
  Entry entry;
  entry.name = name;
  entry.path = std::move(path);
  entry.size = info.st_size;
  entry.mode = info.st_mode;
  entry.mtime = static_cast<int32_t>(info.st_mtime);
  entry.uid = info.st_uid;
  entry.gid = info.st_gid;
  entries.push_back(std::move(entry));
}

}  // namespace

int TarvelFileShare::WfmLibEnumSubDir(std::string dir, std::vector<_tag_SUBDIR_ENTRY_INFO_>& entries) {
  if (dir.empty()) {
    LogError("%s:%d Bad parameter");
    return 0;
  }
  WfmLibSetErr(WEBFMERR_NONE);
  Folder folder(opendir(dir.c_str()));
  if (!folder) {
    WfmLibSetErr(OpeningFailure(errno));
    return 0;
  }
  while (const dirent* entry = readdir(folder.get())) {
    if (IsSubFolder(*entry)) Append(dir, entry->d_name, entries);
  }
  folder.reset();
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return KLIBUnicodeUTF8StrCaseCmp(a.name.c_str(), b.name.c_str()) < 0;
  });
  return 1;
}
