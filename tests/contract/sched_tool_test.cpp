// kestjob on this platform: what it prints, and what the cron daemon finds and runs.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/kestsched.h"
#include "platform/klib.h"
#include "started_program.h"
#include "system_log.h"

namespace {

constexpr char kTool[] = "/usr/kest/bin/kestjob";
constexpr char kCrontab[] = "/var/spool/cron/crontabs/www-data";

std::string Text(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

class SchedTool : public testing::Test {
 protected:
  void SetUp() override { Clear(); }
  void TearDown() override { Clear(); }

  static void Clear() {
    for (const char* name : {"/usr/kest/etc/schedule.db", "/usr/kest/var/events.db"}) {
      for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(std::string(name) + suffix);
    }
    std::filesystem::remove(kCrontab);
  }

  static void Schedule(const char* command) {
    _tag_KEST_SCHEDULE job = {5, 3, 0, 3, 7, 0, ""};
    snprintf(job.cmd, sizeof(job.cmd), "%s", command);
    ASSERT_EQ(0, KESTScheduleSet(&job));
  }

  SystemLog log_;
};

TEST_F(SchedTool, ListsTheJobs) {
  EXPECT_EQ("", Started({kTool, "list"}).output);
  Schedule("/usr/kest/bin/kestnetbkp -a \"my photos\"");
  const Ended ended = Started({kTool, "list"});
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("1\t7\t3\t*\t*\t0,2\t/usr/kest/bin/kestnetbkp -a \"my photos\"\n", ended.output);
}

TEST_F(SchedTool, TheCrontabNamesAJobByItsNumberOnly) {
  Schedule("/usr/kest/bin/kestnetbkp -a \"100% $(id)\"");
  EXPECT_EQ(
      "# BEGIN jobs of the appliance (kestjob list): what stands here is replaced\n"
      "# /usr/kest/bin/kestnetbkp -a \"100% $(id)\"\n"
      "7 3 * * 0,2 /usr/kest/bin/kestjob run 1\n"
      "# END jobs of the appliance\n",
      Text(kCrontab));
}

TEST_F(SchedTool, RenderWritesALostCrontabAnew) {
  Schedule("/bin/true");
  const std::string before = Text(kCrontab);
  std::filesystem::remove(kCrontab);
  EXPECT_EQ(0, Started({kTool, "render"}).status);
  EXPECT_EQ(before, Text(kCrontab));
}

TEST_F(SchedTool, RunStartsTheProgramWithItsArgumentsAndNoShell) {
  Schedule("/usr/bin/touch \"/tmp/sched tool $(id) %\"");
  EXPECT_EQ(0, Started({kTool, "run", "1"}).status);
  EXPECT_TRUE(std::filesystem::remove("/tmp/sched tool $(id) %"));
}

TEST_F(SchedTool, RunGivesTheStatusOfTheProgram) {
  Schedule("/usr/bin/false");
  Schedule("/nonexistent/program");
  EXPECT_EQ(1, Started({kTool, "run", "1"}).status);
  EXPECT_EQ(127, Started({kTool, "run", "2"}).status);
  EXPECT_NE(std::string::npos, log_.Take().find("/nonexistent/program: No such file or directory"));
}

TEST_F(SchedTool, RunOfAJobThatIsNotThereDoesNothing) {
  EXPECT_EQ(1, Started({kTool, "run", "1"}).status);
  EXPECT_NE(std::string::npos, log_.Take().find("there is no job 1"));
}

TEST_F(SchedTool, TheBackupProgramsEnterTheirTaskIntoTheEventLog) {
  if (*CONTRACT_EMULATOR != '\0') GTEST_SKIP() << "a script starts programs for this machine only";
  Schedule("/usr/kest/bin/kestnetbkp -a \"my photos\"");
  Schedule("/usr/kest/bin/kestlocalbkp -a \"$(id)\"");
  Schedule("/usr/kest/bin/kestnetbkps3 --s3add \"a;b\"");
  for (const char* job : {"1", "2", "3"}) EXPECT_EQ(0, Started({kTool, "run", job}).status);
  std::istringstream lines(Started({kTool, "log"}).output);
  for (const char* expected : {"\t7\t1\t0x12900034\tBackup task started by its schedule\tmy photos\t\t",
                               "\t5\t1\t0x12400012\tBackup task started by its schedule\t$(id)\t\t",
                               "\t5\t1\t0x12400012\tBackup task started by its schedule\ta;b\t\t"}) {
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(expected, line.substr(line.find('\t'))) << line;
  }
}

TEST_F(SchedTool, TheBackupProgramsRefuseOtherArguments) {
  for (const char* program : {"kestnetbkp", "kestlocalbkp", "kestnetbkps3"}) {
    const std::string path = std::string("/usr/kest/bin/") + program;
    EXPECT_EQ(2, StartedHere({path}).status) << program;
    EXPECT_EQ(2, StartedHere({path, "--other", "x"}).status) << program;
    EXPECT_EQ(2, StartedHere({path, path.back() == '3' ? "--s3add" : "-a", "x", "y"}).status) << program;
  }
  EXPECT_EQ("", Started({kTool, "log"}).output);
}

TEST_F(SchedTool, PrintsTheNewestEntriesOfTheLog) {
  ASSERT_EQ(0, KESTLogSet1(5, 2, 0x12400010, "first\nline", "a\tb", "", ""));
  ASSERT_EQ(0, Started({kTool, "enter", "7", "1", "0x12900032", "second"}).status);
  const std::string all = Started({kTool, "log"}).output;
  EXPECT_NE(std::string::npos, all.find("\t5\t2\t0x12400010\tfirst?line\ta?b\t\t\n"));
  EXPECT_NE(std::string::npos, all.find("\t7\t1\t0x12900032\tsecond\t\t\t\n"));
  EXPECT_EQ(std::string::npos, Started({kTool, "log", "1"}).output.find("first"));
}

TEST_F(SchedTool, WrongUsageIsToldApart) {
  for (const std::vector<std::string>& row : {std::vector<std::string>{},
                                              {"frob"},
                                              {"list", "x"},
                                              {"run"},
                                              {"run", "x"},
                                              {"run", "0"},
                                              {"run", "1", "2"},
                                              {"log", "0"},
                                              {"log", "10001"},
                                              {"enter", "7", "1"},
                                              {"enter", "7", "1", "x"},
                                              {"enter", "7", "1", "1", "a", "b", "c", "d", "e"}}) {
    std::vector<std::string> words{kTool};
    words.insert(words.end(), row.begin(), row.end());
    EXPECT_EQ(2, Started(words).status) << (row.empty() ? "" : row[0]);
  }
  EXPECT_EQ(1, Started({kTool, "enter", "7", "4", "1"}).status) << "no such level";
}

TEST_F(SchedTool, DamagedFilesAreNeitherReadNorReplaced) {
  const std::string bytes(9000, 'x');
  for (const char* path : {"/usr/kest/etc/schedule.db", "/usr/kest/var/events.db"}) std::ofstream(path) << bytes;
  EXPECT_EQ(3, Started({kTool, "list"}).status);
  EXPECT_EQ(3, Started({kTool, "run", "1"}).status);
  EXPECT_EQ(3, Started({kTool, "render"}).status);
  EXPECT_EQ(3, Started({kTool, "log"}).status);
  EXPECT_EQ(3, Started({kTool, "enter", "7", "1", "1"}).status);
  _tag_KEST_SCHEDULE job = {};
  EXPECT_GT(0, KESTScheduleGet("/bin/true", &job));
  EXPECT_EQ(0x8100, KLIBErrGet());
  for (const char* path : {"/usr/kest/etc/schedule.db", "/usr/kest/var/events.db"}) EXPECT_EQ(bytes, Text(path));
  EXPECT_NE(std::string::npos, log_.Take().find("/usr/kest/etc/schedule.db"));
}

TEST_F(SchedTool, AMachineWithoutCronStoresNothing) {
  std::filesystem::rename("/var/spool/cron/crontabs", "/var/spool/cron/aside");
  _tag_KEST_SCHEDULE job = {5, 3, 0, 3, 7, 0, "/bin/true"};
  EXPECT_GT(0, KESTScheduleSet(&job));
  EXPECT_EQ(0x600, KLIBErrGet());
  EXPECT_EQ(0, KESTScheduleGet("/bin/true", &job));
  std::filesystem::rename("/var/spool/cron/aside", "/var/spool/cron/crontabs");
}

}  // namespace
