#include "vhost_names.h"

#include <arpa/inet.h>

#include "name_text.h"

namespace site {

namespace {

constexpr char kDigits[] = "0123456789";
constexpr char kLabelCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr char kForbiddenInFolders[] = "\"'`/\\$&|;<>()[]{}*?!~#%^";
constexpr size_t kLabelBytes = 63;

bool IsLabel(const std::string& label) {
  return !label.empty() && label.size() <= kLabelBytes &&
         label.find_first_not_of(kLabelCharacters) == std::string::npos && label.front() != '-' && label.back() != '-';
}

bool IsAddress(const std::string& name) {
  in_addr address;
  return inet_pton(AF_INET, name.c_str(), &address) == 1;
}

}  // namespace

bool IsHostName(const std::string& name) {
  if (name.size() > kHostBytes) return false;
  size_t start = 0;
  for (size_t dot = name.find('.'); dot != std::string::npos; dot = name.find('.', start)) {
    if (!IsLabel(name.substr(start, dot - start))) return false;
    start = dot + 1;
  }
  const std::string last = name.substr(start);
  return IsLabel(last) && (last.find_first_not_of(kDigits) != std::string::npos || IsAddress(name));
}

bool IsSiteFolder(const std::string& name) {
  return !name.empty() && name.size() <= kFolderBytes && IsPlainText(name) &&
         name.find_first_of(kForbiddenInFolders) == std::string::npos && name.front() != '.' && name.front() != ' ' &&
         name.back() != ' ';
}

}  // namespace site
