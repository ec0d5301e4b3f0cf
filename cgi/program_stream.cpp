#include "program_stream.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <utility>

#include "descriptor.h"

namespace site {

namespace {

int Start(std::vector<std::string>& arguments, int folder, int out, pid_t& process) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  char path[] = "PATH=/usr/bin:/bin", locale[] = "LC_ALL=C.UTF-8";
  char* const environment[] = {path, locale, nullptr};

  posix_spawn_file_actions_t actions;
  int error = posix_spawn_file_actions_init(&actions);
  if (error != 0) return error;
  if (folder >= 0) error = posix_spawn_file_actions_addfchdir_np(&actions, folder);
  if (error == 0) error = posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
  if (error == 0) error = posix_spawn(&process, pointers[0], &actions, nullptr, pointers.data(), environment);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

}  // namespace

ProgramStream::ProgramStream(std::vector<std::string> arguments, int folder) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return;
  Descriptor from(ends[0]);
  const Descriptor to(ends[1]);
  FILE* stream = fdopen(from.get(), "rb");
  if (stream == nullptr) return;
  from.Release();
  const int error = Start(arguments, folder, to.get(), process_);
  if (error == 0) {
    stream_ = stream;
    return;
  }
  fclose(stream);
  errno = error;
}

ProgramStream::~ProgramStream() { Finish(); }

bool ProgramStream::Finish() {
  if (stream_ == nullptr) return false;
  fclose(std::exchange(stream_, nullptr));
  int status = -1;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace site
