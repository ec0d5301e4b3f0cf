// A share and its folder change together: whatever fails on the way, and wherever the process is killed, both are the
// old or both the new, and nothing else is left.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>

#include "folder.h"
#include "host/accounts/directory_schema.h"
#include "host/groups/member_change.h"
#include "host/klib/error_code.h"
#include "host/shares/share_encryption.h"
#include "host/shares/share_lock.h"
#include "host/shares/share_recovery.h"
#include "host/shares/share_save.h"
#include "system_faults.h"
#include "vault_double.h"

namespace fs = std::filesystem;

namespace kest {
namespace {

// Two volumes, a database with two accounts, and the share "photo" with something in it.
class Machine {
 public:
  Machine() {
    for (const char* volume : {"one", "two"}) fs::create_directory(Volume(volume));
    Use();
    shares_->database().Execute(
        "INSERT INTO accounts (uid, name, folded) VALUES (1030, 'anna', 'anna'), (1031, 'bernd', 'bernd')");
    if (Save(nullptr, "photo", "one", "", "anna") != 0) abort();
    fs::create_directories(Volume("one") + "/photo/deep");
    std::ofstream(Volume("one") + "/photo/deep/a") << "content";
  }

  std::string Volume(const std::string& name) const { return folder_.File(name); }

  // A connection of this process.
  void Use() {
    shares_.reset();
    shares_ = std::make_unique<ShareDatabase>(Database::OpenOrCreate(folder_.File("db").c_str(), kDirectorySchema),
                                              folder_.File("locks").c_str());
  }

  // No connection of SQLite's survives a fork.
  pid_t Fork() {
    shares_.reset();
    const pid_t child = fork();
    Use();
    return child;
  }

  int Start() {
    const std::string mount = Volume("one");
    return EncryptionStep(*shares_, *FoldersWithVaults(), {"photo", KEST_SHARE_ENC_START, "right", mount.c_str()});
  }

  // As after a start of the machine: what is encrypted has to be opened.
  void Open() {
    Share share;
    if (shares_->Find("photo", &share) == Lookup::kFound && IsLocked(*FoldersWithVaults(), share)) {
      ASSERT_EQ(0, Start());
    }
  }

  int Save(const char* existing, const std::string& name, const std::string& volume, const std::string& na,
           const std::string& rw, bool move = false) {
    std::string texts[] = {name, "", Volume(volume) + "/" + name, na, rw, ""};
    KESTSHARE record = {texts[0].data(),
                        texts[1].data(),
                        texts[2].data(),
                        texts[3].data(),
                        texts[4].data(),
                        texts[5].data(),
                        2,
                        1,
                        0,
                        0,
                        0,
                        0};
    const std::string mount = Volume(volume), one = Volume("one");
    const KestShareChange change = {existing, &record, mount.c_str(), one.c_str(), move, false};
    return SaveShare(*shares_, *FoldersWithVaults(), change);
  }

  // Everybody may write but a group that has no members yet.
  int ShutOutTeam() {
    shares_->database().Execute("INSERT INTO groups (gid, name, folded) VALUES (1040, 'team', 'team')");
    return Save("photo", "photo", "one", "@team", "@users");
  }

  // Another member of the group; the folder follows.
  int Join() {
    Database& database = shares_->database();
    {
      Transaction transaction(database);
      const bool joined = database.Execute("INSERT OR IGNORE INTO members (gid, uid) VALUES (1040, 1031)") &&
                          NoteChangedMembers(database, 1040) && transaction.Commit();
      if (!joined) return -kErrorSystem;
    }
    return RenderChanged(*shares_, *FoldersWithVaults(), 0);
  }

  bool Note(const ShareMove& move) { return shares_->Note(move); }

  int Recover() {
    const int result = RecoverShares(*shares_, *FoldersWithVaults());
    return result != 0 ? result : RenderChanged(*shares_, *FoldersWithVaults(), 0);
  }

  ShareDatabase& shares() { return *shares_; }

  // Everything there is: shares, then what lies on the volumes with its access lists. Empty folders at a volume's root
  // do not count where `but_empty`: a crash may leave one, and the next attempt takes it.
  std::string State(bool but_empty = false) {
    std::string state;
    std::vector<Share> all;
    if (!shares_->List(&all)) return "failed";
    for (const Share& share : all) {
      state += share.name + " " + fs::relative(share.path, folder_.File("")).string() + " " + share.lists[kNoAccess] +
               "|" + share.lists[kReadWrite] + " " + std::to_string(share.encryption) + "\n";
    }
    std::vector<std::string> files;
    for (const char* volume : {"one", "two"}) {
      for (const auto& entry : fs::recursive_directory_iterator(Volume(volume))) {
        const bool is_folder = entry.is_directory();
        // Of the vaults it counts which there are.
        const std::string path = entry.path();
        if (path.find("/@vaults") != std::string::npos && path.find("/@vaults/") == std::string::npos) continue;
        if (path.find("/@vaults/") != std::string::npos) {
          if (entry.path().parent_path().filename() == "@vaults") files.push_back(path.substr(path.find("@")) + "\n");
          continue;
        }
        if (but_empty && is_folder && fs::is_empty(entry.path())) continue;
        files.push_back(fs::relative(entry.path(), folder_.File("")).string() + " " +
                        (is_folder ? "" : Content(entry.path())) + " " + Rights(entry.path()) + "\n");
      }
    }
    std::sort(files.begin(), files.end());
    for (const std::string& file : files) state += file;
    std::vector<ShareMove> moves;
    std::vector<int64_t> behind;
    const bool is_ended = shares_->Moves(&moves) && moves.empty() && shares_->Renders(&behind) && behind.empty();
    return is_ended ? state : state + "a note is left\n";
  }

 private:
  // Each entry of an access list as far as the mask lets it count.
  static std::string Rights(const std::string& path) {
    struct Entry {
      uint16_t tag, rights;
      uint32_t id;
    } entries[100];
    char bytes[4 + sizeof(entries)];
    const ssize_t size = getxattr(path.c_str(), "system.posix_acl_access", bytes, sizeof(bytes));
    const size_t count = size < 4 ? 0 : (static_cast<size_t>(size) - 4) / sizeof(Entry);
    memcpy(entries, bytes + 4, count * sizeof(Entry));
    unsigned mask = 7;
    for (size_t i = 0; i < count; ++i) mask = entries[i].tag == 16 ? entries[i].rights : mask;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
      const bool is_named = entries[i].tag == 2 || entries[i].tag == 8;
      text += std::to_string(entries[i].tag) + "." + (is_named ? std::to_string(entries[i].id) : "") + ":" +
              std::to_string(entries[i].rights & (is_named ? mask : 7)) + " ";
    }
    return text;
  }

  const Folder folder_;
  std::unique_ptr<ShareDatabase> shares_;
};

struct Operation {
  const char* name;
  std::function<int(Machine&)> run;
  std::function<int(Machine&)> prepare = [](Machine&) { return 0; };
  // The folder is made clear first and the record saved then, members are stored and the folder rendered then: a
  // failure of the second leaves what is wanted, at the latest when the next has looked.
  bool has_two_parts = false;
};

const Operation kOperations[] = {
    {"create", [](Machine& machine) { return machine.Save(nullptr, "music", "one", "", "bernd"); }},
    {"rename", [](Machine& machine) { return machine.Save("photo", "pictures", "one", "", "anna"); }},
    {"move", [](Machine& machine) { return machine.Save("photo", "photo", "two", "", "anna", true); }},
    {"lists", [](Machine& machine) { return machine.Save("photo", "photo", "one", "anna", "bernd"); }},
    {"another folder", [](Machine& machine) { return machine.Save("photo", "photo", "two", "", "bernd"); }},
    {"members", [](Machine& machine) { return machine.Join(); }, [](Machine& machine) { return machine.ShutOutTeam(); },
     true},
};

// The double of a vault has no failures of memory of its own to be struck by.
const Operation kVaultOperations[] = {
    {"encrypt", [](Machine& machine) { return machine.Start(); }},
    {"make clear", [](Machine& machine) { return machine.Save("photo", "photo", "one", "", "anna"); },
     [](Machine& machine) { return machine.Start(); }, true},
};

std::vector<Operation> OperationsFor(const std::string& call) {
  std::vector<Operation> operations(std::begin(kOperations), std::end(kOperations));
  if (call != "allocation") {
    operations.insert(operations.end(), std::begin(kVaultOperations), std::end(kVaultOperations));
  }
  return operations;
}

std::string StateAfter(const Operation& operation) {
  Machine machine;
  EXPECT_EQ(0, operation.prepare(machine)) << operation.name;
  EXPECT_EQ(0, operation.run(machine)) << operation.name;
  return machine.State();
}

// The test's own texts need memory as well.
int Outcome(const Operation& operation, Machine& machine) {
  try {
    return operation.run(machine);
  } catch (const std::bad_alloc&) {
    return -kErrorNoMemory;
  }
}

constexpr const char* kCalls[] = {"mkdirat", "renameat2",   "acl_set_file", "fsync",      "syncfs",     "open",
                                  "pwrite",  "posix_spawn", "make_vault",   "open_vault", "close_vault"};
constexpr int kMost = 2000;

class ShareFault : public testing::TestWithParam<const char*> {};

TEST_P(ShareFault, ThatAnyCallFailsLeavesTheOldOrTheNew) {
  for (const Operation& operation : OperationsFor(GetParam())) {
    const std::string wanted = StateAfter(operation);
    for (int nth = 1; nth < kMost; ++nth) {
      SCOPED_TRACE(std::string(operation.name) + ", " + GetParam() + " " + std::to_string(nth));
      Machine machine;
      ASSERT_EQ(0, operation.prepare(machine));
      const std::string before = machine.State();
      int result = 0;
      {
        FailingCall fault(GetParam(), ENOSPC, nth);
        result = Outcome(operation, machine);
        if (!fault.Struck()) break;
      }
      // What is left to do after a save that succeeded is done by the next who looks.
      if (machine.State().find("note") != std::string::npos) {
        ASSERT_EQ(0, machine.Recover());
      }
      machine.Open();
      const bool is_done = result == 0 || (operation.has_two_parts && machine.State() == wanted);
      ASSERT_EQ(is_done ? wanted : before, machine.State());
      if (result != 0) {
        ASSERT_EQ(0, operation.run(machine));
      }
      ASSERT_EQ(wanted, machine.State());
    }
  }
}

class ShareKill : public testing::TestWithParam<const char*> {};

TEST_P(ShareKill, AProcessKilledAtAnyCallLeavesTheOldOrTheNew) {
  for (const Operation& operation : OperationsFor(GetParam())) {
    const std::string wanted = StateAfter(operation);
    for (int nth = 1; nth < kMost; ++nth) {
      SCOPED_TRACE(std::string(operation.name) + ", " + GetParam() + " " + std::to_string(nth));
      Machine machine;
      ASSERT_EQ(0, operation.prepare(machine));
      const std::string before = machine.State();
      const pid_t child = machine.Fork();
      if (child == 0) {
        FailingCall fault(GetParam(), FailingCall::kKilled, nth);
        operation.run(machine);
        _exit(0);
      }
      int status = 0;
      ASSERT_EQ(child, waitpid(child, &status, 0));
      ASSERT_EQ(0, machine.Recover());
      machine.Open();
      if (!WIFSIGNALED(status)) {
        ASSERT_EQ(wanted, machine.State());
        break;
      }
      const std::string state = machine.State(true);
      if (machine.State() == wanted) continue;
      Machine untouched;
      ASSERT_EQ(0, operation.prepare(untouched));
      ASSERT_EQ(untouched.State(true), state);
      ASSERT_EQ(0, operation.run(machine)) << "and the way is free";
      ASSERT_EQ(wanted, machine.State());
    }
  }
}

std::string NameOf(const testing::TestParamInfo<const char*>& call) { return call.param; }

INSTANTIATE_TEST_SUITE_P(EachCall, ShareFault, testing::ValuesIn(kCalls), NameOf);
INSTANTIATE_TEST_SUITE_P(Memory, ShareFault, testing::Values("allocation"), NameOf);
INSTANTIATE_TEST_SUITE_P(EachCall, ShareKill, testing::ValuesIn(kCalls), NameOf);

TEST(ShareTurns, OfTwoThatRenameOneShareOneSucceeds) {
  for (int round = 0; round < 10; ++round) {
    Machine machine;
    pid_t children[2];
    for (int i = 0; i < 2; ++i) {
      children[i] = machine.Fork();
      if (children[i] != 0) continue;
      const int result = machine.Save("photo", i == 0 ? "left" : "right", "one", "", "anna");
      _exit(result == 0 ? 0 : result == -kErrorNoSuchObject ? 1 : 2);
    }
    int statuses[2];
    for (int i = 0; i < 2; ++i) ASSERT_EQ(children[i], waitpid(children[i], &statuses[i], 0));
    ASSERT_EQ(1, WEXITSTATUS(statuses[0]) + WEXITSTATUS(statuses[1])) << "the other is told that it is gone";
    const std::string winner = WEXITSTATUS(statuses[0]) == 0 ? "left" : "right";
    EXPECT_NE(std::string::npos, machine.State().find(winner + " one/" + winner + " |anna 0\n"));
    EXPECT_EQ("content", Content(machine.Volume("one") + "/" + winner + "/deep/a"));
  }
}

TEST(ShareTurns, AShareThatSomebodyIsChangingIsLeftToHim) {
  Machine machine;
  std::string state = machine.State();
  int held[2], done[2];
  ASSERT_EQ(0, pipe(held) | pipe(done));
  const pid_t child = machine.Fork();
  if (child == 0) {
    // A move that has got as far as its copy, and goes on.
    fs::create_directory(machine.Volume("two") + "/@move.1");
    const ShareLock lock(machine.Volume("locks"), 1);
    const bool noted = machine.Note({1, machine.Volume("one") + "/photo", machine.Volume("two") + "/photo",
                                     machine.Volume("two") + "/@move.1", ShareMove::kBegun});
    char byte = lock.result() == 0 && noted ? 'y' : 'n';
    if (write(held[1], &byte, 1) != 1 || read(done[0], &byte, 1) != 1) _exit(1);
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(1, read(held[0], &byte, 1));
  ASSERT_EQ('y', byte);
  EXPECT_EQ(0, machine.Recover());
  EXPECT_TRUE(fs::exists(machine.Volume("two") + "/@move.1")) << "not taken from under him";
  ASSERT_EQ(1, write(done[1], "x", 1));
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, machine.Recover());
  EXPECT_EQ(state, machine.State()) << "now he is gone";
}

TEST(ShareVaults, WhatIsRefusedAnywayIsRefusedBeforeAnythingIsMadeClear) {
  Machine machine;
  ASSERT_EQ(0, machine.Save(nullptr, "music", "one", "", "anna"));
  ASSERT_EQ(0, machine.Start());
  const std::string before = machine.State();
  EXPECT_EQ(-kErrorTaken, machine.Save("photo", "music", "one", "", "anna"));
  EXPECT_EQ(before, machine.State());
  EXPECT_EQ(-kErrorNoSuchObject, machine.Save("photo", "photo", "one", "", "nobody"));
  EXPECT_EQ(before, machine.State());
}

TEST(ShareVaults, AKeyThatAKilledSaveHasLeftIsRemoved) {
  Machine machine;
  for (const int state : {0, kEncrypted | kAutomatic, kEncrypted}) {
    const int before = KeysRemoved();
    ASSERT_TRUE(machine.shares().SetEncryption(1, state));
    ASSERT_TRUE(machine.Note({1, "", machine.Volume("one") + "/photo", "", ShareMove::kStored}));
    ASSERT_EQ(0, machine.Recover());
    EXPECT_EQ(state == kEncrypted ? 1 : 0, KeysRemoved() - before) << state;
  }
}

TEST(ShareMembers, AFolderThatSomebodyIsChangingIsRenderedByWhoeverComesNext) {
  Machine machine;
  ASSERT_EQ(0, machine.ShutOutTeam());
  const std::string before = machine.State();
  {
    const ShareLock lock(machine.Volume("locks"), 1);
    ASSERT_EQ(0, lock.result());
    EXPECT_EQ(0, machine.Join());
    EXPECT_EQ(before + "a note is left\n", machine.State());
  }
  bool is_interrupted = false;
  ASSERT_TRUE(machine.shares().IsInterrupted(&is_interrupted));
  EXPECT_TRUE(is_interrupted) << "whoever reads the shares is told";
  EXPECT_EQ(0, machine.Recover());
  const std::string state = machine.State();
  const size_t below = state.find("one/photo/deep/a");
  ASSERT_NE(std::string::npos, below);
  EXPECT_NE(std::string::npos, state.find(" 2.1031:0 ", below)) << "what lies below as well: " << state;
}

TEST(ShareMembers, AChangeThatComesWhileAFolderIsRenderedIsNotForgotten) {
  Machine machine;
  ASSERT_EQ(0, machine.ShutOutTeam());
  Database& database = machine.shares().database();
  ShareRender read_before;
  ASSERT_TRUE(NoteChangedMembers(database, 1040));
  ASSERT_EQ(Lookup::kFound, machine.shares().FindRender(1, &read_before));
  ASSERT_TRUE(NoteChangedMembers(database, 1040)) << "by another process";
  ASSERT_TRUE(machine.shares().EndRender(read_before));
  ShareRender left;
  EXPECT_EQ(Lookup::kFound, machine.shares().FindRender(1, &left));
}

TEST(ShareMembers, OnlySharesWhoseEntriesDependOnMembersAreLookedAt) {
  Machine machine;
  ASSERT_EQ(0, machine.ShutOutTeam());
  const struct {
    const char *na, *rw;
    bool depends;
  } rows[] = {{"@team", "@users", true}, {"bernd", "@team", true}, {"", "@team", false}, {"@users", "anna", false}};
  for (const auto& row : rows) {
    ASSERT_EQ(0, machine.Save("photo", "photo", "one", row.na, row.rw));
    std::vector<int64_t> behind;
    ASSERT_TRUE(NoteChangedMembers(machine.shares().database(), 1040) && machine.shares().Renders(&behind));
    EXPECT_EQ(row.depends ? 1u : 0u, behind.size()) << row.na << " | " << row.rw;
    ASSERT_EQ(0, machine.Recover());
  }
  // A reader by name who may be among the writers.
  machine.shares().database().Execute(
      "DELETE FROM share_access; INSERT INTO share_access (share, permission, position, uid, gid) VALUES"
      " (1, 'rw', 0, NULL, 1040), (1, 'ro', 0, 1031, NULL)");
  EXPECT_EQ(0, machine.Join());
  EXPECT_NE(std::string::npos, machine.State().find(" 2.1031:7 ")) << machine.State();
}

}  // namespace
}  // namespace kest
