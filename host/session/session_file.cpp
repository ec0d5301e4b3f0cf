#include "host/session/session_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "host/klib/file_descriptor.h"
#include "host/session/session_text.h"

namespace kest {
namespace {

bool Fail(const char* doing, const char* path) {
  syslog(LOG_ERR, "session: %s %s failed: %m", doing, path);
  return false;
}

bool IsOurs(const struct stat& file) {
  return S_ISREG(file.st_mode) && file.st_uid == geteuid() && (file.st_mode & 077) == 0;
}

// The content is shorter than a page: it goes out whole or not at all.
bool WriteWhole(int fd, const Session& session) {
  char text[kSessionTextBytes];
  const size_t length = FormatSession(session, text);
  const ssize_t written = length == 0 ? 0 : write(fd, text, length);
  if (written > 0 && static_cast<size_t>(written) == length) return true;
  if (written >= 0) errno = length == 0 ? EMSGSIZE : ENOSPC;
  return false;
}

bool RandomId(char (&id)[kSessionIdLength + 1]) {
  unsigned char bytes[kSessionIdLength / 2];
  // Requests of this size are never cut short once the generator has started.
  if (getrandom(bytes, sizeof(bytes), 0) != static_cast<ssize_t>(sizeof(bytes))) return false;
  for (size_t i = 0; i < sizeof(bytes); ++i) snprintf(id + 2 * i, 3, "%02x", bytes[i]);
  return true;
}

}  // namespace

bool IsSessionId(const char* text) {
  if (text == nullptr || strspn(text, "0123456789abcdef") != kSessionIdLength) return false;
  return text[kSessionIdLength] == '\0';
}

void SessionPath(const char* id, char (&path)[kSessionPathBytes]) {
  snprintf(path, sizeof(path), "%s/%s", kSessionDirectory, id);
}

SessionRead ReadSession(const char* id, Session* out) {
  char path[kSessionPathBytes];
  SessionPath(id, path);
  const FileDescriptor fd(open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!fd.IsOpen()) {
    if (errno == ENOENT) return SessionRead::kAbsent;
    const bool link = errno == ELOOP;
    Fail("opening", path);
    return link ? SessionRead::kDamaged : SessionRead::kUnreadable;
  }
  struct stat file;
  char text[kSessionTextBytes];
  const bool seen = fstat(fd.Get(), &file) == 0;
  const ssize_t length = seen && IsOurs(file) ? read(fd.Get(), text, sizeof(text) - 1) : 0;
  if (!seen || length < 0) {
    Fail("reading", path);
    return SessionRead::kUnreadable;
  }
  text[length] = '\0';
  if (!ParseSession(text, out)) {
    syslog(LOG_ERR, "session: %s holds no session", path);
    return SessionRead::kDamaged;
  }
  out->active_s = file.st_mtim.tv_sec;
  return SessionRead::kOk;
}

bool CreateSession(const Session& session, char (&id)[kSessionIdLength + 1]) {
  char path[kSessionPathBytes];
  char made[kSessionIdLength + 1];
  if (!RandomId(made)) return Fail("a new id for", kSessionDirectory);
  SessionPath(made, path);
  // Written in place: nobody knows the id before its cookie is sent.
  const FileDescriptor fd(open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!fd.IsOpen()) return Fail("making", path);
  if (!WriteWhole(fd.Get(), session)) {
    Fail("writing", path);
    unlink(path);
    return false;
  }
  memcpy(id, made, sizeof(made));
  return true;
}

void ReplaceSession(const char* id, const Session& session) {
  char path[kSessionPathBytes];
  char fresh[] = "/usr/kest/var/session/.new-XXXXXX";
  SessionPath(id, path);
  const FileDescriptor fd(mkostemp(fresh, O_CLOEXEC));
  if (!fd.IsOpen()) {
    Fail("making", fresh);
    return;
  }
  const timespec times[2] = {{session.active_s, 0}, {session.active_s, 0}};
  // Exchanged, not renamed over: that fails when a logout has just removed the session, and must not bring it back.
  const bool done = WriteWhole(fd.Get(), session) && futimens(fd.Get(), times) == 0 &&
                    (renameat2(AT_FDCWD, fresh, AT_FDCWD, path, RENAME_EXCHANGE) == 0 || errno == ENOENT);
  if (!done) Fail("replacing", path);
  unlink(fresh);
}

void TouchSession(const char* id) {
  char path[kSessionPathBytes];
  SessionPath(id, path);
  if (utimensat(AT_FDCWD, path, nullptr, AT_SYMLINK_NOFOLLOW) != 0 && errno != ENOENT) Fail("touching", path);
}

bool RemoveSession(const char* id) {
  char path[kSessionPathBytes];
  SessionPath(id, path);
  return unlink(path) == 0 || errno == ENOENT || Fail("removing", path);
}

}  // namespace kest
