/// @file keststorage.h
/// Storage of the platform: mounted volumes, services' volumes, disk and RAID state, external disks, quotas, NFS
/// exports.
///
/// All texts are NUL-terminated; sizes and amounts are bytes. A failure records its reason for KLIBErrGet().
#ifndef PLATFORM_KESTSTORAGE_H_
#define PLATFORM_KESTSTORAGE_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Where a volume is. Single bits, or-ed where a set of locations is meant.
typedef enum _tag_vol_location_ {
  KEST_VOL_INTERNAL = 1,   ///< internal disks: /volumeN
  KEST_VOL_EXPANSION = 2,  ///< an expansion unit: /volumeXN
  KEST_VOL_USB = 4,        ///< a USB disk: /volumeUSBN, or usbshare in it
  KEST_VOL_SATA = 8,       ///< the external SATA disk: /volumeSATA, or satashare in it
  KEST_VOL_LOCATION_FILLER_ = 0x7fffffff
} _tag_vol_location_;

/// What a space is.
typedef enum _space_type_ {
  KEST_SPACE_VOLUME = 1,  ///< a volume; its name is the mount path
  KEST_SPACE_ISCSI = 2,   ///< an iSCSI LUN; its name is the LUN's
  KEST_SPACE_TYPE_FILLER_ = 0x7fffffff
} _space_type_;

/// Services that keep their data on a volume. Any other value may be cast into it and is judged by the platform.
typedef enum _tag_SERVICE_ID_ {
  KEST_SERVICE_WEB = 1,           ///< web pages of the users
  KEST_SERVICE_HOMES = 2,         ///< home directories
  KEST_SERVICE_BACKUP = 3,        ///< backups
  KEST_SERVICE_DOWNLOAD = 4,      ///< downloads
  KEST_SERVICE_SURVEILLANCE = 5,  ///< recordings
  KEST_SERVICE_AUDIO = 6,         ///< music
  KEST_SERVICE_ID_FILLER_ = 0x7fffffff
} _tag_SERVICE_ID_;

/// State of a RAID of the system.
typedef enum KEST_RAID_STATE {
  KEST_RAID_NONE = 0,      ///< does not exist
  KEST_RAID_NORMAL = 1,    ///< complete
  KEST_RAID_DEGRADED = 2,  ///< works with a disk missing
  KEST_RAID_CRASHED = 3,   ///< does not work
  KEST_RAID_STATE_FILLER_ = 0x7fffffff
} KEST_RAID_STATE;

/// Parsed form of a volume's mount path.
typedef struct _tag_vol_id_ {
  int number;                   ///< 0 for the SATA disk
  _tag_vol_location_ location;  ///< where it is
} _tag_vol_id_;

/// A disk.
typedef struct _tag_disk_id_ {
  int number;     ///< from 1
  int container;  ///< 1 internal, 2 expansion unit
} _tag_disk_id_;

/// One mounted volume; a node of a list ended by a NULL `next`.
typedef struct KESTMOUNTVOL {
  int number;                   ///< 0 for the SATA disk
  _tag_vol_location_ location;  ///< where it is
  int mounted;                  ///< non-zero: mounted
  char path[64];                ///< mount path
  int writable;                 ///< non-zero: mounted read-write
  uint64_t freeBytes;           ///< what an unprivileged process may still write
  uint64_t totalBytes;          ///< size of the file system
  struct KESTMOUNTVOL* next;    ///< NULL ends the list
} KESTMOUNTVOL;

/// What a service knows of its volume.
typedef struct SERVICEINFO {
  int hasVolume;          ///< non-zero: a volume is assigned
  int decided;            ///< 0: the platform must still choose a volume
  char path[64];          ///< mount path of the service's volume; "" for none
  uint32_t locationMask;  ///< or-ed _tag_vol_location_; 0 means internal only
  int skipFsType;         ///< for FSIsMatchSkipFS()
  int externalAllowed;    ///< non-zero: it may live on a USB or SATA disk
} SERVICEINFO;

/// A space, as storage pages carry it; callers hand it through.
typedef struct _space_info_ {
  _space_type_ type;  ///< what it is
  char name[64];      ///< see _space_type_
} _space_info_;

/// One RAID of the system.
typedef struct KESTRAIDENTRY {
  int state;  ///< a KEST_RAID_STATE
} KESTRAIDENTRY;

/// The RAIDs of the system: the one of the system partition, then the one of the swap partition.
typedef struct _tag_raid_for_system_ {
  KESTRAIDENTRY entry[2];  ///< in that order
} _tag_raid_for_system_;

/// Question of KESTSpaceDiskStatusGet().
typedef struct SPACEDISKREQ {
  const char* disk;                   ///< device path of the disk
  const _tag_raid_for_system_* raid;  ///< the system's RAIDs; NULL on a machine without RAID
  const _space_info_* space;          ///< the space that may use the disk; may be NULL
} SPACEDISKREQ;

/// Answer of KESTSpaceDiskStatusGet().
typedef struct SPACEDISKREPLY {
  int flags;  ///< or-ed: 1 belongs to a space, 2 that space is crashed, 4 holds a system partition, 8 that one is
              ///< crashed
  _space_type_ spaceType;  ///< with flag 1 or 2
  char spaceName[64];      ///< with flag 1 or 2; see _space_type_; "" when the platform cannot tell it
} SPACEDISKREPLY;

/// The volume of an external disk.
typedef struct EXTVOLINFO {
  char shareName[132];  ///< share that stands for it; "" for none
  char sharePath[256];  ///< absolute path of that share's folder
  char volumeName[64];  ///< name for messages
} EXTVOLINFO;

/// A quota. Callers hand it through.
typedef struct _tag_KEST_QUOTA_ {
  uint64_t limitBytes;  ///< 0 means no limit
  uint64_t usedBytes;   ///< out only
} _tag_KEST_QUOTA_;

/// Lists the mounted volumes of every location.
/// @param zero  reserved, 0
/// @return the head of the list, to be released with KESTMountVolInfoFree(); NULL when there is none or on failure
KESTMOUNTVOL* KESTMountVolInfoEnum(int zero);

/// Lists the mounted volumes of some locations.
/// @param zero          reserved, 0
/// @param locationMask  or-ed _tag_vol_location_
/// @return as KESTMountVolInfoEnum()
KESTMOUNTVOL* KESTMountVolAllEnum(int zero, int locationMask);

/// Releases a whole list.
/// @param list  its head; NULL is accepted
void KESTMountVolInfoFree(KESTMOUNTVOL* list);

/// The mounted volume that holds a path.
/// @param path  absolute path on a volume
/// @param info  the caller's record, filled on success; `next` is NULL, nothing is to be released
/// @return 0 when filled; negative when no volume holds the path
int KESTMountVolInfoGet(const char* path, KESTMOUNTVOL* info);

/// Parses a mount path, or a path below one: "/volumeN", "/volumeXN" or "/volumeUSBN" with a decimal number from 1
/// without leading zeros, or "/volumeSATA", each followed by the text's end or "/". Nothing is looked up.
/// @param path  the path
/// @param id    receives number and location; untouched unless parsed
/// @return above 0 when parsed, else 0 or negative
int VolumePathParse(const char* path, _tag_vol_id_* id);

/// Tells whether the file system at a mount path is one that a service leaves out.
/// @param path        mount path
/// @param skipFsType  SERVICEINFO.skipFsType: 0 leaves out none; value 1 FAT, value 2 NTFS; further values are the
///                    platform's
/// @return 0 when it is not left out; anything else when it is, or when it cannot be examined
int FSIsMatchSkipFS(const char* path, int skipFsType);

/// Reads what a service knows of its volume.
/// @param id    the service
/// @param info  the caller's record, filled on success and untouched on failure
/// @return 0 when filled; negative for an unknown service or on failure
int KESTServiceInfoGet(_tag_SERVICE_ID_ id, SERVICEINFO* info);

/// Chooses the volume on which a service without one would be put. Nothing is stored.
/// @param info  the service
/// @param buf   receives the mount path
/// @param size  bytes of `buf`; callers give 64
/// @return 1 or more when chosen; below 1 when no volume suits, or the path does not fit (`buf` is untouched then)
int KESTServiceNewVolumeDecide(SERVICEINFO* info, char* buf, int size);

/// @return non-zero when the machine supports RAID, else 0
int KESTSupportRAID(void);

/// @return non-zero when the machine supports expansion units, else 0
int SupportEBox(void);

/// Reads the state of the system's RAIDs.
/// @param slot  starts as NULL; receives the record, to be released with RAIDSystemFree() whatever the result
/// @return 0 when read; negative on failure
int RAIDSystemGet(_tag_raid_for_system_** slot);

/// Releases the record of RAIDSystemGet().
/// @param raid  the record; NULL is accepted
void RAIDSystemFree(_tag_raid_for_system_* raid);

/// Reads what a disk is used for.
/// @param request  the disk
/// @param reply    zeroed by the caller; filled on success
/// @return 0 when filled; negative on failure
int KESTSpaceDiskStatusGet(const SPACEDISKREQ* request, SPACEDISKREPLY* reply);

/// Formats a USB disk; everything on it is lost.
/// @param dev  device name
/// @param fs   1 FAT, 2 EXT3, 3 EXT4
/// @return 0 when formatted; anything else is a failure
int KESTUSBVolInit(char* dev, int fs);

/// Formats the external SATA disk; everything on it is lost.
/// @param dev  device name
/// @param fs   1 FAT, 2 EXT3, 3 EXT4
/// @param one  reserved, 1
/// @return 0 when formatted; anything else is a failure
int KESTSATAVolInit(char* dev, int fs, int one);

/// Reads the volume of a USB disk.
/// @param dev   device name
/// @param info  the caller's record, filled on success
/// @return 0 and only 0 when filled
int KESTDiskUSBDevGetVolInfo(char* dev, EXTVOLINFO* info);

/// Reads the volume of the external SATA disk.
/// @param dev   device name
/// @param info  the caller's record, filled on success
/// @return 0 and only 0 when filled
int KESTSATAGetVolInfo(char* dev, EXTVOLINFO* info);

/// Reads an account's quota on a volume.
/// @param path   a path on the volume, at most 491 bytes
/// @param name   account name
/// @param quota  filled on success
/// @return 0 and only 0 when filled
int KESTQuotaGet(const char* path, const char* name, _tag_KEST_QUOTA_* quota);

/// Sets an account's quota on a volume.
/// @param path   a path on the volume, at most 491 bytes
/// @param name   account name
/// @param quota  its limit is stored
/// @return 0 and only 0 when stored
int KESTQuotaSet(const char* path, const char* name, _tag_KEST_QUOTA_* quota);

/// Brings the NFS exports of a share's folder in line with its record.
/// @param path  the share's folder
/// @param zero  reserved, 0
/// @return 0 when done; anything else is a failure
int KESTNFSRuleSetAll(const char* path, int zero);

/// Makes the file services read their configuration again.
void ErrServicesHup(void);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_KESTSTORAGE_H_
