// Accounts of any bytes: what an object makes of a record, what is changed in it, and what it gives back, against rules
// written a second time.
#include <cstdio>
#include <cstring>
#include <iterator>

#include "record_fields.h"
#include "user.h"

extern "C" {
void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");
int Store(const char** existing, KESTUSER** records, int count) __asm__("__wrap_KESTUserSet");
}

namespace {

std::string TextOf(const char* text) { return OptionalText(text).value_or(""); }

struct Account {
  std::string name, passwd, desc, home, shell, email;
  int uid, gid, expire;
  bool keeps_password;
  int attributes, privilege;

  bool operator==(const Account& other) const {
    return name == other.name && passwd == other.passwd && desc == other.desc && home == other.home &&
           shell == other.shell && email == other.email && uid == other.uid && gid == other.gid &&
           expire == other.expire && keeps_password == other.keeps_password && attributes == other.attributes &&
           privilege == other.privilege;
  }
};

Account AccountOf(const KESTUSER& record) {
  return {TextOf(record.name),  TextOf(record.passwd),  TextOf(record.desc), TextOf(record.home),
          TextOf(record.shell), TextOf(record.email),   record.uid,          record.gid,
          record.expire,        record.noChPasswd != 0, record.attr,         record.privilege};
}

// What was stored last.
Text stored_existing;
Account stored;

// A record with texts of its own, which may be null.
struct AnyRecord {
  explicit AnyRecord(FuzzInput& input) {
    for (Text& text : texts) text = AnyText(input);
    Point();
    for (int* number : {&record.uid, &record.gid, &record.expire, &record.noChPasswd, &record.attr, &record.privilege})
      *number = AnyNumber(input);
  }
  // Not all texts may be null wherever a record is taken.
  void FillIn() {
    for (Text& text : texts) text = text.value_or("");
    Point();
  }
  void Point() {
    char** const fields[] = {&record.name, &record.passwd, &record.desc, &record.home, &record.shell, &record.email};
    for (size_t i = 0; i < std::size(texts); ++i) *fields[i] = Pointer(texts[i]);
  }

  Text texts[6];
  KESTUSER record = {};
};

void RequireSame(const SDK::User& user, const Account& account) {
  KESTUSER record;
  std::memset(&record, 0x5a, sizeof record);
  Require(user.ConvertToSDKUSER(&record) == 0 && AccountOf(record) == account && record.unused == 0x5a5a5a5a);
  Require(record.noChPasswd == static_cast<int>(account.keeps_password));
  Require(user.GetName() == account.name && user.GetDesc() == account.desc && user.GetEmail() == account.email);
  Require(user.GetUserHome() == account.home && user.GetUID() == account.uid && user.GetGID() == account.gid);
  Require(user.GetExpire() == account.expire && user.GetAppPrivilege() == account.privilege);
  Require(user.IsDisallowChPasswd() == account.keeps_password);
}

// What the platform reads it writes the same again.
void SetDate(SDK::User& user, const std::string& date, Account& account) {
  const int result = user.SetExpiredDate(date);
  Require(result == 0 || result == -1);
  if (result == -1) return;
  account.expire = user.GetExpire();
  Require(user.GetExpiredDate() == date && (date.empty() ? account.expire == -1 : account.expire > 1));
  int year = 0, month = 0, day = 0;
  if (!date.empty()) Require(std::sscanf(date.c_str(), "%d/%d/%d", &year, &month, &day) == 3);
  const std::string shown = std::to_string(year) + "/" + std::to_string(month) + "/" + std::to_string(day);
  const std::string status = user.GetStatus();
  Require(date.empty() ? status == "Normal" : status == "Expired" || status == shown);
}

void CheckAccount(FuzzInput& input) {
  AnyRecord first(input);
  SDK::User user(&first.record);
  Account account = AccountOf(first.record);
  const std::string loaded = account.name;
  RequireSame(user, account);
  while (!input.Empty()) {
    switch (input.Choice(8)) {
      case 0:
        user.SetName(account.name = input.TextLine());
        break;
      case 1:
        user.SetDesc(account.desc = input.TextLine());
        break;
      case 2:
        user.SetEmail(account.email = input.TextLine());
        break;
      case 3:
        user.SetPasswd(account.passwd = input.TextLine());
        break;
      case 4:
        user.SetExpire(account.expire = AnyNumber(input));
        user.SetPrivilege(account.privilege = AnyNumber(input));
        user.SetDisallowChPasswd(account.keeps_password = input.Choice(2) == 1);
        break;
      case 5:
        SetDate(user, input.TextLine(), account);
        break;
      case 6: {
        AnyRecord other(input);
        other.FillIn();
        Require(user.ConvertFromSDKUSER(&other.record) == 0);
        account = AccountOf(other.record);
        break;
      }
      default:
        Require(user.Save() && stored == account);
        Require(stored_existing == (account.uid == -1 ? Text() : Text(loaded)));
    }
    RequireSame(user, account);
  }
}

}  // namespace

void SilentSyslog(int, const char*, ...) {}

int Store(const char** existing, KESTUSER** records, int count) {
  Require(count == 1);
  stored_existing = OptionalText(existing[0]);
  stored = AccountOf(*records[0]);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  CheckAccount(input);
  return 0;
}
