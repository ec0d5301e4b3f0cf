/* Runs programs in turn, many rounds in one go, and prints what each run cost.
 *
 *   measure ROUNDS NAME=PROGRAM...
 *
 * One line per program: name, median wall time, median CPU time (both microseconds), the median over the rounds of its
 * wall and CPU time divided by the first program's of the same round, minor page faults, peak memory in KiB, bytes of
 * the reply. A program whose reply changes between rounds ends the measurement. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum { kMaxPrograms = 16, kMaxReply = 65536 };

struct Run {
  double wall_us, cpu_us;
  long faults, peak_kib;
};

struct Program {
  const char *name, *path;
  struct Run* runs;
  char* reply;
  size_t reply_bytes;
};

extern char** environ;

static void Fail(const char* what, const char* which) {
  fprintf(stderr, "measure: %s: %s\n", what, which);
  exit(1);
}

static double Now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec * 1e6 + (double)t.tv_nsec / 1e3;
}

static double Microseconds(struct timeval t) { return (double)t.tv_sec * 1e6 + (double)t.tv_usec; }

/* Keeps the beginning; the rest is only counted. */
static size_t ReadAll(int fd, char* reply) {
  static char rest[kMaxReply];
  size_t have = 0;
  ssize_t got;
  while (have < kMaxReply && (got = read(fd, reply + have, kMaxReply - have)) > 0) have += (size_t)got;
  if (have < kMaxReply) return have;
  while ((got = read(fd, rest, sizeof rest)) > 0) have += (size_t)got;
  return have;
}

static struct Run Once(const struct Program* program, char* reply, size_t* bytes) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) Fail("pipe", program->name);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], 1);
  /* Some programs open a session of their own, which gives them a scheduling group of their own: on a busy machine that
   * would decide the wall time. So each gets one before it starts. */
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  char* arguments[] = {(char*)program->path, NULL};
  pid_t child;
  const double begin = Now();
  if (posix_spawn(&child, program->path, &actions, &attributes, arguments, environ) != 0)
    Fail("cannot run", program->path);
  close(ends[1]);
  *bytes = ReadAll(ends[0], reply);
  int status;
  struct rusage usage;
  if (wait4(child, &status, 0, &usage) != child) Fail("wait4", program->name);
  const double end = Now();
  close(ends[0]);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (status != 0) Fail("ended with a failure", program->name);
  struct Run run = {end - begin, Microseconds(usage.ru_utime) + Microseconds(usage.ru_stime), usage.ru_minflt,
                    usage.ru_maxrss};
  return run;
}

static void CheckReply(struct Program* program, const char* reply, size_t bytes) {
  const size_t kept = bytes < kMaxReply ? bytes : kMaxReply;
  if (program->reply == NULL) {
    program->reply = malloc(kept + 1);
    memcpy(program->reply, reply, kept);
    program->reply_bytes = bytes;
  } else if (bytes != program->reply_bytes || memcmp(reply, program->reply, kept) != 0) {
    Fail("the reply changed", program->name);
  }
}

static void Shuffle(int* order, int count) {
  for (int last = count - 1; last > 0; --last) {
    const int other = (int)(random() % (last + 1)), kept = order[last];
    order[last] = order[other];
    order[other] = kept;
  }
}

static int Order(const void* a, const void* b) {
  const double x = *(const double*)a, y = *(const double*)b;
  return (x > y) - (x < y);
}

static double Median(double* values, int count) {
  qsort(values, (size_t)count, sizeof *values, Order);
  return values[count / 2];
}

static void Print(const struct Program* program, const struct Program* base, int rounds, double* scratch) {
  double wall, cpu, wall_ratio, cpu_ratio;
  for (int i = 0; i < rounds; ++i) scratch[i] = program->runs[i].wall_us;
  wall = Median(scratch, rounds);
  for (int i = 0; i < rounds; ++i) scratch[i] = program->runs[i].cpu_us;
  cpu = Median(scratch, rounds);
  for (int i = 0; i < rounds; ++i) scratch[i] = program->runs[i].wall_us / base->runs[i].wall_us;
  wall_ratio = Median(scratch, rounds);
  for (int i = 0; i < rounds; ++i) scratch[i] = program->runs[i].cpu_us / base->runs[i].cpu_us;
  cpu_ratio = Median(scratch, rounds);
  printf("%s\t%.0f\t%.0f\t%.3f\t%.3f\t%ld\t%ld\t%zu\n", program->name, wall, cpu, wall_ratio, cpu_ratio,
         program->runs[rounds / 2].faults, program->runs[rounds / 2].peak_kib, program->reply_bytes);
}

int main(int argc, char** argv) {
  const int rounds = argc > 2 ? atoi(argv[1]) : 0;
  const int count = argc - 2;
  if (rounds < 1 || count > kMaxPrograms) Fail("usage", "measure ROUNDS NAME=PROGRAM...");
  struct Program programs[kMaxPrograms] = {0};
  for (int p = 0; p < count; ++p) {
    char* equals = strchr(argv[p + 2], '=');
    if (equals == NULL) Fail("no '='", argv[p + 2]);
    *equals = '\0';
    programs[p].name = argv[p + 2];
    programs[p].path = equals + 1;
    programs[p].runs = calloc((size_t)rounds, sizeof *programs[p].runs);
  }
  static char reply[kMaxReply];
  size_t bytes;
  for (int warm = 0; warm < 5; ++warm) {
    for (int p = 0; p < count; ++p) Once(&programs[p], reply, &bytes);
  }
  int order[kMaxPrograms];
  for (int p = 0; p < count; ++p) order[p] = p;
  srandom(1);
  for (int i = 0; i < rounds; ++i) {
    /* Another order each round, so that none always follows the same neighbour. */
    Shuffle(order, count);
    for (int k = 0; k < count; ++k) {
      const int p = order[k];
      programs[p].runs[i] = Once(&programs[p], reply, &bytes);
      CheckReply(&programs[p], reply, bytes);
    }
  }
  double* scratch = calloc((size_t)rounds, sizeof *scratch);
  for (int p = 0; p < count; ++p) Print(&programs[p], &programs[0], rounds, scratch);
  return 0;
}
