// The shared folders in the directory database.
#ifndef KEST_HOST_SHARES_SHARE_DATABASE_H_
#define KEST_HOST_SHARES_SHARE_DATABASE_H_

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/accounts/account_source.h"
#include "host/database/database.h"

namespace kest {

constexpr char kShareLocksPath[] = "/usr/kest/etc/shares.lock";

enum ShareList { kNoAccess, kReadWrite, kReadOnly, kShareLists };

struct Share {
  int64_t id = 0;
  std::string name;
  std::string description;
  std::string path;
  int attributes = 0;
  int browseable = 0;
  int restrictions = 0;
  int encryption = 0;
  std::string lists[kShareLists];  // names separated by ",", as list texts are
};

// A folder that is on its way, as it is noted before it is touched: whoever finds the note of a process that is gone
// finishes or takes back (docs/decisions/0095).
struct ShareMove {
  enum State : int {
    kBegun = 0,       // the database still says the old: to be taken back
    kCopied = 1,      // the same, and the copy in `staging` is complete
    kStored = 2,      // the database says the new: to be finished
    kEncrypting = 3,  // `target` receives what was in clear, `staging` is the vault
    kDecrypting = 4,  // `target` receives what will be in clear
  };
  int64_t share = 0;
  std::string source;  // "" when no folder changes its place
  std::string target;
  std::string staging;  // "" when the folder is renamed, not copied
  State state = kBegun;
};

// A folder that is behind the members of a group.
struct ShareRender {
  int64_t share = 0;
  int64_t changes = 0;  // how often since it was up to date
  bool begun = false;   // somebody has set about it: what lies in the folder may differ from the folder itself
};

// What an access list names.
struct AccessEntry {
  enum Kind { kAccount, kGroup, kElsewhere };
  Kind kind = kElsewhere;
  int64_t id = 0;
  std::string name;  // of one that is neither an account nor a group of this machine
};

class ShareDatabase {
 public:
  explicit ShareDatabase(std::shared_ptr<Database> database, const char* locks = kShareLocksPath)
      : database_(std::move(database)), locks_(locks) {}

  // `out` is filled only when the share is found.
  Lookup Find(const std::string& name, Share* out);
  Lookup FindById(int64_t id, Share* out);
  // By folded name. False on failure.
  bool List(std::vector<Share>* out);
  bool Visit(const std::string& prefix, const std::function<void(const char* name, const char* path, int)>& visit);

  // Looks the names of a list text up. kAbsent for one that is no account or group of this machine and, lacking a
  // domain's prefix, cannot be anybody else's.
  Lookup Resolve(const std::string& list, std::vector<AccessEntry>* out);

  // Whether a share other than `but` has the name, or a folder that is this one, lies in it or holds it.
  bool IsNameTaken(const std::string& name, int64_t but, bool* answer);
  bool IsPathTaken(const std::string& path, int64_t but, bool* answer);

  // The changes; callers hold a Transaction. Insert() sets the id.
  bool Insert(Share* share);
  bool Update(const Share& share);
  bool SetAccess(int64_t share, ShareList list, const std::vector<AccessEntry>& entries);
  bool SetEncryption(int64_t share, int encryption);

  // The note of a folder on its way: one for each share.
  bool Note(const ShareMove& move);
  bool Forget(int64_t share);
  bool Moves(std::vector<ShareMove>* out);
  bool IsInterrupted(bool* answer);

  // The shares whose folders are behind, and one of them.
  bool Renders(std::vector<int64_t>* out);
  Lookup FindRender(int64_t share, ShareRender* out);
  bool BeginRender(int64_t share);
  // Unless there has been another change since `render` was read.
  bool EndRender(const ShareRender& render);

  bool IsMember(const std::string& user, const std::string& group, bool* answer);
  // Accounts and groups that a list names by number, and the members of such groups.
  bool Named(int64_t share, ShareList list, std::set<int64_t>* uids, std::set<int64_t>* gids);
  bool MembersOf(int64_t gid, std::set<int64_t>* uids);

  Database& database() const { return *database_; }
  // Where the locks are of those who change shares.
  const std::string& locks() const { return locks_; }

 private:
  Lookup ReadOne(Statement& query, Share* out);
  Lookup ResolveName(const std::string& name, AccessEntry* out);
  bool IsTaken(const char* sql, const std::string& text, int64_t but, bool* answer);

  std::shared_ptr<Database> database_;
  std::string locks_;
  // Kept: pages of lists ask for one share after the other, and for each whether somebody is in its groups.
  std::unique_ptr<Statement> find_, any_move_, is_member_;
};

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_DATABASE_H_
