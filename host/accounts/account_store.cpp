#include "host/accounts/account_store.h"

#include <string.h>

#include <list>
#include <string>
#include <vector>

#include "host/accounts/account_name.h"
#include "host/accounts/fold_name.h"
#include "host/accounts/hash_slot.h"
#include "host/accounts/home_move.h"
#include "host/accounts/password.h"
#include "host/database/database_error.h"
#include "host/klib/error_code.h"

namespace kest {
namespace {

std::string TextOr(const char* text, const std::string& otherwise) {
  return text == nullptr || *text == '\0' ? otherwise : text;
}

// A caller's record with the texts that will be stored.
struct NewState {
  explicit NewState(const KESTUSER& record)
      : numbers(record),
        name(TextOr(record.name, "")),
        description(TextOr(record.desc, "")),
        home(TextOr(record.home, UsualHome(name))),
        shell(TextOr(record.shell, kUsualShell)),
        email(TextOr(record.email, "")) {}

  // Whether everything but the name can be stored.
  bool IsSound() const {
    return numbers.expire >= -1 && IsText(description) && IsLine(email) && IsPathField(home) && IsPathField(shell);
  }

  const KESTUSER& numbers;
  std::string name, description, home, shell, email;
  std::string hash;  // "": the password stays what it is
};

// The hash of a password that was given. Takes long, so it is computed before the database is locked.
int HashOf(const char* password, std::string* hash) {
  if (password == nullptr || *password == '\0') return 0;
  if (strlen(password) > kMaxPasswordBytes) return -kErrorBadParameter;
  const HashSlot slot;
  if (slot.held()) *hash = HashPassword(password);
  return hash->empty() ? -kErrorSystem : 0;
}

int Prepare(const KESTUSER& record, bool creates, NewState* state) {
  if (!state->IsSound() || (creates && record.uid != -1)) return -kErrorBadParameter;
  return HashOf(record.passwd, &state->hash);
}

int RefusalOfName(Database& database, const std::string& name, int64_t uid) {
  if (!IsDirectoryName(name)) return -kErrorBadParameter;
  if (IsSystemAccount(name)) return -kErrorTaken;
  Statement taken(database, "SELECT 1 FROM accounts WHERE folded = ? AND uid <> ?");
  if (taken.Bind(1, FoldName(name)).Bind(2, uid).Row()) return -kErrorTaken;
  return taken.failed() ? DatabaseFailure() : 0;
}

int RefusalOfGroup(Database& database, int gid) {
  Statement known(database, "SELECT 1 FROM groups WHERE gid = ?");
  if (known.Bind(1, gid).Row()) return 0;
  return known.failed() ? DatabaseFailure() : -kErrorBadParameter;
}

int Write(Database& database, int64_t uid, const NewState& state) {
  if (const int refused = RefusalOfGroup(database, state.numbers.gid)) return refused;
  Statement update(
      database,
      "UPDATE accounts SET name = ?1, folded = ?2, gid = ?3, description = ?4, home = ?5, shell = ?6,"
      " email = ?7, expire_day = ?8, no_password_change = ?9, attributes = ?10, privilege = ?11,"
      " credential = iif(?12 = '', credential, random()), hash = iif(?12 = '', hash, ?12) WHERE uid = ?13");
  update.Bind(1, state.name).Bind(2, FoldName(state.name)).Bind(3, state.numbers.gid).Bind(4, state.description);
  update.Bind(5, state.home).Bind(6, state.shell).Bind(7, state.email).Bind(8, state.numbers.expire);
  update.Bind(9, state.numbers.noChPasswd != 0 ? 1 : 0).Bind(10, state.numbers.attr);
  update.Bind(11, state.numbers.privilege).Bind(12, state.hash).Bind(13, uid);
  return update.Run() ? 0 : DatabaseFailure();
}

int Create(Database& database, const NewState& state) {
  if (const int refused = RefusalOfName(database, state.name, -1)) return refused;
  Statement insert(database, "INSERT INTO accounts (name, folded) VALUES (?, ?)");
  if (!insert.Bind(1, state.name).Bind(2, FoldName(state.name)).Run()) return DatabaseFailure();
  return Write(database, database.LastNumber(), state);
}

// An account as it is stored, as far as its change depends on it.
struct Stored {
  int64_t uid = -1;
  std::string name, home;

  // Whether its home lies where homes lie as a rule, and goes with the name.
  bool HomeFollows(const NewState& state) const {
    return state.name != name && home == UsualHome(name) && state.home == home;
  }
};

int Find(Database& database, const char* existing, Stored* out) {
  Statement query(database, "SELECT uid, name, home FROM accounts WHERE folded = ?");
  if (!query.Bind(1, FoldName(existing)).Row()) return query.failed() ? DatabaseFailure() : -kErrorNoSuchObject;
  *out = {query.Number(0), query.Text(1), query.Text(2)};
  return 0;
}

// What has to be on the disk before a home is touched.
int NoteHome(Database& database, const char* existing, const NewState& state) {
  Stored stored;
  if (existing == nullptr || Find(database, existing, &stored) != 0 || !stored.HomeFollows(state)) return 0;
  if (RefusalOfName(database, state.name, stored.uid) != 0) return 0;
  return HomeMove::Note(database, stored.uid, stored.home, UsualHome(state.name)) ? 0 : DatabaseFailure();
}

int Change(Database& database, const char* existing, NewState* state, HomeMove* home) {
  Stored stored;
  if (const int failed = Find(database, existing, &stored)) return failed;
  // Somebody else has been given the name since the record was read.
  if (state->numbers.uid != -1 && state->numbers.uid != stored.uid) return -kErrorNoSuchObject;
  if (state->name == stored.name) return Write(database, stored.uid, *state);

  if (const int refused = RefusalOfName(database, state->name, stored.uid)) return refused;
  const bool home_follows = stored.HomeFollows(*state);
  if (home_follows) state->home = UsualHome(state->name);
  if (const int failed = Write(database, stored.uid, *state)) return failed;
  return home_follows ? home->Move(database, stored.uid, stored.home, state->home) : 0;
}

// All of them in one transaction.
int Store(Database& database, const char* const* existing, std::vector<NewState>* states) {
  std::list<HomeMove> homes;
  Transaction transaction(database);
  if (!transaction.open()) return DatabaseFailure();
  for (size_t i = 0; i < states->size(); ++i) {
    NewState& state = (*states)[i];
    const int failed =
        existing[i] == nullptr ? Create(database, state) : Change(database, existing[i], &state, &homes.emplace_back());
    if (failed != 0) return failed;
  }
  if (!transaction.Commit()) return DatabaseFailure();
  for (HomeMove& home : homes) home.Keep();
  return 0;
}

}  // namespace

int SaveAccounts(Database& database, const char* const* existing, KESTUSER* const* records, int count) {
  std::vector<NewState> states;
  for (int i = 0; i < count; ++i) {
    if (records[i] == nullptr) return -kErrorBadParameter;
    states.emplace_back(*records[i]);
    if (const int refused = Prepare(*records[i], existing[i] == nullptr, &states.back())) return refused;
  }
  // One that cannot be brought back is in the log, and no reason to change no account any more.
  RecoverHomes(database);
  for (size_t i = 0; i < states.size(); ++i) {
    if (const int failed = NoteHome(database, existing[i], states[i])) return failed;
  }
  const int failed = Store(database, existing, &states);
  // What was noted and not done is taken back at once; where that fails, too, by whoever comes next.
  if (failed != 0) RecoverHomes(database);
  return failed;
}

int CountAccounts(Database& database) {
  Statement count(database, "SELECT count(*) FROM accounts");
  return count.Row() ? count.Int(0) : DatabaseFailure();
}

}  // namespace kest
