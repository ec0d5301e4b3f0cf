#ifndef KEST_HOST_STORAGE_SERVICE_RECORD_H_
#define KEST_HOST_STORAGE_SERVICE_RECORD_H_

#include "platform/keststorage.h"

namespace kest {

// Records of the services, current and factory ones: key/value files, each key a service's name and what it says.
//
//     web_volume="/volume1"                  mount path; absent or "": none is assigned
//     web_decided="yes"                      "no": a volume is to be chosen (again); usual: yes with a volume, else no
//     web_locations="internal,expansion"     where it may live, also "usb" and "sata"; usual: nothing said
//     web_skip="fat,ntfs"                    file systems that it leaves out, or one of them; usual: none
//     web_external="no"                      "yes": a USB or SATA disk will do
//
// Names: web, homes, backup, download, surveillance, audio. Key by key, the factory's counts where there is no current
// one; either file may be missing.
constexpr char kServicesFile[] = "/usr/kest/etc/services.conf";
constexpr char kFactoryServicesFile[] = "/usr/kest/etc.defaults/services.conf";

// @return 0 when filled; negative, and `info` untouched, for an unknown service, a value that is none of the above, or
//         a file that is there and cannot be read (the reason is recorded)
int ReadServiceRecord(const char* current_path, const char* factory_path, int service, SERVICEINFO* info);

// The volume with the most free bytes that suits a service: mounted, writable, at a location of its mask, of a file
// system that it does not leave out, and external only where that is allowed. NULL when there is none.
const KESTMOUNTVOL* ChooseVolume(const KESTMOUNTVOL* volumes, const SERVICEINFO& info);

// The locations where a service may live.
int LocationsOf(const SERVICEINFO& info);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_SERVICE_RECORD_H_
