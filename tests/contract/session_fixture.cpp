#include "session_fixture.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "platform/kestdir.h"

namespace fs = std::filesystem;

namespace {

void Set(const char* name, const std::string& value) {
  if (value.empty()) {
    unsetenv(name);
  } else {
    setenv(name, value.c_str(), 1);
  }
}

// Sees whether the accounts are opened while it lives.
class AccountsWatch {
 public:
  explicit AccountsWatch(const char* path) : fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    inotify_add_watch(fd_, path, IN_OPEN);
  }
  ~AccountsWatch() { close(fd_); }
  AccountsWatch(const AccountsWatch&) = delete;
  AccountsWatch& operator=(const AccountsWatch&) = delete;

  bool Opened() const {
    char events[4096];
    return read(fd_, events, sizeof(events)) > 0;
  }

 private:
  int fd_;
};

// What the request prints, in the answer.
void TakeHeaders(KESTCGI* context, Answer* answer) {
  FILE* file = tmpfile();
  const int before = dup(STDOUT_FILENO);
  dup2(fileno(file), STDOUT_FILENO);
  KestCgiPrintHTTPHeader(context);
  fflush(stdout);
  dup2(before, STDOUT_FILENO);
  rewind(file);
  answer->headers[fread(answer->headers, 1, sizeof(answer->headers) - 1, file)] = '\0';
}

void Serve(const Client& client, const std::function<void(KESTCGI*, Answer*)>& body, Answer* answer) {
  Set("REMOTE_ADDR", client.address);
  Set("HTTP_COOKIE", client.cookie);
  Set("HTTPS", client.https ? "on" : "");
  KESTCGI context;
  KestCgiInit("", &context);
  KestCgiLoadInCookies(&context);
  body(&context, answer);
  TakeHeaders(&context, answer);
  KestCgiFree(&context);
  answer->refused_to_answer = false;
}

// The tool; built for another processor, behind the words that run such programs here.
std::vector<std::string> ToolCommand() {
  std::vector<std::string> command;
  std::istringstream words(CONTRACT_EMULATOR);
  for (std::string word; std::getline(words, word, '|');) command.push_back(word);
  command.push_back("/usr/kest/bin/kestaccount");
  return command;
}

}  // namespace

void SessionTest::SetUp() {
  ASSERT_TRUE(log_.bound());
  for (const char* name : {kAccounts, kFailures}) {
    for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(std::string(name) + suffix);
  }
  fs::remove_all(kSessions);
  Settings("");
  for (const char* name : {"admin", "anna", "bernd"}) {
    std::vector<std::string> arguments{"add", name};
    if (strcmp(name, "admin") == 0) arguments.push_back("admin");
    ASSERT_EQ(0, Account(arguments, std::string("pw-") + name));
  }
  log_.Take();
}

int SessionTest::Account(const std::vector<std::string>& arguments, const std::string& password) {
  std::vector<std::string> command = ToolCommand();
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : command) argv.push_back(word.data());
  argv.push_back(nullptr);
  // A file, not a pipe: it holds any amount and nobody has to read it.
  FILE* const input = tmpfile();
  const std::string line = password + "\n";
  const bool written = fwrite(line.data(), 1, line.size(), input) == line.size() && fflush(input) == 0;
  rewind(input);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(input), STDIN_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const bool spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  fclose(input);
  int status = 0;
  if (!written || !spawned || waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void SessionTest::Settings(const std::string& lines) { std::ofstream("/etc/kestinfo.conf", std::ios::trunc) << lines; }

Answer SessionTest::Request(const Client& client, const std::function<void(KESTCGI*, Answer*)>& body) {
  void* memory = mmap(nullptr, sizeof(Answer), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto* shared = static_cast<Answer*>(memory);
  shared->result = 99;
  shared->refused_to_answer = true;
  const AccountsWatch accounts(kAccounts);
  const pid_t pid = fork();
  if (pid == 0) {
    Serve(client, body, shared);
    _exit(0);
  }
  waitpid(pid, nullptr, 0);
  shared->opened_accounts = accounts.Opened();
  const Answer answer = *shared;
  munmap(memory, sizeof(Answer));
  EXPECT_FALSE(answer.refused_to_answer) << "the request's process died";
  return answer;
}

Answer SessionTest::Login(const Client& client, const char* user, const char* passwd) {
  return Request(client, [&](KESTCGI* context, Answer* answer) {
    _tag_login_params params = {};
    params.user = user;
    params.passwd = passwd;
    answer->result = KestCgiLogin(context, answer->id, sizeof(answer->id), &params);
    answer->delay_s = params.delay_s;
  });
}

Answer SessionTest::Check(const Client& client, _tag_cgi_position position, int mode) {
  return Request(client, [&](KESTCGI* context, Answer* answer) {
    answer->request.mode = mode;
    answer->result = KestCgiIsAuthorized(context, answer->user, sizeof(answer->user), &answer->request, position);
  });
}

Answer SessionTest::Logout(const Client& client, const char* user) {
  return Request(client, [&](KESTCGI* context, Answer* answer) { answer->result = KestCgiLogout(context, user); });
}

Client SessionTest::LoggedIn(const char* user) {
  Client client;
  const Answer answer = Login(client, user, (std::string("pw-") + user).c_str());
  EXPECT_EQ(1, answer.result) << user;
  client.cookie = std::string("id=") + answer.id;
  return client;
}

void SessionTest::ForgetFailures() {
  for (const char* end : {"", "-wal", "-shm"}) fs::remove(std::string(kFailures) + end);
}

void SessionTest::Age(const Client& client, int seconds) {
  timespec times[2] = {};
  clock_gettime(CLOCK_REALTIME, &times[0]);
  times[0].tv_sec -= seconds;
  times[1] = times[0];
  ASSERT_EQ(0, utimensat(AT_FDCWD, SessionPath(client).c_str(), times, 0)) << strerror(errno);
}

int64_t SessionTest::LastActivity(const Client& client) {
  struct stat file;
  return stat(SessionPath(client).c_str(), &file) == 0 ? file.st_mtim.tv_sec : -1;
}

::testing::AssertionResult SessionTest::IsAbout(int seconds, int left) {
  constexpr int kSlowest_s = 60;
  const bool about = left <= seconds && left > seconds - kSlowest_s;
  return (about ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
         << left << " s are left, not " << seconds;
}

size_t SessionTest::SessionCount() {
  std::error_code missing;
  const fs::directory_iterator entries(kSessions, missing);
  return missing ? 0 : static_cast<size_t>(std::distance(entries, fs::directory_iterator()));
}
