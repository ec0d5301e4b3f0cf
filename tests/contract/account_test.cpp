// Accounts as records, their expiry and their source.
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "platform/kestdir.h"
#include "session_fixture.h"

namespace {

class AccountRecord : public SessionTest {
 protected:
  /// The privileges of `name`, asked for behind the check of the client's session.
  static Answer PrivilegeIn(const Client& client, const char* name) {
    return Request(client, [name](KESTCGI* context, Answer* out) {
      CgiAuthRequest check = {};
      KestCgiIsAuthorized(context, out->user, sizeof(out->user), &check, KEST_CGI_POSITION_ACCOUNT);
      out->result = KESTUserPrivilegeGet(name);
    });
  }
};

class Slot {
 public:
  ~Slot() { KESTUserFree(record_); }
  KESTUSER** operator&() { return &record_; }
  KESTUSER* operator->() const { return record_; }
  KESTUSER* get() const { return record_; }

 private:
  KESTUSER* record_ = nullptr;
};

TEST_F(AccountRecord, ARecordHoldsWhatWasStored) {
  Slot user;
  ASSERT_EQ(0, KESTUserGet("ANNA", &user));
  EXPECT_STREQ("anna", user->name);
  EXPECT_STREQ("", user->passwd) << "nobody is given the password";
  EXPECT_EQ(1027, user->uid);
  EXPECT_EQ(100, user->gid);
  EXPECT_STREQ("", user->desc);
  EXPECT_STREQ("/var/services/homes/anna", user->home);
  EXPECT_STREQ("/sbin/nologin", user->shell);
  EXPECT_EQ(-1, user->expire);
  EXPECT_EQ(0, user->noChPasswd);
  EXPECT_STREQ("", user->email);
  EXPECT_EQ(1, user->attr);
  EXPECT_EQ(3, user->privilege);
  EXPECT_EQ(0, user->unused);
}

TEST_F(AccountRecord, ASlotIsReplacedOnSuccessAndKeptOnFailure) {
  Slot user;
  ASSERT_EQ(0, KESTUserGet("anna", &user));
  ASSERT_EQ(0, KESTUserGet("bernd", &user));
  EXPECT_STREQ("bernd", user->name);
  EXPECT_LT(KESTUserGet("nobody", &user), 0);
  EXPECT_STREQ("bernd", user->name);
}

TEST_F(AccountRecord, ItIsFoundByItsNumber) {
  Slot user;
  ASSERT_EQ(0, KESTUserGetByUID(1028, &user));
  EXPECT_STREQ("bernd", user->name);
  EXPECT_LT(KESTUserGetByUID(4711, &user), 0);
  EXPECT_LT(KESTUserGetByUID(-1, &user), 0);
}

TEST_F(AccountRecord, ANumberIsNeverGivenTwice) {
  ASSERT_EQ(0, Account({"remove", "bernd"}));
  ASSERT_EQ(0, Account({"add", "bernd"}, "pw"));
  Slot user;
  ASSERT_EQ(0, KESTUserGet("bernd", &user));
  EXPECT_EQ(1029, user->uid);
}

TEST_F(AccountRecord, WhatIsNoAccountFails) {
  Slot user;
  const std::string huge(1 << 20, 'x');
  for (const char* name : {"", "nobody", "DOM\\anna", "anna\n", "\xff", huge.c_str(), "' OR 1=1 --"}) {
    EXPECT_LT(KESTUserGet(name, &user), 0);
    EXPECT_EQ(-1, KESTUserPrivilegeGet(name));
  }
  EXPECT_EQ(nullptr, user.get());
  EXPECT_LT(KESTUserGet(nullptr, &user), 0);
  EXPECT_LT(KESTUserGet("anna", nullptr), 0);
  EXPECT_LT(KESTUserGetByUID(1026, nullptr), 0);
  KESTUserFree(nullptr);
}

TEST_F(AccountRecord, ItsPrivilegesAreAMask) { EXPECT_EQ(3, KESTUserPrivilegeGet("anna")); }

TEST_F(AccountRecord, EachApplicationHasItsBit) {
  const struct {
    const char* list;
    int mask;
  } rows[] = {{"file", 2},
              {"audio", 4},
              {"download", 8},
              {"surveillance", 16},
              {"surveillance,file", 18},
              {"file,file", 2},
              {"download,audio,surveillance,file", 30},
              {"", 0}};
  for (const auto& row : rows) {
    ASSERT_EQ(0, Account({"applications", "ANNA", row.list})) << row.list;
    EXPECT_EQ(row.mask | 1, KESTUserPrivilegeGet("anna")) << row.list << ": the lowest bit is no application's";
    Slot user;
    ASSERT_EQ(0, KESTUserGet("anna", &user));
    EXPECT_EQ(row.mask | 1, user->privilege) << row.list;
  }
  EXPECT_EQ(3, KESTUserPrivilegeGet("bernd")) << "another account keeps what it has";
}

TEST_F(AccountRecord, NewApplicationsReachASessionThatIsOpen) {
  const Client anna = LoggedIn("anna");
  ASSERT_EQ(0, Account({"applications", "anna", "audio"}));
  EXPECT_EQ(5, PrivilegeIn(anna, "anna").result);
  ASSERT_EQ(0, Account({"applications", "anna", ""}));
  EXPECT_EQ(1, PrivilegeIn(anna, "anna").result);
}

TEST_F(AccountRecord, ASessionKnowsItsOwnPrivilegesAndNobodyElses) {
  const Client anna = LoggedIn("anna");
  ASSERT_EQ(0, Account({"applications", "bernd", "download"}));
  sleep(3);  // until the change lies behind the clock's tick
  PrivilegeIn(anna, "anna");
  const Answer own = PrivilegeIn(anna, "anna");
  EXPECT_EQ(3, own.result);
  EXPECT_FALSE(own.opened_accounts);
  EXPECT_EQ(3, PrivilegeIn(anna, "ANNA").result);
  EXPECT_EQ(9, PrivilegeIn(anna, "bernd").result);
  EXPECT_EQ(-1, PrivilegeIn(anna, "").result);
  EXPECT_EQ(-1, PrivilegeIn(anna, nullptr).result);
  EXPECT_EQ(3, PrivilegeIn(Client(), "anna").result) << "without a session";
}

TEST_F(AccountRecord, ADatabaseThatCannotBeReadFailsAndIsLeftAsItIs) {
  const std::string bytes(5000, '\x5a');
  std::ofstream(kAccounts, std::ios::binary | std::ios::trunc) << bytes;
  Slot user;
  EXPECT_LT(KESTUserGet("anna", &user), 0);
  EXPECT_EQ(-1, KESTUserPrivilegeGet("anna"));
  std::ifstream file(kAccounts, std::ios::binary);
  EXPECT_EQ(bytes, std::string(std::istreambuf_iterator<char>(file), {}));
}

TEST_F(AccountRecord, WithoutADomainEveryNameIsLocal) {
  for (const char* name : {"anna", "nobody", "", "DOM\\anna", "\\", "users"}) EXPECT_NE(2, IsDomainUG(name)) << name;
  EXPECT_NE(2, IsDomainUG(nullptr));
}

TEST(AccountExpiry, TheExpiryDayIsTheLastValidOne) {
  const int today = static_cast<int>(time(nullptr) / 86400);
  EXPECT_EQ(0, KESTUserIsExpired(-1));
  EXPECT_EQ(1, KESTUserIsExpired(0));
  EXPECT_EQ(1, KESTUserIsExpired(1));
  EXPECT_EQ(1, KESTUserIsExpired(today - 1));
  EXPECT_EQ(0, KESTUserIsExpired(today + 1)) << "today itself would fail at midnight";
  EXPECT_EQ(0, KESTUserIsExpired(2147483647));
  for (const int day : {-2, -2147483647 - 1}) {
    EXPECT_NE(0, KESTUserIsExpired(day));
    EXPECT_NE(1, KESTUserIsExpired(day));
  }
}

TEST(AccountExpiry, ADayAndItsDateAreOneAnother) {
  const struct {
    int day;
    const char* date;
  } rows[] = {{2, "1970/01/03"}, {19723, "2024/01/01"}, {19782, "2024/02/29"}, {24837, "2038/01/01"}, {-1, ""}};
  for (const auto& row : rows) {
    KESTUSER user = {};
    char date[32];
    user.expire = row.day;
    EXPECT_EQ(0, KESTUserExpiredDateGet(&user, date, sizeof(date)));
    EXPECT_STREQ(row.date, date);
    user.expire = 4711;
    EXPECT_EQ(0, KESTUserExpiredDateFill(&user, row.date));
    EXPECT_EQ(row.day, user.expire);
  }
}

TEST(AccountExpiry, WhatIsNoDateChangesNothing) {
  for (const char* date :
       {"2024/02/30", "2024/13/01", "2024/1/1", "24/01/01", "2024-01-01", "x", " ", "2024/01/01 ", "2024/01/01x",
        "1970/01/02", "1970/01/01", "1969/12/31", "-2024/01/01", "20240/01/01", "0000/00/00", "2024/00/10"}) {
    KESTUSER user = {};
    user.expire = 4711;
    EXPECT_EQ(-1, KESTUserExpiredDateFill(&user, date)) << date;
    EXPECT_EQ(4711, user.expire) << date;
  }
  KESTUSER user = {};
  EXPECT_EQ(-1, KESTUserExpiredDateFill(&user, nullptr));
  EXPECT_EQ(-1, KESTUserExpiredDateFill(nullptr, ""));
}

TEST(AccountExpiry, ADayWithoutADateOrABufferTooSmallFails) {
  KESTUSER user = {};
  char date[32];
  for (const int day : {0, 1, -2, 2147483647}) {
    user.expire = day;
    EXPECT_EQ(-1, KESTUserExpiredDateGet(&user, date, sizeof(date))) << day;
  }
  user.expire = 19723;
  EXPECT_EQ(-1, KESTUserExpiredDateGet(&user, date, 10));
  EXPECT_EQ(0, KESTUserExpiredDateGet(&user, date, 11));
  EXPECT_EQ(-1, KESTUserExpiredDateGet(&user, date, 0));
  EXPECT_EQ(-1, KESTUserExpiredDateGet(&user, nullptr, 32));
  EXPECT_EQ(-1, KESTUserExpiredDateGet(nullptr, date, 32));
}

}  // namespace
