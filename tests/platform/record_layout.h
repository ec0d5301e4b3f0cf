#ifndef TESTS_PLATFORM_RECORD_LAYOUT_H_
#define TESTS_PLATFORM_RECORD_LAYOUT_H_

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Where one field lies, as a compiler sees it.
typedef struct FieldPlace {
  const char* name;
  size_t offset;
  size_t record_size;
} FieldPlace;

/// What the C compiler makes of the records.
/// @param count  receives the number of places
const FieldPlace* RecordLayoutInC(size_t* count);

#ifdef __cplusplus
}
#endif

/// Calls PLACE(record, field) for the last field of each record: it lies elsewhere when anything before it does.
#define FOR_EACH_LAST_FIELD(PLACE)       \
  PLACE(KESTCGI, reserved)               \
  PLACE(CgiAuthRequest, secondsLeft)     \
  PLACE(_tag_login_params, delay_s)      \
  PLACE(KESTUSER, unused)                \
  PLACE(KESTGROUP, zero)                 \
  PLACE(KESTSHARE, zero2)                \
  PLACE(KESTCOPYARGS, word)              \
  PLACE(_tag_KEST_SHARE_ENC_, reserved3) \
  PLACE(SHAREDEFAULTREQ, dev)            \
  PLACE(_tag_vol_id_, location)          \
  PLACE(_tag_disk_id_, container)        \
  PLACE(KESTMOUNTVOL, next)              \
  PLACE(SERVICEINFO, externalAllowed)    \
  PLACE(_space_info_, name)              \
  PLACE(_tag_raid_for_system_, entry)    \
  PLACE(SPACEDISKREQ, space)             \
  PLACE(SPACEDISKREPLY, spaceName)       \
  PLACE(EXTVOLINFO, volumeName)          \
  PLACE(_tag_KEST_QUOTA_, usedBytes)     \
  PLACE(_tag_KEST_SCHEDULE, cmd)         \
  PLACE(KESTAPPLEZONE, next)

#endif  // TESTS_PLATFORM_RECORD_LAYOUT_H_
