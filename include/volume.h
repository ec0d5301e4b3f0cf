#ifndef TARVEL_VOLUME_H
#define TARVEL_VOLUME_H

#include <json/value.h>

#include <cstdint>
#include <string>

#include "platform/keststorage.h"
#include "tarvel.h"
#include "tarvel_export.h"

/// @file
/// The volumes of the appliance: their names, their state, and how far a new one has been built.

/// What the worker that builds, expands or repairs a volume says of its progress.
///
/// It stands in the module data "volume" (Tarvel::ReadModuleData()) as an object with the keys that are named here. The
/// numbers of action and step are the worker's own.
struct _tag_cgi_volume_action_ {
  uint32_t pid = 0;                  ///< "pid": process id of the worker
  char volPath[64] = "";             ///< "vol_path": mount path of the volume, cut to 63 bytes
  char inProgressDevPath[256] = "";  ///< "in_progress_devpath", optional: device that is worked on, cut to 255 bytes
  int action = 0;                    ///< "action": which operation runs
  int step = 0;                      ///< "step": where it is
  int status = 0;                    ///< "status": 1 in progress, 3 failed; other values are the worker's
  std::string errSection;            ///< "errno"/"section": section of the failure's text; read only with status 3
  std::string errKey;                ///< "errno"/"key": key of that text
  int errLine = 0;                   ///< "errno"/"line": source line of the worker
};

/// The volumes as one service sees them, and the conversions between the spellings of a volume.
///
///     Volume volumes(KEST_SERVICE_BACKUP);
///     Json::Value reply;
///     volumes.VolumeListGet(reply, true);  // {"volume_count": 2, "volume_list": [{"value": "1", ...}, ...]}
///
///     std::string id;
///     Volume::CGIRenderVolID("/volumeUSB2/usbshare", id);  // "U2"
///
/// **Spellings.** A volume is known by its mount path, by the short identifier that requests and replies carry, by the
/// identifier of a space, which may also be an iSCSI LUN, and by a label in the user's language.
///
/// | location | mount path | identifier | space | label |
/// |---|---|---|---|---|
/// | 1 internal | `/volume1` | `1` | `volume_1` | Volume1 |
/// | 2 expansion unit | `/volumeX1` | `X1` | `volumeX_1` | Volume1(Expansion unit) |
/// | 4 USB | `/volumeUSB1/usbshare`, bare `/volumeUSB1` | `U1`, `U1_native` | | |
/// | 8 SATA, without number | `/volumeSATA/satashare`, bare `/volumeSATA` | `S`, `S_native` | | |
/// | an iSCSI LUN | | | `iscsi_NAME` | |
///
/// Identifiers have one digit: a volume above 9 is told by its first digit only. Numbers in identifiers are read as
/// strtol does it, those beyond `int` are the nearest `int`.
///
/// **Errors** are told by the results alone; only ToUIVolumeStr(const char*) throws (memory exhaustion apart). What is
/// logged goes to syslog at LOG_ERR, begins with the source name `volume` and the line number, and is named at each
/// operation; operations that name no message log nothing. Outputs are untouched on failure unless the operation says
/// otherwise.
class TARVEL_EXPORT Volume {
 public:
  /// The volumes for no service in particular: internal ones and those on expansion units, no file system left out.
  Volume();

  /// The volumes at the locations that a service allows, only internal ones when it names none; file systems that it
  /// skips are left out where an operation says so.
  ///
  /// @param id  the service. When the platform does not know it, that is logged ("Failed to get service info") and the
  ///            object is one of a service without settings
  explicit Volume(_tag_SERVICE_ID_ id);

  ~Volume();

  Volume(const Volume&) = delete;
  Volume& operator=(const Volume&) = delete;

  /// @name The volume of the service
  /// @{

  /// Whether lists and display type also report that the service's own external volume is crashed or missing; false
  /// until this is called.
  void SetCheckExtVolume(bool check) { check_ext_volume_ = check; }

  /// Looks for the service's volume again, if the service may live on an external one and has one: the constructor has
  /// done so. The volume is lost when it is not in the list, lies on a skipped file system or is not writable; once
  /// lost, it stays so for this object.
  void CheckExtVolumeStatus();

  /// The mount path of the service's volume.
  ///
  /// @param decide  true: for a service whose volume is not decided yet, the one that the platform would choose now;
  ///                nothing is stored. false: what stands in the service's record, perhaps ""
  /// @param buf     receives the path, cut to `size`; null is allowed
  /// @param size    bytes in `buf`; nothing is written when it is not positive, the result is the same
  /// @return false when the platform was asked and chose none, otherwise true
  bool VolumeCurrentPathGet(bool decide, char* buf, int size);

  /// Whether the service's volume is another one than before.
  ///
  /// @param oldPath  mount path of the volume before; "" gives false
  /// @return true when the two paths differ and the service has a volume now or has it decided. Paths of more than 51
  ///         bytes always differ
  bool IsVolumeChanged(std::string oldPath);

  /// @}
  /// @name State and list
  /// @{

  /// What a page shows for choosing a volume.
  ///
  /// | type | meaning                                                                                     |
  /// |------|---------------------------------------------------------------------------------------------|
  /// | 0    | no usable volume                                                                            |
  /// | 1    | one volume, or a machine that can have no other: no selector                                |
  /// | 2    | several volumes: a selector; also one volume beside the service's lost external one         |
  /// | 3    | the service's volume is crashed, and no external one or no usable one stands in             |
  ///
  /// A machine with neither RAID nor expansion units answers 1 without looking at volumes, unless the service allows
  /// both USB and SATA. Volumes that are not writable are not counted.
  ///
  /// @param path           mount path of the service's volume, to be found crashed when it is not writable; null for
  ///                       none
  /// @param type           receives the type
  /// @param withExpansion  false leaves volumes on expansion units out
  /// @return false when `type` is null, otherwise true
  bool VolumeDisplayTypeGet(const char* path, int* type, bool withExpansion);

  /// The display type for the service's current volume, expansion units left out.
  ///
  /// @param decide  as for VolumeCurrentPathGet()
  /// @return the type; see VolumeDisplayTypeGet()
  int VolumeStatusGet(bool decide);

  /// VolumeStatusGet(true) in words.
  ///
  /// @param out        receives a string: "crashed", "no_volume", or "" for every other state
  /// @param localized  true: the texts of the section "volume" under the keys "volume_status_crashed" and
  ///                   "volume_novolume" instead
  void VolumeDisplayStatusToString(Json::Value& out, bool localized);

  /// The writable volumes for a volume selector.
  ///
  /// | key | type | meaning |
  /// |---|---|---|
  /// | volume_list | array | the volumes, in the platform's order |
  /// | volume_list/value | string | identifier, see CGIRenderVolID(); "" when it has none |
  /// | volume_list/display | string | label with the free size in GiB, cut to 511 bytes; texts of "common" and "volume" |
  /// | volume_list/size_free | string | free bytes, decimal |
  /// | volume_list/size_total | string | size in bytes, decimal |
  /// | volume_count | integer | number of volumes listed |
  /// | external_volume_crashed | integer | 1, only when the lost external volume of the service was added |
  ///
  /// That lost volume (see SetCheckExtVolume()) stands first, with "value" and "display" only, and is not counted.
  ///
  /// @param result         null or an object: the keys above are set in it, others stay
  /// @param withExpansion  false leaves volumes on expansion units out
  /// @return true
  bool VolumeListGet(Json::Value& result, bool withExpansion);

  /// The entry of a volume list for the service's own external volume, when it is lost.
  ///
  /// @param result  not used
  /// @param item    receives "value", the identifier with "_bad" behind it, and "display", the label with the text
  ///                "volume_status_crashed"; untouched when the result is false
  /// @return false when the service's path is no volume's (logged: "Failed to parse volume path") or not an external
  ///         one's, otherwise true
  bool AddCrashedExternalVolToList(Json::Value& result, Json::Value& item);

  /// Whether a volume can be written.
  ///
  /// @param path  a path on the volume, never null
  /// @return true when it is mounted read-write; false when not, and when no volume holds the path (logged: "Failed to
  ///         get volume info")
  static bool IsVolumeWritable(const char* path);

  /// Whether the RAID of the system partition or of the swap partition is crashed.
  ///
  /// @return false also on a machine whose factory settings ("/etc.defaults/kestinfo.conf") do not say
  /// supportraid="yes",
  ///         in any case of letters, and when the state cannot be read (logged: "Failed to get status of /dev/md0")
  static bool IsSystemVolCrashed();

  /// What a disk is used for.
  ///
  /// @param disk     device path; null: there is none
  /// @param space    the space that may use it, for the platform; may be null
  /// @param raid     the system's RAIDs, for the platform, which gets null on a machine without RAID
  /// @param spaceId  receives the identifier of the space that the disk belongs to, else ""
  /// @param status   receives the first that holds of "not_install" (no disk), "crashed" (its space is),
  ///                 "system_crashed" (its system partition is), "normal" (in a space), "sys_partition_normal" (only a
  ///                 system partition), "not_use"
  /// @return false when the platform cannot tell (logged: "Failed to get disk status"), otherwise true
  static bool GetDiskStatus(const char* disk, const _space_info_* space, const _tag_raid_for_system_* raid,
                            std::string& spaceId, std::string& status);

  /// @}
  /// @name Spellings of a volume
  /// @{

  /// The label of a volume in the user's language: the text "volume" of the section "volume" and the number, for a
  /// volume on an expansion unit with the text "volume_disk_source_ebox" in parentheses behind it.
  ///
  /// @param number  number of the volume
  /// @param loc     location; for any but internal and expansion unit `buf` stays as it was
  /// @param buf     receives the label, cut to `size`
  /// @param size    bytes in `buf`
  /// @return 1; 0 when there is no buffer (logged: "Bad parameter")
  static int ToUIVolumeStr(int number, _tag_vol_location_ loc, char* buf, int size);

  /// The same label, cut to 127 bytes; "" for any other location.
  static std::string ToUIVolumeStr(int number, _tag_vol_location_ loc);

  /// The same label for a mount path; "" for one that is no internal or expansion volume's.
  ///
  /// @param path  mount path; null is logged ("Bad parameter") and throws
  /// @throws std::logic_error when `path` is null
  static std::string ToUIVolumeStr(const char* path);

  /// The identifier of a space.
  ///
  /// @param type  1 volume, 2 iSCSI LUN
  /// @param name  mount path or LUN name; null counts as ""
  /// @return the identifier, cut to 255 bytes; "" for a path that is no volume's, and for another location or type
  ///         (logged: "unsupported volume location", "unsupported space type")
  static std::string ToUISpaceID(_space_type_ type, const char* name);

  /// The inverse of ToUISpaceID().
  ///
  /// @param spaceId  identifier of a space, of which 255 bytes count
  /// @param buf      receives mount path or LUN name, cut to `size`
  /// @param size     bytes in `buf`; when it is below 1, `buf` must still be null or a text, for the log
  /// @param type     receives the type
  /// @return true when converted. false, with outputs untouched and logged ("bad parameters type"): an argument null,
  ///         no room, fewer than 7 bytes, or none of the prefixes "volume_", "volumeX_" and "iscsi_"
  static bool ToSpacePath(const char* spaceId, char* buf, int size, _space_type_& type);

  /// The same for a member of a document.
  ///
  /// @return false also when it is no string (logged: "bad parameters type: space type")
  static bool ToSpacePath(Json::Value& spaceId, char* buf, int size, _space_type_& type);

  /// The identifier of a mount path, or of a path below one: only its beginning is looked at, and whether the name of
  /// the share folder stands anywhere in it. Of the number one character is taken: `/volume12` gives "1", `/volumeX`
  /// gives "X".
  ///
  /// @param path  the path
  /// @param id    receives the identifier
  /// @return false for a path that does not begin with "/volume"
  static bool CGIRenderVolID(std::string path, std::string& id);

  /// The mount path of an identifier: of a USB or SATA disk the share folder, with "_native" anywhere behind it the
  /// disk itself. Whatever begins with another letter is read as the number of an internal volume.
  ///
  /// Beware in a call with three arguments: a string literal may be taken for the path of the overload below.
  ///
  /// @param id    the identifier
  /// @param buf   receives the path, cut to `size`; null is allowed
  /// @param size  bytes in `buf`; nothing is written when it is not positive, the result is the same
  /// @param out   receives number and location
  /// @return false for "", and for "X" and "U" without a number (logged: "Bad parameters")
  static bool CGIRenderVolPath(std::string id, char* buf, int size, _tag_vol_id_& out);

  /// The same without number and location.
  static bool CGIRenderVolPath(std::string id, char* buf, int size);

  /// The identifier of the volume that holds a file: CGIRenderVolID() of its folder, cut to 63 bytes.
  ///
  /// @param path  path of the file; not changed; null gives false
  /// @param id    receives the identifier
  /// @return false also when the path has no "/" or the folder is on no volume
  static bool CGIRenderVolPath(char* path, std::string& id);

  /// The folder of a file: what stands before the last "/".
  ///
  /// @param path  path of the file; not changed; null gives false
  /// @param buf   receives the folder, cut to `size`
  /// @param size  bytes in `buf`
  /// @return false also when the path has no "/" or there is no buffer
  static bool CGIRenderVolPath(char* path, char* buf, int size);

  /// @}
  /// @name Progress of building
  /// @{

  /// Reads the worker's record.
  ///
  /// @param ctx     the request
  /// @param action  receives what the record says; what it leaves out stays as it was
  /// @return false when there is no record, or when it is none (logged: "some member is lost"): one of "pid",
  ///         "vol_path", "step", "action", "status" is missing, or a member cannot be converted to its type
  static bool ReadActionFile(Tarvel& ctx, _tag_cgi_volume_action_& action);

  /// Whether a volume is being built: the record says so and its worker lives.
  ///
  /// @param ctx     the request
  /// @param action  receives the record as ReadActionFile() does, also when the result is false
  static bool IsVolBuilding(Tarvel& ctx, _tag_cgi_volume_action_& action);

  /// The same without the record.
  static bool IsVolBuilding(Tarvel& ctx);

  /// @}

 private:
  /// The service's external volume is gone or read-only, or was assigned and never decided.
  bool IsExternalVolumeLost() const;
  /// Lists and counts look at this volume: neither its location nor its file system is left out.
  bool IsShown(const KESTMOUNTVOL& volume, bool withExpansion) const;

  SERVICEINFO service_;
  KESTMOUNTVOL* mount_list_ = nullptr;
  bool ext_volume_usable_ = true;
  bool check_ext_volume_ = false;
  int skip_fs_type_ = 0;
};

#endif  // TARVEL_VOLUME_H
