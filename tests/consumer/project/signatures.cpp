// Must compile and link: programs rely on the very types of these functions and on the layout of these records.
#include <tarvel/disk.h>
#include <tarvel/schedule.h>
#include <tarvel/storage.h>
#include <tarvel/tarvel.h>
#include <tarvel/vhost.h>
#include <tarvel/volume.h>
#include <tarvel/webutils.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace volume {

extern void (Volume::*const check_external)() = &Volume::CheckExtVolumeStatus;
extern bool (Volume::*const current_path)(bool, char*, int) = &Volume::VolumeCurrentPathGet;
extern bool (Volume::*const display_type)(const char*, int*, bool) = &Volume::VolumeDisplayTypeGet;
extern int (Volume::*const status)(bool) = &Volume::VolumeStatusGet;
extern void (Volume::*const display_status)(Json::Value&, bool) = &Volume::VolumeDisplayStatusToString;
extern bool (Volume::*const list)(Json::Value&, bool) = &Volume::VolumeListGet;
extern bool (Volume::*const add_crashed)(Json::Value&, Json::Value&) = &Volume::AddCrashedExternalVolToList;
extern bool (Volume::*const is_changed)(std::string) = &Volume::IsVolumeChanged;

extern bool (*const is_writable)(const char*) = &Volume::IsVolumeWritable;
extern bool (*const is_system_crashed)() = &Volume::IsSystemVolCrashed;
extern bool (*const disk_status)(const char*, const _space_info_*, const _tag_raid_for_system_*, std::string&,
                                 std::string&) = &Volume::GetDiskStatus;
extern int (*const label)(int, _tag_vol_location_, char*, int) = &Volume::ToUIVolumeStr;
extern std::string (*const label_text)(int, _tag_vol_location_) = &Volume::ToUIVolumeStr;
extern std::string (*const label_of_path)(const char*) = &Volume::ToUIVolumeStr;
extern std::string (*const space_id)(_space_type_, const char*) = &Volume::ToUISpaceID;
extern bool (*const space_path)(const char*, char*, int, _space_type_&) = &Volume::ToSpacePath;
extern bool (*const space_path_of_member)(Json::Value&, char*, int, _space_type_&) = &Volume::ToSpacePath;
extern bool (*const id_of_path)(std::string, std::string&) = &Volume::CGIRenderVolID;
extern bool (*const path_and_parts)(std::string, char*, int, _tag_vol_id_&) = &Volume::CGIRenderVolPath;
extern bool (*const path_of_id)(std::string, char*, int) = &Volume::CGIRenderVolPath;
extern bool (*const id_of_file)(char*, std::string&) = &Volume::CGIRenderVolPath;
extern bool (*const folder_of_file)(char*, char*, int) = &Volume::CGIRenderVolPath;
extern bool (*const read_progress)(Tarvel&, _tag_cgi_volume_action_&) = &Volume::ReadActionFile;
extern bool (*const is_building)(Tarvel&, _tag_cgi_volume_action_&) = &Volume::IsVolBuilding;
extern bool (*const is_anything_building)(Tarvel&) = &Volume::IsVolBuilding;

static_assert(std::is_default_constructible_v<Volume> && std::is_constructible_v<Volume, _tag_SERVICE_ID_>);
static_assert(!std::is_copy_constructible_v<Volume> && !std::is_copy_assignable_v<Volume>);
static_assert(!std::is_polymorphic_v<Volume>);

static_assert(std::is_same_v<decltype(_tag_vol_id_::number), int32_t> && offsetof(_tag_vol_id_, number) == 0);
static_assert(std::is_same_v<decltype(_tag_vol_id_::location), _tag_vol_location_> &&
              offsetof(_tag_vol_id_, location) == 4);

using Progress = _tag_cgi_volume_action_;
static_assert(std::is_same_v<decltype(Progress::pid), uint32_t> && sizeof(Progress::volPath) == 64 &&
              sizeof(Progress::inProgressDevPath) == 256 && std::is_same_v<decltype(Progress::action), int> &&
              std::is_same_v<decltype(Progress::step), int> && std::is_same_v<decltype(Progress::status), int> &&
              std::is_same_v<decltype(Progress::errSection), std::string> &&
              std::is_same_v<decltype(Progress::errKey), std::string> &&
              std::is_same_v<decltype(Progress::errLine), int>);

}  // namespace volume

namespace storage {

extern bool (*const init)(char*, int, int, char*, int) = &SDK::Storage::InitExtDisk;
extern bool (*const get_quota)(const char*, const std::string&, _tag_KEST_QUOTA_*) = &SDK::Storage::GetQuota;
extern bool (*const set_quota)(const char*, const std::string&, _tag_KEST_QUOTA_*) = &SDK::Storage::SetQuota;
extern std::vector<std::string> (*const volume_ids)(bool) = &SDK::Storage::EnumVolumeID;
extern bool (*const disk_id)(const _tag_disk_id_&, std::string&) = &SDK::Disk::ToUIDiskID;

static_assert(std::is_trivially_default_constructible_v<SDK::Disk> && std::is_trivially_destructible_v<SDK::Disk>);
static_assert(std::is_same_v<decltype(_tag_disk_id_::number), int> && offsetof(_tag_disk_id_, container) == 4);

}  // namespace storage

namespace schedule {

extern bool (*const get)(Json::Value&, const char*, __tag_BACKUP_TYPE_) = &BkpScheduleGet;
extern int (*const set)(Json::Value&, const char*, const char*, __tag_BACKUP_TYPE_) = &BkpScheduleSet;
extern bool (*const parse)(Json::Value&, _tag_schedule_info_&) = &ParseScheduleInfo;
extern bool (*const print)(_tag_KEST_SCHEDULE&, char*, int) = &BkpSchedulePrint;

using Info = _tag_schedule_info_;
static_assert(std::is_same_v<decltype(Info::enable), bool> && offsetof(Info, enable) == 0);
static_assert(std::is_same_v<decltype(Info::advanced), bool> && offsetof(Info, advanced) == 1);
static_assert(offsetof(Info, days) == 4 && offsetof(Info, startHour) == 8 && offsetof(Info, startMinute) == 12 &&
              offsetof(Info, endHour) == 16 && offsetof(Info, endMinute) == 20 && offsetof(Info, freq) == 24 &&
              offsetof(Info, iteration) == 28);
static_assert(offsetof(Info, startTime) == 32 && offsetof(Info, endTime) == 40 && sizeof(Info) == 48);

}  // namespace schedule

namespace hosts {

extern bool (*const value)(char*, char**) = &VHost::VHostValueGet;
extern int (*const ports)(const char*, int*, int) = &VHost::VHostPortGet;
extern int (*const get)(Json::Value&) = &VHost::VHostInfoAllGet;
extern bool (*const set)(Json::Value&) = &VHost::VHostInfoAllSet;
extern int (*const file_manager)(const char*, const char*, int) = &VHost::VHostFileVentoSet;

}  // namespace hosts

namespace server {

using Text = const std::string&;
extern std::string (*const name)() = &WebUtils::GetServerName;
extern std::string (*const domain)() = &WebUtils::GetDomainName;
extern bool (*const is_joined)(std::string&) = &WebUtils::IsJoinDomain;
extern bool (*const is_domain_object)(Text) = &WebUtils::IsDomainObject;
extern bool (*const url)(std::string&, bool, char*) = &WebUtils::GetURLByProtocol;
extern int (*const is_conflict)(const char*, int, int) = &WebUtils::IsPortConflict;
extern std::string (*const tag)() = &WebUtils::CreateCGIETag;
extern bool (*const not_modified)(Text) = &WebUtils::OutputNotModifiedIfMatch;
extern void (*const mail)(Text, Text, Text, Text) = &WebUtils::SendUserInfoMail;
extern std::vector<std::string> (*const time_zones)() = &WebUtils::EnumTimeZones;
extern std::string (*const apple_zone)() = &WebUtils::GetCurrentAppleZone;

}  // namespace server

int main() {}
