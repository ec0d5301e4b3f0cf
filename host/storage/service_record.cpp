#include "host/storage/service_record.h"

#include <strings.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "host/klib/error_code.h"
#include "host/klib/key_value_file.h"
#include "host/storage/guarded_call.h"
#include "host/storage/skipped_file_system.h"
#include "host/storage/volume_path.h"

namespace kest {
namespace {

struct Word {
  const char* text;
  int bit;
};

constexpr Word kServices[] = {
    {"web", KEST_SERVICE_WEB},           {"homes", KEST_SERVICE_HOMES}, {"backup", KEST_SERVICE_BACKUP},
    {"download", KEST_SERVICE_DOWNLOAD}, {"audio", KEST_SERVICE_AUDIO}, {"surveillance", KEST_SERVICE_SURVEILLANCE},
};
constexpr Word kLocations[] = {
    {"internal", KEST_VOL_INTERNAL},
    {"expansion", KEST_VOL_EXPANSION},
    {"usb", KEST_VOL_USB},
    {"sata", KEST_VOL_SATA},
};
constexpr Word kFileSystems[] = {{"fat", kSkipFat}, {"ntfs", kSkipNtfs}};
constexpr Word kAnswers[] = {{"yes", 1}, {"no", 0}};

template <size_t count>
const Word* FindWord(const Word (&words)[count], std::string_view text) {
  for (const Word& word : words) {
    if (word.text == text) return &word;
  }
  return nullptr;
}

// "a,b" or-ed; "" is 0. False for a word that is not in the table.
template <size_t count>
bool ParseSet(const Word (&words)[count], std::string_view text, int* bits) {
  *bits = 0;
  while (!text.empty()) {
    const size_t comma = text.find(',');
    const Word* const word = FindWord(words, text.substr(0, comma));
    if (word == nullptr) return false;
    *bits |= word->bit;
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
  }
  return true;
}

bool ParseAnswer(std::string_view text, int usual, int* out) {
  const Word* const word = FindWord(kAnswers, text);
  if (word == nullptr && !text.empty()) return false;
  *out = word == nullptr ? usual : word->bit;
  return true;
}

class Record {
 public:
  explicit Record(const char* service) : service_(service) {}

  // A missing file says nothing.
  bool Load(const char* current_path, const char* factory_path) {
    return (current_.Load(current_path) || errno == ENOENT) && (factory_.Load(factory_path) || errno == ENOENT);
  }

  // "" when neither file says anything.
  std::string_view Say(const char* what) const {
    const std::string key = std::string(service_) + "_" + what;
    const char* value = current_.Find(key);
    if (value == nullptr) value = factory_.Find(key);
    return value == nullptr ? "" : value;
  }

 private:
  const char* const service_;
  KeyValueFile current_;
  KeyValueFile factory_;
};

bool ParseVolume(std::string_view path, SERVICEINFO* info) {
  _tag_vol_id_ id;
  if (path.empty()) return true;
  if (!ParseMountPath(path, &id)) return false;
  info->hasVolume = 1;
  memcpy(info->path, path.data(), path.size());  // fits: ParseMountPath allows nine digits
  return true;
}

bool Parse(const Record& record, SERVICEINFO* info) {
  int locations = 0;
  if (!ParseVolume(record.Say("volume"), info) || !ParseSet(kLocations, record.Say("locations"), &locations)) {
    return false;
  }
  info->locationMask = static_cast<uint32_t>(locations);
  return ParseAnswer(record.Say("decided"), info->hasVolume, &info->decided) &&
         ParseSet(kFileSystems, record.Say("skip"), &info->skipFsType) &&
         ParseAnswer(record.Say("external"), 0, &info->externalAllowed);
}

const char* NameOf(int service) {
  for (const Word& word : kServices) {
    if (word.bit == service) return word.text;
  }
  return nullptr;
}

}  // namespace

int ReadServiceRecord(const char* current_path, const char* factory_path, int service, SERVICEINFO* info) {
  const char* const name = NameOf(service);
  if (name == nullptr || info == nullptr) return FailWith(kErrorBadParameter);
  Record record(name);
  if (!record.Load(current_path, factory_path)) return FailWith(ErrorCodeOf(errno));
  SERVICEINFO read = {};
  if (!Parse(record, &read)) return FailWith(kErrorBadParameter);
  *info = read;
  return 0;
}

int LocationsOf(const SERVICEINFO& info) {
  constexpr int kExternal = KEST_VOL_USB | KEST_VOL_SATA;
  const int mask = info.locationMask == 0 ? KEST_VOL_INTERNAL : static_cast<int>(info.locationMask);
  return info.externalAllowed != 0 ? mask : mask & ~kExternal;
}

const KESTMOUNTVOL* ChooseVolume(const KESTMOUNTVOL* volumes, const SERVICEINFO& info) {
  const KESTMOUNTVOL* best = nullptr;
  for (const KESTMOUNTVOL* volume = volumes; volume != nullptr; volume = volume->next) {
    if ((volume->location & LocationsOf(info)) == 0 || volume->mounted == 0 || volume->writable == 0) continue;
    if (best != nullptr && volume->freeBytes <= best->freeBytes) continue;
    if (FSIsMatchSkipFS(volume->path, info.skipFsType) == 0) best = volume;
  }
  return best;
}

}  // namespace kest

int KESTServiceInfoGet(_tag_SERVICE_ID_ id, SERVICEINFO* info) {
  return kest::Guarded([&] {
    return kest::ReadServiceRecord(kest::kServicesFile, kest::kFactoryServicesFile, static_cast<int>(id), info);
  });
}
