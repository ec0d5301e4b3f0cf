// Where shared folders may be made.
#ifndef CGI_SHARE_VOLUME_H
#define CGI_SHARE_VOLUME_H

#include <json/value.h>

#include <string>

namespace site {

/// The volumes for a selector: [{"value": ID, "display": LABEL}, ...].
Json::Value VolumesForShares();

/// The mount path of a volume on which a share may be made.
///
/// @param id    as VolumesForShares() tells it
/// @param path  receives the path when there is no refusal
/// @return null; otherwise the key of why not, section "error"
const char* FindVolumeForShare(const std::string& id, std::string& path);

/// What a volume is called, in the user's language; the path itself when it has no label.
std::string LabelOfVolume(const std::string& path);

}  // namespace site

#endif  // CGI_SHARE_VOLUME_H
