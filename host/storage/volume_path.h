#ifndef KEST_HOST_STORAGE_VOLUME_PATH_H_
#define KEST_HOST_STORAGE_VOLUME_PATH_H_

#include <string_view>

#include "platform/keststorage.h"

namespace kest {

// Reads the mount path of a volume: "/volume", "/volumeX" or "/volumeUSB" and a number from 1, or "/volumeSATA".
// @return false for any other path; `id` is untouched then
bool ParseVolumePath(std::string_view path, _tag_vol_id_* id);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_VOLUME_PATH_H_
