// The accounts' file and its passwords, from inside.
#include "host/accounts/account_database.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "folder.h"
#include "host/accounts/account_name.h"
#include "host/accounts/directory_schema.h"
#include "host/accounts/password.h"

namespace {

using kest::Account;
using kest::AccountDatabase;
using kest::Lookup;

class AccountDatabaseTest : public ::testing::Test {
 protected:
  AccountDatabaseTest() : path_(folder_.File("accounts.db")) {}

  Account Named(const char* name) {
    Account account;
    account.name = name;
    return account;
  }

  Folder folder_;
  std::string path_;
};

TEST_F(AccountDatabaseTest, OnlyTheOwnerMayReadIt) {
  ASSERT_NE(nullptr, AccountDatabase::OpenOrCreate(path_.c_str()));
  struct stat file;
  ASSERT_EQ(0, stat(path_.c_str(), &file));
  EXPECT_EQ(0600u, file.st_mode & 07777);
}

TEST_F(AccountDatabaseTest, AMissingFileIsOnlyMadeWhereThatIsAskedFor) {
  EXPECT_EQ(nullptr, AccountDatabase::Open(path_.c_str()));
  struct stat file;
  EXPECT_NE(0, stat(path_.c_str(), &file));
}

TEST_F(AccountDatabaseTest, AFileOfALaterProgramIsLeftAlone) {
  ASSERT_NE(nullptr, AccountDatabase::OpenOrCreate(path_.c_str()));
  {
    auto database = kest::Database::Open(path_.c_str(), kest::kDirectorySchema);
    ASSERT_TRUE(database->Execute("PRAGMA user_version = 99"));
  }
  EXPECT_EQ(nullptr, AccountDatabase::Open(path_.c_str()));
  EXPECT_EQ(nullptr, AccountDatabase::OpenOrCreate(path_.c_str()));
}

TEST_F(AccountDatabaseTest, AFileOfTheFirstVersionKeepsItsAccountsAndLearnsOfShares) {
  {
    auto before = kest::Database::OpenOrCreate(path_.c_str(), {kest::kDirectorySchema.steps, 1});
    ASSERT_TRUE(before->Execute("INSERT INTO accounts (name, folded) VALUES ('anna', 'anna')"));
  }
  Account anna;
  ASSERT_EQ(Lookup::kFound, AccountDatabase::Open(path_.c_str())->Find("anna", &anna));
  EXPECT_EQ(1024, anna.uid);
  auto database = kest::Database::Open(path_.c_str(), kest::kDirectorySchema);
  EXPECT_TRUE(database->Execute("INSERT INTO shares (name, folded, path) VALUES ('photo', 'photo', '/volume1/photo')"));
  EXPECT_TRUE(database->Execute(
      "INSERT INTO share_access (share, permission, position, uid) SELECT id, 'rw', 0, 1024 FROM shares"));
  ASSERT_TRUE(database->Execute("DELETE FROM accounts"));
  kest::Statement entries(*database, "SELECT count(*) FROM share_access");
  ASSERT_TRUE(entries.Row());
  EXPECT_EQ(0, entries.Int(0)) << "an account that is gone stands in no list";
}

TEST_F(AccountDatabaseTest, AnEntryOfAnAccessListIsOneThing) {
  AccountDatabase::OpenOrCreate(path_.c_str());
  auto database = kest::Database::Open(path_.c_str(), kest::kDirectorySchema);
  ASSERT_TRUE(database->Execute("INSERT INTO shares (id, name, folded) VALUES (1, 'photo', 'photo')"));
  const std::string insert = "INSERT INTO share_access (share, permission, position, gid, name) VALUES ";
  EXPECT_TRUE(database->Execute((insert + "(1, 'ro', 0, 100, NULL)").c_str()));
  EXPECT_TRUE(database->Execute((insert + "(1, 'ro', 1, NULL, 'DOM\\x')").c_str()));
  EXPECT_FALSE(database->Execute((insert + "(1, 'ro', 2, 100, 'x')").c_str()));
  EXPECT_FALSE(database->Execute((insert + "(1, 'ro', 2, NULL, NULL)").c_str()));
  EXPECT_FALSE(database->Execute((insert + "(1, 'xx', 2, 100, NULL)").c_str()));
}

TEST_F(AccountDatabaseTest, NumbersBeginAboveThoseOfTheMachine) {
  auto accounts = AccountDatabase::OpenOrCreate(path_.c_str());
  Account anna;
  ASSERT_EQ(Lookup::kFound, accounts->Add(Named("anna"), ""));
  ASSERT_EQ(Lookup::kFound, accounts->Find("anna", &anna));
  EXPECT_EQ(1026, anna.uid);
}

TEST_F(AccountDatabaseTest, NamesThatDifferOnlyInCaseAreOne) {
  auto accounts = AccountDatabase::OpenOrCreate(path_.c_str());
  EXPECT_EQ(Lookup::kFound, accounts->Add(Named("Stra\xc3\x9f"
                                                "e"),
                                          "hash"));
  EXPECT_EQ(Lookup::kAbsent, accounts->Add(Named("STRASSE"), "hash"));
  Account found;
  EXPECT_EQ(Lookup::kFound, accounts->Find("strasse", &found));
  EXPECT_EQ(
      "Stra\xc3\x9f"
      "e",
      found.name);
}

TEST_F(AccountDatabaseTest, ARemovedAccountLeavesItsGroups) {
  auto accounts = AccountDatabase::OpenOrCreate(path_.c_str());
  Account boss = Named("boss");
  boss.administrator = true;
  ASSERT_EQ(Lookup::kFound, accounts->Add(boss, "hash"));
  ASSERT_EQ(Lookup::kFound, accounts->Find("boss", &boss));
  EXPECT_TRUE(boss.administrator);
  ASSERT_EQ(Lookup::kFound, accounts->Remove("boss"));
  auto database = kest::Database::Open(path_.c_str(), kest::kDirectorySchema);
  kest::Statement members(*database, "SELECT count(*) FROM members");
  ASSERT_TRUE(members.Row());
  EXPECT_EQ(0, members.Int(0));
}

TEST_F(AccountDatabaseTest, EveryNewPasswordIsAnotherCredential) {
  auto accounts = AccountDatabase::OpenOrCreate(path_.c_str());
  accounts->Add(Named("anna"), "hash");
  Account before, after;
  accounts->Find("anna", &before);
  EXPECT_EQ(Lookup::kFound, accounts->SetPassword("anna", "hash"));
  accounts->Find("anna", &after);
  EXPECT_NE(before.credential, after.credential);
}

TEST_F(AccountDatabaseTest, ChangesOfNobodyAreReported) {
  auto accounts = AccountDatabase::OpenOrCreate(path_.c_str());
  int64_t serial = 77;
  EXPECT_EQ(Lookup::kAbsent, accounts->SetPassword("x", "hash"));
  EXPECT_EQ(Lookup::kAbsent, accounts->SetExpireDay("x", 1));
  EXPECT_EQ(Lookup::kAbsent, accounts->SetAdministrator("x", true));
  EXPECT_EQ(Lookup::kAbsent, accounts->Remove("x"));
  EXPECT_EQ(Lookup::kAbsent, accounts->CountLogin(1026, &serial));
  EXPECT_EQ(77, serial);
}

TEST_F(AccountDatabaseTest, LoginsAreCounted) {
  auto accounts = AccountDatabase::OpenOrCreate(path_.c_str());
  accounts->Add(Named("anna"), "hash");
  int64_t serial = 0;
  EXPECT_EQ(Lookup::kFound, accounts->CountLogin(1026, &serial));
  EXPECT_EQ(Lookup::kFound, accounts->CountLogin(1026, &serial));
  EXPECT_EQ(2, serial);
  Account anna;
  accounts->FindByUid(1026, &anna);
  EXPECT_EQ(2, anna.login_serial);
}

TEST(AccountName, OneOfTheSystemIsTakenInEveryCase) {
  for (const char* name : {"root", "ROOT", "sys", "Sys"}) EXPECT_TRUE(kest::IsSystemAccount(name)) << name;
  EXPECT_TRUE(kest::IsSystemAccount("\xc5\xbfys")) << "a long s is an s, as it is for the names of accounts";
  EXPECT_FALSE(kest::IsSystemAccount("sy"));
}

TEST(AccountName, OnlyPlainNamesAreTaken) {
  for (const char* name : {"a", "anna", "Anna Maria", "\xc3\x9cnsal", "a.b-c_d"})
    EXPECT_TRUE(kest::IsDirectoryName(name)) << name;
  for (const char* name : {"", " a", "a ", "-a", ".", "..", "a,b", "a:b", "a@b", "a\\b", "a/b", "a\"b", "a\nb", "a\x7f",
                           "\xff", "a\xc3", "\xc2\x85"}) {
    EXPECT_FALSE(kest::IsDirectoryName(name)) << name;
  }
  EXPECT_TRUE(kest::IsDirectoryName(std::string(255, 'a')));
  EXPECT_FALSE(kest::IsDirectoryName(std::string(256, 'a')));
}

TEST(Password, OnlyTheRightOneMatches) {
  const std::string hash = kest::HashPassword("secret");
  EXPECT_EQ("$y$", hash.substr(0, 3));
  EXPECT_NE(hash, kest::HashPassword("secret")) << "salted";
  EXPECT_TRUE(kest::PasswordMatches("secret", hash));
  EXPECT_FALSE(kest::PasswordMatches("Secret", hash));
  EXPECT_FALSE(kest::PasswordMatches("", hash));
  EXPECT_FALSE(kest::PasswordMatches("secret", "")) << "an account without a password";
  EXPECT_FALSE(kest::PasswordMatches("secret", "*0")) << "no hash at all";
  EXPECT_FALSE(kest::PasswordMatches("secret", "secret"));
}

TEST(Password, OneOfNoLengthOrTooLongIsRefused) {
  EXPECT_EQ("", kest::HashPassword(""));
  EXPECT_NE("", kest::HashPassword(std::string(511, 'p').c_str()));
  EXPECT_EQ("", kest::HashPassword(std::string(512, 'p').c_str()));
}

// What an unknown name is measured against must cost what a real hash costs: same method, same parameters.
TEST(Password, NobodysHashHasTheParametersOfARealOne) {
  const std::string real = kest::HashPassword("x");
  const std::string nobody = kest::NobodysHash();
  EXPECT_EQ(real.substr(0, real.find('$', 3)), nobody.substr(0, nobody.find('$', 3)));
  EXPECT_EQ(real.size(), nobody.size());
}

}  // namespace
