#ifndef TARVEL_STORAGE_H
#define TARVEL_STORAGE_H

#include <string>
#include <vector>

#include "platform/keststorage.h"
#include "tarvel_export.h"

/// @file
/// External disks, quotas and the list of volumes.

namespace SDK {

/// Formatting of external disks, quotas, and the identifiers of the mounted volumes. It has no state.
///
///     char device[] = "sdq1";
///     char share[132];
///     SDK::Storage::InitExtDisk(device, 1, 3, share, sizeof share);  // a USB disk, EXT4; true: share is "usbshare1"
///
/// **Errors** are told by the results alone, nothing here throws (memory exhaustion apart). What is logged goes to
/// syslog at LOG_ERR, begins with the source name `storage` and the line number, and is named at each operation;
/// operations that name no message log nothing.
class TARVEL_EXPORT Storage {
 public:
  /// Formats an external disk and publishes its share; everything on it is lost.
  ///
  /// The outcome also stands in "/tmp/usbdiskapplying", one line DEVICE="success" or DEVICE="fail" per device, which
  /// pages poll, and in the event log: event 0x12300005 at level 1 for a success, 0x12300004 at level 3 for a failure,
  /// with the volume's name, cut to 31 bytes, and the name of the file system ("FAT", "EXT3", "EXT4").
  ///
  /// @param dev        device name, never null
  /// @param bus        1 USB, 2 SATA
  /// @param fsType     1 FAT, 2 EXT3, 3 EXT4
  /// @param shareOut   receives the name of the share, cut to `shareSize`; "" when the disk's volume cannot be read;
  ///                   set also when the formatting failed; null is allowed
  /// @param shareSize  bytes in `shareOut`; of no account when that is null
  /// @return true when the disk is formatted; that its share or its NFS exports could not be stored is then only logged
  ///         ("Failed to set share.", "Failed to set NFS setting of share."). false when an argument is out of range
  ///         (logged: "Bad parameters!!"; nothing has been touched), when formatting fails (logged: "format type=...
  ///         Failed. Error Code:"), and when the disk is formatted and no share can be made for it (logged: "Failed to
  ///         get default share access right")
  static bool InitExtDisk(char* dev, int bus, int fsType, char* shareOut, int shareSize);

  /// Reads an account's quota on a volume.
  ///
  /// @param name   account name
  /// @param path   a path on the volume, of which 491 bytes count
  /// @param quota  filled on success
  /// @return true when the platform answers exactly 0
  static bool GetQuota(const char* name, const std::string& path, _tag_KEST_QUOTA_* quota);

  /// Sets an account's quota on a volume; arguments and result as for GetQuota().
  static bool SetQuota(const char* name, const std::string& path, _tag_KEST_QUOTA_* quota);

  /// The identifiers (Volume::CGIRenderVolID()) of the mounted volumes, in the platform's order. A volume without
  /// identifier is left out.
  ///
  /// @param writableOnly  true: only volumes that are mounted read-write
  static std::vector<std::string> EnumVolumeID(bool writableOnly);
};

}  // namespace SDK

#endif  // TARVEL_STORAGE_H
