#include "directory_fixture.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

void DirectoryTest::SetUp() {
  ASSERT_TRUE(log_.bound());
  for (const char* name : {kAccounts, kFailures}) {
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(std::string(name) + suffix);
  }
  fs::remove_all(kSessions);
  fs::remove_all("/var/services/homes");
  Settings("");
  ASSERT_EQ(0, Load("anna\nbernd\nClara\tworks here\tclara@example.org"));
  log_.Take();
}

std::vector<std::string> DirectoryTest::AccountNames(AUTH_TYPE type) {
  std::vector<std::string> names;
  UserSlot slot;
  KESTUSERDB* const cursor = KESTUserDBOpen();
  while (KESTUserDBGetByCursor(cursor, &slot, type, 0) == 0) names.emplace_back(slot->name);
  KESTUserDBClose(cursor);
  return names;
}

std::vector<std::string> DirectoryTest::GroupNames(AUTH_TYPE type) {
  std::vector<std::string> names;
  GroupSlot slot;
  KESTGROUPDB* const cursor = KESTGroupDBOpen();
  while (KESTGroupDBGetByCursor(cursor, &slot, type, 0) == 0) names.emplace_back(slot->name);
  KESTGroupDBClose(cursor);
  return names;
}

std::vector<std::string> DirectoryTest::Members(const char* group) {
  GroupSlot slot;
  if (KESTGroupGet(group, &slot) != 0) return {"?"};
  std::vector<std::string> names;
  for (char** member = slot->members; *member != nullptr; ++member) names.emplace_back(*member);
  return names;
}

std::string DirectoryTest::Description(const char* group) {
  char* text = nullptr;
  int second = 0;
  if (KESTGroupDescGet(group, &text, &second) < 0) return "?";
  const std::string description = text == nullptr ? "" : text;
  free(text);
  return description;
}

void DirectoryTest::IsRefused(int code, int result) {
  EXPECT_GT(0, result);
  EXPECT_EQ(code, KLIBErrGet());
  KLIBErrSet(0);
}

void DirectoryTest::KillDuring(const std::function<void()>& work, useconds_t after_us) {
  const pid_t pid = fork();
  if (pid == 0) {
    work();
    _exit(0);
  }
  usleep(after_us);
  kill(pid, SIGKILL);
  EXPECT_EQ(pid, waitpid(pid, nullptr, 0));
}
