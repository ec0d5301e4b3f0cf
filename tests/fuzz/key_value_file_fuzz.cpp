// Key/value files that anybody may have written, and the setting of one key in them.
#include "host/klib/key_value_file.h"

#include "fuzz_input.h"
#include "host/klib/file_read.h"
#include "platform/klib.h"
#include "scratch_folder.h"

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

// All pairs, but for those of one key.
Entries Without(const kest::KeyValueFile& file, const std::string& key) {
  Entries entries;
  for (const auto& entry : file.Entries()) {
    if (key != entry.key) entries.emplace_back(entry.key, entry.value);
  }
  return entries;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ScratchFolder folder;
  FuzzInput input(data, size);
  const std::string key = input.TextLine();
  const std::string value = input.TextLine();
  const std::string text = input.Rest();
  const std::string path = folder.Put("settings", text);

  kest::KeyValueFile before;
  Require(before.Load(path.c_str()));
  for (const auto& entry : before.Entries()) Require(*entry.key != '\0' && before.Find(entry.key) != nullptr);

  const bool written = KLIBFileSetKeyValue(path.c_str(), key.c_str(), value.c_str(), "%s=\"%s\"\n") == 0;
  Require(folder.Count() == 1);
  kest::KeyValueFile after;
  Require(after.Load(path.c_str()));
  if (written) {
    Require(after.Find(key) != nullptr && value == after.Find(key));
    Require(Without(before, key) == Without(after, key));
    Require(after.Entries().size() == Without(after, key).size() + 1);
  } else {
    std::string now;
    Require(kest::ReadWholeFile(path.c_str(), kest::kTextFileMax, &now) && now == text);
  }
  char cut[8];
  const int length = KLIBFileGetKeyValue(path.c_str(), key.c_str(), cut, sizeof(cut), 0);
  if (written) Require(length == static_cast<int>(std::min<size_t>(value.size(), sizeof(cut) - 1)));
  return 0;
}
