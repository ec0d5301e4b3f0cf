// The identity of a session's account, in the appliance's tree with the ids of accounts (script/appliance
// --identities).
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/klib.h"
#include "session_fixture.h"
#include "started_program.h"

namespace fs = std::filesystem;

namespace {

constexpr uid_t kAppliance = 33;
constexpr int kUsers = 100;
constexpr gid_t kAdministrators = 101;

// What each of the three calls answered, and what became of the process.
struct Switched {
  int gid = -99, gid_set = -99, uid_set = -99, error = 0;
  uid_t uids[3] = {};
  gid_t gids[3] = {};
};

std::string Status(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(key + ":\t", 0) == 0) return line.substr(key.size() + 2);
  }
  return "";
}

// The lines of a map are as many as the ranges of ids that this process can take on.
bool ManyIds() {
  std::ifstream map("/proc/self/uid_map");
  return std::count(std::istreambuf_iterator<char>(map), {}, '\n') > 1;
}

class Identity : public SessionTest {
 protected:
  static constexpr char kKept[] = "/tmp/accounts.db";

  void SetUp() override {
    if (!ManyIds()) GTEST_SKIP() << "one id only: the caller of script/appliance is not root";
    if (!fs::exists(kKept)) {
      SessionTest::SetUp();
      fs::copy_file(kAccounts, kKept);
      return;
    }
    // As SessionTest has it, without computing the passwords anew each time.
    ASSERT_TRUE(log_.bound());
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(std::string(kAccounts) + suffix);
    fs::copy_file(kKept, kAccounts);
    fs::remove_all(kSessions);
    Settings("");
    log_.Take();
  }

  // Logged in without a password, which costs no time.
  static Client LoggedIn(const char* user) {
    const Answer answer = Request(Client(), [user](KESTCGI* context, Answer* out) {
      _tag_login_params params = {};
      params.user = user;
      out->result = KestCgiLoginNoAuth(context, nullptr, nullptr, &params);
    });
    EXPECT_EQ(1, answer.result) << user;
    const std::string headers = answer.headers;
    const size_t id = headers.find("id=");
    EXPECT_NE(std::string::npos, id);
    return Client::With(headers.substr(id, 35));
  }

  // What the library does with a session.
  static Switched Switch(const std::string& sid, const char* user) {
    Switched result;
    result.gid = KestCgiGIDGet(sid.c_str(), user);
    result.gid_set = KestCgiGidSet(sid.c_str(), user);
    result.uid_set = KestCgiUidSet(sid.c_str(), user);
    result.error = KLIBErrGet();
    getresuid(&result.uids[0], &result.uids[1], &result.uids[2]);
    getresgid(&result.gids[0], &result.gids[1], &result.gids[2]);
    return result;
  }

  // Runs `body` as a request of the client; its failures are those of the test.
  static void InRequest(const Client& client, const std::function<void()>& body) {
    const Answer answer = Request(client, [&](KESTCGI*, Answer* out) {
      body();
      fflush(stdout);
      out->result = ::testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(0, answer.result) << "see above";
  }

  static void IsUnchanged(const Switched& result) {
    for (const uid_t uid : result.uids) EXPECT_EQ(kAppliance, uid);
    for (const gid_t gid : result.gids) EXPECT_EQ(kAppliance, gid);
  }

  static void IsRefused(const Client& client, const std::string& sid, const char* user) {
    InRequest(client, [&] {
      const Switched result = Switch(sid, user);
      EXPECT_GT(0, result.gid);
      EXPECT_GT(0, result.gid_set);
      EXPECT_GT(0, result.uid_set);
      EXPECT_NE(0, result.error);
      IsUnchanged(result);
    });
  }

  static uid_t UidOf(const char* user) {
    const passwd* entry = getpwnam(user);
    EXPECT_NE(nullptr, entry) << user;
    return entry == nullptr ? 0 : entry->pw_uid;
  }
};

TEST_F(Identity, AllIdsAreTheAccountsAfterwards) {
  const Client anna = LoggedIn("anna");
  const uid_t uid = UidOf("anna");
  EXPECT_LE(1024u, uid);
  InRequest(anna, [&] {
    const Switched result = Switch(anna.Id(), "anna");
    EXPECT_EQ(kUsers, result.gid);
    EXPECT_EQ(kUsers, result.gid_set);
    EXPECT_EQ(kUsers, result.uid_set);
    for (const uid_t each : result.uids) EXPECT_EQ(uid, each);
    for (const gid_t each : result.gids) EXPECT_EQ(gid_t{kUsers}, each);
  });
}

TEST_F(Identity, TheOldIdCannotBeHadAgain) {
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] {
    Switch(anna.Id(), "anna");
    for (const uid_t uid : {kAppliance, uid_t{0}, uid_t{1024}}) {
      EXPECT_EQ(-1, setuid(uid)) << uid;
      EXPECT_EQ(-1, seteuid(uid)) << uid;
      EXPECT_EQ(-1, setresuid(static_cast<uid_t>(-1), static_cast<uid_t>(-1), uid)) << uid;
      EXPECT_EQ(-1, setgid(uid)) << uid;
    }
    const gid_t wanted = kAppliance;
    EXPECT_EQ(-1, setgroups(1, &wanted));
    EXPECT_EQ(EPERM, errno);
  });
}

TEST_F(Identity, NoCapabilityIsLeftNorComesWithAProgram) {
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] {
    EXPECT_EQ("00000000000000c9", Status("CapPrm")) << "to change ids, owners and modes, and nothing else";
    Switch(anna.Id(), "anna");
    for (const char* set : {"CapInh", "CapPrm", "CapEff", "CapAmb"}) EXPECT_EQ("0000000000000000", Status(set)) << set;
    EXPECT_EQ("1", Status("NoNewPrivs"));
    EXPECT_EQ(-1, chown("/tmp", kAppliance, kAppliance));
  });
}

TEST_F(Identity, WhatAProgramStartsHasNoRightToChangeIds) {
  InRequest(LoggedIn("anna"), [] {
    EXPECT_EQ("0000000000000000", Status("CapAmb"));
    const Ended ended = StartedHere({"/bin/grep", "CapEff", "/proc/self/status"});
    EXPECT_EQ("CapEff:\t0000000000000000\n", ended.output);
  });
}

TEST_F(Identity, TheGroupsAreThoseOfTheDirectory) {
  const Client admin = LoggedIn("admin");
  InRequest(admin, [&] {
    EXPECT_EQ(0, initgroups("admin", kUsers)) << strerror(errno);
    const Switched result = Switch(admin.Id(), "admin");
    EXPECT_EQ(kUsers, result.uid_set);
    gid_t groups[8] = {};
    ASSERT_EQ(2, getgroups(8, groups));
    EXPECT_EQ(gid_t{kUsers}, groups[0]);
    EXPECT_EQ(kAdministrators, groups[1]);
  });
}

TEST_F(Identity, GroupsThatTheAccountDoesNotHaveAreLeft) {
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] {
    // As initgroups() that failed leaves it: the groups are still the web server's.
    const gid_t present[] = {kAppliance, kAdministrators, 2000};
    ASSERT_EQ(0, setgroups(3, present));
    EXPECT_EQ(kUsers, Switch(anna.Id(), "anna").uid_set);
    EXPECT_EQ(0, getgroups(0, nullptr));
  });
}

TEST_F(Identity, FilesOfOthersAreClosed) {
  const Client anna = LoggedIn("anna");
  const Client bernd = LoggedIn("bernd");
  for (const char* user : {"anna", "bernd"}) {
    const fs::path home = fs::path("/volume1/homes") / user / "private";
    fs::create_directories(home);
    std::ofstream(home / "diary") << user;
    fs::permissions(home, fs::perms::owner_all);
    ASSERT_EQ(0, chown(home.c_str(), UidOf(user), kUsers)) << strerror(errno);
  }
  InRequest(anna, [&] {
    ASSERT_EQ(kUsers, Switch(anna.Id(), "anna").uid_set);
    EXPECT_LE(0, open("/volume1/homes/anna/private/diary", O_RDONLY));
    EXPECT_LE(0, open("/volume1/homes/anna/private/new", O_WRONLY | O_CREAT | O_EXCL, 0644));
    for (const char* path : {"/volume1/homes/bernd/private/diary", kAccounts, kSessions}) {
      EXPECT_EQ(-1, open(path, O_RDONLY)) << path;
      EXPECT_EQ(EACCES, errno) << path;
    }
    EXPECT_EQ(nullptr, opendir("/volume1/homes/bernd/private"));
    EXPECT_EQ(-1, open("/volume1/homes/bernd/private/new", O_WRONLY | O_CREAT, 0644));
    EXPECT_EQ(-1, kill(getppid(), 0));
    EXPECT_EQ(EPERM, errno);
  });
}

TEST_F(Identity, NamesThatDifferInCaseAreOneAccount) {
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] { EXPECT_EQ(kUsers, Switch(anna.Id(), "ANNA").uid_set); });
}

TEST_F(Identity, AnotherAccountsSessionIsRefused) {
  const Client anna = LoggedIn("anna");
  IsRefused(anna, anna.Id(), "bernd");
  IsRefused(anna, anna.Id(), "admin");
  IsRefused(anna, anna.Id(), "");
  IsRefused(anna, anna.Id(), nullptr);
}

TEST_F(Identity, ASessionThatIsNoneIsRefused) {
  const Client anna = LoggedIn("anna");
  for (const char* sid :
       {"", "x", "../session", "0123456789abcdef0123456789abcdef", "0123456789abcdef0123456789abcdef0"}) {
    IsRefused(anna, sid, "anna");
  }
  InRequest(anna, [] {
    EXPECT_GT(0, KestCgiGIDGet(nullptr, "anna"));
    EXPECT_GT(0, KestCgiGidSet(nullptr, "anna"));
    EXPECT_GT(0, KestCgiUidSet(nullptr, "anna"));
  });
}

TEST_F(Identity, ASessionThatHasEndedIsRefused) {
  const Client idle = LoggedIn("anna");
  Age(idle, 901);
  IsRefused(idle, idle.Id(), "anna");

  const Client out = LoggedIn("anna");
  EXPECT_NE(0, Logout(out, "anna").result);
  IsRefused(out, out.Id(), "anna");

  const Client elsewhere = LoggedIn("anna");
  IsRefused(Client{"192.0.2.8", elsewhere.cookie, false}, elsewhere.Id(), "anna");
}

TEST_F(Identity, AnAccountThatHasChangedIsRefused) {
  const Client anna = LoggedIn("anna");
  const Client bernd = LoggedIn("bernd");
  const Client admin = LoggedIn("admin");
  ASSERT_EQ(0, Account({"passwd", "anna"}, "another"));
  ASSERT_EQ(0, Account({"disable", "bernd"}));
  ASSERT_EQ(0, Account({"remove", "admin"}));
  IsRefused(anna, anna.Id(), "anna");
  IsRefused(bernd, bernd.Id(), "bernd");
  IsRefused(admin, admin.Id(), "admin");
}

TEST_F(Identity, TheUserComesAfterTheGroup) {
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] {
    EXPECT_GT(0, KestCgiUidSet(anna.Id().c_str(), "anna"));
    EXPECT_EQ(kAppliance, getuid());
    EXPECT_EQ("00000000000000c9", Status("CapEff"));
  });
  EXPECT_NE(std::string::npos, log_.Take().find("the group of user"));
}

TEST_F(Identity, AProcessWithoutTheRightIsRefusedAndStaysWhatItWas) {
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    ASSERT_EQ(0, syscall(SYS_capset, &header, none));
    const Switched result = Switch(anna.Id(), "anna");
    EXPECT_EQ(kUsers, result.gid);
    EXPECT_GT(0, result.gid_set);
    EXPECT_GT(0, result.uid_set);
    EXPECT_EQ(0x300, result.error);
    IsUnchanged(result);
  });
  EXPECT_NE(std::string::npos, log_.Take().find("identity: taking on group 100 failed: Operation not permitted"));
}

// One id, as a namespace that an ordinary user of the machine makes for itself.
void KeepOneId() {
  ASSERT_EQ(0, unshare(CLONE_NEWUSER)) << strerror(errno);
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << kAppliance << ' ' << kAppliance << " 1";
  std::ofstream("/proc/self/gid_map") << kAppliance << ' ' << kAppliance << " 1";
}

TEST_F(Identity, WhereThereIsOneIdTheSettingLetsProgramsGoOnWithIt) {
  Settings("account_ids=\"one\"\n");
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] {
    KeepOneId();
    const Switched result = Switch(anna.Id(), "anna");
    EXPECT_EQ(kUsers, result.gid);
    EXPECT_EQ(kUsers, result.gid_set);
    EXPECT_EQ(kUsers, result.uid_set);
    IsUnchanged(result);
    EXPECT_EQ("0000000000000000", Status("CapEff"));
  });
  IsRefused(anna, anna.Id(), "bernd");
}

TEST_F(Identity, WhereThereIsOneIdProgramsAreRefusedWithoutTheSetting) {
  for (const char* settings : {"", "account_ids=\"many\"\n"}) {
    Settings(settings);
    const Client anna = LoggedIn("anna");
    InRequest(anna, [&] {
      KeepOneId();
      const Switched result = Switch(anna.Id(), "anna");
      EXPECT_GT(0, result.gid_set);
      EXPECT_GT(0, result.uid_set);
      EXPECT_EQ(0x300, result.error);
      IsUnchanged(result);
    });
  }
}

TEST_F(Identity, WhereThereAreMoreIdsTheSettingChangesNothing) {
  Settings("account_ids=\"one\"\n");
  const Client anna = LoggedIn("anna");
  const uid_t uid = UidOf("anna");
  InRequest(anna, [&] { EXPECT_EQ(uid, Switch(anna.Id(), "anna").uids[1]); });
}

TEST_F(Identity, NoDomainTellsOfAPrivilege) {
  int privilege = 7;
  for (const char* user : {"anna", "DOMAIN\\anna", ""}) {
    KLIBErrSet(0);
    EXPECT_EQ(-1, KestCgiDomGetPrivilege("photo", user, "", &privilege)) << user;
    EXPECT_EQ(0x600, KLIBErrGet());
  }
  EXPECT_GT(0, KestCgiDomGetPrivilege(nullptr, "anna", "", &privilege));
  EXPECT_GT(0, KestCgiDomGetPrivilege("photo", nullptr, "", &privilege));
  EXPECT_GT(0, KestCgiDomGetPrivilege("photo", "anna", nullptr, &privilege));
  EXPECT_EQ(7, privilege);
  EXPECT_GT(0, KestCgiDomGetPrivilege("photo", "anna", "", nullptr));
  EXPECT_EQ(0xD00, KLIBErrGet());
}

using NameService = Identity;

TEST_F(NameService, AnAccountIsFoundByNameAndNumber) {
  const passwd* entry = getpwnam("Anna");
  ASSERT_NE(nullptr, entry);
  EXPECT_STREQ("anna", entry->pw_name);
  EXPECT_STREQ("*", entry->pw_passwd);
  EXPECT_STREQ("/var/services/homes/anna", entry->pw_dir);
  EXPECT_EQ(gid_t{kUsers}, entry->pw_gid);
  const uid_t uid = entry->pw_uid;
  entry = getpwuid(uid);
  ASSERT_NE(nullptr, entry);
  EXPECT_STREQ("anna", entry->pw_name);
  EXPECT_EQ(nullptr, getpwnam("nobody like that"));
  EXPECT_EQ(nullptr, getpwuid(60000));
}

TEST_F(NameService, TheSystemsOwnAccountsComeFirst) {
  const passwd* entry = getpwnam("www-data");
  ASSERT_NE(nullptr, entry);
  EXPECT_EQ(kAppliance, entry->pw_uid);
}

TEST_F(NameService, AGroupIsFoundWithItsMembers) {
  ASSERT_EQ(0, Account({"admin", "bernd", "on"}));
  const group* entry = getgrnam("administrators");
  ASSERT_NE(nullptr, entry);
  EXPECT_EQ(kAdministrators, entry->gr_gid);
  ASSERT_NE(nullptr, entry->gr_mem[0]);
  EXPECT_STREQ("admin", entry->gr_mem[0]);
  ASSERT_NE(nullptr, entry->gr_mem[1]);
  EXPECT_STREQ("bernd", entry->gr_mem[1]);
  EXPECT_EQ(nullptr, entry->gr_mem[2]);
  entry = getgrgid(kUsers);
  ASSERT_NE(nullptr, entry);
  EXPECT_STREQ("users", entry->gr_name);
  EXPECT_EQ(nullptr, entry->gr_mem[0]) << "everybody's first group lists nobody";
  EXPECT_EQ(nullptr, getgrgid(60000));
}

#ifndef __SANITIZE_ADDRESS__
// A program without the sanitizers' runtime cannot load a module that needs it.
TEST_F(NameService, OtherProgramsShowTheNames) {
  std::ofstream("/tmp/annas") << "hers";
  ASSERT_EQ(0, chown("/tmp/annas", UidOf("anna"), kUsers)) << strerror(errno);
  const std::string line = StartedHere({"/bin/ls", "-l", "/tmp/annas"}).output;
  EXPECT_NE(std::string::npos, line.find(" anna users ")) << line;
  fs::remove("/tmp/annas");
}
#endif

TEST_F(NameService, WhoMayNotReadTheDirectoryIsToldNothingAndNothingIsLogged) {
  const uid_t uid = UidOf("bernd");
  log_.Take();
  const Answer answer = Request(Client(), [&](KESTCGI*, Answer* out) {
    const bool other = setresuid(uid, uid, uid) == 0;
    out->result = other && getpwnam("anna") == nullptr && getgrgid(kUsers) == nullptr ? 1 : 0;
  });
  EXPECT_EQ(1, answer.result);
  EXPECT_EQ("", log_.Take());
}

TEST_F(NameService, AProgramThatAskedBeforeItTookOnAnAccountGoesOnAsking) {
  const Client anna = LoggedIn("anna");
  InRequest(anna, [&] {
    EXPECT_EQ(0, initgroups("anna", kUsers));
    ASSERT_EQ(kUsers, Switch(anna.Id(), "anna").uid_set);
    const passwd* entry = getpwnam("bernd");
    ASSERT_NE(nullptr, entry);
    EXPECT_STREQ("bernd", entry->pw_name);
  });
}

}  // namespace
