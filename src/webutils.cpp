#include "webutils.h"

#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "internal/buffer.h"
#include "platform/kestcgi.h"

namespace {

constexpr size_t kEscapedBytes = 3;

// So many bytes of a text are encoded before they are appended: one by one they would cost ten times as much.
constexpr size_t kPieceBytes = 1024;
constexpr size_t kLongestEntityBytes = 6;

// Both give the place behind what they have written.
template <size_t kBytes>
char* Put(char* out, const char (&entity)[kBytes]) {
  std::memcpy(out, entity, kBytes - 1);
  return out + kBytes - 1;
}

// Quotation marks stay on purpose: pages rely on it.
char* PutEncoded(char* out, char byte, bool nbsp) {
  if (byte == '&') return Put(out, "&amp;");
  if (byte == '<') return Put(out, "&lt;");
  if (byte == '>') return Put(out, "&gt;");
  if (byte == ' ' && nbsp) return Put(out, "&nbsp;");
  *out = byte;
  return out + 1;
}

}  // namespace

std::string WebUtils::EncodeHtml(const std::string& text, bool nbsp) {
  std::string encoded;
  encoded.reserve(text.size());
  char piece[kPieceBytes * kLongestEntityBytes];
  for (size_t at = 0; at < text.size(); at += kPieceBytes) {
    const size_t end = std::min(text.size(), at + kPieceBytes);
    char* out = piece;
    for (size_t i = at; i < end; ++i) out = PutEncoded(out, text[i], nbsp);
    encoded.append(piece, static_cast<size_t>(out - piece));
  }
  return encoded;
}

std::string WebUtils::EncodeURL(const char* text) {
  if (text == nullptr) return "";
  const size_t length = std::strlen(text);
  if (length > INT_MAX / kEscapedBytes) return "";
  const size_t bytes = kEscapedBytes * length;
  // One byte more than the platform may write: it sets no terminator.
  const tarvel_internal::Buffer buffer(static_cast<char*>(std::calloc(bytes + 1, 1)));
  if (!buffer) return "";
  KestCgiURLEncode(text, buffer.get(), static_cast<int>(bytes));
  return buffer.get();
}

std::vector<std::string> WebUtils::StringExplode(const std::string& text, const std::string& delimiters) {
  std::vector<std::string> tokens;
  std::string scratch = text.c_str();
  char* rest = nullptr;
  for (const char* token = strtok_r(scratch.data(), delimiters.c_str(), &rest); token != nullptr;
       token = strtok_r(nullptr, delimiters.c_str(), &rest)) {
    tokens.emplace_back(token);
  }
  return tokens;
}

std::string WebUtils::StringImplode(const std::vector<std::string>& items, const char* glue) {
  if (glue == nullptr) glue = "";
  const size_t glue_bytes = std::strlen(glue);
  size_t bytes = 0;
  for (const std::string& item : items) bytes += item.size() + glue_bytes;
  std::string joined;
  joined.reserve(bytes);
  for (size_t i = 0; i < items.size(); ++i) {
    if (i != 0) joined.append(glue, glue_bytes);
    joined.append(items[i]);
  }
  return joined;
}

std::string WebUtils::StringLeftStrip(const char* text) {
  if (text == nullptr) return "";
  // A narrower set than isspace() on purpose: a carriage return stays.
  return text + std::strspn(text, " \n\t");
}

bool WebUtils::IsValidExtension(const char* fileName, const char* extension) {
  if (fileName == nullptr || extension == nullptr || *extension == '\0') return false;
  const size_t name_bytes = std::strlen(fileName);
  const size_t extension_bytes = std::strlen(extension);
  return name_bytes > extension_bytes && strcasecmp(fileName + name_bytes - extension_bytes, extension) == 0;
}
