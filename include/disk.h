#ifndef TARVEL_DISK_H
#define TARVEL_DISK_H

#include <string>

#include "platform/keststorage.h"
#include "tarvel_export.h"

/// @file
/// Names of disks.

namespace SDK {

/// The identifiers of disks that pages use. It has no state.
///
///     std::string id;
///     SDK::Disk::ToUIDiskID({3, 2}, id);  // "X3", the third disk of an expansion unit
class TARVEL_EXPORT Disk {
 public:
  /// The identifier of a disk: its number, for a disk in an expansion unit with "X" before it; 7 bytes at most.
  ///
  /// @param id   the disk
  /// @param out  receives the identifier; untouched when the result is false
  /// @return false for a disk in neither (logged with the source name `disk`: "unsupported disk container: %d")
  static bool ToUIDiskID(const _tag_disk_id_& id, std::string& out);
};

}  // namespace SDK

#endif  // TARVEL_DISK_H
