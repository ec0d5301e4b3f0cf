#ifndef KEST_KLIB_KEY_VALUE_FILE_H_
#define KEST_KLIB_KEY_VALUE_FILE_H_

#include <string>
#include <string_view>
#include <vector>

namespace kest {

/// Files of lines key="value": settings, factory defaults, states that programs leave for each other.
///
///     # a comment
///     admin_port="5000"
///     description="The "big" one in the cellar"
///     language=de
///
/// - A line ends with LF or CR LF; the last one may lack it. White space around the line, the key, "=" and the value
///   does not count. A byte-order mark before the first line is skipped.
/// - The key goes up to the first "=". It is compared byte for byte; of several lines with one key the first counts.
/// - A value that begins with a double quote goes up to the last one of the line, so it may hold quotes itself; what
///   follows is ignored. Nothing is escaped.
/// - Lines that say nothing, each passed over alone: empty ones, comments (first character "#"), lines without "=" or
///   without key, a quoted value that never ends (half a record), lines that hold a NUL byte. The other lines stand.
/// - Lines may have any length, but a file above kTextFileMax bytes is not read at all.

/// The whole file in memory, read with one read.
class KeyValueFile {
 public:
  struct Entry {
    const char* key;
    const char* value;
  };

  KeyValueFile() = default;
  KeyValueFile(const KeyValueFile&) = delete;
  KeyValueFile& operator=(const KeyValueFile&) = delete;

  /// Takes the file's lines in the place of those held before.
  ///
  /// @return false with errno as ReadWholeFile sets it; the object is then empty
  bool Load(const char* path);

  /// The same from a text.
  void Parse(std::string text);

  /// Value of a key, or NULL; valid until the next Load or Parse.
  const char* Find(std::string_view key) const;

  /// All lines that say something, in the file's order, duplicates included.
  const std::vector<Entry>& Entries() const { return entries_; }

 private:
  std::string text_;
  std::vector<Entry> entries_;
};

/// Format of a line that all our own files use: key, then value.
constexpr std::string_view kKeyValueFormat = "%s=\"%s\"\n";

/// Sets one key and keeps every other line as it is, comments included; all lines with that key but the first are
/// dropped. Written as FileReplace does; nothing is written when the file already says the same.
///
/// @param key     not empty, without "=", "#", quotes, white space, control characters and a byte-order mark in front
/// @param value   without CR, LF and NUL
/// @param format  line to write: the first %s is the key, the second one the value; no other conversion but %%, exactly
///                one LF, at the end
/// @return false with errno: EINVAL when a rule is broken or the line would not be read back as this key and value
///         (a format without quotes and a value with blanks at an end), EFBIG when the file is or would be above
///         kTextFileMax, or as FileReplace; the file is untouched then
bool SetKeyValue(const char* path, std::string_view key, std::string_view value, std::string_view format);

}  // namespace kest

#endif  // KEST_KLIB_KEY_VALUE_FILE_H_
