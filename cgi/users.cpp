// users.cgi: the accounts of the appliance, one page of them.
//
//   GET [offset=N][&prefix=TEXT]
//                 {"data": {"items": [{"name", "descr", "email", "disabled"}, ...], "offset", "total"}, "success":
//                 true}: 50 accounts from that position on, of those whose names begin with the prefix. "disabled" is
//                 the state of the account: Normal, Disable, Expired, Unknow Status or the day when it expires
//   GET at=NAME   the page of all accounts that shows this one
#include <string>

#include "directory.h"
#include "reply.h"
#include "who.h"

namespace {

int Fail(Tarvel& request, const char* key) { return site::Refuse(request, "error", key); }

int List(Tarvel& request, int offset) {
  const std::string prefix = request.In("prefix", "");
  Json::Value data;
  SDK::User::EnumUsers(offset, site::kRows, AUTH_TYPE_LOCAL, prefix.empty() ? nullptr : prefix.c_str(), data);
  // Whoever asks has an account: without any the accounts could not be read.
  const int total = data["total"].asInt();
  if (total < 0 || (prefix.empty() && total == 0)) return Fail(request, "error_accounts_not_read");
  data["offset"] = offset;
  return site::Succeed(request, data);
}

int ListAt(Tarvel& request, const std::string& name) {
  if (!SDK::User::IsUserExist(name)) {
    return Fail(request, site::WhyNotFound("error_unknown_account", "error_accounts_not_read"));
  }
  int position = 0;
  if (SDK::User::GetUserLocation(name, AUTH_TYPE_LOCAL, &position) == 0) {
    return Fail(request, "error_accounts_not_read");
  }
  return List(request, site::PageOf(position));
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const std::string name = request.In("at", "");
  return name.empty() ? List(request, site::OffsetOf(request)) : ListAt(request, name);
}
