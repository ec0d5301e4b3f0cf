#include "webutils.h"

#include <strings.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "internal/buffer.h"
#include "platform/kestcgi.h"

namespace {

constexpr size_t kEscapedBytes = 3;

// What a byte becomes between tags; null when it stays. Quotation marks stay on purpose: pages rely on it.
const char* HtmlEntity(char byte, bool nbsp) {
  switch (byte) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case ' ':
      return nbsp ? "&nbsp;" : nullptr;
    default:
      return nullptr;
  }
}

}  // namespace

std::string WebUtils::EncodeHtml(const std::string& text, bool nbsp) {
  std::string encoded;
  encoded.reserve(text.size());
  size_t copied = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const char* entity = HtmlEntity(text[i], nbsp);
    if (entity == nullptr) continue;
    encoded.append(text, copied, i - copied).append(entity);
    copied = i + 1;
  }
  return encoded.append(text, copied);
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
