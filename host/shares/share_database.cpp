#include "host/shares/share_database.h"

#include "host/accounts/account_name.h"
#include "host/accounts/fold_name.h"
#include "host/shares/list_text.h"

namespace kest {
namespace {

constexpr const char* kListNames[kShareLists] = {"na", "rw", "ro"};

// A row for each entry of a list, at least one for each share.
#define SHARE_ROWS                                                                                                   \
  "SELECT s.id, s.name, s.description, s.path, s.attributes, s.browseable, s.restrictions, s.encryption,"            \
  " e.permission, coalesce(a.name, '@' || g.name, e.name) FROM shares s"                                             \
  " LEFT JOIN share_access e ON e.share = s.id LEFT JOIN accounts a ON a.uid = e.uid LEFT JOIN groups g ON g.gid = " \
  "e.gid "
#define SHARE_ORDER " ORDER BY s.folded, e.permission, e.position"

void Fill(const Statement& row, Share* out) {
  out->id = row.Number(0);
  out->name = row.Text(1);
  out->description = row.Text(2);
  out->path = row.Text(3);
  out->attributes = row.Int(4);
  out->browseable = row.Int(5);
  out->restrictions = row.Int(6);
  out->encryption = row.Int(7);
}

void AddEntry(const Statement& row, Share* out) {
  const std::string permission = row.Text(8);
  for (int list = 0; list < kShareLists; ++list) {
    if (permission != kListNames[list]) continue;
    if (!out->lists[list].empty()) out->lists[list] += ',';
    out->lists[list] += row.Text(9);
  }
}

// The first text behind all that begin with the prefix, byte by byte; "" when there is none.
std::string Behind(std::string prefix) {
  while (!prefix.empty() && static_cast<unsigned char>(prefix.back()) == 0xff) prefix.pop_back();
  if (!prefix.empty()) prefix.back() = static_cast<char>(static_cast<unsigned char>(prefix.back()) + 1);
  return prefix;
}

// A kept statement while it is used: afterwards it stands at its beginning again, whatever has happened, or is made
// anew.
class ReadToTheEnd {
 public:
  explicit ReadToTheEnd(std::unique_ptr<Statement>* statement) : statement_(*statement) {}
  ~ReadToTheEnd() {
    if (statement_->failed()) {
      statement_.reset();
    } else {
      statement_->Rewind();
    }
  }
  ReadToTheEnd(const ReadToTheEnd&) = delete;
  ReadToTheEnd& operator=(const ReadToTheEnd&) = delete;

 private:
  std::unique_ptr<Statement>& statement_;
};

}  // namespace

Lookup ShareDatabase::ReadOne(Statement& query, Share* out) {
  Share share;
  while (query.Row()) {
    if (share.id == 0) Fill(query, &share);
    AddEntry(query, &share);
  }
  if (query.failed()) return Lookup::kFailed;
  if (share.id == 0) return Lookup::kAbsent;
  *out = std::move(share);
  return Lookup::kFound;
}

Lookup ShareDatabase::Find(const std::string& name, Share* out) {
  if (find_ == nullptr) find_ = std::make_unique<Statement>(*database_, SHARE_ROWS "WHERE s.folded = ?" SHARE_ORDER);
  const ReadToTheEnd use(&find_);
  return ReadOne(find_->Bind(1, FoldName(name)), out);
}

Lookup ShareDatabase::FindById(int64_t id, Share* out) {
  Statement query(*database_, SHARE_ROWS "WHERE s.id = ?" SHARE_ORDER);
  return ReadOne(query.Bind(1, id), out);
}

bool ShareDatabase::List(std::vector<Share>* out) {
  Statement query(*database_, SHARE_ROWS SHARE_ORDER);
  std::vector<Share> all;
  while (query.Row()) {
    if (all.empty() || all.back().id != query.Number(0)) Fill(query, &all.emplace_back());
    AddEntry(query, &all.back());
  }
  if (query.failed()) return false;
  out->swap(all);
  return true;
}

bool ShareDatabase::Visit(const std::string& prefix,
                          const std::function<void(const char* name, const char* path, int)>& visit) {
  // What is no UTF-8 begins no name, not even one whose first byte it is.
  if (!IsText(prefix)) return true;
  const std::string folded = FoldName(prefix);
  Statement query(*database_,
                  "SELECT name, path, encryption FROM shares WHERE folded >= ?1 AND (?2 = '' OR folded < ?2)"
                  " ORDER BY folded");
  query.Bind(1, folded).Bind(2, Behind(folded));
  while (query.Row()) visit(query.Text(0).c_str(), query.Text(1).c_str(), query.Int(2));
  return !query.failed();
}

Lookup ShareDatabase::ResolveName(const std::string& name, AccessEntry* out) {
  const bool is_group = name[0] == '@';
  Statement query(*database_,
                  is_group ? "SELECT gid FROM groups WHERE folded = ?" : "SELECT uid FROM accounts WHERE folded = ?");
  if (query.Bind(1, FoldName(is_group ? name.substr(1) : name)).Row()) {
    *out = {is_group ? AccessEntry::kGroup : AccessEntry::kAccount, query.Number(0), ""};
    return Lookup::kFound;
  }
  if (query.failed()) return Lookup::kFailed;
  if (name.find('\\') == std::string::npos) return Lookup::kAbsent;
  *out = {AccessEntry::kElsewhere, 0, name};
  return Lookup::kFound;
}

Lookup ShareDatabase::Resolve(const std::string& list, std::vector<AccessEntry>* out) {
  Lookup result = Lookup::kFound;
  ForEachName(list, [&](std::string_view name) {
    if (result == Lookup::kFound) result = ResolveName(std::string(name), &out->emplace_back());
  });
  return result;
}

bool ShareDatabase::IsTaken(const char* sql, const std::string& text, int64_t but, bool* answer) {
  Statement query(*database_, sql);
  *answer = query.Bind(1, text).Bind(2, but).Row();
  return !query.failed();
}

bool ShareDatabase::IsNameTaken(const std::string& name, int64_t but, bool* answer) {
  return IsTaken("SELECT 1 FROM shares WHERE folded = ?1 AND id <> ?2", FoldName(name), but, answer);
}

bool ShareDatabase::IsPathTaken(const std::string& path, int64_t but, bool* answer) {
  return IsTaken(
      "SELECT 1 FROM shares WHERE id <> ?2 AND (path = ?1 OR substr(path, 1, length(?1) + 1) = ?1 || '/'"
      " OR substr(?1, 1, length(path) + 1) = path || '/')",
      path, but, answer);
}

bool ShareDatabase::Insert(Share* share) {
  Statement insert(*database_,
                   "INSERT INTO shares (name, folded, description, path, attributes, browseable, restrictions,"
                   " encryption) VALUES (?, ?, ?, ?, ?, ?, ?, ?) RETURNING id");
  insert.Bind(1, share->name).Bind(2, FoldName(share->name)).Bind(3, share->description).Bind(4, share->path);
  insert.Bind(5, share->attributes).Bind(6, share->browseable).Bind(7, share->restrictions);
  if (!insert.Bind(8, share->encryption).Row()) return false;
  share->id = insert.Number(0);
  return insert.Run();
}

bool ShareDatabase::Update(const Share& share) {
  Statement update(*database_,
                   "UPDATE shares SET name = ?, folded = ?, description = ?, path = ?, attributes = ?, browseable = ?,"
                   " restrictions = ?, encryption = ? WHERE id = ?");
  update.Bind(1, share.name).Bind(2, FoldName(share.name)).Bind(3, share.description).Bind(4, share.path);
  update.Bind(5, share.attributes).Bind(6, share.browseable).Bind(7, share.restrictions).Bind(8, share.encryption);
  return update.Bind(9, share.id).Run();
}

bool ShareDatabase::SetAccess(int64_t share, ShareList list, const std::vector<AccessEntry>& entries) {
  Statement remove(*database_, "DELETE FROM share_access WHERE share = ? AND permission = ?");
  if (!remove.Bind(1, share).Bind(2, kListNames[list]).Run()) return false;
  int position = 0;
  for (const AccessEntry& entry : entries) {
    Statement insert(*database_,
                     "INSERT INTO share_access (share, permission, position, uid, gid, name) VALUES (?, ?, ?,"
                     " iif(?4 = 0, ?5, NULL), iif(?4 = 1, ?5, NULL), iif(?4 = 2, ?6, NULL))");
    insert.Bind(1, share).Bind(2, kListNames[list]).Bind(3, position++);
    if (!insert.Bind(4, entry.kind).Bind(5, entry.id).Bind(6, entry.name).Run()) return false;
  }
  return true;
}

bool ShareDatabase::SetEncryption(int64_t share, int encryption) {
  Statement update(*database_, "UPDATE shares SET encryption = ? WHERE id = ?");
  return update.Bind(1, encryption).Bind(2, share).Run();
}

bool ShareDatabase::Note(const ShareMove& move) {
  Statement insert(*database_,
                   "INSERT OR REPLACE INTO share_moves (share, source, target, staging, state) VALUES (?, ?, ?, ?, ?)");
  insert.Bind(1, move.share).Bind(2, move.source).Bind(3, move.target).Bind(4, move.staging);
  return insert.Bind(5, move.state).Run();
}

bool ShareDatabase::Forget(int64_t share) {
  Statement remove(*database_, "DELETE FROM share_moves WHERE share = ?");
  return remove.Bind(1, share).Run();
}

bool ShareDatabase::Moves(std::vector<ShareMove>* out) {
  Statement query(*database_, "SELECT share, source, target, staging, state FROM share_moves");
  while (query.Row()) {
    const auto state = static_cast<ShareMove::State>(query.Int(4));
    out->push_back({query.Number(0), query.Text(1), query.Text(2), query.Text(3), state});
  }
  return !query.failed();
}

bool ShareDatabase::IsInterrupted(bool* answer) {
  if (any_move_ == nullptr) {
    any_move_ = std::make_unique<Statement>(*database_,
                                            "SELECT 1 FROM share_moves UNION ALL SELECT 1 FROM share_renders LIMIT 1");
  }
  const ReadToTheEnd use(&any_move_);
  *answer = any_move_->Row();
  return !any_move_->failed();
}

bool ShareDatabase::IsMember(const std::string& user, const std::string& group, bool* answer) {
  if (is_member_ == nullptr) {
    is_member_ = std::make_unique<Statement>(
        *database_,
        "SELECT 1 FROM groups g JOIN members m ON m.gid = g.gid JOIN accounts a ON a.uid = m.uid"
        " WHERE g.folded = ? AND a.folded = ?");
  }
  const ReadToTheEnd use(&is_member_);
  *answer = is_member_->Bind(1, FoldName(group)).Bind(2, FoldName(user)).Row();
  return !is_member_->failed();
}

bool ShareDatabase::Renders(std::vector<int64_t>* out) {
  Statement query(*database_, "SELECT share FROM share_renders");
  while (query.Row()) out->push_back(query.Number(0));
  return !query.failed();
}

Lookup ShareDatabase::FindRender(int64_t share, ShareRender* out) {
  Statement query(*database_, "SELECT changes, begun FROM share_renders WHERE share = ?");
  if (!query.Bind(1, share).Row()) return query.failed() ? Lookup::kFailed : Lookup::kAbsent;
  *out = {share, query.Number(0), query.Int(1) != 0};
  return Lookup::kFound;
}

bool ShareDatabase::BeginRender(int64_t share) {
  Statement update(*database_, "UPDATE share_renders SET begun = 1 WHERE share = ?");
  return update.Bind(1, share).Run();
}

bool ShareDatabase::EndRender(const ShareRender& render) {
  Statement remove(*database_, "DELETE FROM share_renders WHERE share = ? AND changes = ?");
  return remove.Bind(1, render.share).Bind(2, render.changes).Run();
}

bool ShareDatabase::Named(int64_t share, ShareList list, std::set<int64_t>* uids, std::set<int64_t>* gids) {
  Statement query(*database_, "SELECT uid, gid FROM share_access WHERE share = ? AND permission = ?");
  query.Bind(1, share).Bind(2, kListNames[list]);
  while (query.Row()) {
    if (!query.IsNull(0)) uids->insert(query.Number(0));
    if (!query.IsNull(1)) gids->insert(query.Number(1));
  }
  return !query.failed();
}

bool ShareDatabase::MembersOf(int64_t gid, std::set<int64_t>* uids) {
  Statement query(*database_, "SELECT uid FROM members WHERE gid = ?");
  query.Bind(1, gid);
  while (query.Row()) uids->insert(query.Number(0));
  return !query.failed();
}

}  // namespace kest
