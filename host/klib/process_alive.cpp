#include <signal.h>
#include <sys/types.h>

#include <cerrno>
#include <climits>

#include "platform/klib.h"

int BlKLIBProcAlive(unsigned pid) {
  if (pid == 0 || pid > INT_MAX) return 0;
  return kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}
