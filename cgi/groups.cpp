// groups.cgi: the groups of the appliance, one page of them.
//
//   GET [offset=N][&prefix=TEXT][&user=NAME]
//                        {"data": {"items": [{"name", "descr"[, "join"]}, ...], "offset", "total"}, "success": true}:
//                        50 groups from that position on, of those whose names begin with the prefix. "join" tells
//                        whether the user is a member
//   GET at=NAME[&user=NAME]   the page of all groups that shows this one
#include <string>

#include "directory.h"
#include "reply.h"
#include "who.h"

namespace {

int Fail(Tarvel& request, const char* key) { return site::Refuse(request, "error", key); }

int List(Tarvel& request, int offset, const std::string& prefix) {
  const std::string user = request.In("user", "");
  Json::Value data;
  const int done =
      SDK::Group::EnumGroups(offset, site::kRows, AUTH_TYPE_LOCAL, prefix.empty() ? nullptr : prefix.c_str(),
                             user.empty() ? nullptr : user.c_str(), data);
  if (done == 0) return Fail(request, "error_groups_not_read");
  data["offset"] = offset;
  return site::Succeed(request, data);
}

int ListAt(Tarvel& request, const std::string& name) {
  if (!SDK::Group::IsGroupExist(name)) {
    return Fail(request, site::WhyNotFound("error_group_gone", "error_groups_not_read"));
  }
  int position = 0;
  if (SDK::Group::GetGroupLocation(name, AUTH_TYPE_LOCAL, &position) == 0) {
    return Fail(request, "error_groups_not_read");
  }
  return List(request, site::PageOf(position), "");
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const std::string name = request.In("at", "");
  return name.empty() ? List(request, site::OffsetOf(request), request.In("prefix", "")) : ListAt(request, name);
}
