#include "host/klib/key_value_file.h"

#include <cerrno>
#include <utility>

#include "host/klib/file_read.h"
#include "host/klib/file_replace.h"
#include "host/klib/key_value_line.h"

namespace kest {
namespace {

// The old text with `line` in the place of the key's first line, or behind everything.
std::string Edited(std::string_view old, std::string_view key, std::string_view line) {
  std::string text;
  text.reserve(old.size() + line.size() + 1);
  bool placed = false;
  std::string_view rest = WithoutByteOrderMark(old);
  text.append(old, 0, old.size() - rest.size());
  while (!rest.empty()) {
    const std::string_view before = rest;
    const KeyValueLine parsed = SplitKeyValueLine(TakeLine(&rest));
    if (!parsed.says_something || parsed.key != key) {
      text.append(before, 0, before.size() - rest.size());
    } else if (!placed) {
      text.append(line);
      placed = true;
    }
  }
  if (placed) return text;
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text.append(line);
}

bool Fail(int error) {
  errno = error;
  return false;
}

}  // namespace

bool KeyValueFile::Load(const char* path) {
  std::string text;
  const bool read = ReadWholeFile(path, kTextFileMax, &text);
  Parse(std::move(text));
  return read;
}

// Keys and values become C texts in place: what follows each of them (`=`, blank, quote, line end or the end of the
// text) is no longer needed once its line has been taken apart.
void KeyValueFile::Parse(std::string text) {
  entries_.clear();
  text_ = std::move(text);
  std::string_view rest = WithoutByteOrderMark(text_);
  while (!rest.empty()) {
    const KeyValueLine line = SplitKeyValueLine(TakeLine(&rest));
    if (!line.says_something) continue;
    char* const key = const_cast<char*>(line.key.data());
    char* const value = line.value.empty() ? key + line.key.size() : const_cast<char*>(line.value.data());
    value[line.value.size()] = '\0';
    key[line.key.size()] = '\0';
    entries_.push_back({key, value});
  }
}

const char* KeyValueFile::Find(std::string_view key) const {
  for (const Entry& entry : entries_) {
    if (key == entry.key) return entry.value;
  }
  return nullptr;
}

bool SetKeyValue(const char* path, std::string_view key, std::string_view value, std::string_view format) {
  const std::string line = FormatKeyValueLine(format, key, value);
  if (line.empty()) return Fail(EINVAL);
  FileReplace file;
  std::string old;
  if (!file.Open(path) || !ReadWholeFile(file.Path(), kTextFileMax, &old)) return false;
  const std::string text = Edited(old, key, line);
  if (text.size() > kTextFileMax) return Fail(EFBIG);
  return text == old || file.Commit(text);
}

}  // namespace kest
