#include "settings_store.h"

// The library reads settings and has no call that writes one: the platform's key/value call does.
#include "platform/klib.h"

namespace site {

namespace {

constexpr char kSettingsFile[] = "/etc/kestinfo.conf";
constexpr char kSettingsLine[] = "%s=\"%s\"\n";

bool Store(const std::string& key, const std::string& value) {
  return KLIBFileSetKeyValue(kSettingsFile, key.c_str(), value.c_str(), kSettingsLine) >= 0;
}

}  // namespace

std::string StoredSetting(KestConf& settings, const std::string& key) {
  std::string name = key;
  char none[] = "";
  const char* factory = settings.Def(name.data(), none);
  return settings.Info(name.data(), const_cast<char*>(factory));
}

const char* StoreSettings(const std::vector<std::pair<std::string, std::string>>& values) {
  KestConf before;
  for (size_t count = 0; count < values.size(); ++count) {
    const auto& [key, value] = values[count];
    if (value == StoredSetting(before, key) || Store(key, value)) continue;
    bool all = true;
    for (size_t i = 0; i < count; ++i) {
      const std::string old = StoredSetting(before, values[i].first);
      if (old != values[i].second) all = Store(values[i].first, old) && all;
    }
    return all ? "error_save_failed" : "error_saved_partly";
  }
  return nullptr;
}

}  // namespace site
