#ifndef TARVEL_INTERNAL_DATABASE_WALK_H
#define TARVEL_INTERNAL_DATABASE_WALK_H

#include <cstdint>

#include "internal/platform_record.h"
#include "platform/kestdir.h"
#include "platform/klib.h"

namespace tarvel_internal {

/// The positions that one page of a list shows: `limit` of them from `offset` on, all when it is negative. A negative
/// offset is not moved to 0, on purpose.
struct Page {
  int offset;
  int limit;

  bool Shows(int position) const {
    return offset <= position && (limit < 0 || position < static_cast<int64_t>(offset) + limit);
  }
};

/// A walk over the records of one source, from the first to the last.
template <typename Database, typename Record, Database* (*kOpen)(), int (*kNext)(Database*, Record**, AUTH_TYPE, int),
          int (*kClose)(Database*), void (*kFree)(Record*)>
class DatabaseWalk {
 public:
  explicit DatabaseWalk(AUTH_TYPE type) : type_(type) {}

  /// False when the database cannot be opened.
  explicit operator bool() const { return database_.handle != nullptr; }

  /// The next record becomes the current one; false at the end.
  bool Next() { return kNext(database_.handle, record_.Slot(), type_, 0) == 0; }
  Record* record() const { return record_.get(); }

  /// The position of the first record with a name, without regard to case; without one the number of records.
  int PositionOf(const char* name) {
    int position = 0;
    while (Next() && KLIBUnicodeUTF8StrCaseCmp(record_->name, name) != 0) ++position;
    return position;
  }

 private:
  struct Opened {
    Opened() = default;
    ~Opened() {
      if (handle != nullptr) kClose(handle);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    Database* handle = kOpen();
  };

  const AUTH_TYPE type_;
  Opened database_;
  // Released first: the database closes behind its records.
  PlatformRecord<Record, kFree> record_;
};

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_DATABASE_WALK_H
