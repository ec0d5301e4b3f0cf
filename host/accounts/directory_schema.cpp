#include "host/accounts/directory_schema.h"

#include <iterator>

namespace kest {
namespace {

// A uid is never given out twice (AUTOINCREMENT), so files and sessions of a removed account belong to nobody else.
// A credential is a random number renewed with the password: sessions opened with an older one can be told.
constexpr const char* kSteps[] = {
    R"(
CREATE TABLE accounts (
  uid INTEGER PRIMARY KEY AUTOINCREMENT,
  name TEXT NOT NULL,
  folded TEXT NOT NULL UNIQUE,
  gid INTEGER NOT NULL DEFAULT 100,
  hash TEXT NOT NULL DEFAULT '',
  credential INTEGER NOT NULL DEFAULT (random()),
  login_serial INTEGER NOT NULL DEFAULT 0,
  description TEXT NOT NULL DEFAULT '',
  home TEXT NOT NULL DEFAULT '',
  shell TEXT NOT NULL DEFAULT '',
  email TEXT NOT NULL DEFAULT '',
  expire_day INTEGER NOT NULL DEFAULT -1,
  no_password_change INTEGER NOT NULL DEFAULT 0,
  attributes INTEGER NOT NULL DEFAULT 1,
  privilege INTEGER NOT NULL DEFAULT 3
) STRICT;
CREATE TABLE groups (
  gid INTEGER PRIMARY KEY AUTOINCREMENT,
  name TEXT NOT NULL,
  folded TEXT NOT NULL UNIQUE,
  description TEXT NOT NULL DEFAULT ''
) STRICT;
CREATE TABLE members (
  gid INTEGER NOT NULL REFERENCES groups ON DELETE CASCADE,
  uid INTEGER NOT NULL REFERENCES accounts ON DELETE CASCADE,
  PRIMARY KEY (gid, uid)
) STRICT, WITHOUT ROWID;
CREATE INDEX members_by_uid ON members (uid);
INSERT INTO groups (gid, name, folded) VALUES (100, 'users', 'users'), (101, 'administrators', 'administrators');
INSERT INTO sqlite_sequence (name, seq) VALUES ('accounts', 1023);
UPDATE sqlite_sequence SET seq = 1023 WHERE name = 'groups';
)",
    // An entry of an access list is an account, a group, or the name of one that is neither here.
    R"(
UPDATE sqlite_sequence SET seq = max(seq, 1025) WHERE name = 'accounts';
CREATE TABLE shares (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  name TEXT NOT NULL,
  folded TEXT NOT NULL UNIQUE,
  description TEXT NOT NULL DEFAULT '',
  path TEXT NOT NULL DEFAULT '',
  attributes INTEGER NOT NULL DEFAULT 0,
  browseable INTEGER NOT NULL DEFAULT 1,
  restrictions INTEGER NOT NULL DEFAULT 0,
  encryption INTEGER NOT NULL DEFAULT 0
) STRICT;
CREATE TABLE share_access (
  share INTEGER NOT NULL REFERENCES shares ON DELETE CASCADE,
  permission TEXT NOT NULL CHECK (permission IN ('na', 'rw', 'ro')),
  position INTEGER NOT NULL,
  uid INTEGER REFERENCES accounts ON DELETE CASCADE,
  gid INTEGER REFERENCES groups ON DELETE CASCADE,
  name TEXT,
  PRIMARY KEY (share, permission, position),
  CHECK ((uid IS NOT NULL) + (gid IS NOT NULL) + (name IS NOT NULL) = 1)
) STRICT, WITHOUT ROWID;
CREATE INDEX share_access_by_uid ON share_access (uid);
CREATE INDEX share_access_by_gid ON share_access (gid);
)",
    // A folder on its way: what is left of a move that was cut short is found here.
    R"(
CREATE TABLE share_moves (
  share INTEGER PRIMARY KEY REFERENCES shares ON DELETE CASCADE,
  source TEXT NOT NULL,
  target TEXT NOT NULL,
  staging TEXT NOT NULL DEFAULT '',
  state INTEGER NOT NULL DEFAULT 0
) STRICT;
)",
    // Folders that are behind the members of a group, and homes on their way: whoever comes next ends what a killed
    // process has begun.
    R"(
CREATE TABLE share_renders (
  share INTEGER PRIMARY KEY REFERENCES shares ON DELETE CASCADE,
  changes INTEGER NOT NULL DEFAULT 1,
  begun INTEGER NOT NULL DEFAULT 0
) STRICT;
CREATE TABLE home_moves (
  uid INTEGER PRIMARY KEY REFERENCES accounts ON DELETE CASCADE,
  source TEXT NOT NULL,
  target TEXT NOT NULL
) STRICT;
)",
};

}  // namespace

const Database::Schema kDirectorySchema = {kSteps, static_cast<int>(std::size(kSteps))};

}  // namespace kest
