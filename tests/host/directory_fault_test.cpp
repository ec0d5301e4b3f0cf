// What is left of accounts and groups when a save fails or its process is killed, at each call in turn; and what two
// processes make of the same one.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <new>

#include "folder.h"
#include "host/accounts/account_store.h"
#include "host/accounts/directory.h"
#include "host/accounts/directory_schema.h"
#include "host/accounts/name_list.h"
#include "host/groups/group_store.h"
#include "host/klib/error_code.h"
#include "system_faults.h"

namespace {

// Folders in memory: each of the hundreds of saves would wait for a disk.
[[maybe_unused]] const int in_memory = setenv("TEST_TMPDIR", "/dev/shm", 0);

// Memory of the code under test: the nth request for it fails, SQLite's and that of C++ alike.
int requests_until_failure = 0;

bool MemoryFails() { return requests_until_failure > 0 && --requests_until_failure == 0; }

sqlite3_mem_methods real_memory;
void* FaultyMalloc(int bytes) { return MemoryFails() ? nullptr : real_memory.xMalloc(bytes); }
void* FaultyRealloc(void* old, int bytes) { return MemoryFails() ? nullptr : real_memory.xRealloc(old, bytes); }

// SQLite takes it before anything else has been asked of it.
void PutFaultsIntoSqlite() {
  static const bool done = [] {
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &real_memory);
    sqlite3_mem_methods faulty = real_memory;
    faulty.xMalloc = FaultyMalloc;
    faulty.xRealloc = FaultyRealloc;
    return sqlite3_config(SQLITE_CONFIG_MALLOC, &faulty) == SQLITE_OK;
  }();
  ASSERT_TRUE(done);
}

}  // namespace

void* operator new(size_t bytes) {
  void* const memory = MemoryFails() ? nullptr : malloc(bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, size_t) noexcept { free(memory); }

namespace kest {
namespace {

constexpr int kMostCalls = 400;

std::string Path(const Folder& folder) { return folder.File("accounts.db"); }

int SaveAccount(Database& database, const char* existing, const char* name, const char* description = "") {
  std::string name_text = name, description_text = description;
  KESTUSER record = {};
  record.name = name_text.data();
  record.desc = description_text.data();
  record.uid = record.expire = -1;
  record.gid = kUsersGid;
  KESTUSER* records[] = {&record};
  return SaveAccounts(database, &existing, records, 1);
}

int SaveMembers(Database& database, const char* existing, const char* name, std::vector<std::string> members) {
  std::vector<char*> pointers;
  for (std::string& member : members) pointers.push_back(member.data());
  pointers.push_back(nullptr);
  std::string text = name;
  KESTGROUP record = {text.data(), -1, pointers.data(), 0, 0};
  bool changed = false;
  return SaveGroup(database, existing, record, &changed);
}

std::string Rows(Database& database, const char* sql) {
  std::string text;
  Statement rows(database, sql);
  while (rows.Row()) text += rows.Text(0) + " ";
  EXPECT_FALSE(rows.failed());
  return text;
}

// Everything that the saves of this test change, and that the file is sound.
std::string StateOf(const Folder& folder) {
  auto database = OpenDirectory(Path(folder).c_str());
  if (database == nullptr) return "unreadable";
  EXPECT_EQ("ok ", Rows(*database, "PRAGMA integrity_check"));
  EXPECT_EQ("", Rows(*database, "PRAGMA foreign_key_check"));
  return Rows(*database, "SELECT name || ':' || description FROM accounts ORDER BY uid") + "| " +
         Rows(*database, "SELECT name FROM groups WHERE gid > 101 ORDER BY gid") + "| " +
         Rows(*database,
              "SELECT g.name || '/' || a.name FROM members m JOIN groups g ON g.gid = m.gid"
              " JOIN accounts a ON a.uid = m.uid ORDER BY g.gid, a.uid");
}

constexpr char kBefore[] = "anna: bernd: clara: | family | family/anna family/bernd ";

struct Change {
  const char* name;
  const char* after;
  int (*run)(Database& database);
};
constexpr Change kChanges[] = {
    {"NewAccount", "anna: bernd: clara: dora:new | family | family/anna family/bernd ",
     [](Database& database) { return SaveAccount(database, nullptr, "dora", "new"); }},
    {"RenamedAccount", "zora:x bernd: clara: | family | family/zora family/bernd ",
     [](Database& database) { return SaveAccount(database, "anna", "zora", "x"); }},
    {"NewGroup", "anna: bernd: clara: | family office | family/anna family/bernd office/anna office/clara ",
     [](Database& database) {
       return SaveMembers(database, nullptr, "office", {"clara", "anna"});
     }},
    {"RenamedGroup", "anna: bernd: clara: | clan | clan/bernd clan/clara ",
     [](Database& database) {
       return SaveMembers(database, "family", "clan", {"bernd", "clara"});
     }},
};

class DirectoryFaultTest : public testing::TestWithParam<Change> {
 protected:
  void SetUp() override {
    PutFaultsIntoSqlite();
    auto database = Database::OpenOrCreate(Path(arranged_).c_str(), kDirectorySchema);
    for (const char* name : {"anna", "bernd", "clara"}) ASSERT_EQ(0, SaveAccount(*database, nullptr, name));
    ASSERT_EQ(0, SaveMembers(*database, nullptr, "family", {"anna", "bernd"}));
  }

  // Copied, because each save waits for the disk.
  void Arrange(const Folder& folder) const { std::filesystem::copy_file(Path(arranged_), Path(folder)); }

  // Opens and saves; whatever lacks memory on the way is a failure.
  static int Run(const Folder& folder) {
    try {
      auto database = OpenDirectory(Path(folder).c_str());
      return database == nullptr ? -kErrorSystem : GetParam().run(*database);
    } catch (const std::bad_alloc&) {
      return -kErrorNoMemory;
    }
  }

  // Runs it in a process of its own, which is killed at the nth such call. False when there are fewer.
  static bool KilledAt(const Folder& folder, const char* call, int nth) {
    const pid_t pid = fork();
    if (pid == 0) {
      const FailingCall fault(call, FailingCall::kKilled, nth);
      Run(folder);
      _exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

  // Told that it failed: all is as before. Told that it was done: it is.
  static void ExpectAsTold(const Folder& folder, int result, const std::string& where) {
    EXPECT_EQ(result == 0 ? GetParam().after : kBefore, StateOf(folder)) << where << ": " << result;
  }

  const Folder arranged_;
};

TEST_P(DirectoryFaultTest, AFailedCallFailsTheSaveOrDoesNotMatter) {
  for (const char* call : {"open", "pwrite", "fsync"}) {
    int failures = 0;
    for (int nth = 1; nth < kMostCalls; ++nth) {
      const Folder folder;
      Arrange(folder);
      const std::string where = std::string(call) + " " + std::to_string(nth);
      int result = 0;
      {
        const FailingCall fault(call, ENOSPC, nth);
        result = Run(folder);
        if (!fault.Struck()) break;
      }
      failures += result == 0 ? 0 : 1;
      ExpectAsTold(folder, result, where);
      EXPECT_EQ(0, result == 0 ? 0 : Run(folder)) << where << ": afterwards all works";
    }
    EXPECT_GT(failures, 0) << call << " never mattered";
  }
}

TEST_P(DirectoryFaultTest, AKilledProcessLeavesOneOfTheTwoStates) {
  int killed = 0;
  for (const char* call : {"pwrite", "fsync"}) {
    for (int nth = 1; nth < kMostCalls; ++nth, ++killed) {
      const Folder folder;
      Arrange(folder);
      if (!KilledAt(folder, call, nth)) break;
      const std::string state = StateOf(folder);
      EXPECT_TRUE(state == kBefore || state == GetParam().after) << call << " " << nth << ": " << state;
    }
  }
  EXPECT_GT(killed, 3);
}

TEST_P(DirectoryFaultTest, MemoryThatEndsAnywhereFailsTheSaveOrDoesNotMatter) {
  int failures = 0;
  // In strides: there are many requests, and each is followed by a look at the file.
  for (int nth = 1;; nth += 11) {
    const Folder folder;
    Arrange(folder);
    requests_until_failure = nth;
    const int result = Run(folder);
    const bool struck = requests_until_failure == 0;
    requests_until_failure = 0;
    if (!struck) break;
    failures += result == 0 ? 0 : 1;
    ExpectAsTold(folder, result, std::to_string(nth));
  }
  EXPECT_GT(failures, 10);
}

INSTANTIATE_TEST_SUITE_P(EachChange, DirectoryFaultTest, testing::ValuesIn(kChanges),
                         [](const auto& change) { return std::string(change.param.name); });

class DirectoryContest : public testing::Test {
 protected:
  void SetUp() override {
    PutFaultsIntoSqlite();
    database_ = Database::OpenOrCreate(Path(folder_).c_str(), kDirectorySchema);
    for (const char* name : {"anna", "bernd", "clara"}) ASSERT_EQ(0, SaveAccount(*database_, nullptr, name));
    ASSERT_EQ(0, SaveMembers(*database_, nullptr, "family", {"anna", "bernd"}));
    database_.reset();
  }

  // Runs both at once, so often that they meet; true when each ended with 0.
  template <typename First, typename Second>
  bool Race(First first, Second second) {
    pid_t pids[2];
    for (int i = 0; i < 2; ++i) {
      pids[i] = fork();
      if (pids[i] != 0) continue;
      auto database = OpenDirectory(Path(folder_).c_str());
      int failed = database == nullptr ? 1 : 0;
      for (int round = 0; round < 25 && failed == 0; ++round) failed = i == 0 ? first(*database) : second(*database);
      database.reset();
      _exit(failed == 0 ? 0 : 1);
    }
    bool done = true;
    for (const pid_t pid : pids) {
      int status = 0;
      waitpid(pid, &status, 0);
      done = done && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }
    return done;
  }

  const Folder folder_;
  std::unique_ptr<Database> database_;
};

TEST_F(DirectoryContest, TwoProcessesSaveTheSameAccountAndOneOfBothIsThere) {
  EXPECT_TRUE(Race([](Database& database) { return SaveAccount(database, "anna", "anna", "first"); },
                   [](Database& database) { return SaveAccount(database, "ANNA", "anna", "second"); }));
  const std::string state = StateOf(folder_).substr(0, 12);
  EXPECT_TRUE(state == "anna:first b" || state == "anna:second ") << state;
}

TEST_F(DirectoryContest, TwoProcessesSaveTheSameGroupAndItsMembersAreThoseOfOne) {
  EXPECT_TRUE(Race([](Database& database) { return SaveMembers(database, "family", "family", {"anna"}); },
                   [](Database& database) {
                     return SaveMembers(database, "family", "family", {"bernd", "clara"});
                   }));
  const std::string state = StateOf(folder_);
  EXPECT_TRUE(state == "anna: bernd: clara: | family | family/anna " ||
              state == "anna: bernd: clara: | family | family/bernd family/clara ")
      << state;
}

TEST_F(DirectoryContest, OfTwoThatWantTheSameNameOneGetsIt) {
  const auto wants = [](const char* name) {
    return [name](Database& database) {
      const int result = SaveAccount(database, name, "zora");
      return result == 0 || result == -kErrorTaken || result == -kErrorNoSuchObject ? 0 : result;
    };
  };
  EXPECT_TRUE(Race(wants("anna"), wants("bernd")));
  const std::string state = StateOf(folder_);
  EXPECT_TRUE(state == "zora: bernd: clara: | family | family/zora family/bernd " ||
              state == "anna: zora: clara: | family | family/anna family/zora ")
      << state;
}

// The sleeps that SQLite asks for while it waits, added up instead of slept.
int64_t slept_us = 0;

TEST_F(DirectoryContest, ABusyDatabaseIsWaitedForAndNotForEver) {
  auto holder = OpenDirectory(Path(folder_).c_str());
  auto waiting = OpenDirectory(Path(folder_).c_str());
  const Transaction held(*holder);
  sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
  auto* const sleep = system->xSleep;
  system->xSleep = [](sqlite3_vfs*, int us) {
    slept_us += us;
    return us;
  };
  EXPECT_EQ(-kErrorBusy, SaveAccount(*waiting, "anna", "anna", "late"));
  EXPECT_EQ(-kErrorBusy, SaveMembers(*waiting, "family", "family", {}));
  system->xSleep = sleep;
  EXPECT_GT(slept_us, 5 * 1000 * 1000);
  EXPECT_LT(slept_us, 15 * 1000 * 1000);
  EXPECT_EQ(3, CountAccounts(*waiting)) << "who only reads does not wait";
}

TEST_F(DirectoryContest, TenThousandMembersAreLoadedChangedAndSaved) {
  std::vector<std::string> members;
  auto database = OpenDirectory(Path(folder_).c_str());
  {
    Transaction transaction(*database);
    Statement insert(*database, "INSERT INTO accounts (name, folded) VALUES (?1, ?1)");
    for (int i = 0; i < 10000; ++i) {
      members.push_back("user" + std::to_string(i));
      ASSERT_TRUE(insert.Rewind().Bind(1, members.back()).Run());
    }
    ASSERT_TRUE(transaction.Commit());
  }
  ASSERT_EQ(0, SaveMembers(*database, "family", "family", members));
  members.erase(members.begin() + 4999);
  ASSERT_EQ(0, SaveMembers(*database, "family", "family", members));
  KESTGROUP* group = nullptr;
  ASSERT_EQ(0, FindGroupRecord(*database, "family", &group));
  size_t count = 0;
  for (; group->members[count] != nullptr; ++count) EXPECT_EQ(members[count], group->members[count]);
  EXPECT_EQ(9999u, count);
  free(group);
}

TEST_F(DirectoryContest, AListThatEndsForLackOfMemoryIsAFailure) {
  auto database = OpenDirectory(Path(folder_).c_str());
  const auto full = [](void* taken, const char*) { return ++*static_cast<int*>(taken) < 3; };
  int taken = 0;
  EXPECT_EQ(-kErrorNoMemory,
            NamesByPrefix(*database, "SELECT name FROM accounts WHERE folded >= ?1 AND folded < ?2", "", full, &taken));
  EXPECT_EQ(3, taken);
}

}  // namespace
}  // namespace kest
