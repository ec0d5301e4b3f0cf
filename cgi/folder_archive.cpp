#include "folder_archive.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <iterator>

namespace site {

namespace {

constexpr char kProgram[] = "/usr/bin/tar";

// No shell, an environment of its own, and the name behind "--": whatever it looks like, it is a name.
int Start(const FoundFile& folder, int out, pid_t& process) {
  std::string arguments[] = {"tar",       "--create",        "--file=-", "--owner=0",
                             "--group=0", "--numeric-owner", "--",       folder.name};
  char* pointers[std::size(arguments) + 1] = {};
  for (size_t i = 0; i < std::size(arguments); ++i) pointers[i] = arguments[i].data();
  char path[] = "PATH=/usr/bin:/bin", locale[] = "LC_ALL=C.UTF-8";
  char* const environment[] = {path, locale, nullptr};

  posix_spawn_file_actions_t actions;
  int error = posix_spawn_file_actions_init(&actions);
  if (error != 0) return error;
  error = posix_spawn_file_actions_addfchdir_np(&actions, folder.parent.get());
  if (error == 0) error = posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
  if (error == 0) error = posix_spawn(&process, kProgram, &actions, nullptr, pointers, environment);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

}  // namespace

FolderArchive::FolderArchive(const FoundFile& folder) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return;
  Descriptor from(ends[0]);
  const Descriptor to(ends[1]);
  FILE* stream = fdopen(from.get(), "rb");
  if (stream == nullptr) return;
  from.Release();
  const int error = Start(folder, to.get(), process_);
  if (error == 0) {
    stream_ = stream;
    return;
  }
  fclose(stream);
  errno = error;
}

FolderArchive::~FolderArchive() { Finish(); }

bool FolderArchive::Finish() {
  if (stream_ == nullptr) return false;
  fclose(std::exchange(stream_, nullptr));
  int status = -1;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace site
