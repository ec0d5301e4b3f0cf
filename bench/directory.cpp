// What lists and saves of accounts, groups and shares cost, for costs_table.py; inside the appliance tree, on a fresh
// state. Beside each call of the library stands the same work of a plain program with SQLite ("Plain..."). The two are
// measured by processes of their own: within one process two copies of SQLite undo each other's locks.
//
//   directory COUNT [benchmark option]...   makes so many accounts and measures with them. Prints also "page", their
//                                           number, and the most memory, in KiB, of a process that lists one page
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sqlite3.h>
#include <strings.h>
#include <sys/wait.h>
#include <tarvel/group.h>
#include <tarvel/share.h>
#include <tarvel/user.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr char kDatabase[] = "/usr/kest/etc/accounts.db";
constexpr char kShowPage[] = "page";
constexpr int kPage = 50, kSaved = 1000, kShares = 500;

int accounts = 0;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "directory: %s\n", what);
  std::exit(EXIT_FAILURE);
}
void Require(bool holds, const char* what) {
  if (!holds) Fail(what);
}

std::string Name(int number) {
  char name[32];
  std::snprintf(name, sizeof name, "user%06d", number);
  return name;
}

// The plain program: one connection, statements prepared for each piece of work.
class Plain {
 public:
  Plain() {
    Require(sqlite3_open_v2(kDatabase, &database_, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK, "no database");
    Run("PRAGMA foreign_keys = ON");
  }
  ~Plain() { sqlite3_close(database_); }
  Plain(const Plain&) = delete;
  Plain& operator=(const Plain&) = delete;

  void Run(const char* sql) {
    if (sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail(sqlite3_errmsg(database_));
  }

  class Rows {
   public:
    Rows(Plain& plain, const char* sql) {
      if (sqlite3_prepare_v2(plain.database_, sql, -1, &statement_, nullptr) != SQLITE_OK) Fail(sql);
    }
    ~Rows() { sqlite3_finalize(statement_); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    Rows& Of(const std::string& text) {
      sqlite3_reset(statement_);
      sqlite3_bind_text(statement_, 1, text.c_str(), -1, SQLITE_TRANSIENT);
      return *this;
    }
    Rows& Of(int64_t number) {
      sqlite3_reset(statement_);
      sqlite3_bind_int64(statement_, 1, number);
      return *this;
    }
    bool Next() { return sqlite3_step(statement_) == SQLITE_ROW; }
    // Every column is read, as whoever delivers records has to.
    size_t Read() {
      size_t bytes = 0;
      for (int column = 0; column < sqlite3_column_count(statement_); ++column) bytes += std::strlen(Text(column));
      return bytes;
    }
    const char* Text(int column) {
      const void* const text = sqlite3_column_text(statement_, column);
      return text != nullptr ? static_cast<const char*>(text) : "";
    }

   private:
    sqlite3_stmt* statement_ = nullptr;
  };

 private:
  sqlite3* database_ = nullptr;
};

#define RECORD                                                                                                    \
  "SELECT name, description, email, uid, gid, home, shell, expire_day, no_password_change, attributes, privilege" \
  " FROM accounts"

Json::Value Item(Plain::Rows& row) {
  Json::Value item;
  item["name"] = row.Text(0);
  item["descr"] = row.Text(1);
  item["email"] = row.Text(2);
  item["disabled"] = "Normal";
  return item;
}

void EnumUsers(benchmark::State& state, const char* prefix) {
  for (auto _ : state) {
    Json::Value page;
    SDK::User::EnumUsers(accounts / 2, kPage, AUTH_TYPE_LOCAL, prefix, page);
    Require(page["items"].size() == kPage && page["total"].asInt() >= accounts, "no page");
  }
}

void PlainEnumUsers(benchmark::State& state) {
  Plain plain;
  for (auto _ : state) {
    Json::Value page;
    Plain::Rows rows(plain, RECORD " ORDER BY folded");
    int count = 0;
    for (; rows.Next(); ++count) {
      benchmark::DoNotOptimize(rows.Read());
      if (count >= accounts / 2 && count < accounts / 2 + kPage) page["items"].append(Item(rows));
    }
    page["total"] = count;
  }
}

void PlainEnumUsersByPrefix(benchmark::State& state) {
  Plain plain;
  for (auto _ : state) {
    Json::Value page;
    std::vector<std::string> names;
    Plain::Rows rows(plain, "SELECT folded FROM accounts WHERE folded >= 'user' AND folded < 'uses' ORDER BY folded");
    while (rows.Next()) names.emplace_back(rows.Text(0));
    Plain::Rows row(plain, RECORD " WHERE folded = ?");
    for (int i = 0; i < kPage; ++i) {
      Require(row.Of(names[static_cast<size_t>(accounts / 2 + i)]).Next(), "no row");
      page["items"].append(Item(row));
    }
  }
}

void GetUserLocation(benchmark::State& state) {
  const std::string last = Name(accounts);
  for (auto _ : state) {
    int position = 0;
    SDK::User::GetUserLocation(last, AUTH_TYPE_LOCAL, &position);
    Require(position >= accounts - 1, "not found");
  }
}

void PlainGetUserLocation(benchmark::State& state) {
  Plain plain;
  const std::string last = Name(accounts);
  for (auto _ : state) {
    Plain::Rows rows(plain, RECORD " ORDER BY folded");
    int position = 0;
    for (; rows.Next() && strcasecmp(rows.Text(0), last.c_str()) != 0; ++position)
      benchmark::DoNotOptimize(rows.Read());
    benchmark::DoNotOptimize(position);
  }
}

std::string Description(const benchmark::State& state, size_t round) {
  return "round " + std::to_string(round % 2) + " of " + std::to_string(state.max_iterations);
}

void SaveUsers(benchmark::State& state) {
  std::vector<SDK::User*> users;
  for (int i = 1; i <= kSaved; ++i) users.push_back(SDK::User::LoadUser(Name(i)));
  size_t round = 0;
  for (auto _ : state) {
    for (SDK::User* user : users) {
      user->SetDesc(Description(state, round));
      Require(user->Save(), "not saved");
    }
    ++round;
  }
  SDK::User::ReleaseUserList(users);
}

void PlainSaveUsers(benchmark::State& state) {
  Plain plain;
  size_t round = 0;
  for (auto _ : state) {
    const std::string update = "UPDATE accounts SET name = name, folded = folded, description = '" +
                               Description(state, round++) + "' WHERE folded = ?";
    for (int i = 1; i <= kSaved; ++i) {
      plain.Run("BEGIN IMMEDIATE");
      Plain::Rows(plain, update.c_str()).Of(Name(i)).Next();
      plain.Run("COMMIT");
    }
  }
}

// A group of all accounts, of which one leaves and comes back.
void SaveGroup(benchmark::State& state) {
  const std::string name = Name(1);
  for (auto _ : state) {
    SDK::Group* const group = SDK::Group::LoadGroup("everyone");
    group->IsMember(name) ? group->RemoveMember(name) : group->AddMember(name);
    Require(group->GetMemberCount() >= accounts - 1 && group->Save(), "not saved");
    SDK::Group::Release(group);
  }
}

void PlainSaveGroup(benchmark::State& state) {
  Plain plain;
  bool is_member = true;
  for (auto _ : state) {
    std::vector<std::string> members;
    Plain::Rows rows(
        plain, "SELECT a.folded FROM members JOIN accounts AS a USING (uid) WHERE members.gid = 102 ORDER BY folded");
    while (rows.Next()) members.emplace_back(rows.Text(0));
    plain.Run("BEGIN IMMEDIATE");
    Plain::Rows row(plain, "SELECT uid FROM accounts WHERE folded = ?");
    for (const std::string& member : members) Require(row.Of(member).Next(), "no row");
    plain.Run(
        is_member
            ? "DELETE FROM members WHERE gid = 102 AND uid IN (SELECT uid FROM accounts WHERE folded = 'user000001')"
            : "INSERT INTO members SELECT 102, uid FROM accounts WHERE folded = 'user000001'");
    plain.Run("COMMIT");
    is_member = !is_member;
  }
  if (!is_member) plain.Run("INSERT INTO members SELECT 102, uid FROM accounts WHERE folded = 'user000001'");
}

void EnumShares(benchmark::State& state) {
  for (auto _ : state) {
    Json::Value list;
    SDK::Share::EnumShares(KEST_SHARE_ENUM_COUNTED, nullptr, list);
    Require(list["items"].size() == kShares, "not all shares");
  }
}

void PlainEnumShares(benchmark::State& state) {
  Plain plain;
  for (auto _ : state) {
    std::vector<std::string> names;
    Plain::Rows rows(plain, "SELECT folded FROM shares ORDER BY folded");
    while (rows.Next()) names.emplace_back(rows.Text(0));
    Plain::Rows row(plain,
                    "SELECT id, name, description, path, attributes, browseable, restrictions, encryption FROM shares"
                    " WHERE folded = ?");
    Plain::Rows entry(
        plain,
        "SELECT permission, coalesce(a.name, '@' || g.name, e.name) FROM share_access AS e"
        " LEFT JOIN accounts AS a ON a.uid = e.uid LEFT JOIN groups AS g ON g.gid = e.gid WHERE share = ?");
    Json::Value list;
    for (const std::string& name : names) {
      Require(row.Of(name).Next(), "no row");
      benchmark::DoNotOptimize(row.Read());
      entry.Of(std::atoll(row.Text(0)));
      while (entry.Next()) benchmark::DoNotOptimize(entry.Read());
      Json::Value item;
      for (const char* member : {"name", "descr", "hidden", "disable_list", "disable_modify", "disable_download",
                                 "enc_auto_mount", "encryption"}) {
        item[member] = row.Text(1);
      }
      list["items"].append(item);
    }
  }
}

void Fill(int count) {
  FILE* const tool = popen("/usr/kest/bin/kestaccount add admin admin", "w");
  Require(tool != nullptr && std::fputs("a password\n", tool) >= 0 && pclose(tool) == 0, "no directory");
  Plain plain;
  const std::string upto = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ";
  plain.Run("BEGIN");
  plain.Run((upto + std::to_string(count) +
             ") INSERT INTO accounts (name, folded, description, home, shell, email) SELECT printf('User%06d', i),"
             " printf('user%06d', i), printf('Person number %d', i), printf('/var/services/homes/User%06d', i),"
             " '/sbin/nologin', printf('user%d@example.org', i) FROM n")
                .c_str());
  plain.Run("INSERT INTO groups (gid, name, folded) VALUES (102, 'everyone', 'everyone')");
  plain.Run("INSERT INTO members SELECT 102, uid FROM accounts WHERE folded LIKE 'user%' LIMIT 10000");
  plain.Run((upto + std::to_string(kShares) +
             ") INSERT INTO shares (name, folded, description, path) SELECT printf('Share%03d', i),"
             " printf('share%03d', i), 'A share', printf('/volume1/Share%03d', i) FROM n")
                .c_str());
  plain.Run(
      "INSERT INTO share_access (share, permission, position, uid) SELECT id, 'rw', 0, (SELECT max(uid) FROM"
      " accounts) FROM shares");
  plain.Run("INSERT INTO share_access (share, permission, position, gid) SELECT id, 'ro', 0, 100 FROM shares");
  plain.Run("COMMIT");
}

// In a process of its own, which has done nothing else.
int ShowMemoryOfAPage() {
  Json::Value page;
  SDK::User::EnumUsers(0, kPage, AUTH_TYPE_LOCAL, nullptr, page);
  Require(page["items"].size() == kPage, "no page");
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) std::printf("page\t%d\t%d\n", page["total"].asInt(), std::atoi(line.c_str() + 6));
  }
  return EXIT_SUCCESS;
}

void RunPage(char* program) {
  std::string argument = kShowPage;
  char* const arguments[] = {program, argument.data(), nullptr};
  pid_t page = 0;
  int status = EXIT_FAILURE;
  Require(posix_spawn(&page, "/proc/self/exe", nullptr, nullptr, arguments, environ) == 0, "no process");
  Require(waitpid(page, &status, 0) == page && status == 0, "no page");
}

void Register(const char* name, void (*measured)(benchmark::State&), int count) {
  benchmark::RegisterBenchmark(name, measured)->Arg(count);
}

void RegisterAll() {
  constexpr int kFewest = 1000, kGroup = 10000;
  Register(
      "EnumUsers", [](benchmark::State& state) { EnumUsers(state, nullptr); }, accounts);
  Register("PlainEnumUsers", PlainEnumUsers, accounts);
  Register(
      "EnumUsersByPrefix", [](benchmark::State& state) { EnumUsers(state, "user"); }, accounts);
  Register("PlainEnumUsersByPrefix", PlainEnumUsersByPrefix, accounts);
  Register("GetUserLocation", GetUserLocation, accounts);
  Register("PlainGetUserLocation", PlainGetUserLocation, accounts);
  if (accounts == kGroup) {
    Register("SaveGroup", SaveGroup, kGroup);
    Register("PlainSaveGroup", PlainSaveGroup, kGroup);
  }
  if (accounts != kFewest) return;
  Register("SaveUsers", SaveUsers, kSaved);
  Register("PlainSaveUsers", PlainSaveUsers, kSaved);
  Register("EnumShares", EnumShares, kShares);
  Register("PlainEnumShares", PlainEnumShares, kShares);
}

}  // namespace

int main(int argc, char** argv) {
  Require(argc > 1, "COUNT is missing");
  if (std::strcmp(argv[1], kShowPage) == 0) return ShowMemoryOfAPage();
  accounts = std::atoi(argv[1]);
  Fill(accounts);
  RunPage(argv[0]);
  --argc;
  benchmark::Initialize(&argc, argv + 1);
  RegisterAll();
  benchmark::RunSpecifiedBenchmarks();
  return EXIT_SUCCESS;
}
