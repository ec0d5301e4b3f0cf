#include "support/killed_process.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace tarvel_test {

namespace {

constexpr int kNever = -1;
int calls_to_live = kNever;

}  // namespace

int KilledAtEachCall(const std::function<void()>& call, const std::function<void()>& look) {
  constexpr int kEndless = 1000;
  for (int killed = 0; killed < kEndless; ++killed) {
    const pid_t child = fork();
    if (child == 0) {
      calls_to_live = killed;
      call();
      _exit(0);
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    look();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return killed;
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "ended otherwise";
  }
  ADD_FAILURE() << "no end of calls";
  return kEndless;
}

void DieIfDue() {
  if (calls_to_live == 0) std::raise(SIGKILL);
  if (calls_to_live > 0) --calls_to_live;
}

}  // namespace tarvel_test
