// The libc calls of the library, as the linker's --wrap option replaces them in the test program: "f" becomes
// "__wrap_f", and the genuine one is "__real_f". The list of names in tests/unit/CMakeLists.txt and this file go
// together.
//
// The programs use 64-bit file offsets and times, so some calls carry another name for the linker, and not the same one
// on every architecture; here that is said once, with asm labels.

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <regex.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>

#include "support/allocations.h"
#include "support/machine.h"

#if __SIZEOF_POINTER__ == 4
#define STAT_NAME "__stat64_time64"
#define LSTAT_NAME "__lstat64_time64"
#define FSTAT_NAME "__fstat64_time64"
#define SELECT_NAME "__select64"
#define TIME_NAME "__time64"
#else
#define STAT_NAME "stat64"
#define LSTAT_NAME "lstat64"
#define FSTAT_NAME "fstat64"
#define SELECT_NAME "select"
#define TIME_NAME "time"
#endif

extern "C" {

int RealGethostname(char* name, size_t bytes) __asm__("__real_gethostname");
pid_t RealSetsid() __asm__("__real_setsid");
int RealOpen(const char* path, int flags, ...) __asm__("__real_open64");
int RealStat(const char* path, struct stat* info) __asm__("__real_" STAT_NAME);
int RealLstat(const char* path, struct stat* info) __asm__("__real_" LSTAT_NAME);
int RealFstat(int fd, struct stat* info) __asm__("__real_" FSTAT_NAME);
ssize_t RealRead(int fd, void* buffer, size_t bytes) __asm__("__real_read");
int RealClose(int fd) __asm__("__real_close");
void* RealMalloc(size_t bytes) __asm__("__real_malloc");
void* RealCalloc(size_t count, size_t bytes) __asm__("__real_calloc");
void RealFree(void* block) __asm__("__real_free");
FILE* RealFopen(const char* path, const char* mode) __asm__("__real_fopen64");
int RealFputs(const char* text, FILE* file) __asm__("__real_fputs");
size_t RealFread(void* buffer, size_t bytes, size_t count, FILE* file) __asm__("__real_fread");
size_t RealFwrite(const void* data, size_t bytes, size_t count, FILE* file) __asm__("__real_fwrite");
int RealFseeko(FILE* file, off_t offset, int whence) __asm__("__real_fseeko64");
char* RealStrdup(const char* text) __asm__("__real_strdup");
int RealSelect(int count, fd_set* in, fd_set* out, fd_set* other, struct timeval* limit) __asm__("__real_" SELECT_NAME);
pid_t RealGetpid() __asm__("__real_getpid");
time_t RealTime(time_t* out) __asm__("__real_" TIME_NAME);
int RealFclose(FILE* file) __asm__("__real_fclose");
int RealRename(const char* from, const char* to) __asm__("__real_rename");
int RealRemove(const char* path) __asm__("__real_remove");
ssize_t RealGetline(char** line, size_t* room, FILE* file) __asm__("__real_getline");
ssize_t RealGetdelim(char** line, size_t* room, int end, FILE* file) __asm__("__real___getdelim");
int RealMkdir(const char* path, mode_t mode) __asm__("__real_mkdir");
int RealChown(const char* path, uid_t user, gid_t group) __asm__("__real_chown");
int RealChmod(const char* path, mode_t mode) __asm__("__real_chmod");
int RealChdir(const char* path) __asm__("__real_chdir");
char* RealGetcwd(char* buffer, size_t bytes) __asm__("__real_getcwd");
DIR* RealOpendir(const char* path) __asm__("__real_opendir");
struct dirent* RealReaddir(DIR* folder) __asm__("__real_readdir64");
int RealClosedir(DIR* folder) __asm__("__real_closedir");
int RealInitgroups(const char* user, gid_t group) __asm__("__real_initgroups");
int RealRegcomp(regex_t* compiled, const char* pattern, int flags) __asm__("__real_regcomp");
int RealRegexec(const regex_t* compiled, const char* text, size_t slots, regmatch_t* found,
                int flags) __asm__("__real_regexec");
void RealRegfree(regex_t* compiled) __asm__("__real_regfree");

int WrapGethostname(char* name, size_t bytes) __asm__("__wrap_gethostname");
pid_t WrapSetsid() __asm__("__wrap_setsid");
int WrapOpen(const char* path, int flags, ...) __asm__("__wrap_open64");
int WrapStat(const char* path, struct stat* info) __asm__("__wrap_" STAT_NAME);
int WrapLstat(const char* path, struct stat* info) __asm__("__wrap_" LSTAT_NAME);
int WrapFstat(int fd, struct stat* info) __asm__("__wrap_" FSTAT_NAME);
ssize_t WrapRead(int fd, void* buffer, size_t bytes) __asm__("__wrap_read");
int WrapClose(int fd) __asm__("__wrap_close");
void* WrapMalloc(size_t bytes) __asm__("__wrap_malloc");
void* WrapCalloc(size_t count, size_t bytes) __asm__("__wrap_calloc");
void WrapFree(void* block) __asm__("__wrap_free");
FILE* WrapFopen(const char* path, const char* mode) __asm__("__wrap_fopen64");
int WrapFputs(const char* text, FILE* file) __asm__("__wrap_fputs");
size_t WrapFread(void* buffer, size_t bytes, size_t count, FILE* file) __asm__("__wrap_fread");
size_t WrapFwrite(const void* data, size_t bytes, size_t count, FILE* file) __asm__("__wrap_fwrite");
int WrapFseeko(FILE* file, off_t offset, int whence) __asm__("__wrap_fseeko64");
char* WrapStrdup(const char* text) __asm__("__wrap_strdup");
int WrapSelect(int count, fd_set* in, fd_set* out, fd_set* other, struct timeval* limit) __asm__("__wrap_" SELECT_NAME);
pid_t WrapGetpid() __asm__("__wrap_getpid");
time_t WrapTime(time_t* out) __asm__("__wrap_" TIME_NAME);
int WrapFclose(FILE* file) __asm__("__wrap_fclose");
int WrapRename(const char* from, const char* to) __asm__("__wrap_rename");
int WrapRemove(const char* path) __asm__("__wrap_remove");
ssize_t WrapGetline(char** line, size_t* room, FILE* file) __asm__("__wrap_getline");
ssize_t WrapGetdelim(char** line, size_t* room, int end, FILE* file) __asm__("__wrap___getdelim");
int WrapMkdir(const char* path, mode_t mode) __asm__("__wrap_mkdir");
int WrapChown(const char* path, uid_t user, gid_t group) __asm__("__wrap_chown");
int WrapChmod(const char* path, mode_t mode) __asm__("__wrap_chmod");
int WrapSystem(const char* command) __asm__("__wrap_system");
int WrapChdir(const char* path) __asm__("__wrap_chdir");
char* WrapGetcwd(char* buffer, size_t bytes) __asm__("__wrap_getcwd");
DIR* WrapOpendir(const char* path) __asm__("__wrap_opendir");
struct dirent* WrapReaddir(DIR* folder) __asm__("__wrap_readdir64");
int WrapClosedir(DIR* folder) __asm__("__wrap_closedir");
int WrapInitgroups(const char* user, gid_t group) __asm__("__wrap_initgroups");
int WrapRegcomp(regex_t* compiled, const char* pattern, int flags) __asm__("__wrap_regcomp");
int WrapRegexec(const regex_t* compiled, const char* text, size_t slots, regmatch_t* found,
                int flags) __asm__("__wrap_regexec");
void WrapRegfree(regex_t* compiled) __asm__("__wrap_regfree");

}  // extern "C"

namespace {

using tarvel_test::Machine;

constexpr char kBlock[] = "block from malloc";
constexpr char kFolder[] = "open folder";
constexpr char kPattern[] = "compiled pattern";
constexpr char kMakeDirectory[] = "/bin/mkdir -p ";

// Notes the call with its arguments; true when the test wants it to fail.
template <typename... Arguments>
bool Fails(const char* call, const Arguments&... arguments) {
  Machine* machine = Machine::Current();
  if (machine == nullptr) return false;
  const tarvel_test::SteadyNew steady;
  std::string note = call;
  ((note += " ", note += arguments), ...);
  machine->Note(note);
  return machine->Fails(call);
}

std::string RealPath(const char* path) {
  const Machine* machine = Machine::Current();
  const tarvel_test::SteadyNew steady;
  return machine == nullptr ? path : machine->RealPath(path);
}

std::string Octal(mode_t mode) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%04o", static_cast<unsigned>(mode));
  return digits;
}

void* Tracked(void* block) {
  if (block != nullptr && Machine::Current() != nullptr) Machine::Current()->ledger().Take(kBlock, block);
  return block;
}

void Exchanged(const void* before, void* after) {
  if (before == after || Machine::Current() == nullptr) return;
  if (before != nullptr) Machine::Current()->ledger().Give(kBlock, before);
  Tracked(after);
}

}  // namespace

// The test program itself stays in its session: it may be run from a terminal.
pid_t WrapSetsid() {
  if (Machine::Current() == nullptr) return RealSetsid();
  return Fails("setsid") ? -1 : 4711;
}

int WrapOpen(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (Fails("open", path)) return -1;
  return RealOpen(RealPath(path).c_str(), flags, mode);
}

int WrapStat(const char* path, struct stat* info) {
  return Fails("stat", path) ? -1 : RealStat(RealPath(path).c_str(), info);
}

// A fault of "lstat size" makes the object greater than 32 bits can tell: so many times 4 GiB, and one byte.
int WrapLstat(const char* path, struct stat* info) {
  if (Fails("lstat", path) || RealLstat(RealPath(path).c_str(), info) != 0) return -1;
  if (Machine::Current() != nullptr && Machine::Current()->Fails("lstat size")) {
    info->st_size = static_cast<off_t>(errno) * 0x100000000 + 1;
  }
  return 0;
}

int WrapFstat(int fd, struct stat* info) { return Fails("fstat") ? -1 : RealFstat(fd, info); }

ssize_t WrapRead(int fd, void* buffer, size_t bytes) {
  if (Fails("read", std::to_string(bytes))) return -1;
  Machine* machine = Machine::Current();
  if (machine != nullptr) bytes = static_cast<size_t>(machine->ReadLimit(static_cast<long>(bytes)));
  return RealRead(fd, buffer, bytes);
}

int WrapClose(int fd) {
  const bool fails = Fails("close");
  const int result = RealClose(fd);
  return fails ? -1 : result;
}

void* WrapMalloc(size_t bytes) { return Fails("malloc", std::to_string(bytes)) ? nullptr : Tracked(RealMalloc(bytes)); }

// An optimiser may turn malloc and a clearing loop into this.
void* WrapCalloc(size_t count, size_t bytes) {
  return Fails("malloc", std::to_string(count * bytes)) ? nullptr : Tracked(RealCalloc(count, bytes));
}

void WrapFree(void* block) {
  Machine* machine = Machine::Current();
  if (machine != nullptr && block != nullptr) {
    if (machine->ledger().GiveIfHeld(kBlock, block) || machine->ledger().GiveIfHeld("parameter line", block) ||
        machine->ledger().GiveIfHeld("list of texts", block)) {
      machine->Note("free");
    }
  }
  RealFree(block);
}

FILE* WrapFopen(const char* path, const char* mode) {
  if (Fails("fopen", path, mode)) return nullptr;
  return RealFopen(RealPath(path).c_str(), mode);
}

size_t WrapFread(void* buffer, size_t bytes, size_t count, FILE* file) {
  return Fails("fread", std::to_string(bytes * count)) ? 0 : RealFread(buffer, bytes, count, file);
}

// A failed write has written some of it.
size_t WrapFwrite(const void* data, size_t bytes, size_t count, FILE* file) {
  return RealFwrite(data, bytes, Fails("fwrite", std::to_string(bytes * count)) ? count / 2 : count, file);
}

int WrapFseeko(FILE* file, off_t offset, int whence) {
  return Fails("fseeko", std::to_string(offset)) ? -1 : RealFseeko(file, offset, whence);
}

// A fault with error number 0 is a time-out; one of "select report" leaves the descriptor out of the answer. The limit
// is counted down, as the kernel does it.
int WrapSelect(int count, fd_set* in, fd_set* out, fd_set* other, struct timeval* limit) {
  Machine* machine = Machine::Current();
  if (machine == nullptr) return RealSelect(count, in, out, other, limit);
  if (in != nullptr || other != nullptr) ADD_FAILURE() << "select on more than writing";
  std::string arguments;
  for (int fd = 0; fd < count; ++fd) {
    if (FD_ISSET(fd, out)) arguments += std::to_string(fd) + " ";
  }
  arguments += std::to_string(limit->tv_sec) + "." + std::to_string(limit->tv_usec);
  if (Fails("select", arguments)) return errno == 0 ? 0 : -1;
  const int ready = RealSelect(count, in, out, other, limit);
  *limit = {};
  if (machine->Fails("select report")) FD_ZERO(out);
  return ready;
}

int WrapGethostname(char* name, size_t bytes) {
  if (Machine::Current() == nullptr) return RealGethostname(name, bytes);
  if (Fails("gethostname", std::to_string(bytes))) return -1;
  std::snprintf(name, bytes, "%s", "nas-of-the-tests");
  return 0;
}

pid_t WrapGetpid() {
  if (Machine::Current() == nullptr) return RealGetpid();
  return Fails("getpid") ? 0 : 0xabc;
}

time_t WrapTime(time_t* out) {
  if (Machine::Current() == nullptr) return RealTime(out);
  return Fails("time") ? -1 : 0x553f100;
}

// Any number but a negative one says that all was written; here it is the least.
int WrapFputs(const char* text, FILE* file) { return Fails("fputs") || RealFputs(text, file) < 0 ? EOF : 0; }

char* WrapStrdup(const char* text) {
  return Fails("strdup", text) ? nullptr : static_cast<char*>(Tracked(RealStrdup(text)));
}

int WrapFclose(FILE* file) {
  const bool fails = Fails("fclose");
  const int result = RealFclose(file);
  return fails ? EOF : result;
}

int WrapRename(const char* from, const char* to) {
  if (Fails("rename", from, to)) return -1;
  return RealRename(RealPath(from).c_str(), RealPath(to).c_str());
}

int WrapRemove(const char* path) { return Fails("remove", path) ? -1 : RealRemove(RealPath(path).c_str()); }

// The line's block is libc's own, and the caller's to release. An optimiser may turn the first call into the second.
ssize_t WrapGetline(char** line, size_t* room, FILE* file) {
  const char* const before = *line;
  const ssize_t result = RealGetline(line, room, file);
  Exchanged(before, *line);
  return result;
}

ssize_t WrapGetdelim(char** line, size_t* room, int end, FILE* file) {
  const char* const before = *line;
  const ssize_t result = RealGetdelim(line, room, end, file);
  Exchanged(before, *line);
  return result;
}

int WrapMkdir(const char* path, mode_t mode) {
  if (Fails("mkdir", path, Octal(mode))) return -1;
  return RealMkdir(RealPath(path).c_str(), mode);
}

// Only a superuser could do it.
int WrapChown(const char* path, uid_t user, gid_t group) {
  if (Machine::Current() == nullptr) return RealChown(path, user, group);
  return Fails("chown", path, std::to_string(user), std::to_string(group)) ? -1 : 0;
}

int WrapChmod(const char* path, mode_t mode) {
  if (Fails("chmod", path, Octal(mode))) return -1;
  return RealChmod(RealPath(path).c_str(), mode);
}

int WrapChdir(const char* path) { return Fails("chdir", path) ? -1 : RealChdir(RealPath(path).c_str()); }

char* WrapGetcwd(char* buffer, size_t bytes) {
  return Fails("getcwd", std::to_string(bytes)) ? nullptr : RealGetcwd(buffer, bytes);
}

DIR* WrapOpendir(const char* path) {
  if (Fails("opendir", path)) return nullptr;
  DIR* const folder = RealOpendir(RealPath(path).c_str());
  if (folder != nullptr && Machine::Current() != nullptr) Machine::Current()->ledger().Take(kFolder, folder);
  return folder;
}

// A fault of "readdir type" gives the entry the type that stands in the place of an error number.
struct dirent* WrapReaddir(DIR* folder) {
  if (Fails("readdir")) return nullptr;
  struct dirent* const entry = RealReaddir(folder);
  if (entry != nullptr && Machine::Current() != nullptr && Machine::Current()->Fails("readdir type")) {
    entry->d_type = static_cast<unsigned char>(errno);
  }
  return entry;
}

int WrapClosedir(DIR* folder) {
  if (Machine::Current() != nullptr) Machine::Current()->ledger().Give(kFolder, folder);
  Fails("closedir");
  return RealClosedir(folder);
}

// Only a superuser could do it.
int WrapInitgroups(const char* user, gid_t group) {
  if (Machine::Current() == nullptr) return RealInitgroups(user, group);
  return Fails("initgroups", user, std::to_string(group)) ? -1 : 0;
}

// No shell runs in these tests; the one thing that the library asks of it is done here.
int WrapSystem(const char* command) {
  if (Fails("system", command)) return 1;
  if (std::strncmp(command, kMakeDirectory, std::strlen(kMakeDirectory)) != 0) {
    ADD_FAILURE() << "unknown shell command: " << command;
    return 1;
  }
  std::error_code error;
  std::filesystem::create_directories(RealPath(command + std::strlen(kMakeDirectory)), error);
  return error ? 1 : 0;
}

// GoogleTest compiles patterns too, inside and outside of tests; they come and go in pairs. A failure leaves what glibc
// leaves where memory ends half-way: no pattern, and the sub-expressions that it had counted.
int WrapRegcomp(regex_t* compiled, const char* pattern, int flags) {
  if (Fails("regcomp", pattern, std::to_string(flags))) {
    *compiled = {};
    compiled->re_nsub = 1;
    return errno;
  }
  const int result = RealRegcomp(compiled, pattern, flags);
  if (result == 0 && Machine::Current() != nullptr) Machine::Current()->ledger().Take(kPattern, compiled);
  return result;
}

int WrapRegexec(const regex_t* compiled, const char* text, size_t slots, regmatch_t* found, int flags) {
  if (Fails("regexec", std::to_string(slots), std::to_string(flags))) return errno;
  return RealRegexec(compiled, text, slots, found, flags);
}

// A pattern that could not be compiled may be released as well.
void WrapRegfree(regex_t* compiled) {
  if (Machine::Current() != nullptr) Machine::Current()->ledger().GiveIfHeld(kPattern, compiled);
  Fails("regfree");
  RealRegfree(compiled);
}
