/* Sends the file that PATH_TRANSLATED names, with a CGI header, in the plainest ways: SEND_BY_CAT leaves it to cat,
 * SEND_BY_COPYING reads and writes, SEND_BY_WAITING waits in between until standard output takes data. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

enum { kChunkBytes = 8192 };

static void PrintHeader(long long bytes) {
  printf("Content-Length: %lld\r\nContent-Type: application/octet-stream\r\n\r\n", bytes);
  fflush(stdout);
}

#ifdef SEND_BY_CAT
static int Send(int file) {
  dup2(file, STDIN_FILENO);
  execl("/bin/cat", "cat", (char*)NULL);
  return 1;
}
#else
static int WaitUntilWritable(void) {
#ifdef SEND_BY_WAITING
  fd_set writable;
  FD_ZERO(&writable);
  FD_SET(STDOUT_FILENO, &writable);
  struct timeval limit = {3600, 0};
  return select(STDOUT_FILENO + 1, NULL, &writable, NULL, &limit) == 1;
#else
  return 1;
#endif
}

static int Send(int file) {
  static char chunk[kChunkBytes];
  ssize_t got;
  while ((got = read(file, chunk, sizeof chunk)) > 0) {
    if (!WaitUntilWritable() || write(STDOUT_FILENO, chunk, (size_t)got) != got) return 1;
  }
  return got == 0 ? 0 : 1;
}
#endif

int main(void) {
  const int file = open(getenv("PATH_TRANSLATED"), O_RDONLY);
  struct stat info;
  if (file < 0 || fstat(file, &info) != 0) return 1;
  PrintHeader((long long)info.st_size);
  return Send(file);
}
