#ifndef TESTS_CONTRACT_STARTED_PROGRAM_H_
#define TESTS_CONTRACT_STARTED_PROGRAM_H_

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

/// How a program ended and what it printed.
struct Ended {
  int status;
  std::string output;
};

/// A program of this machine.
inline Ended StartedHere(std::vector<std::string> words) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  int output[2];
  if (pipe(output) != 0) return {-1, ""};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const int error = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(output[1]);
  Ended ended = {-1, ""};
  char piece[4096];
  for (ssize_t got; (got = read(output[0], piece, sizeof(piece))) > 0;)
    ended.output.append(piece, static_cast<size_t>(got));
  close(output[0]);
  int status = 0;
  if (error == 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) ended.status = WEXITSTATUS(status);
  return ended;
}

/// A program of the appliance; built for another processor, behind the words that run such programs here.
inline Ended Started(const std::vector<std::string>& words) {
  std::istringstream emulator(CONTRACT_EMULATOR);
  std::vector<std::string> all;
  for (std::string word; std::getline(emulator, word, '|');) all.push_back(word);
  all.insert(all.end(), words.begin(), words.end());
  return StartedHere(all);
}

#endif  // TESTS_CONTRACT_STARTED_PROGRAM_H_
