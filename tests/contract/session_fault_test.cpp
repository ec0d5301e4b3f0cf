// What is left after something failed, and what several processes do to each other.
#include <fcntl.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include "full_disk.h"
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

TEST_F(SessionFault, AFullDiskOpensNoSessionAndSpoilsNone) {
  const Client anna = LoggedIn("anna");
  Age(anna, 100);
  {
    const FullDisk full("/usr/kest/var");
    const Answer answer = Login(anna, "bernd", "pw-bernd");
    EXPECT_EQ(-4, answer.result);
    EXPECT_STREQ("", answer.id);
    EXPECT_EQ(std::string::npos, std::string(answer.headers).find("Set-Cookie"));
    EXPECT_EQ(1, Check(anna).result) << "sessions go on";
    EXPECT_TRUE(IsAbout(900, Check(anna, KEST_CGI_POSITION_ACCOUNT, 0).request.secondsLeft)) << "and are renewed";
    EXPECT_EQ(1u, SessionCount()) << "no empty files are left";
    EXPECT_NE("", log_.Take());
  }
  EXPECT_EQ(1, Check(anna).result);
  EXPECT_EQ(1, Login(Client(), "bernd", "pw-bernd").result);
}

TEST_F(SessionFault, AFullDiskUnderTheAccountsLosesNone) {
  Settings("session_single=\"yes\"\n");  // a login has to be counted in the accounts
  {
    const FullDisk full("/usr/kest/etc");
    EXPECT_EQ(-4, Login(Client(), "anna", "pw-anna").result);
    EXPECT_NE(0, Account({"passwd", "anna"}, "other"));
    EXPECT_EQ(0u, SessionCount());
  }
  EXPECT_EQ(1, Login(Client(), "anna", "pw-anna").result);
  EXPECT_EQ(0, Account({"list"}));
}

TEST_F(SessionFault, LoggingOutWorksOnAFullDisk) {
  const Client anna = LoggedIn("anna");
  const FullDisk full("/usr/kest/var");
  EXPECT_NE(0, Logout(anna, "anna").result);
  EXPECT_EQ(-1, Check(anna).result);
}

// Starts a login and kills it after that time, with the process that serves it. Returns when both are gone: the pipe
// that they hold ends with the last of them.
void KillDuring(const std::function<void()>& login, useconds_t after_us) {
  int alive[2];
  ASSERT_EQ(0, pipe2(alive, O_CLOEXEC));
  const pid_t pid = fork();
  if (pid == 0) {
    setpgid(0, 0);
    close(alive[0]);
    login();
    _exit(0);
  }
  setpgid(pid, pid);
  close(alive[1]);
  usleep(after_us);
  EXPECT_EQ(0, kill(-pid, SIGKILL));
  char nothing;
  EXPECT_EQ(0, read(alive[0], &nothing, 1));
  close(alive[0]);
  waitpid(pid, nullptr, 0);
}

TEST_F(SessionFault, AKilledLoginLeavesEverythingWhole) {
  Settings("session_single=\"yes\"\n");  // so that a login writes to the accounts, too
  for (int round = 0; round < 40; ++round) {
    const char* password = round % 2 == 0 ? "pw-anna" : "wrong";
    KillDuring([&] { Login(Client(), "anna", password); }, static_cast<useconds_t>(round * 700));
    if (round % 2 == 0) continue;
    ForgetFailures();  // so that no round has to wait
  }
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

// How many of that many guesses at once were judged, and not told to wait.
int GuessesJudged(int processes, const std::function<int()>& guess) {
  std::vector<pid_t> pids(static_cast<size_t>(processes));
  for (pid_t& pid : pids) {
    pid = fork();
    if (pid == 0) _exit(-guess());
  }
  int judged = 0;
  for (const pid_t pid : pids) {
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && (WEXITSTATUS(status) == 1 || WEXITSTATUS(status) == 3)) << status;
    judged += WEXITSTATUS(status) == 1 ? 1 : 0;
  }
  return judged;
}

TEST_F(SessionFault, GuessesOfManyProcessesAreAllCounted) {
  constexpr int kProcesses = 6;
  int judged = 0;
  int delay_s = 0;
  // On a busy machine one may come so late that it has to wait already; after six judged ones eight seconds remain.
  for (int tries = 0; tries < 20 && judged < kProcesses; ++tries) {
    ForgetFailures();
    judged = GuessesJudged(kProcesses, [] { return Login(Client(), "anna", "guess").result; });
    delay_s = Login(Client(), "anna", "pw-anna").delay_s;
  }
  EXPECT_EQ(kProcesses, judged);
  EXPECT_LT(4, delay_s) << "fewer than six were counted";
}

// Logs in with the right password and lets others fail five times after that login was let in. The accounts are opened
// after the wait was asked for, and before the hash is computed: then the login is stopped.
int OvertakenLogin(const char* accounts, const std::function<int()>& login, const std::function<void()>& fail) {
  const int watch = inotify_init1(IN_CLOEXEC);
  inotify_add_watch(watch, accounts, IN_OPEN);
  const pid_t guess = fork();
  if (guess == 0) {
    setpgid(0, 0);
    _exit(login() + 10);
  }
  char event[4096];
  EXPECT_LT(0, read(watch, event, sizeof(event)));
  kill(-guess, SIGSTOP);
  for (int i = 0; i < 5; ++i) fail();
  kill(-guess, SIGCONT);
  int status = 0;
  waitpid(guess, &status, 0);
  close(watch);
  return WEXITSTATUS(status) - 10;
}

TEST_F(SessionFault, ARightGuessAmongManyIsNotTold) {
  int result = 1;
  // A busy machine may stop the login only after its end: then it was not overtaken.
  for (int tries = 0; tries < 10 && result == 1; ++tries) {
    fs::remove(kFailures);
    fs::remove_all(kSessions);
    result = OvertakenLogin(
        kAccounts, [] { return Login(Client(), "anna", "pw-anna").result; }, [] { Login(Client(), "anna", "guess"); });
  }
  EXPECT_EQ(-3, result);
  EXPECT_EQ(0u, SessionCount());
}

}  // namespace
