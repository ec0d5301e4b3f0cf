// files.cgi: the shares of an account, and what lies in a folder of one.
//
//   GET                                     the shares that the account may open
//       {"data": {"total", "items": [{"kind": "share", "link", "name", "change"}, ...]}, "success": true}
//   GET path=/public[&start=0][&count=100]  a page of what is in a folder: folders first, then by name
//       {"data": {"link", "total", "change", "fetch", "guarded",
//                 "items": [{"kind", "link", "name", "size", "time"}, ...]}, ...}
//
// "link" is the path as it may stand in an address, whatever bytes it has; "name" is for people. "kind" is "folder",
// "video", "audio", "image", "file", or "other" for what is not sent. "change" and "fetch" say what may be done,
// "guarded" whether accounts have ids of their own, so that the kernel keeps their files apart.
#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <tarvel/file_share.h>
#include <tarvel/http_file_outputer.h>
#include <tarvel/tarvel.h>
#include <tarvel/webutils.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "name_text.h"
#include "page_of_list.h"
#include "share_files.h"
#include "visible_shares.h"

namespace {

constexpr size_t kUsualCount = 100;
constexpr size_t kMaxCount = 500;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

struct Entry {
  std::string name;
  bool is_folder;

  bool operator<(const Entry& other) const {
    if (is_folder != other.is_folder) return is_folder;
    const int order = strcasecmp(name.c_str(), other.name.c_str());
    return order != 0 ? order < 0 : name < other.name;
  }
};

bool IsFolder(int folder, const dirent& entry) {
  struct stat info;
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  return fstatat(folder, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
}

// The names in a folder, in no order; 0 or an errno.
int ReadFolder(const site::FoundFile& folder, std::vector<Entry>& out) {
  site::Descriptor opened(openat(folder.place.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, CloseFolder> reader(opened.IsOpen() ? fdopendir(opened.get()) : nullptr);
  if (!reader) return errno;
  opened.Release();
  errno = 0;
  while (const dirent* entry = readdir(reader.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") out.push_back({name, IsFolder(dirfd(reader.get()), *entry)});
    errno = 0;
  }
  return errno;
}

std::string KindOf(const std::string& name, mode_t mode) {
  if (S_ISDIR(mode)) return "folder";
  if (!S_ISREG(mode)) return "other";
  const std::string type = HTTPFileOutputer().GetMimeType(name.c_str());
  const std::string family = type.substr(0, type.find('/'));
  return family == "video" || family == "audio" || family == "image" ? family : "file";
}

Json::Value Describe(const std::string& path, const std::string& name, const struct stat& info) {
  Json::Value item;
  item["kind"] = KindOf(name, info.st_mode);
  item["link"] = WebUtils::EncodeURL(path.c_str());
  item["name"] = site::AsUtf8(name);
  item["size"] = Json::Int64(info.st_size);
  item["time"] = Json::Int64(info.st_mtime);
  return item;
}

bool MayChange(const std::string& share, const std::string& user) {
  if (share == "home") return true;
  WEBFM_SHARE_PRIVILEGE privilege = WEBFM_SHARE_NO_ACCESS;
  int restrictions = 0;
  const std::string path = "/" + share;
  const int failed = TarvelFileShare().WfmLibGetPrivilege(path.c_str(), user.c_str(), "", &privilege, &restrictions);
  return failed == 0 && privilege == WEBFM_SHARE_READ_WRITE && (restrictions & site::kChanging) == 0;
}

int ListShares(Tarvel& request) {
  const std::string user = request.GetLoginUserName();
  const auto shares = site::VisibleShares(user);
  if (!shares) return site::RefuseFile(request, site::kNotRead);
  Json::Value data;
  data["items"] = Json::Value(Json::arrayValue);
  data["total"] = Json::UInt64(shares->size());
  for (const std::string& share : *shares) {
    Json::Value item;
    item["kind"] = "share";
    item["link"] = WebUtils::EncodeURL(("/" + share).c_str());
    item["name"] = site::AsUtf8(share);
    item["change"] = MayChange(share, user);
    data["items"].append(item);
  }
  return site::Succeed(request, data);
}

int ListFolder(Tarvel& request, const std::string& path) {
  const auto page = site::PageOf(request, kUsualCount, kMaxCount);
  if (!page) {
    request.AddHeader("Status", "400 Bad Request");
    return site::Refuse(request, "error", "error_bad_request");
  }
  site::FoundFile folder;
  if (const auto* refusal = site::FindFile(request, path, site::Use::kList, folder)) {
    return site::RefuseFile(request, *refusal);
  }
  if (!S_ISDIR(folder.info.st_mode)) return site::RefuseFile(request, site::kNoFolder);
  std::vector<Entry> entries;
  if (const int error = ReadFolder(folder, entries)) return site::RefuseFile(request, site::RefusalOf(error));

  const auto at = [&entries](size_t i) { return entries.begin() + static_cast<std::ptrdiff_t>(i); };
  const auto first = at(page->First(entries.size())), last = at(page->Last(entries.size()));
  std::partial_sort(entries.begin(), last, entries.end());
  Json::Value data;
  data["link"] = WebUtils::EncodeURL(path.c_str());
  data["total"] = Json::UInt64(entries.size());
  data["change"] = folder.may_change && site::MayMakeFiles(folder);
  data["fetch"] = folder.may_fetch;
  data["guarded"] = folder.is_guarded;
  data["items"] = Json::Value(Json::arrayValue);
  for (auto entry = first; entry != last; ++entry) {
    struct stat info;
    // What has gone meanwhile is left out.
    if (fstatat(folder.place.get(), entry->name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
    data["items"].append(Describe(path + "/" + entry->name, entry->name, info));
  }
  return site::Succeed(request, data);
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  const std::string path = request.In("path", "");
  return path.empty() ? ListShares(request) : ListFolder(request, path);
}
