// folders.cgi: the folders in a folder of a share, for the tree.
//
//   GET path=/public[&start=0][&count=200]   by name, without regard to case
//       {"data": {"total", "items": [{"link", "name"}, ...]}, "success": true}
#include <tarvel/file_share.h>
#include <tarvel/tarvel.h>
#include <tarvel/webutils.h>

#include <string>
#include <vector>

#include "name_text.h"
#include "page_of_list.h"
#include "share_files.h"

namespace {

constexpr size_t kUsualCount = 200;
constexpr size_t kMaxCount = 1000;

const site::FileRefusal& RefusalOf(WEBFMERR error) {
  if (error == WEBFMERR_MISSING) return site::kMissing;
  return error == WEBFMERR_DENIED ? site::kNotYours : site::kNotRead;
}

int ListFolders(Tarvel& request, const std::string& path, const site::PageOfList& page) {
  site::FoundFile folder;
  if (const auto* refusal = site::FindFile(request, path, site::Use::kList, folder)) {
    return site::RefuseFile(request, *refusal);
  }
  if (!S_ISDIR(folder.info.st_mode)) return site::RefuseFile(request, site::kNoFolder);
  TarvelFileShare files;
  std::vector<_tag_SUBDIR_ENTRY_INFO_> folders;
  if (files.WfmLibEnumSubDir(folder.Self(), folders) != 1) {
    return site::RefuseFile(request, RefusalOf(files.WfmLibGetErr()));
  }
  Json::Value data;
  data["total"] = Json::UInt64(folders.size());
  data["items"] = Json::Value(Json::arrayValue);
  for (size_t i = page.First(folders.size()); i < page.Last(folders.size()); ++i) {
    Json::Value item;
    item["link"] = WebUtils::EncodeURL((path + "/" + folders[i].name).c_str());
    item["name"] = site::AsUtf8(folders[i].name);
    data["items"].append(item);
  }
  return site::Succeed(request, data);
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  const auto page = site::PageOf(request, kUsualCount, kMaxCount);
  if (!page) {
    request.AddHeader("Status", "400 Bad Request");
    return site::Refuse(request, "error", "error_bad_request");
  }
  return ListFolders(request, request.In("path", ""), *page);
}
