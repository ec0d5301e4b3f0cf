// Waits after failed logins, with a clock of the test's own.
#include "host/accounts/failure_table.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <fstream>

#include "folder.h"

namespace {

time_t g_now = 1700000000;

}  // namespace

// ld --wrap: whoever asks for the time gets the test's.
extern "C" time_t __wrap_time(time_t* out) {
  if (out != nullptr) *out = g_now;
  return g_now;
}

namespace {

using kest::FailureTable;

class FailureTableTest : public ::testing::Test {
 protected:
  FailureTableTest() : path_(folder_.File("failures.db")), table_(FailureTable::Open(path_.c_str())) {}

  void Fail(const char* name, int times) {
    for (int i = 0; i < times; ++i) ASSERT_TRUE(table_->Add(name));
  }

  int64_t Number(const char* sql) {
    auto database = kest::Database::Open(path_.c_str(), {nullptr, 1});
    kest::Statement query(*database, sql);
    return query.Row() ? query.Number(0) : -1;
  }

  Folder folder_;
  std::string path_;
  std::unique_ptr<FailureTable> table_;
};

TEST_F(FailureTableTest, TheThirdFailureWaitsAndEachFurtherOneTwiceAsLong) {
  const int waits[] = {0, 0, 1, 2, 4, 8, 16, 32, 60, 60, 60};
  for (const int wait_s : waits) {
    Fail("anna", 1);
    EXPECT_EQ(wait_s, table_->SecondsToWait("anna"));
    EXPECT_EQ(0, table_->SecondsToWait("bernd"));
  }
  g_now += 59;
  EXPECT_EQ(1, table_->SecondsToWait("anna"));
  g_now += 1;
  EXPECT_EQ(0, table_->SecondsToWait("anna"));
}

TEST_F(FailureTableTest, ForgettingEndsTheWait) {
  Fail("anna", 5);
  EXPECT_TRUE(table_->Forget("anna"));
  EXPECT_EQ(0, table_->SecondsToWait("anna"));
  EXPECT_TRUE(table_->Forget("anna")) << "nothing to forget is no failure";
}

TEST_F(FailureTableTest, AnHourWithoutAFailureForgetsThem) {
  Fail("anna", 5);
  g_now += 3601;
  Fail("anna", 1);
  EXPECT_EQ(0, table_->SecondsToWait("anna"));
}

TEST_F(FailureTableTest, AClockSetBackDoesNotProlongAWait) {
  Fail("anna", 5);
  g_now -= 86400;
  EXPECT_EQ(4, table_->SecondsToWait("anna"));
  g_now += 4;
  EXPECT_EQ(0, table_->SecondsToWait("anna"));
}

TEST_F(FailureTableTest, ItStaysBoundedAndKeepsTheNameUnderAttack) {
  Fail("anna", 4);
  g_now += 1;  // hers are the oldest
  for (int i = 0; i < 4300; ++i) ASSERT_TRUE(table_->Add("made-up-" + std::to_string(i)));
  EXPECT_EQ(4096, Number("SELECT count(*) FROM failures"));
  EXPECT_EQ(1, table_->SecondsToWait("anna"));
  EXPECT_EQ(1, Number("SELECT count(*) FROM failures WHERE name = 'made-up-4299'"));
}

// The first wrong passwords after an installation may come together; each of them finds no database yet.
TEST_F(FailureTableTest, ManyProcessesMayMakeItAtOnce) {
  constexpr int kProcesses = 6;
  for (int round = 0; round < 40; ++round) {
    const std::string path = folder_.File("new" + std::to_string(round));
    int gate[2];
    ASSERT_EQ(0, pipe(gate));
    for (int i = 0; i < kProcesses; ++i) {
      if (fork() != 0) continue;
      close(gate[1]);
      char none;
      if (read(gate[0], &none, 1) != 0) _exit(2);
      const auto table = FailureTable::Open(path.c_str());
      _exit(table != nullptr && table->Add("anna") ? 0 : 1);
    }
    close(gate[0]);
    close(gate[1]);  // all start together
    for (int i = 0; i < kProcesses; ++i) {
      int status = -1;
      wait(&status);
      EXPECT_EQ(0, status);
    }
    EXPECT_EQ(8, FailureTable::Open(path.c_str())->SecondsToWait("anna")) << "all six were counted";
  }
}

TEST_F(FailureTableTest, AFileThatIsNoDatabaseIsAFailureAndStays) {
  const std::string bytes(4096, 'x');
  const std::string path = folder_.Put("odd.db", bytes);
  EXPECT_EQ(nullptr, FailureTable::Open(path.c_str()));
  std::ifstream file(path, std::ios::binary);
  EXPECT_EQ(bytes, std::string(std::istreambuf_iterator<char>(file), {}));
}

}  // namespace
