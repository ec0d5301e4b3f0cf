#include "host/schedule/event_log.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "host/database/database.h"
#include "host/database/database_error.h"
#include "host/klib/error_code.h"

namespace kest {
namespace {

constexpr int kLevelMin = 1, kLevelMax = 3;

constexpr const char* kSteps[] = {
    R"(
CREATE TABLE events (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  time INTEGER NOT NULL,
  category INTEGER NOT NULL,
  level INTEGER NOT NULL,
  event INTEGER NOT NULL,
  text1 TEXT NOT NULL,
  text2 TEXT NOT NULL,
  text3 TEXT NOT NULL,
  text4 TEXT NOT NULL
) STRICT;
)",
};
constexpr Database::Schema kSchema = {kSteps, 1};

std::string Cut(const std::string& text) {
  if (text.size() <= kEventTextMax) return text;
  size_t end = kEventTextMax;
  // Not before a continuation byte of UTF-8.
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) --end;
  return text.substr(0, end);
}

bool Insert(Database& database, const Event& event) {
  Statement insert(database,
                   "INSERT INTO events (time, category, level, event, text1, text2, text3, text4)"
                   " VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
  insert.Bind(1, time(nullptr)).Bind(2, event.category).Bind(3, event.level).Bind(4, event.event);
  for (int i = 0; i < 4; ++i) insert.Bind(5 + i, Cut(event.texts[i]));
  return insert.Run();
}

bool DropOldest(Database& database, int kept) {
  Statement drop(database, "DELETE FROM events WHERE id <= (SELECT max(id) FROM events) - ?");
  return drop.Bind(1, kept).Run();
}

Event EventOf(const Statement& row) {
  Event event;
  event.time = row.Number(0);
  event.category = row.Int(1);
  event.level = row.Int(2);
  event.event = row.Int(3);
  for (int i = 0; i < 4; ++i) event.texts[i] = row.Text(4 + i);
  return event;
}

}  // namespace

int AddEvent(const char* path, const Event& event, int kept) {
  if (event.level < kLevelMin || event.level > kLevelMax) return -kErrorBadParameter;
  const auto database = Database::OpenOrCreate(path, kSchema);
  if (database == nullptr) return DatabaseFailure();
  Transaction transaction(*database);
  const bool added = transaction.open() && Insert(*database, event) && DropOldest(*database, kept);
  return added && transaction.Commit() ? 0 : DatabaseFailure();
}

int ListEvents(const char* path, int most, std::vector<Event>* out) {
  std::vector<Event> events;
  if (access(path, F_OK) == 0 || errno != ENOENT) {
    const auto database = Database::Open(path, kSchema);
    if (database == nullptr) return DatabaseFailure();
    Statement query(
        *database,
        "SELECT time, category, level, event, text1, text2, text3, text4 FROM events ORDER BY id DESC LIMIT ?");
    query.Bind(1, most);
    while (query.Row()) events.push_back(EventOf(query));
    if (query.failed()) return DatabaseFailure();
  }
  std::reverse(events.begin(), events.end());
  out->swap(events);
  return 0;
}

}  // namespace kest
