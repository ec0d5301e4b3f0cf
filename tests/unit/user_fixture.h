#ifndef TESTS_UNIT_USER_FIXTURE_H
#define TESTS_UNIT_USER_FIXTURE_H

#include <strings.h>

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "support/mock_kestdir.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"
#include "user.h"

namespace tarvel_test {

/// An account as the platform keeps it; the texts are borrowed from the object.
struct Account {
  explicit Account(const std::string& given_name, int given_uid = 1026)
      : name(given_name),
        passwd("hash of " + name),
        desc("description of " + name),
        home("/home/" + name),
        shell("/bin/shell of " + name),
        email(name + "@example.org") {
    record.name = name.data();
    record.passwd = passwd.data();
    record.uid = given_uid;
    record.gid = 101;
    record.desc = desc.data();
    record.home = home.data();
    record.shell = shell.data();
    record.expire = 19000;
    record.noChPasswd = 2;
    record.email = email.data();
    record.attr = 77;
    record.privilege = 29;
  }
  Account(const Account&) = delete;
  Account& operator=(const Account&) = delete;

  std::string name, passwd, desc, home, shell, email;
  KESTUSER record = {};
};

/// A platform with accounts.
class UserTest : public PlatformTest {
 protected:
  struct Releases {
    void operator()(SDK::User* user) const { SDK::User::Release(user); }
  };
  using OwnedUser = std::unique_ptr<SDK::User, Releases>;

  /// A record that lives as long as the test.
  KESTUSER* Record(const std::string& name, int uid = 1026) {
    accounts_.emplace_back(name, uid);
    return &accounts_.back().record;
  }

  /// The next look-up of a name finds this record, or nothing, with this result.
  void Finds(const std::string& name, KESTUSER* record, int result = 0) {
    EXPECT_CALL(dir(), KESTUserGet(::testing::StrEq(name), ::testing::NotNull()))
        .WillOnce([=](const char*, KESTUSER** slot) {
          if (record != nullptr) *slot = record;
          return result;
        })
        .RetiresOnSaturation();
  }

  /// An account as it is loaded.
  OwnedUser Loaded(KESTUSER* record) {
    Finds(record->name, record);
    OwnedUser user(SDK::User::LoadUser(std::string(record->name)));
    Calls();
    return user;
  }

  /// Names compare as the platform does it, for the letters of these tests.
  void ComparesNames() {
    EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(::testing::_, ::testing::_))
        .Times(::testing::AnyNumber())
        .WillRepeatedly([](const char* a, const char* b) { return strcasecmp(a, b); });
  }

  /// Every field of a user, as a record that borrows its texts.
  static KESTUSER FieldsOf(const SDK::User& user) {
    KESTUSER record = {};
    EXPECT_EQ(0, user.ConvertToSDKUSER(&record));
    return record;
  }

 private:
  std::list<Account> accounts_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_USER_FIXTURE_H
