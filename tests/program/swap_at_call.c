/* Loaded into a program (LD_PRELOAD): before its SWAP_ATth look at a file, counted from the first by the path
   SWAP_PLACE or below it, the folder SWAP_PLACE makes way for the link SWAP_LINK, and is SWAP_FOLDER from then on. */
#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

static void look(const char* path) {
  static int begun = 0, looks = 0;
  const char* place = getenv("SWAP_PLACE");
  if (begun == 0) begun = strncmp(path, place, strlen(place)) == 0;
  if (begun == 0 || ++looks != atoi(getenv("SWAP_AT"))) return;
  renameat(AT_FDCWD, place, AT_FDCWD, getenv("SWAP_FOLDER"));
  renameat(AT_FDCWD, getenv("SWAP_LINK"), AT_FDCWD, place);
}

#define REAL(result, name, ...) ((result(*)(__VA_ARGS__))dlsym(RTLD_NEXT, #name))

#define OPEN(name)                                                            \
  int name(const char* path, int flags, ...) {                                \
    va_list rest;                                                             \
    va_start(rest, flags);                                                    \
    mode_t mode = flags & (O_CREAT | __O_TMPFILE) ? va_arg(rest, mode_t) : 0; \
    va_end(rest);                                                             \
    look(path);                                                               \
    return REAL(int, name, const char*, int, ...)(path, flags, mode);         \
  }
#define OPENAT(name)                                                           \
  int name(int at, const char* path, int flags, ...) {                         \
    va_list rest;                                                              \
    va_start(rest, flags);                                                     \
    mode_t mode = flags & (O_CREAT | __O_TMPFILE) ? va_arg(rest, mode_t) : 0;  \
    va_end(rest);                                                              \
    look(path);                                                                \
    return REAL(int, name, int, const char*, int, ...)(at, path, flags, mode); \
  }
#define STAT(name, record)                                          \
  int name(const char* path, struct record* out) {                  \
    look(path);                                                     \
    return REAL(int, name, const char*, struct record*)(path, out); \
  }
#define STATAT(name, record)                                                             \
  int name(int at, const char* path, struct record* out, int flags) {                    \
    look(path);                                                                          \
    return REAL(int, name, int, const char*, struct record*, int)(at, path, out, flags); \
  }

OPEN(open)
OPEN(open64)
OPENAT(openat)
OPENAT(openat64)
STAT(stat, stat)
STAT(stat64, stat64)
STAT(lstat, stat)
STAT(lstat64, stat64)
STATAT(fstatat, stat)
STATAT(fstatat64, stat64)

int chdir(const char* path) {
  look(path);
  return REAL(int, chdir, const char*)(path);
}
int linkat(int from_at, const char* from, int to_at, const char* to, int flags) {
  look(from);
  return REAL(int, linkat, int, const char*, int, const char*, int)(from_at, from, to_at, to, flags);
}
int rename(const char* from, const char* to) {
  look(from);
  return REAL(int, rename, const char*, const char*)(from, to);
}
int renameat2(int from_at, const char* from, int to_at, const char* to, unsigned flags) {
  look(from);
  return REAL(int, renameat2, int, const char*, int, const char*, unsigned)(from_at, from, to_at, to, flags);
}
