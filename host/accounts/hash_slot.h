#ifndef KEST_HOST_ACCOUNTS_HASH_SLOT_H_
#define KEST_HOST_ACCOUNTS_HASH_SLOT_H_

#include "host/accounts/account_paths.h"
#include "host/klib/file_descriptor.h"

namespace kest {

// The right to compute one password hash. A hash takes 16 MiB and all of a core, and whoever reaches the login page can
// ask for as many as the web server has threads: a small machine would run out of memory. So a few are computed at a
// time, and the other logins wait. A process that dies gives its slot back.
class HashSlot {
 public:
  static constexpr int kSlots = 4;
  static constexpr int kLongestWait_ms = 20 * 1000;

  // Waits for a slot.
  explicit HashSlot(const char* path = kHashSlotsPath, int longest_wait_ms = kLongestWait_ms);

  // False when none became free, or the file cannot be had (logged).
  bool held() const { return held_; }

 private:
  bool Take();

  FileDescriptor file_;
  bool held_ = false;
};

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_HASH_SLOT_H_
