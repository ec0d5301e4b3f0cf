// Records cross the border to binary platform libraries, so their layout is fixed, not the compiler's business.
#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <type_traits>

#include "platform/kestcgi.h"
#include "platform/kestdir.h"
#include "platform/kestnet.h"
#include "platform/kestsched.h"
#include "platform/keststorage.h"
#include "platform/klib.h"
#include "tests/platform/record_layout.h"

namespace {

// Size or offset with 32-bit pointers (the target) and with 64-bit pointers (a development host).
constexpr size_t Either(size_t with_32_bits, size_t with_64_bits) {
  return sizeof(void*) == 4 ? with_32_bits : with_64_bits;
}
static_assert(sizeof(void*) == 4 || sizeof(void*) == 8, "no other pointer size is known");

// Records without pointers, and those whose layout does not depend on them: the same everywhere.
static_assert(sizeof(CgiAuthRequest) == 12);
static_assert(offsetof(CgiAuthRequest, mode) == 0);
static_assert(offsetof(CgiAuthRequest, uid) == 4);
static_assert(offsetof(CgiAuthRequest, secondsLeft) == 8);

static_assert(sizeof(KESTCOPYARGS) == 32);

static_assert(sizeof(_tag_KEST_SHARE_ENC_) == 8756);
static_assert(offsetof(_tag_KEST_SHARE_ENC_, name) == 0);
static_assert(sizeof(_tag_KEST_SHARE_ENC_::name) == 492);
static_assert(offsetof(_tag_KEST_SHARE_ENC_, pass) == 8682);
static_assert(sizeof(_tag_KEST_SHARE_ENC_::pass) == 64);
static_assert(offsetof(_tag_KEST_SHARE_ENC_, step) == 8748);

static_assert(sizeof(_tag_vol_id_) == 8);
static_assert(offsetof(_tag_vol_id_, number) == 0);
static_assert(offsetof(_tag_vol_id_, location) == 4);
static_assert(sizeof(_tag_disk_id_) == 8);
static_assert(offsetof(_tag_disk_id_, number) == 0);
static_assert(offsetof(_tag_disk_id_, container) == 4);

static_assert(sizeof(SERVICEINFO) == 84);
static_assert(offsetof(SERVICEINFO, hasVolume) == 0);
static_assert(offsetof(SERVICEINFO, decided) == 4);
static_assert(offsetof(SERVICEINFO, path) == 8);
static_assert(sizeof(SERVICEINFO::path) == 64);
static_assert(offsetof(SERVICEINFO, locationMask) == 72);
static_assert(offsetof(SERVICEINFO, skipFsType) == 76);
static_assert(offsetof(SERVICEINFO, externalAllowed) == 80);

static_assert(sizeof(_tag_raid_for_system_) == 8);
static_assert(sizeof(_space_info_) == 68);
static_assert(sizeof(SPACEDISKREPLY) == 72);
static_assert(offsetof(SPACEDISKREPLY, flags) == 0);
static_assert(offsetof(SPACEDISKREPLY, spaceType) == 4);
static_assert(offsetof(SPACEDISKREPLY, spaceName) == 8);
static_assert(sizeof(EXTVOLINFO) == 452);
static_assert(offsetof(EXTVOLINFO, sharePath) == 132);
static_assert(offsetof(EXTVOLINFO, volumeName) == 388);
static_assert(sizeof(_tag_KEST_QUOTA_) == 16);

static_assert(sizeof(_tag_KEST_SCHEDULE) == 1048);
static_assert(offsetof(_tag_KEST_SCHEDULE, weekdays) == 0);
static_assert(offsetof(_tag_KEST_SCHEDULE, hour) == 4);
static_assert(offsetof(_tag_KEST_SCHEDULE, freq) == 8);
static_assert(offsetof(_tag_KEST_SCHEDULE, lastHour) == 12);
static_assert(offsetof(_tag_KEST_SCHEDULE, minute) == 16);
static_assert(offsetof(_tag_KEST_SCHEDULE, unused) == 20);
static_assert(offsetof(_tag_KEST_SCHEDULE, cmd) == 24);

// 64-bit integers are aligned to 8 on the target, so the one pointer at the end leaves the record's size alone.
static_assert(sizeof(KESTMOUNTVOL) == 104);
static_assert(offsetof(KESTMOUNTVOL, number) == 0);
static_assert(offsetof(KESTMOUNTVOL, location) == 4);
static_assert(offsetof(KESTMOUNTVOL, mounted) == 8);
static_assert(offsetof(KESTMOUNTVOL, path) == 12);
static_assert(offsetof(KESTMOUNTVOL, writable) == 76);
static_assert(offsetof(KESTMOUNTVOL, freeBytes) == 80);
static_assert(offsetof(KESTMOUNTVOL, totalBytes) == 88);
static_assert(offsetof(KESTMOUNTVOL, next) == 96);

// Records with pointers.
static_assert(sizeof(KESTCGI) == Either(16, 32));
static_assert(sizeof(_tag_login_params) == Either(20, 32));
static_assert(offsetof(_tag_login_params, user) == 0);
static_assert(offsetof(_tag_login_params, passwd) == Either(4, 8));
static_assert(offsetof(_tag_login_params, remote) == Either(8, 16));
static_assert(offsetof(_tag_login_params, stay) == Either(12, 24));
static_assert(offsetof(_tag_login_params, delay_s) == Either(16, 28));

static_assert(sizeof(KESTUSER) == Either(52, 80));
static_assert(offsetof(KESTUSER, name) == 0);
static_assert(offsetof(KESTUSER, passwd) == Either(4, 8));
static_assert(offsetof(KESTUSER, uid) == Either(8, 16));
static_assert(offsetof(KESTUSER, gid) == Either(12, 20));
static_assert(offsetof(KESTUSER, desc) == Either(16, 24));
static_assert(offsetof(KESTUSER, home) == Either(20, 32));
static_assert(offsetof(KESTUSER, shell) == Either(24, 40));
static_assert(offsetof(KESTUSER, expire) == Either(28, 48));
static_assert(offsetof(KESTUSER, noChPasswd) == Either(32, 52));
static_assert(offsetof(KESTUSER, email) == Either(36, 56));
static_assert(offsetof(KESTUSER, attr) == Either(40, 64));
static_assert(offsetof(KESTUSER, privilege) == Either(44, 68));
static_assert(offsetof(KESTUSER, unused) == Either(48, 72));

static_assert(sizeof(KESTGROUP) == Either(20, 32));
static_assert(offsetof(KESTGROUP, name) == 0);
static_assert(offsetof(KESTGROUP, gid) == Either(4, 8));
static_assert(offsetof(KESTGROUP, members) == Either(8, 16));
static_assert(offsetof(KESTGROUP, source) == Either(12, 24));
static_assert(offsetof(KESTGROUP, zero) == Either(16, 28));

static_assert(sizeof(KESTSHARE) == Either(48, 72));
static_assert(offsetof(KESTSHARE, name) == 0);
static_assert(offsetof(KESTSHARE, desc) == Either(4, 8));
static_assert(offsetof(KESTSHARE, path) == Either(8, 16));
static_assert(offsetof(KESTSHARE, na) == Either(12, 24));
static_assert(offsetof(KESTSHARE, rw) == Either(16, 32));
static_assert(offsetof(KESTSHARE, ro) == Either(20, 40));
static_assert(offsetof(KESTSHARE, attr) == Either(24, 48));
static_assert(offsetof(KESTSHARE, browseable) == Either(28, 52));
static_assert(offsetof(KESTSHARE, ftp) == Either(32, 56));
static_assert(offsetof(KESTSHARE, enc) == Either(36, 60));
static_assert(offsetof(KESTSHARE, zero1) == Either(40, 64));
static_assert(offsetof(KESTSHARE, zero2) == Either(44, 68));

static_assert(sizeof(SHAREDEFAULTREQ) == Either(12, 24));
static_assert(offsetof(SHAREDEFAULTREQ, path) == Either(4, 8));
static_assert(offsetof(SHAREDEFAULTREQ, dev) == Either(8, 16));
static_assert(sizeof(SPACEDISKREQ) == Either(12, 24));
static_assert(offsetof(SPACEDISKREQ, disk) == 0);
static_assert(offsetof(SPACEDISKREQ, raid) == Either(4, 8));
static_assert(offsetof(SPACEDISKREQ, space) == Either(8, 16));

static_assert(sizeof(KESTAPPLEZONE) == Either(44, 48));
static_assert(offsetof(KESTAPPLEZONE, flags) == 0);
static_assert(offsetof(KESTAPPLEZONE, name) == 4);
static_assert(sizeof(KESTAPPLEZONE::name) == 36);
static_assert(offsetof(KESTAPPLEZONE, next) == 40);

// Four bytes each, and wide enough that every value of the platform may be cast into it.
template <typename Enumeration>
constexpr bool HoldsEveryValue(Enumeration filler) {
  return sizeof(Enumeration) == 4 && static_cast<int>(filler) == 0x7fffffff;
}
static_assert(HoldsEveryValue(KEST_CGI_POSITION_FILLER_));
static_assert(HoldsEveryValue(AUTH_TYPE_FILLER_));
static_assert(HoldsEveryValue(KEST_SHARE_ENUM_FILLER_));
static_assert(HoldsEveryValue(KEST_SHARE_ENC_STEP_FILLER_));
static_assert(HoldsEveryValue(KEST_VOL_LOCATION_FILLER_));
static_assert(HoldsEveryValue(KEST_SPACE_TYPE_FILLER_));
static_assert(HoldsEveryValue(KEST_SERVICE_ID_FILLER_));
static_assert(HoldsEveryValue(KEST_RAID_STATE_FILLER_));
static_assert(HoldsEveryValue(KLIB_SZLIST_SORT_FILLER_));
static_assert(std::is_same_v<BOOL, int>);

// Values that travel to and from platform libraries.
static_assert(AUTH_TYPE_LOCAL == 1 && AUTH_TYPE_DOMAIN == 2 && AUTH_TYPE_DIRECTORY == 4);
static_assert(KEST_SHARE_ENUM_COUNTED == 769);
static_assert(KEST_SHARE_ENUM_COUNTED == (KEST_SHARE_ENUM_LOCAL | KEST_SHARE_ENUM_ENCRYPTED | KEST_SHARE_ENUM_OFFLINE));
static_assert(KEST_SHARE_ENC_STORE == 2 && KEST_SHARE_ENC_VERIFY == 3);
static_assert(KEST_SHARE_ENC_REMOVE == 4 && KEST_SHARE_ENC_START == 5);
static_assert(KEST_VOL_INTERNAL == 1 && KEST_VOL_EXPANSION == 2 && KEST_VOL_USB == 4 && KEST_VOL_SATA == 8);
static_assert(KEST_SPACE_VOLUME == 1 && KEST_SPACE_ISCSI == 2);
static_assert(KEST_RAID_CRASHED == 3);
static_assert(KEST_CGI_POSITION_ADMINISTRATION == 1);
static_assert(KLIB_SZLIST_SORT_NO_CASE == 16);

#define PLACE_IN_CPP(record, field) {#record "." #field, offsetof(record, field), sizeof(record)},

TEST(PlatformLayoutTest, CAndCppSeeTheSameRecords) {
  const FieldPlace in_cpp[] = {FOR_EACH_LAST_FIELD(PLACE_IN_CPP)};
  size_t count = 0;
  const FieldPlace* in_c = RecordLayoutInC(&count);
  ASSERT_EQ(std::size(in_cpp), count);
  for (size_t i = 0; i < count; ++i) {
    EXPECT_STREQ(in_cpp[i].name, in_c[i].name);
    EXPECT_EQ(in_cpp[i].offset, in_c[i].offset) << in_c[i].name;
    EXPECT_EQ(in_cpp[i].record_size, in_c[i].record_size) << in_c[i].name;
  }
}

}  // namespace
