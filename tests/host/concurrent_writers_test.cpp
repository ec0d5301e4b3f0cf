#include <sys/wait.h>

#include <csignal>

#include "folder.h"
#include "host/klib/key_value_file.h"

namespace kest {
namespace {

constexpr int kWriters = 6;
constexpr int kKeysEach = 20;

std::string KeyOf(int writer, int i) { return "key_" + std::to_string(writer) + "_" + std::to_string(i); }

[[noreturn]] void WriteAllKeys(const std::string& path, int writer) {
  for (int i = 0; i < kKeysEach; ++i) {
    if (!SetKeyValue(path.c_str(), KeyOf(writer, i), std::to_string(i), kKeyValueFormat)) _exit(1);
  }
  _exit(0);
}

// Runs the writers to their end and gives back how many of them failed.
int RunWriters(const std::string& path) {
  std::set<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t pid = fork();
    if (pid == 0) WriteAllKeys(path, writer);
    children.insert(pid);
  }
  int failed = 0;
  for (const pid_t pid : children) {
    int status = 0;
    waitpid(pid, &status, 0);
    failed += status != 0;
  }
  return failed;
}

void ExpectEveryKey(const std::string& path) {
  KeyValueFile file;
  ASSERT_TRUE(file.Load(path.c_str()));
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int i = 0; i < kKeysEach; ++i) EXPECT_NE(nullptr, file.Find(KeyOf(writer, i))) << KeyOf(writer, i);
  }
}

TEST(ConcurrentWritersTest, NoneLosesTheKeyOfAnother) {
  const Folder folder;
  const std::string path = folder.Put("settings", "first=\"kept\"\n");
  EXPECT_EQ(0, RunWriters(path));
  ExpectEveryKey(path);
  EXPECT_EQ(0u, Content(path).find("first=\"kept\"\n"));
  EXPECT_EQ(std::set<std::string>{"settings"}, folder.Names());
}

TEST(ConcurrentWritersTest, NoneLosesAKeyWhenTheFileIsMissingAtFirst) {
  const Folder folder;
  const std::string path = folder.File("settings");
  EXPECT_EQ(0, RunWriters(path));
  ExpectEveryKey(path);
}

TEST(ConcurrentWritersTest, AReaderAlwaysSeesAWholeFile) {
  const Folder folder;
  const std::string path = folder.Put("settings", "first=\"kept\"\nlast=\"kept\"\n");
  const pid_t writer = fork();
  if (writer == 0) WriteAllKeys(path, 0);
  int status = 0;
  bool whole = true;
  while (waitpid(writer, &status, WNOHANG) == 0) {
    KeyValueFile file;
    whole = whole && file.Load(path.c_str()) && file.Find("first") != nullptr && file.Find("last") != nullptr;
  }
  EXPECT_EQ(0, status);
  EXPECT_TRUE(whole);
}

TEST(ConcurrentWritersTest, AWriterKilledAtAnyMomentLeavesAWholeFileAndNoLock) {
  const Folder folder;
  const std::string path = folder.Put("settings", "first=\"kept\"\n");
  for (useconds_t delay_us = 0; delay_us < 3000; delay_us += 150) {
    const pid_t writer = fork();
    if (writer == 0) {
      for (int i = 0; i < 100; ++i) SetKeyValue(path.c_str(), "counter", std::to_string(i), kKeyValueFormat);
      _exit(0);
    }
    usleep(delay_us);
    kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    KeyValueFile file;
    ASSERT_TRUE(file.Load(path.c_str()));
    EXPECT_STREQ("kept", file.Find("first"));
    ASSERT_TRUE(SetKeyValue(path.c_str(), "after", std::to_string(delay_us), kKeyValueFormat));
  }
}

}  // namespace
}  // namespace kest
