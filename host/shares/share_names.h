#ifndef KEST_HOST_SHARES_SHARE_NAMES_H_
#define KEST_HOST_SHARES_SHARE_NAMES_H_

namespace kest {

// Whether a share of this name belongs to a service of the appliance, existing or not. Without regard to case.
bool IsServiceShareName(const char* name);

// Whether it is the name of an external disk's share: "usbshare" or "satashare", and a number or nothing.
bool IsExternalShareName(const char* name);

}  // namespace kest

#endif  // KEST_HOST_SHARES_SHARE_NAMES_H_
