#include "host/storage/mdstat.h"

#include <string>

#include "folder.h"
#include "platform/klib.h"

namespace kest {
namespace {

constexpr char kHead[] = "Personalities : [raid1] [raid6] [raid5] [raid4] [raid10] [raid0] [linear]\n";
constexpr char kTail[] = "unused devices: <none>\n";

// State of md0 whose lines these are; -1 when they are not understood.
int StateOf(const std::string& lines) {
  KEST_RAID_STATE state = KEST_RAID_STATE_FILLER_;
  return FindArray(kHead + lines + "\n" + kTail, "md0", &state) ? static_cast<int>(state) : -1;
}

struct Row {
  const char* name;
  const char* lines;
  int state;
};

TEST(MdstatTest, TheStateOfAnArrayIsWhatItsLevelBears) {
  constexpr Row kRows[] = {
      {"a mirror", "md0 : active raid1 sdb1[1] sda1[0]\n      2490176 blocks [2/2] [UU]\n", KEST_RAID_NORMAL},
      {"a mirror without one half", "md0 : active raid1 sda1[0]\n      2490176 blocks [2/1] [U_]\n",
       KEST_RAID_DEGRADED},
      {"a mirror with a disk that failed", "md0 : active raid1 sdb1[1](F) sda1[0]\n      9 blocks [2/1] [U_]\n",
       KEST_RAID_DEGRADED},
      {"a mirror without any", "md0 : active raid1\n      9 blocks [2/0] [__]\n", KEST_RAID_CRASHED},
      {"RAID 5",
       "md0 : active raid5 sdc3[2] sdb3[1] sda3[0]\n      9 blocks super 1.2 level 5, 64k chunk, algorithm 2 [3/3] "
       "[UUU]\n",
       KEST_RAID_NORMAL},
      {"RAID 5 without one", "md0 : active raid5 sda3[0]\n      9 blocks level 5 [3/2] [U_U]\n", KEST_RAID_DEGRADED},
      {"RAID 5 without two", "md0 : active raid5 sda3[0]\n      9 blocks level 5 [3/1] [U__]\n", KEST_RAID_CRASHED},
      {"RAID 6 without two", "md0 : active raid6 sda3[0]\n      9 blocks level 6 [4/2] [U__U]\n", KEST_RAID_DEGRADED},
      {"RAID 6 without three", "md0 : active raid6 sda3[0]\n      9 blocks level 6 [4/1] [U___]\n", KEST_RAID_CRASHED},
      {"RAID 10 without one of each pair",
       "md0 : active raid10 sda3[0]\n      9 blocks 512K chunks 2 near-copies [4/2] [_UU_]\n", KEST_RAID_DEGRADED},
      {"RAID 10 without a pair", "md0 : active raid10 sda3[0]\n      9 blocks 512K chunks 2 near-copies [4/2] [UU__]\n",
       KEST_RAID_CRASHED},
      {"RAID 10 with far copies, two neighbours gone",
       "md0 : active raid10 sda3[0]\n      9 blocks 2 far-copies [4/2] [U__U]\n", KEST_RAID_CRASHED},
      {"RAID 10 with far copies, the ends gone",
       "md0 : active raid10 sda3[0]\n      9 blocks 2 far-copies [4/2] [_UU_]\n", KEST_RAID_CRASHED},
      {"RAID 10 with far copies, two others gone",
       "md0 : active raid10 sda3[0]\n      9 blocks 2 far-copies [4/2] [_U_U]\n", KEST_RAID_DEGRADED},
      {"RAID 10 with three copies", "md0 : active raid10 sda3[0]\n      9 blocks 3 near-copies [3/1] [__U]\n",
       KEST_RAID_DEGRADED},
      {"stripes", "md0 : active raid0 sdb1[1] sda1[0]\n      9 blocks super 1.2 512k chunks\n", KEST_RAID_NORMAL},
      {"stripes with a disk that failed",
       "md0 : active raid0 sdb1[1](F) sda1[0]\n      9 blocks super 1.2 512k chunks\n", KEST_RAID_CRASHED},
      {"inactive", "md0 : inactive sda1[0](S)\n      9 blocks super 1.2\n", KEST_RAID_CRASHED},
      {"read-only", "md0 : active (auto-read-only) raid1 sdb1[1] sda1[0]\n      9 blocks [2/2] [UU]\n",
       KEST_RAID_NORMAL},
      {"recovering",
       "md0 : active raid1 sdb1[2] sda1[0]\n      9 blocks [2/1] [U_]\n      [>....................]  recovery =  0.5% "
       "(1/9) "
       "finish=3.1min speed=1K/sec\n      bitmap: 1/1 pages [4KB], 65536KB chunk\n",
       KEST_RAID_DEGRADED},
      {"absent", "md10 : active raid1 sda1[0]\n      9 blocks [2/1] [U_]\n", KEST_RAID_NONE},
      {"none at all", "", KEST_RAID_NONE},
  };
  for (const Row& row : kRows) EXPECT_EQ(row.state, StateOf(row.lines)) << row.name;
}

TEST(MdstatTest, TheArrayIsFoundAmongOthers) {
  const std::string others =
      "md2 : active raid5 sda3[0]\n      9 blocks [3/1] [U__]\n\nmd0 : active raid1 sda1[0] sdb1[1]\n      9 blocks "
      "[2/2] [UU]\n\n"
      "md1 : active raid1 sda2[0]\n      9 blocks [2/1] [U_]\n";
  EXPECT_EQ(KEST_RAID_NORMAL, StateOf(others));
  KEST_RAID_STATE state;
  ASSERT_TRUE(FindArray(kHead + others, "md2", &state));
  EXPECT_EQ(KEST_RAID_CRASHED, state);
}

TEST(MdstatTest, LinesThatSayNothingAreNotUnderstood) {
  for (const char* lines : {"md0 : \n", "md0 : activ raid1 sda1[0]\n", "md0 : active\n", "md0 : active (read-only)\n",
                            "md0 : active raid1 sda1[0]\n      9 blocks [x/2] [UU]\n",
                            "md0 : active raid1 sda1[0]\n      9 blocks [2/3] [UU]\n",
                            "md0 : active raid1 sda1[0]\n      9 blocks [2/2] [U]\n",
                            "md0 : active raid1 sda1[0]\n      9 blocks [2/2] [UU\n",
                            "md0 : active raid1 sda1[0]\n      9 blocks 2/2 [UU]\n",
                            "md0 : active raid1 sda1[0]\n      9 blocks [99999/1] [UU]\n",
                            "md0 : active raid1 sda1[0]\n      9 blocks [2/2] [\n"}) {
    EXPECT_EQ(-1, StateOf(lines)) << lines;
  }
}

TEST(MdstatTest, EveryTruncationIsAnswered) {
  const std::string whole =
      std::string(kHead) + "md0 : active raid10 sda1[0] sdb1[1]\n      9 blocks 2 near-copies [2/2] [UU]\n" + kTail;
  for (size_t size = 0; size <= whole.size(); ++size) {
    KEST_RAID_STATE state = KEST_RAID_NONE;
    if (FindArray(std::string(whole, 0, size), "md0", &state)) {
      EXPECT_LE(state, KEST_RAID_NORMAL) << size;
    }
  }
}

TEST(MdstatTest, BothArraysOfTheSystemAreRead) {
  const Folder folder;
  const std::string path =
      folder.Put("mdstat", std::string(kHead) + "md1 : active raid1 sda2[0]\n      9 blocks [2/1] [U_]\n\n" +
                               "md0 : inactive sda1[0]\n      9 blocks\n" + kTail);
  _tag_raid_for_system_ raid = {};
  ASSERT_EQ(0, ReadSystemArrays(path.c_str(), &raid));
  EXPECT_EQ(KEST_RAID_CRASHED, raid.entry[0].state);
  EXPECT_EQ(KEST_RAID_DEGRADED, raid.entry[1].state);
}

TEST(MdstatTest, AFileThatIsNoneIsAFailureAndLeavesTheRecord) {
  const Folder folder;
  const std::string line(1024 * 1024, 'x');
  const std::string paths[] = {
      folder.File("missing"),
      folder.File(""),
      folder.Put("empty", ""),
      folder.Put("other", "md0 : active raid1 sda1[0]\n"),
      folder.Put("half", std::string(kHead) + "md0 : act"),
      folder.Put("nul", std::string(kHead) + std::string("md0 : \0ctive raid1\n", 20)),
      folder.Put("large", kHead + line),
  };
  for (const std::string& path : paths) {
    _tag_raid_for_system_ raid = {{{77}, {77}}};
    KLIBErrSet(0);
    EXPECT_GT(0, ReadSystemArrays(path.c_str(), &raid)) << path;
    EXPECT_NE(0, KLIBErrGet()) << path;
    EXPECT_EQ(77, raid.entry[0].state) << path;
  }
}

}  // namespace
}  // namespace kest
