#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <csignal>
#include <functional>

#include "folder.h"
#include "host/klib/key_value_file.h"

namespace kest {
namespace {

constexpr int kSkipped = 77;

// Runs a check in a process of its own, whose limits and mounts end with it.
int RunApart(const std::function<int()>& check) {
  const pid_t pid = fork();
  if (pid == 0) _exit(check());
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool SettingFailsAndChangesNothing(const std::string& path, int expected_errno) {
  const std::string before = Content(path);
  const bool written = SetKeyValue(path.c_str(), "b", std::string(100 * 1024, 'x'), kKeyValueFormat);
  return !written && errno == expected_errno && Content(path) == before;
}

TEST(FullDiskTest, TheOldSettingsStandWhenTheDiskIsFull) {
  const Folder folder;
  const int result = RunApart([&folder] {
    if (unshare(CLONE_NEWNS) != 0) return kSkipped;
    if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return kSkipped;
    if (mount("tmpfs", folder.File("").c_str(), "tmpfs", 0, "size=64k") != 0) return kSkipped;
    const std::string path = folder.Put("settings", "a=\"1\"\n");
    if (!SettingFailsAndChangesNothing(path, ENOSPC)) return 1;
    return folder.Names() == std::set<std::string>{"settings"} ? 0 : 2;
  });
  if (result == kSkipped) GTEST_SKIP() << "needs the right to mount a small file system";
  EXPECT_EQ(0, result);
}

TEST(FullDiskTest, TheOldSettingsStandWhenAFileMayNotGrow) {
  const Folder folder;
  const std::string path = folder.Put("settings", "a=\"1\"\n");
  const int result = RunApart([&path] {
    signal(SIGXFSZ, SIG_IGN);
    const struct rlimit limit = {4096, 4096};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 3;
    return SettingFailsAndChangesNothing(path, EFBIG) ? 0 : 1;
  });
  EXPECT_EQ(0, result);
  EXPECT_EQ(std::set<std::string>{"settings"}, folder.Names());
}

}  // namespace
}  // namespace kest
