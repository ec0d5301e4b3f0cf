#include <tarvel/file_share.h>
#include <tarvel/tarvel.h>

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, 1, KEST_CGI_POSITION_ACCOUNT)) return 0;

  const std::string path = request.In("path", "");  // "/photo/2024"
  const std::string user = request.GetLoginUserName();
  TarvelFileShare files;
  WEBFM_SHARE_PRIVILEGE privilege = WEBFM_SHARE_NO_ACCESS;
  int restrictions = 0;
  std::string full, share, volume, folder;
  std::vector<_tag_SUBDIR_ENTRY_INFO_> folders;
  // What the lists of the share say, then what its path is, then as the account, to which the kernel shows what is its
  // own; and nothing is touched before that.
  const bool done = path.size() <= 4094 &&
                    files.WfmLibGetPrivilege(path.c_str(), user.c_str(), "", &privilege, &restrictions) == 0 &&
                    privilege != WEBFM_SHARE_NO_ACCESS && (restrictions & 1) == 0 &&
                    files.WfmFullPathGet(path.c_str(), full, share, volume, folder, user) == 1 &&
                    files.WfmLibUGIDSet(request.GetSessionID(), user.c_str()) == 0 &&
                    files.WfmCheckPath(full.c_str()) == 0 && files.WfmLibEnumSubDir(full, folders) == 1;

  Json::Value reply;
  reply["success"] = done;
  reply["folders"] = Json::Value(Json::arrayValue);
  for (const _tag_SUBDIR_ENTRY_INFO_& one : folders) reply["folders"].append(one.name);
  char type[] = "text/plain; charset=\"UTF-8\"";
  request.WriteHeader(type);
  request.WriteBody(reply);
}
