#include "host/klib/run_program.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "folder.h"

namespace kest {
namespace {

constexpr int kPlenty = 60;

TEST(RunProgramTest, TheExitStatusIsTheResult) {
  const char* const yes[] = {"/usr/bin/true", nullptr};
  const char* const no[] = {"/usr/bin/false", nullptr};
  EXPECT_EQ(0, RunProgram(yes, kPlenty));
  EXPECT_EQ(1, RunProgram(no, kPlenty));
}

TEST(RunProgramTest, AnArgumentIsNeverMoreThanOneText) {
  const Folder folder;
  const std::string odd = folder.File("a b; touch \"$(pwd)\" 'x' & *?\n");
  const char* const arguments[] = {"/usr/bin/touch", odd.c_str(), nullptr};
  EXPECT_EQ(0, RunProgram(arguments, kPlenty));
  EXPECT_EQ(std::set<std::string>{"a b; touch \"$(pwd)\" 'x' & *?\n"}, folder.Names());
}

TEST(RunProgramTest, AProgramGetsNeitherFilesNorEnvironment) {
  ASSERT_EQ(50, dup2(STDERR_FILENO, 50));
  setenv("SECRET", "1", 1);
  const char* const file[] = {"/usr/bin/test", "-e", "/proc/self/fd/50", nullptr};
  const char* const output[] = {"/usr/bin/test", "/proc/self/fd/1", "-ef", "/dev/null", nullptr};
  const char* const secret[] = {"/usr/bin/printenv", "SECRET", nullptr};
  const char* const path[] = {"/usr/bin/printenv", "PATH", nullptr};
  EXPECT_EQ(1, RunProgram(file, kPlenty));
  EXPECT_EQ(0, RunProgram(output, kPlenty));
  EXPECT_EQ(1, RunProgram(secret, kPlenty));
  EXPECT_EQ(0, RunProgram(path, kPlenty));
  close(50);
  unsetenv("SECRET");
}

TEST(RunProgramTest, AProgramReadsAndWritesTheFilesItIsGiven) {
  const Folder folder;
  const int input = open(folder.Put("input", "skipped, read").c_str(), O_RDONLY | O_CLOEXEC);
  const int output = open(folder.File("output").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  lseek(input, 9, SEEK_SET);
  const char* const cat[] = {"/usr/bin/cat", nullptr};
  EXPECT_EQ(0, RunProgram(cat, kPlenty, input, output));
  EXPECT_EQ("read", Content(folder.File("output")));
  close(input);
  close(output);
}

TEST(RunProgramTest, AMissingProgramIsAFailure) {
  const char* const missing[] = {"/nonexistent/program", nullptr};
  EXPECT_NE(0, RunProgram(missing, kPlenty));
}

TEST(RunProgramTest, AProgramThatTakesTooLongIsKilled) {
  const char* const slow[] = {"/usr/bin/sleep", "600", nullptr};
  errno = 0;
  EXPECT_EQ(-1, RunProgram(slow, 0));
  EXPECT_EQ(ETIMEDOUT, errno);
}

TEST(RunProgramTest, AProgramThatASignalEndsIsAFailure) {
  const char* const killed[] = {"/usr/bin/timeout", "--signal=KILL", "0.01", "/usr/bin/sleep", "600", nullptr};
  EXPECT_NE(0, RunProgram(killed, kPlenty));
}

}  // namespace
}  // namespace kest
