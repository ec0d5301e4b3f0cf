#include "host/schedule/event_log.h"

#include <sys/wait.h>

#include "folder.h"
#include "host/klib/error_code.h"

namespace kest {
namespace {

class EventLogTest : public testing::Test {
 protected:
  int Add(const std::string& text, int kept = kEventsKept) {
    return AddEvent(path_.c_str(), {7, 1, 0x12900032, {text, "", "", ""}}, kept);
  }
  std::string Texts(int most = 100) {
    std::vector<Event> events;
    if (ListEvents(path_.c_str(), most, &events) < 0) return "failed";
    std::string texts;
    for (const Event& event : events) texts += event.texts[0] + " ";
    return texts;
  }

  const Folder folder_;
  const std::string path_ = folder_.File("events.db");
};

TEST_F(EventLogTest, AnEntryIsKeptWhole) {
  const time_t before = time(nullptr);
  ASSERT_EQ(0, AddEvent(path_.c_str(), {5, 3, 0x12400011, {"a\nb", "\xC3\xBC", "", "'; DROP TABLE events; --"}}));
  std::vector<Event> events;
  ASSERT_EQ(0, ListEvents(path_.c_str(), 10, &events));
  ASSERT_EQ(1u, events.size());
  EXPECT_EQ(5, events[0].category);
  EXPECT_EQ(3, events[0].level);
  EXPECT_EQ(0x12400011, events[0].event);
  EXPECT_EQ("a\nb", events[0].texts[0]);
  EXPECT_EQ("\xC3\xBC", events[0].texts[1]);
  EXPECT_EQ("", events[0].texts[2]);
  EXPECT_EQ("'; DROP TABLE events; --", events[0].texts[3]);
  EXPECT_LE(before, events[0].time);
  EXPECT_GE(time(nullptr), events[0].time);
}

TEST_F(EventLogTest, WithoutTheFileThereAreNoEntries) {
  EXPECT_EQ("", Texts());
  EXPECT_NE(0, access(path_.c_str(), F_OK));
}

TEST_F(EventLogTest, TheOldestGoWhenThereAreTooMany) {
  for (int i = 1; i <= 7; ++i) ASSERT_EQ(0, Add(std::to_string(i), 5));
  EXPECT_EQ("3 4 5 6 7 ", Texts());
  EXPECT_EQ("6 7 ", Texts(2));
}

TEST_F(EventLogTest, ALongTextIsCutAtTheEndOfACharacter) {
  ASSERT_EQ(0, Add(std::string(1023, 'x') + "\xC3\xBC" + "y"));
  EXPECT_EQ(std::string(1023, 'x') + " ", Texts());
  ASSERT_EQ(0, Add(std::string(1024, 'x')));
  EXPECT_EQ(std::string(1024, 'x') + " ", Texts(1));
  ASSERT_EQ(0, Add(std::string(2000, '\x80')));
  EXPECT_EQ(" ", Texts(1)) << "bytes that belong to no character";
}

TEST_F(EventLogTest, AnUnknownLevelIsRefused) {
  for (const int level : {0, 4, -1}) EXPECT_EQ(-kErrorBadParameter, AddEvent(path_.c_str(), {1, level, 1, {}, 0}));
  EXPECT_EQ("", Texts());
}

TEST_F(EventLogTest, ADamagedFileIsNeitherReadNorReplaced) {
  const std::string bytes(9000, 'x');
  folder_.Put("events.db", bytes);
  EXPECT_EQ(-kErrorSystem, Add("x"));
  EXPECT_EQ("failed", Texts());
  EXPECT_EQ(bytes, Content(path_));
}

TEST_F(EventLogTest, AFolderThatIsNotThereIsAFailure) {
  EXPECT_EQ(-kErrorDenied, AddEvent("/nonexistent/events.db", {1, 1, 1, {}, 0}));
}

TEST_F(EventLogTest, WritersSideBySideLoseNothing) {
  constexpr int kWriters = 6, kEach = 10;
  std::set<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t pid = fork();
    if (pid == 0) {
      int failed = 0;
      for (int i = 0; i < kEach; ++i) failed += Add("x") == 0 ? 0 : 1;
      _exit(failed);
    }
    children.insert(pid);
  }
  for (const pid_t pid : children) {
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(0, status);
  }
  std::vector<Event> events;
  ASSERT_EQ(0, ListEvents(path_.c_str(), 1000, &events));
  EXPECT_EQ(static_cast<size_t>(kWriters * kEach), events.size());
}

}  // namespace
}  // namespace kest
