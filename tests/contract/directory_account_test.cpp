// Accounts stored, renamed, listed and counted.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "directory_fixture.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

constexpr char kAccountsLog[] = "/usr/kest/etc/accounts.db-wal";
constexpr int kNoSuchObject = 0x600, kTaken = 0x700, kBadParameter = 0xd00;
const char kHostile[] = "'); DROP TABLE accounts; -- \" % _ \\ \xc3\xa4\xf0\x9f\x98\x80";

class DirectoryAccount : public DirectoryTest {};

TEST_F(DirectoryAccount, ANewOneIsStoredAsGivenWithANumberOfItsOwn) {
  NewAccount dora("Dora");
  dora.desc = kHostile;
  dora.email = "dora+o'neil@example.org";
  dora.shell = "/bin/sh";
  dora.home = "/volume1/doras place";
  dora.expire = 20000;
  dora.noChPasswd = 7;
  dora.attr = -5;
  dora.privilege = 0x7fffffff;
  ASSERT_EQ(0, dora.Save());
  UserSlot stored;
  ASSERT_EQ(0, KESTUserGet("dORA", &stored));
  EXPECT_STREQ("Dora", stored->name);
  EXPECT_STREQ("", stored->passwd);
  EXPECT_EQ(1029, stored->uid);
  EXPECT_EQ(100, stored->gid);
  EXPECT_STREQ(kHostile, stored->desc);
  EXPECT_STREQ("dora+o'neil@example.org", stored->email);
  EXPECT_STREQ("/bin/sh", stored->shell);
  EXPECT_STREQ("/volume1/doras place", stored->home);
  EXPECT_EQ(20000, stored->expire);
  EXPECT_EQ(1, stored->noChPasswd);
  EXPECT_EQ(-5, stored->attr);
  EXPECT_EQ(0x7fffffff, KESTUserPrivilegeGet("dora"));
}

TEST_F(DirectoryAccount, NullTextsAreEmptyAndPathsTheUsualOnes) {
  char name[] = "dora";
  KESTUSER record = {};
  record.name = name;
  record.uid = record.expire = -1;
  record.gid = 100;
  KESTUSER* records[] = {&record};
  const char* existing[] = {nullptr};
  ASSERT_EQ(0, KESTUserSet(existing, records, 1));
  UserSlot stored;
  ASSERT_EQ(0, KESTUserGet("dora", &stored));
  EXPECT_STREQ("", stored->desc);
  EXPECT_STREQ("/var/services/homes/dora", stored->home);
  EXPECT_STREQ("/sbin/nologin", stored->shell);
}

TEST_F(DirectoryAccount, AChangeReplacesEverythingButThePasswordAndTheNumber) {
  ASSERT_EQ(0, NewAccount("dora", "secret 1").Save());
  NewAccount changed("dora");
  changed.uid = 1029;
  changed.desc = "other";
  ASSERT_EQ(0, changed.Save("DORA"));
  UserSlot stored;
  ASSERT_EQ(0, KESTUserGetByUID(1029, &stored));
  EXPECT_STREQ("other", stored->desc);
  EXPECT_EQ(1, Login(Client(), "dora", "secret 1").result);
}

TEST_F(DirectoryAccount, ANewPasswordEndsItsSessionsAndARenameDoesNot) {
  ASSERT_EQ(0, NewAccount("dora", "secret 1").Save());
  Client dora;
  dora.cookie = std::string("id=") + Login(dora, "dora", "secret 1").id;
  ASSERT_EQ(0, NewAccount("Dorothea").Save("dora"));
  const Answer answer = Check(dora);
  EXPECT_EQ(1, answer.result);
  EXPECT_STREQ("Dorothea", answer.user);
  ASSERT_EQ(0, NewAccount("Dorothea", "secret 2").Save("Dorothea"));
  EXPECT_EQ(-3, Check(dora).result) << "interrupted";
  EXPECT_EQ(-1, Login(Client(), "dorothea", "secret 1").result);
  EXPECT_EQ(1, Login(Client(), "dorothea", "secret 2").result);
}

TEST_F(DirectoryAccount, OneThatIsDisabledOrExpiresLosesItsSessions) {
  ASSERT_EQ(0, NewAccount("dora", "secret 1").Save());
  for (const int day : {0, 1, 20000}) {
    NewAccount open("dora"), closed("dora");
    ASSERT_EQ(0, open.Save("dora"));
    Client dora;
    dora.cookie = std::string("id=") + Login(dora, "dora", "secret 1").id;
    ASSERT_EQ(1, Check(dora).result);
    closed.expire = day;
    ASSERT_EQ(0, closed.Save("dora"));
    EXPECT_EQ(-5, Check(dora).result) << day;
    EXPECT_EQ(-2, Login(Client(), "dora", "secret 1").result) << day;
  }
}

TEST_F(DirectoryAccount, ARenameCarriesMembershipsAndTheHomeAlong) {
  ASSERT_EQ(0, NewGroup("family", {"anna", "bernd"}).Save());
  fs::create_directories("/var/services/homes/anna/letters");
  NewAccount renamed("Anna-Maria");
  renamed.home = "/var/services/homes/anna";
  ASSERT_EQ(0, renamed.Save("anna"));
  UserSlot stored;
  ASSERT_EQ(0, KESTUserGet("anna-maria", &stored));
  EXPECT_EQ(1026, stored->uid);
  EXPECT_STREQ("/var/services/homes/Anna-Maria", stored->home);
  EXPECT_TRUE(fs::exists("/var/services/homes/Anna-Maria/letters"));
  EXPECT_FALSE(fs::exists("/var/services/homes/anna"));
  EXPECT_EQ((Names{"Anna-Maria", "bernd"}), Members("family"));
  EXPECT_LT(KESTUserGet("anna", &stored), 0);
  renamed.home = "/volume1/elsewhere";
  EXPECT_EQ(0, renamed.Save("Anna-Maria"));
  renamed.name = "anna";
  EXPECT_EQ(0, renamed.Save("Anna-Maria"));
  ASSERT_EQ(0, KESTUserGet("anna", &stored));
  EXPECT_STREQ("/volume1/elsewhere", stored->home) << "a home of somebody's choice stays";
}

TEST_F(DirectoryAccount, ARenameIsRefusedWhileSomethingLiesWhereTheHomeShouldGo) {
  fs::create_directories("/var/services/homes/anna");
  fs::create_directories("/var/services/homes/dora/letters");
  NewAccount renamed("dora");
  renamed.home = "/var/services/homes/anna";
  IsRefused(kTaken, renamed.Save("anna"));
  EXPECT_EQ((Names{"anna", "bernd", "Clara"}), AccountNames());
  EXPECT_TRUE(fs::exists("/var/services/homes/anna"));
  EXPECT_TRUE(fs::exists("/var/services/homes/dora/letters"));
  EXPECT_NE("", log_.Take());
}

// Keeps the database open in a process of its own, so that what others write is added to its log.
class Reader {
 public:
  Reader() {
    int ready[2];
    if (pipe(ready) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      UserSlot slot;
      KESTUserDBGetByCursor(KESTUserDBOpen(), &slot, AUTH_TYPE_LOCAL, 0);
      _exit(write(ready[1], "x", 1) == 1 ? pause() : 1);
    }
    char byte = 0;
    is_ready_ = read(ready[0], &byte, 1) == 1;
    for (const int end : ready) close(end);
  }
  ~Reader() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  bool IsReady() const { return is_ready_; }

 private:
  pid_t pid_ = 0;
  bool is_ready_ = false;
};

// How a process of its own ends that does this. It is killed when it writes to a file behind `most` bytes.
int StatusOf(const std::function<bool()>& work, rlim_t most = RLIM_INFINITY) {
  const pid_t pid = fork();
  if (pid == 0) {
    const rlimit no_core = {0, 0}, limit = {most, RLIM_INFINITY};
    setrlimit(RLIMIT_CORE, &no_core);
    setrlimit(RLIMIT_FSIZE, &limit);
    _exit(work() ? 0 : 1);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return status;
}

// The home is where the record of one of the two names says, and nowhere else.
bool IsAtHome() {
  for (const std::string name : {"anna", "zora"}) {
    UserSlot slot;
    if (KESTUserGet(name.c_str(), &slot) != 0) continue;
    const std::string home = "/var/services/homes/" + name;
    return slot->home == home && fs::exists(home + "/letters") &&
           !fs::exists(name == "anna" ? "/var/services/homes/zora" : "/var/services/homes/anna");
  }
  return false;
}

TEST_F(DirectoryAccount, ARenameThatIsKilledAtAnyWriteLeavesTheHomeWhereTheRecordSays) {
  constexpr rlim_t kFrame = 24 + 4096;  // of the database's log: a head and a page
  const Reader reader;
  ASSERT_TRUE(reader.IsReady());
  fs::create_directories("/var/services/homes/anna/letters");
  int killed = 0, on_its_way = 0;
  for (rlim_t frames = 0; frames < 100; ++frames) {
    SCOPED_TRACE(frames);
    const rlim_t written = fs::exists(kAccountsLog) ? fs::file_size(kAccountsLog) : 0;
    const int status = StatusOf(
        [] {
          NewAccount renamed("zora");
          renamed.home = "/var/services/homes/anna";
          return renamed.Save("anna") == 0;
        },
        written + frames * kFrame);
    on_its_way += fs::exists("/var/services/homes/zora") ? 1 : 0;
    // Whoever asks, or wants the name at which a home was left.
    const bool asks = frames % 2 == 0 || status == 0;
    EXPECT_EQ(0, StatusOf([asks] {
                return asks ? IsAtHome()
                            : NewAccount("zora").Save() == 0 && fs::exists("/var/services/homes/anna/letters");
              }));
    if (status == 0) break;
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << status;
    ++killed;
    if (!asks) {
      ASSERT_EQ(0, Account({"remove", "zora"}));
    }
  }
  EXPECT_LT(3, killed);
  EXPECT_LT(1, on_its_way) << "the home was moved before it was killed";
}

TEST_F(DirectoryAccount, AnotherSpellingOfItsOwnNameIsARename) {
  ASSERT_EQ(0, NewAccount("ANNA").Save("anna"));
  EXPECT_EQ((Names{"ANNA", "bernd", "Clara"}), AccountNames());
}

TEST_F(DirectoryAccount, NamesThatNobodyMayHave) {
  const std::string longest(255, 'n');
  for (const std::string& name :
       {std::string(),       std::string(" x"),    std::string("x "),           std::string("-x"),
        std::string("."),    std::string(".."),    std::string("a,b"),          std::string("a:b"),
        std::string("a@b"),  std::string("a/b"),   std::string("a\\b"),         std::string("a\"b"),
        std::string("a\nb"), std::string("a\tb"),  std::string("a\x7f"),        std::string("a\xc2\x85"),
        std::string("\xff"), std::string("a\xc3"), std::string("\xed\xa0\x80"), longest + "n"}) {
    IsRefused(kBadParameter, NewAccount(name).Save());
    IsRefused(kBadParameter, NewAccount(name).Save("anna"));
    IsRefused(kBadParameter, NewGroup(name).Save());
  }
  for (const std::string& name : {std::string("root"), std::string("ROOT"), std::string("nobody")}) {
    IsRefused(kTaken, NewAccount(name).Save());
    IsRefused(kTaken, NewAccount(name).Save("anna"));
  }
  EXPECT_EQ((Names{"anna", "bernd", "Clara"}), AccountNames());
  for (const std::string& name : {longest, std::string("x"), std::string("a b'c;d%_$(e)"), std::string("\xc3\x84rger"),
                                  std::string("123"), std::string("DROP TABLE")}) {
    EXPECT_EQ(0, NewAccount(name).Save()) << name;
    EXPECT_EQ(0, NewGroup(name).Save()) << name;
  }
}

TEST_F(DirectoryAccount, ANameIsTakenInEveryCase) {
  ASSERT_EQ(0, NewAccount("Stra\xc3\x9f"
                          "e")
                   .Save());
  for (const char* name : {"anna", "ANNA", "clara", "STRASSE", "strasse"}) {
    IsRefused(kTaken, NewAccount(name).Save());
    IsRefused(kTaken, NewAccount(name).Save("bernd"));
  }
  EXPECT_EQ((Names{"anna", "bernd", "Clara",
                   "Stra\xc3\x9f"
                   "e"}),
            AccountNames());
}

TEST_F(DirectoryAccount, ValuesOutOfRangeAreRefusedAndChangeNothing) {
  const struct {
    const char* what;
    void (*spoil)(NewAccount*);
  } rows[] = {
      {"a day below -1", [](NewAccount* a) { a->expire = -2; }},
      {"a group that there is not", [](NewAccount* a) { a->gid = 4711; }},
      {"a home that is no path", [](NewAccount* a) { a->home = "home"; }},
      {"a home with a colon", [](NewAccount* a) { a->home = "/a:b"; }},
      {"a shell with a line break", [](NewAccount* a) { a->shell = "/bin/sh\nroot::0:0"; }},
      {"a mail address with a line break", [](NewAccount* a) { a->email = "a@b\nBcc: c@d"; }},
      {"a description that is no UTF-8", [](NewAccount* a) { a->desc = "\xff"; }},
      {"a description without end", [](NewAccount* a) { a->desc = std::string(4097, 'd'); }},
      {"a password without end", [](NewAccount* a) { a->passwd = std::string(512, 'p'); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    NewAccount fresh("dora"), changed("anna");
    row.spoil(&fresh);
    row.spoil(&changed);
    IsRefused(kBadParameter, fresh.Save());
    IsRefused(kBadParameter, changed.Save("anna"));
  }
  NewAccount numbered("dora");
  numbered.uid = 4711;
  IsRefused(kBadParameter, numbered.Save());
  EXPECT_EQ((Names{"anna", "bernd", "Clara"}), AccountNames());
}

TEST_F(DirectoryAccount, OneThatIsGoneOrAnothersByNowIsNotChanged) {
  IsRefused(kNoSuchObject, NewAccount("dora").Save("dora"));
  IsRefused(kNoSuchObject, NewAccount("dora").Save(""));
  NewAccount stale("bernd");
  stale.uid = 1026;  // anna's
  stale.desc = "mine";
  IsRefused(kNoSuchObject, stale.Save("bernd"));
  UserSlot bernd;
  ASSERT_EQ(0, KESTUserGet("bernd", &bernd));
  EXPECT_STREQ("", bernd->desc);
}

TEST_F(DirectoryAccount, SeveralAreStoredTogetherOrNotAtAll) {
  NewAccount dora("dora"), taken("ANNA"), emil("emil");
  KESTUSER first = dora.Record(), second = taken.Record(), third = emil.Record();
  KESTUSER* both[] = {&first, &second};
  const char* existing[] = {nullptr, nullptr};
  IsRefused(kTaken, KESTUserSet(existing, both, 2));
  EXPECT_EQ((Names{"anna", "bernd", "Clara"}), AccountNames());
  both[1] = &third;
  EXPECT_EQ(0, KESTUserSet(existing, both, 2));
  EXPECT_EQ((Names{"anna", "bernd", "Clara", "dora", "emil"}), AccountNames());
}

TEST_F(DirectoryAccount, CallsWithoutARecordAreRefused) {
  NewAccount dora("dora");
  KESTUSER record = dora.Record();
  KESTUSER* records[] = {&record, nullptr};
  const char* existing[] = {nullptr, nullptr};
  IsRefused(kBadParameter, KESTUserSet(nullptr, records, 1));
  IsRefused(kBadParameter, KESTUserSet(existing, nullptr, 1));
  IsRefused(kBadParameter, KESTUserSet(existing, records, 0));
  IsRefused(kBadParameter, KESTUserSet(existing, records, -1));
  IsRefused(kBadParameter, KESTUserSet(existing, records, 2));
  UserSlot slot;
  IsRefused(kBadParameter, KESTUserDBGetByCursor(nullptr, &slot, AUTH_TYPE_LOCAL, 0));
  EXPECT_EQ(0, KESTUserDBClose(nullptr));
  TextList list;
  IsRefused(kBadParameter, KESTUserEnumByPrefix(nullptr, AUTH_TYPE_LOCAL, "", 1));
  IsRefused(kBadParameter, KESTUserEnumByPrefix(list.Slot(), AUTH_TYPE_LOCAL, nullptr, 1));
}

class DirectoryList : public DirectoryTest {
 protected:
  static int Enumerate(const char* prefix, Names* names, AUTH_TYPE type = AUTH_TYPE_LOCAL) {
    TextList list;
    const int count = KESTUserEnumByPrefix(list.Slot(), type, prefix, 1);
    *names = list.Texts();
    return count;
  }
};

TEST_F(DirectoryList, APrefixMatchesInEveryCaseAndTheOrderIsThatOfFoldedNames) {
  ASSERT_EQ(0, Load("annabel\nANTON\nan_\nan%\n\xc3\x84nne\n\xc3\xa4rmel\nZoe\nzo\xc3\xab\nStra\xc3\x9f"
                    "e\nan\xf0\x9f\x98\x80"));
  const struct {
    const char* prefix;
    Names names;
  } rows[] = {
      {"an", {"an%", "an_", "anna", "annabel", "ANTON", "an\xf0\x9f\x98\x80"}},
      {"AnN", {"anna", "annabel"}},
      {"anna", {"anna", "annabel"}},
      {"an%", {"an%"}},
      {"an_", {"an_"}},
      {"\xc3\xa4", {"\xc3\x84nne", "\xc3\xa4rmel"}},
      {"\xc3\x84R", {"\xc3\xa4rmel"}},
      {"STRASS",
       {"Stra\xc3\x9f"
        "e"}},
      {"zo", {"Zoe", "zo\xc3\xab"}},
      {"x", {}},
      {"annabella", {}},
      {"\xff", {}},
      {"an\xc3", {}},
      {"' OR 1=1 --", {}},
  };
  for (const auto& row : rows) {
    Names names;
    EXPECT_EQ(static_cast<int>(row.names.size()), Enumerate(row.prefix, &names)) << row.prefix;
    EXPECT_EQ(row.names, names) << row.prefix;
  }
  Names all;
  EXPECT_EQ(13, Enumerate("", &all));
  EXPECT_EQ(AccountNames(), all) << "one order for both";
  EXPECT_EQ(13, KESTUserTotalNum(AUTH_TYPE_LOCAL));
}

TEST_F(DirectoryList, NamesAreAppendedToWhatAListHolds) {
  TextList list(1, {"zero"});
  EXPECT_EQ(3, KESTUserEnumByPrefix(list.Slot(), AUTH_TYPE_LOCAL, "", 1));
  EXPECT_EQ((Names{"zero", "anna", "bernd", "Clara"}), list.Texts());
}

TEST_F(DirectoryList, OtherSourcesAreEmptyAndUnknownOnesRefused) {
  for (const AUTH_TYPE type : {AUTH_TYPE_DOMAIN, AUTH_TYPE_DIRECTORY}) {
    Names names;
    EXPECT_EQ(0, Enumerate("", &names, type));
    EXPECT_EQ(Names{}, AccountNames(type));
    EXPECT_EQ(Names{}, GroupNames(type));
    EXPECT_EQ(0, KESTUserTotalNum(type));
  }
  const auto unknown = static_cast<AUTH_TYPE>(3);
  Names names;
  IsRefused(kBadParameter, Enumerate("", &names, unknown));
  EXPECT_EQ(0, KESTUserTotalNum(unknown));
  UserSlot slot;
  KESTUSERDB* const cursor = KESTUserDBOpen();
  IsRefused(kBadParameter, KESTUserDBGetByCursor(cursor, &slot, unknown, 0));
  KESTUserDBClose(cursor);
}

TEST_F(DirectoryList, WithoutADomainThereIsNothingToRefresh) { IsRefused(kNoSuchObject, KESTUserDBDomainRebuild(0)); }

TEST_F(DirectoryList, AWalkSeesTheAccountsAsTheyWereWhenItBegan) {
  KESTUSERDB* const cursor = KESTUserDBOpen();
  UserSlot slot;
  ASSERT_EQ(0, KESTUserDBGetByCursor(cursor, &slot, AUTH_TYPE_LOCAL, 0));
  ASSERT_EQ(0, NewAccount("aaron").Save());
  ASSERT_EQ(0, NewAccount("bernd2").Save());
  ASSERT_EQ(0, NewAccount("zz").Save("bernd"));
  ASSERT_EQ(0, Account({"remove", "Clara"})) << "by another process";
  Names names = {slot->name};
  while (KESTUserDBGetByCursor(cursor, &slot, AUTH_TYPE_LOCAL, 0) == 0) names.emplace_back(slot->name);
  EXPECT_EQ((Names{"anna", "bernd", "Clara"}), names);
  EXPECT_EQ(1, KESTUserDBGetByCursor(cursor, &slot, AUTH_TYPE_LOCAL, 0)) << "behind the end is the end";
  EXPECT_EQ(0, KESTUserDBClose(cursor));
  EXPECT_STREQ("Clara", slot->name) << "a record outlives its cursor";
  EXPECT_STREQ("works here", slot->desc);
  EXPECT_STREQ("clara@example.org", slot->email);
  EXPECT_EQ((Names{"aaron", "anna", "bernd2", "zz"}), AccountNames());
}

TEST_F(DirectoryList, ADamagedOrMissingDatabaseIsAFailureAndLeftAsItIs) {
  const std::string bytes(5000, '\x5a');
  std::ofstream(kAccounts, std::ios::binary | std::ios::trunc) << bytes;
  for (const bool missing : {false, true}) {
    if (missing) fs::remove(kAccounts);
    EXPECT_GT(0, NewAccount("dora").Save());
    EXPECT_NE(0, KLIBErrGet());
    EXPECT_GT(0, NewGroup("family").Save());
    EXPECT_EQ(nullptr, KESTUserDBOpen());
    EXPECT_EQ(nullptr, KESTGroupDBOpen());
    UserSlot user;
    GroupSlot group;
    EXPECT_GT(0, KESTGroupGet("users", &group));
    const int of_group = KLIBErrGet();
    IsRefused(of_group, KESTUserGet("anna", &user));
    IsRefused(of_group, KESTUserGetByUID(1026, &user));
    Names names;
    EXPECT_GT(0, Enumerate("", &names));
    EXPECT_EQ(0, KESTUserTotalNum(AUTH_TYPE_LOCAL));
    EXPECT_EQ((Names{"?"}), Members("users"));
    EXPECT_NE("", log_.Take());
    if (missing) {
      EXPECT_FALSE(fs::exists(kAccounts));
    } else {
      std::ifstream file(kAccounts, std::ios::binary);
      EXPECT_EQ(bytes, std::string(std::istreambuf_iterator<char>(file), {}));
    }
  }
}

}  // namespace
