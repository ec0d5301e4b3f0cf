#include "host/cgi/part_header.h"

#include <string.h>
#include <strings.h>
#include <utf8proc.h>

#include "host/cgi/header_parameters.h"

namespace kest {
namespace {

constexpr size_t kFileNameMax = 255;
constexpr size_t kBoundaryMax = 70;

bool EqualsNoCase(std::string_view a, const char* b) {
  return a.size() == strlen(b) && strncasecmp(a.data(), b, a.size()) == 0;
}

std::string_view TrimBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool ReadDisposition(std::string_view value, PartHeader* out) {
  HeaderParameters disposition;
  if (!ParseHeaderParameters(value, &disposition) || disposition.type != "form-data") return false;
  const std::string* const name = disposition.Find("name");
  if (name == nullptr || name->empty()) return false;
  out->name = *name;
  out->is_file = disposition.Has("filename");
  const std::string* const file_name = disposition.Find("filename");
  if (file_name != nullptr) out->file_name = *file_name;
  return out->is_file == (file_name != nullptr);
}

bool IsPlainEncoding(std::string_view value) {
  return EqualsNoCase(value, "7bit") || EqualsNoCase(value, "8bit") || EqualsNoCase(value, "binary");
}

// Reads one line; counts the dispositions seen.
bool ReadLine(std::string_view line, PartHeader* out, int* dispositions) {
  const size_t colon = line.find(':');
  if (colon == std::string_view::npos || colon == 0 || strchr(" \t", line[0]) != nullptr) return false;
  const std::string_view name = line.substr(0, colon);
  const std::string_view value = TrimBlanks(line.substr(colon + 1));
  if (EqualsNoCase(name, "Content-Transfer-Encoding")) return IsPlainEncoding(value);
  if (!EqualsNoCase(name, "Content-Disposition")) return true;
  ++*dispositions;
  return ReadDisposition(value, out);
}

// The character that begins the text, "_" for a control character or a byte that begins none; sets its length.
std::string_view TakeCharacter(std::string_view text, size_t* length) {
  utf8proc_int32_t code = -1;
  const auto taken = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                      static_cast<utf8proc_ssize_t>(text.size()), &code);
  *length = taken > 0 ? static_cast<size_t>(taken) : 1;
  const bool control = code < 0x20 || (code >= 0x7f && code < 0xa0);
  return control ? std::string_view("_") : text.substr(0, *length);
}

}  // namespace

bool ParsePartHeader(std::string_view lines, size_t lines_max, PartHeader* out) {
  if (lines.find('\0') != std::string_view::npos) return false;
  int dispositions = 0;
  for (size_t count = 0; !lines.empty(); ++count) {
    const size_t end = lines.find("\r\n");
    if (end == std::string_view::npos || count >= lines_max) return false;
    if (!ReadLine(lines.substr(0, end), out, &dispositions)) return false;
    lines.remove_prefix(end + 2);
  }
  return dispositions == 1;
}

bool BoundaryOf(std::string_view content_type, std::string* boundary) {
  HeaderParameters type;
  if (!ParseHeaderParameters(content_type, &type)) return false;
  const std::string* const value = type.Find("boundary");
  if (value == nullptr || value->empty() || value->size() > kBoundaryMax || value->back() == ' ') return false;
  constexpr char kAllowed[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz'()+_,-./:=? ";
  if (value->find_first_not_of(kAllowed) != std::string::npos) return false;
  *boundary = *value;
  return true;
}

std::string ClientBaseName(std::string_view name) {
  const size_t separator = name.find_last_of("/\\");
  if (separator != std::string_view::npos) name.remove_prefix(separator + 1);
  name = TrimBlanks(name);
  std::string out;
  while (!name.empty()) {
    size_t length = 0;
    const std::string_view character = TakeCharacter(name, &length);
    if (out.size() + character.size() > kFileNameMax) break;
    out += character;
    name.remove_prefix(length);
  }
  return out.empty() || out == "." || out == ".." ? "unnamed" : out;
}

}  // namespace kest
