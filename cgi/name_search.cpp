// name_search.cgi: accounts and groups whose names begin with what somebody is typing, for lists of names.
//
//   GET prefix=TEXT
//
//   {"data": {"groups": {"items": [{"name", "descr"}, ...], "total": 3}, "accounts": {...}}, "success": true}
//
// Of each kind the first few; "total" is how many there are.
#include <tarvel/group.h>
#include <tarvel/user.h>

#include <string>

#include "name_text.h"
#include "reply.h"
#include "who.h"

namespace {

constexpr int kMostOfAKind = 8;

Json::Value Shown(const Json::Value& found) {
  Json::Value shown;
  shown["total"] = found["total"].asInt();
  shown["items"] = Json::Value(Json::arrayValue);
  for (const Json::Value& item : found["items"]) {
    Json::Value name;
    name["name"] = site::AsUtf8(item["name"].asString());
    name["descr"] = site::AsUtf8(item["descr"].asString());
    shown["items"].append(name);
  }
  return shown;
}

}  // namespace

int main() {
  Tarvel request(true);
  if (!request.IsAuthorized(nullptr, site::kActivity, KEST_CGI_POSITION_ADMINISTRATION)) return 0;
  const std::string prefix = request.In("prefix", "");
  Json::Value groups(Json::objectValue);
  Json::Value accounts(Json::objectValue);
  const char* const begin = prefix.c_str();
  const bool are_groups = SDK::Group::EnumGroups(0, kMostOfAKind, AUTH_TYPE_LOCAL, begin, nullptr, groups) == 1;
  SDK::User::EnumUsers(0, kMostOfAKind, AUTH_TYPE_LOCAL, begin, accounts);
  if (!are_groups || accounts["total"].asInt() < 0) return site::Refuse(request, "error", "error_accounts_not_read");
  Json::Value data;
  data["groups"] = Shown(groups);
  data["accounts"] = Shown(accounts);
  return site::Succeed(request, data);
}
