// What the kernel has of disks, their partitions and whatever else holds blocks.
#ifndef CGI_BLOCK_DEVICES_H
#define CGI_BLOCK_DEVICES_H

#include <cstdint>
#include <string>
#include <vector>

namespace site {

/// A block device as the kernel names it.
struct BlockDevice {
  std::string name;  ///< "sda"
  std::string
      place;  ///< where the kernel has it, its way through the ports of the machine included; "" when it has gone

  std::string Path() const { return "/dev/" + name; }
  bool IsOnUsb() const { return place.find("/usb") != std::string::npos; }
  /// A disk as a whole that somebody has put in: no partition, and nothing that the kernel makes out of other things.
  bool IsDisk() const;
  /// 0 when the kernel does not say.
  uint64_t SizeInBytes() const;
};

/// All of them by name.
std::vector<BlockDevice> FindBlockDevices();

}  // namespace site

#endif  // CGI_BLOCK_DEVICES_H
