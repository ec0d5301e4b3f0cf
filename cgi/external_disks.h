// The external disks of the appliance: those that the administrator has named, and those on a USB port.
#ifndef CGI_EXTERNAL_DISKS_H
#define CGI_EXTERNAL_DISKS_H

#include <string>
#include <vector>

namespace site {

/// SDK::Storage::InitExtDisk() tells them by these numbers.
enum Bus { kUsb = 1, kSata = 2 };

struct ExternalDisk {
  std::string id;      ///< "usb1" or "sata" of a named one, otherwise the kernel's name
  std::string device;  ///< path of the device, or of the file that is used as one
  Bus bus;
};

std::vector<ExternalDisk> FindExternalDisks();

}  // namespace site

#endif  // CGI_EXTERNAL_DISKS_H
