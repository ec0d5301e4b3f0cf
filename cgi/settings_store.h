// Settings of the appliance, read with their factory defaults and written one by one.
#ifndef CGI_SETTINGS_STORE_H
#define CGI_SETTINGS_STORE_H

#include <tarvel/kest_conf.h>

#include <string>
#include <utility>
#include <vector>

namespace site {

/// The current value of a setting, or its factory default; "" when it has neither.
std::string StoredSetting(KestConf& settings, const std::string& key);

/// Stores values by their keys. The platform sets one key at a time: when one cannot be written, those before it get
/// their old values back. A value that is stored already is not written.
///
/// @return null; otherwise the key of what to say, section "error"
const char* StoreSettings(const std::vector<std::pair<std::string, std::string>>& values);

}  // namespace site

#endif  // CGI_SETTINGS_STORE_H
