// Where accounts stand in the database, and pages of them.
#include "internal/database_walk.h"
#include "internal/log.h"
#include "internal/platform_record.h"
#include "platform/klib.h"
#include "user.h"
#include "webutils.h"

namespace {

constexpr char kLogSource[] = "user";

constexpr int kNamesBytes = 2048;

using tarvel_internal::Page;
using UserRecord = tarvel_internal::PlatformRecord<KESTUSER, KESTUserFree>;
using UserWalk = tarvel_internal::DatabaseWalk<KESTUSERDB, KESTUSER, KESTUserDBOpen, KESTUserDBGetByCursor,
                                               KESTUserDBClose, KESTUserFree>;

// Accounts of a page on their way into a document.
struct UserList {
  UserList() = default;
  ~UserList() { SDK::User::ReleaseUserList(users); }
  UserList(const UserList&) = delete;
  UserList& operator=(const UserList&) = delete;

  std::vector<SDK::User*> users;
};

void Append(std::vector<SDK::User*>& out, KESTUSER* record) {
  auto user = std::make_unique<SDK::User>(record);
  out.push_back(user.get());
  user.release();
}

// Domain accounts are named "DOMAIN\name": a prefix that names no domain means the joined one.
std::string SearchedPrefix(AUTH_TYPE type, const char* prefix) {
  std::string searched = prefix;
  if (type != AUTH_TYPE_DOMAIN || WebUtils::IsDomainObject(searched)) return searched;
  const std::string domain = WebUtils::GetDomainName();
  return domain.empty() ? searched : domain + "\\" + searched;
}

Json::Value Item(SDK::User& user) {
  Json::Value item;
  item["name"] = user.GetName();
  item["descr"] = user.GetDesc();
  item["email"] = user.GetEmail();
  // A text and no boolean, on purpose: pages show it.
  item["disabled"] = user.GetStatus();
  return item;
}

}  // namespace

int SDK::User::GetUserLocation(const std::string& name, AUTH_TYPE type, int* position) {
  UserWalk walk(type);
  if (!walk) {
    LogError("%s:%d Failed to open user db");
    return 0;
  }
  const int found = walk.PositionOf(name.c_str());
  if (position != nullptr) *position = found;
  return 1;
}

int SDK::User::EnumAllUsers(int offset, int limit, AUTH_TYPE type, std::vector<User*>& out) {
  UserWalk walk(type);
  if (!walk) {
    LogError("%s:%d Failed to open user db");
    return 0;
  }
  const Page page = {offset, limit};
  int count = 0;
  for (; walk.Next(); ++count) {
    if (page.Shows(count)) Append(out, walk.record());
  }
  return count;
}

int SDK::User::EnumUsers(int offset, int limit, AUTH_TYPE type, const char* prefix, std::vector<User*>& out) {
  if (type == AUTH_TYPE_DOMAIN && KESTUserDBDomainRebuild(0) < 0) {
    LogError("%s:%d [%X]KESTUserDBDomainRebuild failed", static_cast<unsigned>(KLIBErrGet()));
    return 0;
  }
  if (prefix == nullptr) return EnumAllUsers(offset, limit, type, out);
  const std::string searched = SearchedPrefix(type, prefix);
  tarvel_internal::TextList names(kNamesBytes);
  if (!names) return 0;
  UserRecord record;
  const int count = KESTUserEnumByPrefix(names.Slot(), type, searched.c_str(), 1);
  if (count < 0) LogError("%s:%d: Failed to enum users by prefix");
  const Page page = {offset, limit};
  for (int i = 0; i < count; ++i) {
    if (!page.Shows(i)) continue;
    const char* const name = names.At(i);
    if (KESTUserGet(name, record.Slot()) < 0) {
      LogError("%s:%d: Failed to get user info for %s", name);
      continue;
    }
    Append(out, record.get());
  }
  return count;
}

int SDK::User::EnumUsers(int offset, int limit, AUTH_TYPE type, const char* prefix, Json::Value& out) {
  UserList page;
  const int total = EnumUsers(offset, limit, type, prefix, page.users);
  Json::Value items(Json::arrayValue);
  for (User* user : page.users) items.append(Item(*user));
  out["total"] = total;
  out["items"] = items;
  return 1;
}
