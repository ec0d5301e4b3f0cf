// One account: how it is made, loaded, changed, stored, and what state it is in.

#include "user.h"

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "support/allocations.h"
#include "support/environment.h"
#include "user_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

constexpr char kBadParameters[] = "user:# Bad parameters";
constexpr char kNotConverted[] = "user:# Failed to convert to PKESTUSER";

static_assert(sizeof(SDK::User) == sizeof(void*));

TEST_F(UserTest, AUserMadeByNameHasTheDefaultsAndTouchesNothing) {
  const SDK::User alice("alice");
  EXPECT_EQ("alice", alice.GetName());
  EXPECT_EQ("", alice.GetDesc());
  EXPECT_EQ("", alice.GetEmail());
  EXPECT_EQ("/var/services/homes/alice", alice.GetUserHome());
  EXPECT_EQ(-1, alice.GetUID());
  EXPECT_EQ(100, alice.GetGID());
  EXPECT_EQ(-1, alice.GetExpire());
  EXPECT_EQ(3, alice.GetAppPrivilege());
  EXPECT_FALSE(alice.IsDisallowChPasswd());
  const KESTUSER fields = FieldsOf(alice);
  EXPECT_STREQ("/sbin/nologin", fields.shell);
  EXPECT_STREQ("", fields.passwd);
  EXPECT_EQ(1, fields.attr);
  EXPECT_THAT(Calls(), IsEmpty());
}

struct HomeRow {
  int line;
  const char* name;
  const char* home;
  const char* shell;
};

constexpr HomeRow kHomeRows[] = {
    {__LINE__, "alice", "/var/services/homes/alice", "/sbin/nologin"},
    {__LINE__, "rsync", "/", "/bin/sh"},
    {__LINE__, "Rsync", "/", "/bin/sh"},
    {__LINE__, "RSYNC", "/", "/bin/sh"},
    {__LINE__, "rsync2", "/var/services/homes/rsync2", "/sbin/nologin"},
    {__LINE__, "rsyn", "/var/services/homes/rsyn", "/sbin/nologin"},
    {__LINE__, "", "/var/services/homes/", "/sbin/nologin"},
    {__LINE__, "OFFICE\\anna %s", "/var/services/homes/OFFICE\\anna %s", "/sbin/nologin"},
};

TEST_F(UserTest, OnlyRsyncInAnyCaseHasAShellAndTheRootAsHome) {
  for (const HomeRow& row : kHomeRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    const SDK::User user{std::string(row.name)};
    EXPECT_EQ(row.name, user.GetName());
    EXPECT_EQ(row.home, user.GetUserHome());
    EXPECT_STREQ(row.shell, FieldsOf(user).shell);
  }
}

TEST_F(UserTest, AHomeHas523BytesAtMostAndTheNameStaysWhole) {
  for (const size_t length : {503U, 504U, 5000U}) {
    const std::string name(length, 'n');
    const SDK::User user(name);
    EXPECT_EQ("/var/services/homes/" + std::string(503, 'n'), user.GetUserHome());
    EXPECT_EQ(name, user.GetName());
  }
  EXPECT_EQ("/var/services/homes/" + std::string(502, 'n'), SDK::User(std::string(502, 'n')).GetUserHome());
}

TEST_F(UserTest, AUserMadeFromARecordHasAllItsFields) {
  KESTUSER* record = Record("anna", 1030);
  SDK::User anna(record);
  EXPECT_EQ("anna", anna.GetName());
  EXPECT_EQ("description of anna", anna.GetDesc());
  EXPECT_EQ("anna@example.org", anna.GetEmail());
  EXPECT_EQ("/home/anna", anna.GetUserHome());
  EXPECT_EQ(1030, anna.GetUID());
  EXPECT_EQ(101, anna.GetGID());
  EXPECT_EQ(19000, anna.GetExpire());
  EXPECT_EQ(29, anna.GetAppPrivilege());
  EXPECT_TRUE(anna.IsDisallowChPasswd());
  const KESTUSER fields = FieldsOf(anna);
  EXPECT_STREQ("hash of anna", fields.passwd);
  EXPECT_STREQ("/bin/shell of anna", fields.shell);
  EXPECT_EQ(77, fields.attr);
  EXPECT_EQ(1, fields.noChPasswd);
  EXPECT_NE(record->name, fields.name);
}

TEST_F(UserTest, NullTextsOfARecordAreEmpty) {
  KESTUSER record = {};
  record.uid = 7;
  const SDK::User user(&record);
  const KESTUSER fields = FieldsOf(user);
  for (const char* text : {fields.name, fields.passwd, fields.desc, fields.home, fields.shell, fields.email}) {
    EXPECT_STREQ("", text);
  }
  EXPECT_EQ(7, user.GetUID());
  EXPECT_EQ(0, user.GetGID());
  EXPECT_EQ(0, user.GetExpire());
  EXPECT_FALSE(user.IsDisallowChPasswd());
}

TEST_F(UserTest, AnyNumberButZeroForbidsAnotherPasswordAndGoesBackAsOne) {
  for (const int number : {INT_MIN, -1, 0, 1, 2, INT_MAX}) {
    KESTUSER* record = Record("anna");
    record->noChPasswd = number;
    const SDK::User anna(record);
    EXPECT_EQ(number != 0, anna.IsDisallowChPasswd()) << number;
    EXPECT_EQ(number != 0 ? 1 : 0, FieldsOf(anna).noChPasswd) << number;
  }
}

TEST_F(UserTest, LoadsByUserIdAndByName) {
  KESTUSER* record = Record("anna", 1030);
  for (const int result : {0, 1}) {
    EXPECT_CALL(dir(), KESTUserGetByUID(1030, NotNull())).WillOnce([=](int, KESTUSER** slot) {
      EXPECT_EQ(nullptr, *slot);
      *slot = record;
      return result;
    });
    const OwnedUser by_uid(SDK::User::LoadUser(1030));
    EXPECT_EQ("anna", by_uid->GetName());
    EXPECT_THAT(Calls(), ElementsAre("KESTUserGetByUID", "KESTUserFree"));
    Finds("ANNA", record, result);
    const OwnedUser by_name(SDK::User::LoadUser(std::string("ANNA")));
    EXPECT_EQ("anna", by_name->GetName());
    EXPECT_THAT(Calls(), ElementsAre("KESTUserGet", "KESTUserFree"));
  }
}

TEST_F(UserTest, NothingIsLoadedWhenThePlatformFailsAndWhatItFilledIsReleased) {
  for (KESTUSER* record : {static_cast<KESTUSER*>(nullptr), Record("anna")}) {
    EXPECT_CALL(dir(), KESTUserGetByUID(0, _)).WillOnce([=](int, KESTUSER** slot) {
      *slot = record;
      return -1;
    });
    EXPECT_EQ(nullptr, SDK::User::LoadUser(0));
    Finds("anna", record, -2);
    EXPECT_EQ(nullptr, SDK::User::LoadUser(std::string("anna")));
  }
}

TEST_F(UserTest, ExistsUnlessThePlatformFails) {
  for (const int result : {0, 1}) {
    Finds("anna", Record("anna"), result);
    EXPECT_TRUE(SDK::User::IsUserExist("anna"));
    EXPECT_THAT(Calls(), ElementsAre("KESTUserGet", "KESTUserFree"));
  }
  Finds("anna", nullptr, -1);
  EXPECT_FALSE(SDK::User::IsUserExist("anna"));
  EXPECT_THAT(Calls(), ElementsAre("KESTUserGet"));
}

TEST_F(UserTest, AnExistingNameIsNotCreatedAgain) {
  Finds("anna", Record("anna"));
  EXPECT_EQ(nullptr, SDK::User::CreateUser("anna"));
}

TEST_F(UserTest, ACreatedUserIsNewAndNotStoredYet) {
  Finds("anna", nullptr, -1);
  const OwnedUser anna(SDK::User::CreateUser("anna"));
  EXPECT_EQ("anna", anna->GetName());
  EXPECT_EQ(-1, anna->GetUID());
  EXPECT_THAT(Calls(), ElementsAre("KESTUserGet"));
}

TEST_F(UserTest, ReleasingNobodyIsAllowedAndAListIsEmptied) {
  SDK::User::Release(nullptr);
  const long before = LiveAllocations();
  {
    std::vector<SDK::User*> users = {new SDK::User("anna"), nullptr, new SDK::User("bert")};
    SDK::User::ReleaseUserList(users);
    EXPECT_THAT(users, IsEmpty());
    SDK::User::ReleaseUserList(users);
  }
  EXPECT_EQ(before, LiveAllocations());
}

TEST_F(UserTest, EachSetterChangesItsFieldOfTheObjectAlone) {
  SDK::User user("anna");
  user.SetName("bert");
  user.SetDesc("Bert");
  user.SetEmail("bert@example.org");
  user.SetPasswd("secret");
  user.SetExpire(20000);
  user.SetPrivilege(-7);
  user.SetDisallowChPasswd(true);
  EXPECT_EQ("bert", user.GetName());
  EXPECT_EQ("Bert", user.GetDesc());
  EXPECT_EQ("bert@example.org", user.GetEmail());
  EXPECT_STREQ("secret", FieldsOf(user).passwd);
  EXPECT_EQ(20000, user.GetExpire());
  EXPECT_EQ(-7, user.GetAppPrivilege());
  EXPECT_TRUE(user.IsDisallowChPasswd());
  EXPECT_EQ("/var/services/homes/anna", user.GetUserHome());
  user.SetDisallowChPasswd(false);
  EXPECT_FALSE(user.IsDisallowChPasswd());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(UserTest, ANullRecordIsRefusedBothWays) {
  SDK::User user("anna");
  EXPECT_EQ(-1, user.ConvertToSDKUSER(nullptr));
  ExpectLogged(kBadParameters);
  EXPECT_EQ(-1, user.ConvertFromSDKUSER(nullptr));
  ExpectLogged(kBadParameters);
  EXPECT_EQ("anna", user.GetName());
}

TEST_F(UserTest, ARecordIsFilledButForItsLastField) {
  KESTUSER record;
  std::memset(&record, 0x5a, sizeof record);
  const SDK::User anna(Record("anna", 1030));
  EXPECT_EQ(0, anna.ConvertToSDKUSER(&record));
  EXPECT_STREQ("anna", record.name);
  EXPECT_STREQ("hash of anna", record.passwd);
  EXPECT_EQ(1030, record.uid);
  EXPECT_EQ(101, record.gid);
  EXPECT_STREQ("description of anna", record.desc);
  EXPECT_STREQ("/home/anna", record.home);
  EXPECT_STREQ("/bin/shell of anna", record.shell);
  EXPECT_EQ(19000, record.expire);
  EXPECT_EQ(1, record.noChPasswd);
  EXPECT_STREQ("anna@example.org", record.email);
  EXPECT_EQ(77, record.attr);
  EXPECT_EQ(29, record.privilege);
  EXPECT_EQ(0x5a5a5a5a, record.unused);
}

TEST_F(UserTest, TheRecordBorrowsTheObjectsTexts) {
  const SDK::User anna("anna");
  EXPECT_EQ(FieldsOf(anna).name, FieldsOf(anna).name);
  EXPECT_EQ(FieldsOf(anna).home, FieldsOf(anna).home);
}

TEST_F(UserTest, TakingARecordOverKeepsTheNameOfTheStoredAccount) {
  const OwnedUser user = Loaded(Record("anna", 1030));
  EXPECT_EQ(0, user->ConvertFromSDKUSER(Record("bert", 1031)));
  EXPECT_EQ("bert", user->GetName());
  EXPECT_EQ("description of bert", user->GetDesc());
  EXPECT_EQ("bert@example.org", user->GetEmail());
  EXPECT_EQ("/home/bert", user->GetUserHome());
  EXPECT_STREQ("hash of bert", FieldsOf(*user).passwd);
  EXPECT_STREQ("/bin/shell of bert", FieldsOf(*user).shell);
  EXPECT_EQ(1031, user->GetUID());
  EXPECT_CALL(dir(), KESTUserSet(_, _, 1)).WillOnce([](const char** existing, KESTUSER**, int) {
    EXPECT_STREQ("anna", existing[0]);
    return 0;
  });
  EXPECT_TRUE(user->Save());
}

TEST_F(UserTest, ARecordOfTheObjectsOwnTextsMayBeTakenOver) {
  SDK::User user(Record(std::string(300, 'a')));
  KESTUSER own = FieldsOf(user);
  own.expire = 20000;
  std::swap(own.name, own.desc);
  own.email = own.home + 1;
  EXPECT_EQ(0, user.ConvertFromSDKUSER(&own));
  EXPECT_EQ(std::string(300, 'a'), user.GetDesc());
  EXPECT_EQ("description of " + std::string(300, 'a'), user.GetName());
  EXPECT_EQ("home/" + std::string(300, 'a'), user.GetEmail());
  EXPECT_EQ(20000, user.GetExpire());
}

class UserSaveTest : public UserTest {
 protected:
  // One call of the platform, in which the account has this name before; null: it has none.
  void ExpectStored(const char* before, const char* name, int uid, int result = 0) {
    EXPECT_CALL(dir(), KESTUserSet(NotNull(), NotNull(), 1))
        .WillOnce([=](const char** existing, KESTUSER** records, int) {
          EXPECT_STREQ(before, existing[0]);
          EXPECT_STREQ(name, records[0]->name);
          EXPECT_EQ(uid, records[0]->uid);
          EXPECT_EQ(0, records[0]->unused);
          return result;
        });
  }
};

TEST_F(UserSaveTest, ANewUserIsMadeWithAllItsFields) {
  SDK::User user("anna");
  user.SetDesc("Anna");
  user.SetEmail("anna@example.org");
  user.SetPasswd("secret");
  user.SetDisallowChPasswd(true);
  EXPECT_CALL(dir(), KESTUserSet(_, _, 1)).WillOnce([](const char** existing, KESTUSER** records, int) {
    EXPECT_EQ(nullptr, existing[0]);
    const KESTUSER& record = *records[0];
    EXPECT_STREQ("anna", record.name);
    EXPECT_STREQ("secret", record.passwd);
    EXPECT_EQ(-1, record.uid);
    EXPECT_EQ(100, record.gid);
    EXPECT_STREQ("Anna", record.desc);
    EXPECT_STREQ("/var/services/homes/anna", record.home);
    EXPECT_STREQ("/sbin/nologin", record.shell);
    EXPECT_EQ(-1, record.expire);
    EXPECT_EQ(1, record.noChPasswd);
    EXPECT_STREQ("anna@example.org", record.email);
    EXPECT_EQ(1, record.attr);
    EXPECT_EQ(3, record.privilege);
    EXPECT_EQ(0, record.unused);
    return 0;
  });
  EXPECT_TRUE(user.Save());
  EXPECT_THAT(Calls(), ElementsAre("KESTUserSet"));
}

TEST_F(UserSaveTest, ANewUserStaysNewAndIsMadeAgain) {
  SDK::User user("anna");
  for (int i = 0; i < 2; ++i) {
    ExpectStored(nullptr, "anna", -1);
    EXPECT_TRUE(user.Save());
    EXPECT_EQ(-1, user.GetUID());
  }
}

TEST_F(UserSaveTest, AStoredUserIsChangedUnderItsName) {
  const OwnedUser user = Loaded(Record("anna", 1030));
  ExpectStored("anna", "anna", 1030);
  EXPECT_TRUE(user->Save());
}

TEST_F(UserSaveTest, ARenamedUserPassesTheOldNameEachTime) {
  const OwnedUser user = Loaded(Record("anna", 1030));
  user->SetName("bert");
  for (int i = 0; i < 2; ++i) {
    ExpectStored("anna", "bert", 1030);
    EXPECT_TRUE(user->Save());
  }
}

TEST_F(UserSaveTest, TheUserIdAloneDecidesBetweenMakingAndChanging) {
  KESTUSER record = *Record("anna", -1);
  SDK::User stored(&record);
  ExpectStored(nullptr, "anna", -1);
  EXPECT_TRUE(stored.Save());
  SDK::User made("bert");
  KESTUSER fields = FieldsOf(made);
  fields.uid = 0;
  made.ConvertFromSDKUSER(&fields);
  ExpectStored("", "bert", 0);
  EXPECT_TRUE(made.Save());
}

TEST_F(UserSaveTest, OnlyANegativeResultIsAFailure) {
  SDK::User user("anna");
  ExpectStored(nullptr, "anna", -1, 1);
  EXPECT_TRUE(user.Save());
  for (const int result : {-1, INT_MIN}) {
    ExpectStored(nullptr, "anna", -1, result);
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x600));
    EXPECT_FALSE(user.Save());
    ExpectLogged("user:# Failed to create/set user anna, 1536");
  }
}

TEST_F(UserSaveTest, AFailureIsLoggedWithTheNewName) {
  const OwnedUser user = Loaded(Record("anna", 1030));
  user->SetName("bert");
  ExpectStored("anna", "bert", 1030, -1);
  EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(-3));
  EXPECT_FALSE(user->Save());
  ExpectLogged("user:# Failed to create/set user bert, -3");
}

TEST_F(UserSaveTest, WithoutMemoryForTheRecordNothingIsStoredAskedOrSet) {
  SDK::User user(Record("anna"));
  bool (*const operations[])(SDK::User&) = {
      [](SDK::User& of) { return of.Save(); },
      [](SDK::User& of) { return !of.GetExpiredDate().empty(); },
      [](SDK::User& of) { return of.SetExpiredDate("2030/01/01") != -1; },
  };
  for (const auto operation : operations) {
    {
      const FailingNew failing(0);
      EXPECT_FALSE(operation(user));
    }
    ExpectLogged(kBadParameters);
    ExpectLogged(kNotConverted);
  }
  EXPECT_EQ(19000, user.GetExpire());
  EXPECT_THAT(Calls(), IsEmpty());
}

class UserExpiryTest : public UserTest {
 protected:
  SDK::User& Expiring(int day) {
    user_.SetExpire(day);
    return user_;
  }
  void PlatformAnswers(int day, int answer) { EXPECT_CALL(dir(), KESTUserIsExpired(day)).WillOnce(Return(answer)); }

  SDK::User user_{"anna"};
};

TEST_F(UserExpiryTest, ANegativeDayNeverExpires) {
  for (const int day : {-1, -2, INT_MIN}) {
    EXPECT_FALSE(Expiring(day).IsExpired());
    EXPECT_EQ("Normal", Expiring(day).GetStatus());
  }
}

TEST_F(UserExpiryTest, ADisabledAccountIsSaidToBeSoWithoutAskingThePlatform) {
  for (const int day : {0, 1}) EXPECT_EQ("Disable", Expiring(day).GetStatus());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(UserExpiryTest, IsExpiredWhenThePlatformAnswersExactlyOne) {
  for (const int day : {0, 1, 2, 20000, INT_MAX}) {
    for (const int answer : {1, 0, 2, -1}) {
      PlatformAnswers(day, answer);
      EXPECT_EQ(answer == 1, Expiring(day).IsExpired());
    }
  }
}

TEST_F(UserExpiryTest, ADayInThePastIsExpired) {
  for (const int day : {2, 11000}) {
    PlatformAnswers(day, 1);
    EXPECT_EQ("Expired", Expiring(day).GetStatus());
  }
}

struct DateRow {
  int line;
  int day;
  const char* date;
};

constexpr DateRow kDateRows[] = {
    {__LINE__, 2, "1970/1/3"},       {__LINE__, 11016, "2000/2/29"},    {__LINE__, 19791, "2024/3/9"},
    {__LINE__, 20088, "2024/12/31"}, {__LINE__, 24855, "2038/1/19"},    {__LINE__, 24856, "2038/1/20"},
    {__LINE__, 49711, "2106/2/8"},   {__LINE__, 2932896, "9999/12/31"}, {__LINE__, INT_MAX, "5881580/7/11"},
};

TEST_F(UserExpiryTest, ADayToComeIsShownAsAnUnpaddedDateOfUtc) {
  const Variable zone("TZ", "XXX+11");
  for (const DateRow& row : kDateRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    PlatformAnswers(row.day, 0);
    EXPECT_EQ(row.date, Expiring(row.day).GetStatus());
  }
}

TEST_F(UserExpiryTest, WhatThePlatformCannotTellIsUnknownAndLogged) {
  for (const int answer : {2, -1}) {
    PlatformAnswers(20000, answer);
    EXPECT_EQ("Unknow Status", Expiring(20000).GetStatus());
    ExpectLogged("user:# Fail to check user expiration");
  }
}

TEST_F(UserExpiryTest, TheDateIsThePlatformsText) {
  for (const int result : {0, 1, -2}) {
    EXPECT_CALL(dir(), KESTUserExpiredDateGet(_, _, 32)).WillOnce([=](const KESTUSER* record, char* buf, int) {
      EXPECT_EQ(20000, record->expire);
      EXPECT_STREQ("anna", record->name);
      EXPECT_EQ(0, record->unused);
      std::strcpy(buf, "a date of thirty-one characters");
      return result;
    });
    EXPECT_EQ("a date of thirty-one characters", Expiring(20000).GetExpiredDate());
  }
}

TEST_F(UserExpiryTest, WithoutADateThereIsNoText) {
  EXPECT_CALL(dir(), KESTUserExpiredDateGet(_, _, 32)).WillOnce([](const KESTUSER*, char* buf, int) {
    std::strcpy(buf, "rest");
    return -1;
  });
  EXPECT_EQ("", Expiring(0).GetExpiredDate());
  EXPECT_CALL(dir(), KESTUserExpiredDateGet(_, _, 32)).WillOnce(Return(0));
  EXPECT_EQ("", Expiring(-1).GetExpiredDate());
}

TEST_F(UserExpiryTest, ADateBecomesTheDayAndNothingIsStored) {
  for (const int result : {0, 1, -2}) {
    user_.SetExpire(-1);
    EXPECT_CALL(dir(), KESTUserExpiredDateFill(_, StrEq("2024/03/09"))).WillOnce([=](KESTUSER* record, const char*) {
      EXPECT_EQ(-1, record->expire);
      EXPECT_STREQ("anna", record->name);
      EXPECT_EQ(0, record->unused);
      record->expire = 19791;
      return result;
    });
    EXPECT_EQ(0, user_.SetExpiredDate("2024/03/09"));
    EXPECT_EQ(19791, user_.GetExpire());
    EXPECT_EQ("anna", user_.GetName());
    EXPECT_EQ("/var/services/homes/anna", user_.GetUserHome());
    EXPECT_THAT(Calls(), ElementsAre("KESTUserExpiredDateFill"));
  }
}

TEST_F(UserExpiryTest, WhateverThePlatformChangesOfTheRecordIsTakenOver) {
  char changed[] = "changed by the platform";
  EXPECT_CALL(dir(), KESTUserExpiredDateFill(_, _)).WillOnce([&](KESTUSER* record, const char*) {
    record->desc = changed;
    record->gid = 555;
    return 0;
  });
  EXPECT_EQ(0, user_.SetExpiredDate(""));
  EXPECT_EQ("changed by the platform", user_.GetDesc());
  EXPECT_EQ(555, user_.GetGID());
}

TEST_F(UserExpiryTest, ATextThatIsNoDateIsLoggedAndChangesNothing) {
  EXPECT_CALL(dir(), KESTUserExpiredDateFill(_, StrEq("31.2.%d"))).WillOnce([](KESTUSER* record, const char*) {
    record->expire = 5;
    return -1;
  });
  EXPECT_EQ(-1, Expiring(20000).SetExpiredDate("31.2.%d"));
  ExpectLogged("user:# Failed to set expire date on 31.2.%d");
  EXPECT_EQ(20000, user_.GetExpire());
}

TEST_F(UserTest, LackOfMemoryPassesAndLeaksNothing) {
  const std::string name(400, 'n');
  KESTUSER* record = Record(name);
  EXPECT_EQ(3, FailuresUntilItSucceeds([&] { const SDK::User user(name); }));
  EXPECT_EQ(8, FailuresUntilItSucceeds([&] { const SDK::User user(record); }));
  EXPECT_CALL(dir(), KESTUserGet(StrEq(name), _)).WillRepeatedly([&](const char*, KESTUSER** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_LT(0, FailuresUntilItSucceeds([&] { const OwnedUser user(SDK::User::LoadUser(name)); }));
  EXPECT_CALL(dir(), KESTUserGetByUID(_, _)).WillRepeatedly([&](int, KESTUSER** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_LT(0, FailuresUntilItSucceeds([&] { const OwnedUser user(SDK::User::LoadUser(1026)); }));
  EXPECT_CALL(dir(), KESTUserGet(StrEq(name + "2"), _)).WillRepeatedly(Return(-1));
  const std::string other = name + "2";
  EXPECT_LT(0, FailuresUntilItSucceeds([&] { const OwnedUser user(SDK::User::CreateUser(other)); }));
}

TEST_F(UserTest, AUserThatCannotTakeARecordOverStaysAsItIs) {
  SDK::User user("anna");
  KESTUSER* record = Record(std::string(400, 'n'));
  {
    const FailingNew failing(3);
    EXPECT_THROW(user.ConvertFromSDKUSER(record), std::bad_alloc);
  }
  EXPECT_EQ("anna", user.GetName());
  EXPECT_EQ("", user.GetDesc());
  EXPECT_EQ(-1, user.GetUID());
}

}  // namespace
}  // namespace tarvel_test
