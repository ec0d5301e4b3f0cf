// new_folder.cgi: makes a folder in a folder of a share, as the account.
//
//   POST path=/public&name=2024   {"data": {"link": "%2Fpublic%2F2024"}, "success": true}
#include <tarvel/tarvel.h>
#include <tarvel/webutils.h>

#include <cerrno>
#include <string>

#include "name_text.h"
#include "share_files.h"

namespace {

constexpr mode_t kMode = 0777;  // less the umask, or what the folder hands down

bool IsName(const std::string& name) {
  const bool is_blank = name.find_first_not_of(' ') == std::string::npos;
  return !is_blank && name != "." && name != ".." && name.find('/') == std::string::npos && site::IsPlainText(name);
}

int MakeFolder(Tarvel& request, const std::string& path, const std::string& name) {
  if (!IsName(name)) return site::RefuseFile(request, site::kNoName);
  site::FoundFile folder;
  if (const auto* refusal = site::FindFile(request, path, site::Use::kChange, folder)) {
    return site::RefuseFile(request, *refusal);
  }
  if (!S_ISDIR(folder.info.st_mode)) return site::RefuseFile(request, site::kNoFolder);
  if (mkdirat(folder.place.get(), name.c_str(), kMode) != 0) {
    return site::RefuseFile(request, site::RefusalOfChange(errno));
  }
  Json::Value data;
  data["link"] = WebUtils::EncodeURL((path + "/" + name).c_str());
  return site::Succeed(request, data);
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;
  if (!site::IsOwnPost()) return site::RefuseChange(request);
  return MakeFolder(request, request.In("path", ""), request.In("name", ""));
}
