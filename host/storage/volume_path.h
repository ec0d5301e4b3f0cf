#ifndef KEST_HOST_STORAGE_VOLUME_PATH_H_
#define KEST_HOST_STORAGE_VOLUME_PATH_H_

#include <string_view>

#include "platform/keststorage.h"

namespace kest {

// Reads a path whose first component is a volume's: "/volume", "/volumeX" or "/volumeUSB" and a number from 1, or
// "/volumeSATA".
// @return false for any other path; `id` is untouched then
bool ParseVolumePath(std::string_view path, _tag_vol_id_* id);

// The same for a place where a volume is mounted: that component alone, or with the folder that stands for the whole
// external disk, "/volumeUSBN/usbshare" and "/volumeSATA/satashare".
bool ParseMountPath(std::string_view path, _tag_vol_id_* id);

// Whether a path is a folder, or lies below it; both without a "/" at the end.
bool LiesIn(std::string_view path, std::string_view folder);

// Whether a path, taken by its text alone, stays below its first component: absolute, and no component is "..".
bool IsPlainPath(std::string_view path);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_VOLUME_PATH_H_
