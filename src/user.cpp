#include "user.h"

#include <strings.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <new>
#include <utility>

#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/text_of.h"
#include "platform/klib.h"

namespace {

constexpr char kLogSource[] = "user";

constexpr size_t kHomeBytes = 524;
constexpr size_t kStatusBytes = 32;
constexpr int kDateBytes = 32;
constexpr int kUnsaved = -1;
constexpr int kUsersGid = 100;
constexpr int kNeverExpires = -1;
constexpr int kLastDisabledDay = 1;
constexpr int kExpired = 1;
constexpr int kNotExpired = 0;
constexpr int kDefaultPrivilege = 3;
constexpr int64_t kSecondsPerDay = 86400;

using tarvel_internal::TextOf;
using UserRecord = tarvel_internal::PlatformRecord<KESTUSER, KESTUserFree>;

// On the heap and null when memory is short, which the conversion then refuses and the caller logs.
std::unique_ptr<KESTUSER> BlankRecord() {
  std::unique_ptr<KESTUSER> record(new (std::nothrow) KESTUSER{});
  if (record) {
    record->uid = kUnsaved;
    record->gid = kUsersGid;
    record->expire = kNeverExpires;
  }
  return record;
}

}  // namespace

struct SDK::User::Body {
  std::string name;
  std::string loaded_name;
  std::string desc;
  std::string email;
  std::string passwd;
  int uid = kUnsaved;
  int gid = kUsersGid;
  std::string shell;
  std::string home;
  int expire = kNeverExpires;
  int privilege = kDefaultPrivilege;
  bool no_passwd_change = false;
  int attributes = 1;

  explicit Body(const std::string& of) : name(of) {
    const bool rsync = strcasecmp(of.c_str(), "rsync") == 0;
    shell = rsync ? "/bin/sh" : "/sbin/nologin";
    // Longer paths are cut on purpose.
    char path[kHomeBytes];
    std::snprintf(path, sizeof path, "/var/services/homes/%s", of.c_str());
    home = rsync ? "/" : path;
  }

  explicit Body(const KESTUSER& record)
      : name(TextOf(record.name)),
        loaded_name(name),
        desc(TextOf(record.desc)),
        email(TextOf(record.email)),
        passwd(TextOf(record.passwd)),
        uid(record.uid),
        gid(record.gid),
        shell(TextOf(record.shell)),
        home(TextOf(record.home)),
        expire(record.expire),
        privilege(record.privilege),
        no_passwd_change(record.noChPasswd != 0),
        attributes(record.attr) {}
};

SDK::User::User(const std::string& name) : body_(new Body(name)) {}

SDK::User::User(KESTUSER* record) : body_(new Body(*record)) {}

SDK::User::~User() = default;

SDK::User* SDK::User::LoadUser(int uid) {
  UserRecord record;
  if (KESTUserGetByUID(uid, record.Slot()) < 0) return nullptr;
  return new User(record.get());
}

SDK::User* SDK::User::LoadUser(const std::string& name) {
  UserRecord record;
  if (KESTUserGet(name.c_str(), record.Slot()) < 0) return nullptr;
  return new User(record.get());
}

SDK::User* SDK::User::CreateUser(const std::string& name) { return IsUserExist(name) ? nullptr : new User(name); }

bool SDK::User::IsUserExist(const std::string& name) {
  UserRecord record;
  return KESTUserGet(name.c_str(), record.Slot()) >= 0;
}

void SDK::User::Release(User* user) { delete user; }

void SDK::User::ReleaseUserList(std::vector<User*>& users) {
  for (User* user : users) Release(user);
  users.clear();
}

std::string SDK::User::GetName() const { return body_->name; }
std::string SDK::User::GetDesc() const { return body_->desc; }
std::string SDK::User::GetEmail() const { return body_->email; }
std::string SDK::User::GetUserHome() const { return body_->home; }
int SDK::User::GetUID() const { return body_->uid; }
int SDK::User::GetGID() const { return body_->gid; }
int SDK::User::GetExpire() const { return body_->expire; }
int SDK::User::GetAppPrivilege() const { return body_->privilege; }
bool SDK::User::IsDisallowChPasswd() const { return body_->no_passwd_change; }

void SDK::User::SetName(const std::string& name) { body_->name = name; }
void SDK::User::SetDesc(const std::string& desc) { body_->desc = desc; }
void SDK::User::SetEmail(const std::string& email) { body_->email = email; }
void SDK::User::SetPasswd(const std::string& passwd) { body_->passwd = passwd; }
void SDK::User::SetExpire(int expire) { body_->expire = expire; }
void SDK::User::SetPrivilege(int privilege) { body_->privilege = privilege; }
void SDK::User::SetDisallowChPasswd(bool disallow) { body_->no_passwd_change = disallow; }

int SDK::User::ConvertToSDKUSER(KESTUSER* record) const {
  if (record == nullptr) {
    LogError("%s:%d Bad parameters");
    return -1;
  }
  record->name = body_->name.data();
  record->passwd = body_->passwd.data();
  record->uid = body_->uid;
  record->gid = body_->gid;
  record->desc = body_->desc.data();
  record->home = body_->home.data();
  record->shell = body_->shell.data();
  record->expire = body_->expire;
  record->noChPasswd = body_->no_passwd_change ? 1 : 0;
  record->email = body_->email.data();
  record->attr = body_->attributes;
  record->privilege = body_->privilege;
  return 0;
}

int SDK::User::ConvertFromSDKUSER(KESTUSER* record) {
  if (record == nullptr) {
    LogError("%s:%d Bad parameters");
    return -1;
  }
  // Copied as a whole before anything is replaced: the record's texts may be this object's own.
  Body copy(*record);
  copy.loaded_name.swap(body_->loaded_name);
  *body_ = std::move(copy);
  return 0;
}

// The object stays as it is on purpose, uid and stored name included: callers load the account again.
bool SDK::User::Save() {
  const std::unique_ptr<KESTUSER> record = BlankRecord();
  if (ConvertToSDKUSER(record.get()) < 0) {
    LogError("%s:%d Failed to convert to PKESTUSER");
    return false;
  }
  const char* existing[] = {body_->uid == kUnsaved ? nullptr : body_->loaded_name.c_str()};
  KESTUSER* records[] = {record.get()};
  if (KESTUserSet(existing, records, 1) < 0) {
    LogError("%s:%d Failed to create/set user %s, %d", body_->name.c_str(), KLIBErrGet());
    return false;
  }
  return true;
}

bool SDK::User::IsExpired() const { return body_->expire >= 0 && KESTUserIsExpired(body_->expire) == kExpired; }

std::string SDK::User::GetStatus() {
  if (body_->expire < 0) return "Normal";
  if (body_->expire <= kLastDisabledDay) return "Disable";
  const int answer = KESTUserIsExpired(body_->expire);
  if (answer == kExpired) return "Expired";
  if (answer != kNotExpired) {
    LogError("%s:%d Fail to check user expiration");
    // Misspelt on purpose: pages compare against it.
    return "Unknow Status";
  }
  const auto seconds = static_cast<std::time_t>(body_->expire * kSecondsPerDay);
  std::tm day = {};
  gmtime_r(&seconds, &day);
  char date[kStatusBytes];
  // Unpadded on purpose, as pages show it.
  std::snprintf(date, sizeof date, "%d/%d/%d", day.tm_year + 1900, day.tm_mon + 1, day.tm_mday);
  return date;
}

std::string SDK::User::GetExpiredDate() {
  const std::unique_ptr<KESTUSER> record = BlankRecord();
  if (ConvertToSDKUSER(record.get()) < 0) {
    LogError("%s:%d Failed to convert to PKESTUSER");
    return "";
  }
  char date[kDateBytes] = "";
  return KESTUserExpiredDateGet(record.get(), date, kDateBytes) == -1 ? "" : date;
}

int SDK::User::SetExpiredDate(std::string date) {
  const std::unique_ptr<KESTUSER> record = BlankRecord();
  if (ConvertToSDKUSER(record.get()) < 0) {
    LogError("%s:%d Failed to convert to PKESTUSER");
    return -1;
  }
  if (KESTUserExpiredDateFill(record.get(), date.c_str()) == -1) {
    LogError("%s:%d Failed to set expire date on %s", date.c_str());
    return -1;
  }
  ConvertFromSDKUSER(record.get());
  return 0;
}
