#include "host/accounts/home_move.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <syslog.h>
#include <unistd.h>

#include <vector>

#include "host/database/database_error.h"
#include "host/klib/error_code.h"
#include "host/klib/file_descriptor.h"

namespace kest {
namespace {

bool Exists(const std::string& path) { return faccessat(AT_FDCWD, path.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0; }

bool Rename(const std::string& from, const std::string& to) {
  return renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
}

// The database says so only once the disk does. Homes lie beside each other.
bool ReachesTheDisk(const std::string& path) {
  const std::string parent = path.substr(0, path.rfind('/'));
  const FileDescriptor folder(openat(AT_FDCWD, parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder.IsOpen() && fsync(folder.Get()) == 0;
}

int Failure(const std::string& from, const std::string& to) {
  const int error = errno;
  syslog(LOG_ERR, "%s cannot be moved to %s: %m", from.c_str(), to.c_str());
  return error == EEXIST ? -kErrorTaken : -ErrorCodeOf(error);
}

bool Forget(Database& database, int64_t uid) {
  Statement remove(database, "DELETE FROM home_moves WHERE uid = ?");
  return remove.Bind(1, uid).Run();
}

struct NotedMove {
  int64_t uid;
  std::string from, to;
};

bool Read(Database& database, std::vector<NotedMove>* out) {
  Statement query(database, "SELECT uid, source, target FROM home_moves");
  while (query.Row()) out->push_back({query.Number(0), query.Text(1), query.Text(2)});
  return !query.failed();
}

// Nothing stood at the other end when the way was noted: what stands there now is the home.
int TakeBack(const NotedMove& move) {
  bool is_back = Rename(move.to, move.from);
  // An empty one may have been made where it was missed.
  if (!is_back && errno == EEXIST && rmdir(move.from.c_str()) == 0) is_back = Rename(move.to, move.from);
  if (!is_back) return errno == ENOENT || errno == ENOTDIR ? 0 : Failure(move.to, move.from);
  return ReachesTheDisk(move.from) ? 0 : Failure(move.to, move.from);
}

}  // namespace

HomeMove::~HomeMove() {
  // Whoever has looked at the account since may have been quicker.
  if (moved_ && !Rename(to_, from_) && errno != ENOENT)
    syslog(LOG_ERR, "%s stays where it should not be: %m", to_.c_str());
}

bool HomeMove::Note(Database& database, int64_t uid, const std::string& from, const std::string& to) {
  if (!Exists(from) || Exists(to)) return true;
  Statement insert(database, "INSERT OR REPLACE INTO home_moves (uid, source, target) VALUES (?, ?, ?)");
  return insert.Bind(1, uid).Bind(2, from).Bind(3, to).Run();
}

int HomeMove::Move(Database& database, int64_t uid, const std::string& from, const std::string& to) {
  if (!Forget(database, uid)) return DatabaseFailure();
  if (!Rename(from, to)) return errno == ENOENT || errno == ENOTDIR ? 0 : Failure(from, to);
  from_ = from;
  to_ = to;
  moved_ = true;
  return ReachesTheDisk(to) ? 0 : Failure(from, to);
}

int RecoverHomes(Database& database) {
  std::vector<NotedMove> moves;
  if (!Read(database, &moves)) return DatabaseFailure();
  if (moves.empty()) return 0;
  // Whoever is moving a home now is waited for, and has taken his note away then.
  Transaction transaction(database);
  moves.clear();
  if (!transaction.open() || !Read(database, &moves)) return DatabaseFailure();
  int result = 0;
  for (const NotedMove& move : moves) {
    const int failure = TakeBack(move);
    if (failure != 0) result = failure;
    if (failure == 0 && !Forget(database, move.uid)) return DatabaseFailure();
  }
  return transaction.Commit() ? result : DatabaseFailure();
}

}  // namespace kest
