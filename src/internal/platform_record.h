#ifndef TARVEL_INTERNAL_PLATFORM_RECORD_H
#define TARVEL_INTERNAL_PLATFORM_RECORD_H

#include <utility>

#include "platform/klib.h"

namespace tarvel_internal {

/// A slot for records of the platform, and what it holds at the end given back. The matching release is part of the
/// type, so that a wrong pair cannot compile.
template <typename Record, void (*kFree)(Record*)>
class PlatformRecord {
 public:
  PlatformRecord() = default;
  ~PlatformRecord() {
    if (record_ != nullptr) kFree(record_);
  }
  PlatformRecord(const PlatformRecord&) = delete;
  PlatformRecord& operator=(const PlatformRecord&) = delete;

  Record** Slot() { return &record_; }
  Record* get() const { return record_; }
  Record* operator->() const { return record_; }

 private:
  Record* record_ = nullptr;
};

/// A list of texts, whose handle may change as it grows.
class TextList {
 public:
  explicit TextList(int bytes) : list_(PslKLIBSzListAlloc(bytes)) {}
  ~TextList() {
    if (list_ != nullptr) KLIBSzListFree(list_);
  }
  TextList(const TextList&) = delete;
  TextList& operator=(const TextList&) = delete;

  /// False when there was no memory for it.
  explicit operator bool() const { return list_ != nullptr; }
  PSZLIST get() const { return list_; }
  PSZLIST* Slot() { return &list_; }
  const char* At(int index) const { return SzKLIBSzListGet(list_, index); }
  /// Hands the list over to a caller.
  PSZLIST Release() { return std::exchange(list_, nullptr); }

 private:
  PSZLIST list_;
};

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_PLATFORM_RECORD_H
