// files.cgi: what lies in a folder of the volume.
//
//   GET                                             the two folders of the account
//   GET path=/volume1/public[&start=0][&count=100]  a page of what is in one: folders first, then by name
//       {"data": {"link", "total", "items": [{"kind", "link", "name", "size", "time"}, ...]}, "success": true}
//
// "link" is the path as it may stand in an address, whatever bytes it has; "name" is for people. "kind" is "folder",
// "video", "audio", "image", "file", or "other" for what is not sent.
#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <tarvel/http_file_outputer.h>
#include <tarvel/tarvel.h>
#include <tarvel/webutils.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "account_files.h"
#include "file_refusal.h"
#include "name_text.h"

namespace {

constexpr char kUsualCount[] = "100";
constexpr unsigned long kMaxCount = 500;

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

// The account's own folder may not have been made yet.
int ListFolders(Tarvel& request) {
  Json::Value data;
  data["items"] = Json::Value(Json::arrayValue);
  const std::string user = request.GetLoginUserName();
  for (const std::string& path : {std::string("/volume1/public"), "/volume1/homes/" + user}) {
    site::FoundFile folder;
    if (site::FindFile(path, user, folder) == 0) data["items"].append(Describe(path, folder.name, folder.info));
  }
  data["total"] = data["items"].size();
  return site::Succeed(request, data);
}

bool ReadNumber(const char* text, unsigned long& out) {
  const std::string digits = text;
  if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos) return false;
  out = std::strtoul(text, nullptr, 10);
  return true;
}

int ListFolder(Tarvel& request, const std::string& path) {
  unsigned long start = 0, count = 0;
  if (!ReadNumber(request.In("start", "0"), start) || !ReadNumber(request.In("count", kUsualCount), count)) {
    request.AddHeader("Status", "400 Bad Request");
    return site::Refuse(request, "error", "error_bad_request");
  }
  site::FoundFile folder;
  int error = site::FindFile(path, request.GetLoginUserName(), folder);
  if (error != 0) return site::RefuseFile(request, site::RefusalOf(error));
  if (!S_ISDIR(folder.info.st_mode)) return site::RefuseFile(request, site::kNoFolder);
  std::vector<Entry> entries;
  error = ReadFolder(folder, entries);
  if (error != 0) return site::RefuseFile(request, site::RefusalOf(error));

  const size_t first = std::min<size_t>(start, entries.size());
  const size_t last = std::min<size_t>(first + std::min(count, kMaxCount), entries.size());
  const auto at = [&entries](size_t i) { return entries.begin() + static_cast<std::ptrdiff_t>(i); };
  std::partial_sort(entries.begin(), at(last), entries.end());
  Json::Value data;
  data["link"] = WebUtils::EncodeURL(path.c_str());
  data["total"] = Json::UInt64(entries.size());
  data["items"] = Json::Value(Json::arrayValue);
  for (auto entry = at(first); entry != at(last); ++entry) {
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
  return path.empty() ? ListFolders(request) : ListFolder(request, path);
}
