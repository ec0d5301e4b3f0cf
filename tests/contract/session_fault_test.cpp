// What is left after something failed, and what several processes do to each other.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "session_fixture.h"

namespace fs = std::filesystem;

namespace {

using SessionFault = SessionTest;

std::string Bytes(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST_F(SessionFault, AStoreThatCannotBeWrittenOpensNoSession) {
  const Client anna = LoggedIn("anna");
  fs::permissions(kSessions, fs::perms::owner_read | fs::perms::owner_exec);
  const Answer answer = Login(anna, "bernd", "pw-bernd");
  EXPECT_EQ(-4, answer.result);
  EXPECT_STREQ("", answer.id);
  EXPECT_EQ(std::string::npos, std::string(answer.headers).find("Set-Cookie"));
  fs::permissions(kSessions, fs::perms::owner_all);
  EXPECT_EQ(1, Check(anna).result) << "the session of the request is still there";
  EXPECT_EQ(1u, SessionCount());
  EXPECT_NE("", log_.Take());
}

TEST_F(SessionFault, AStoreThatIsNoDirectoryOpensNoSession) {
  std::ofstream(kSessions) << "a file";
  EXPECT_EQ(-4, Login(Client(), "anna", "pw-anna").result);
  EXPECT_EQ("a file", Bytes(kSessions));
  fs::remove(kSessions);
}

TEST_F(SessionFault, DamagedAccountsAreAClearFailureAndStayAsTheyAre) {
  const std::string whole = Bytes(kAccounts);
  for (const std::string& bytes : {std::string(), std::string("x"), std::string(whole.size(), 'x'),
                                   whole.substr(0, whole.size() / 2), whole.substr(0, 100)}) {
    std::ofstream(kAccounts, std::ios::binary | std::ios::trunc) << bytes;
    EXPECT_EQ(-4, Login(Client(), "anna", "pw-anna").result) << bytes.size();
    EXPECT_EQ(bytes, Bytes(kAccounts)) << bytes.size();
    EXPECT_NE("", log_.Take());
  }
  std::ofstream(kAccounts, std::ios::binary | std::ios::trunc) << whole;
  EXPECT_EQ(1, Login(Client(), "anna", "pw-anna").result);
}

TEST_F(SessionFault, MissingAccountsAreAClearFailureAndAreNotMade) {
  fs::remove(kAccounts);
  EXPECT_EQ(-4, Login(Client(), "anna", "pw-anna").result);
  EXPECT_FALSE(fs::exists(kAccounts));
}

TEST_F(SessionFault, WithoutACountOfFailuresNobodyMayGuess) {
  std::ofstream(kFailures, std::ios::binary | std::ios::trunc) << std::string(8192, 'x');
  EXPECT_EQ(-4, Login(Client(), "anna", "wrong").result);
  EXPECT_EQ(-4, Login(Client(), "anna", "pw-anna").result);
  EXPECT_EQ(std::string(8192, 'x'), Bytes(kFailures));
}

TEST_F(SessionFault, AKilledLoginLeavesEverythingWhole) {
  Settings("session_single=\"yes\"\n");  // so that a login writes to the accounts, too
  for (int round = 0; round < 40; ++round) {
    const pid_t pid = fork();
    if (pid == 0) {
      Login(Client(), "anna", round % 2 == 0 ? "pw-anna" : "wrong");
      _exit(0);
    }
    usleep(static_cast<useconds_t>(round * 700));
    kill(-pid, SIGKILL);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    if (round % 2 == 1) fs::remove(kFailures);
  }
  usleep(200000);  // requests whose parent was killed come to their end
  fs::remove(kFailures);
  EXPECT_EQ(0, Account({"list"}));
  const Client anna = LoggedIn("anna");
  EXPECT_EQ(1, Check(anna).result);
  // Files that nobody knows the id of go with time.
  for (const auto& entry : fs::directory_iterator(kSessions)) {
    fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  }
  LoggedIn("bernd");
  EXPECT_EQ(1u, SessionCount());
}

TEST_F(SessionFault, ManyProcessesLogInAndCheckAtOnce) {
  Settings("session_single=\"no\"\n");
  constexpr int kProcesses = 8;
  pid_t pids[kProcesses];
  for (int i = 0; i < kProcesses; ++i) {
    pids[i] = fork();
    if (pids[i] != 0) continue;
    const char* name = i % 2 == 0 ? "anna" : "bernd";
    bool good = true;
    for (int round = 0; round < 5; ++round) {
      const Client client = LoggedIn(name);
      good = good && !client.Id().empty() && Check(client).result == 1 && Logout(client, name).result != 0;
    }
    _exit(good ? 0 : 1);
  }
  for (const pid_t pid : pids) {
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(0, status);
  }
  EXPECT_EQ(0u, SessionCount());
}

TEST_F(SessionFault, GuessesOfManyProcessesAreAllCounted) {
  constexpr int kProcesses = 6;
  pid_t pids[kProcesses];
  for (pid_t& pid : pids) {
    pid = fork();
    if (pid != 0) continue;
    const int result = Login(Client(), "anna", "guess").result;
    _exit(result == -1 || result == -3 ? 0 : 1);
  }
  for (const pid_t pid : pids) {
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(0, status);
  }
  EXPECT_EQ(-3, Login(Client(), "anna", "pw-anna").result);
}

}  // namespace
