// How many password hashes are computed at a time.
#include "host/accounts/hash_slot.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <memory>
#include <vector>

#include "folder.h"

namespace {

using kest::HashSlot;

class HashSlotTest : public testing::Test {
 protected:
  std::unique_ptr<HashSlot> Take(int longest_wait_ms = 40) {
    return std::make_unique<HashSlot>(path_.c_str(), longest_wait_ms);
  }
  std::vector<std::unique_ptr<HashSlot>> TakeAll() {
    std::vector<std::unique_ptr<HashSlot>> all;
    for (int i = 0; i < HashSlot::kSlots; ++i) all.push_back(Take());
    return all;
  }

  const Folder folder_;
  const std::string path_ = folder_.File("slots");
};

TEST_F(HashSlotTest, NoMoreThanFourAreGivenAtATime) {
  auto all = TakeAll();
  for (const auto& one : all) EXPECT_TRUE(one->held());
  EXPECT_FALSE(Take()->held());
  all.erase(all.begin() + 1);
  EXPECT_TRUE(Take()->held()) << "one was given back";
}

TEST_F(HashSlotTest, WhoWaitsGetsTheNextOne) {
  const pid_t child = fork();
  if (child == 0) {
    const auto all = TakeAll();
    usleep(200 * 1000);
    _exit(0);
  }
  while (access(path_.c_str(), F_OK) != 0) usleep(1000);
  EXPECT_TRUE(Take(20 * 1000)->held());
  waitpid(child, nullptr, 0);
}

TEST_F(HashSlotTest, AKilledProcessGivesItsSlotsBack) {
  int ready[2];
  ASSERT_EQ(0, pipe(ready));
  const pid_t child = fork();
  if (child == 0) {
    const auto all = TakeAll();
    if (write(ready[1], "x", 1) == 1) pause();
    _exit(0);
  }
  char byte;
  ASSERT_EQ(1, read(ready[0], &byte, 1));
  EXPECT_FALSE(Take()->held());
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(Take()->held());
  close(ready[0]);
  close(ready[1]);
}

TEST_F(HashSlotTest, TheFileIsPrivateAndNoLinkIsFollowed) {
  EXPECT_TRUE(Take()->held());
  struct stat file;
  ASSERT_EQ(0, stat(path_.c_str(), &file));
  EXPECT_EQ(0600u, file.st_mode & 0777u);
  const std::string link = folder_.File("link");
  ASSERT_EQ(0, symlink(path_.c_str(), link.c_str()));
  EXPECT_FALSE(HashSlot(link.c_str(), 0).held());
  EXPECT_FALSE(HashSlot(folder_.File("missing/slots").c_str(), 20 * 1000).held()) << "and nobody waits for it";
}

}  // namespace
