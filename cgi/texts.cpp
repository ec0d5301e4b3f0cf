// texts.cgi: words of the string table, in the language of the request, before a login too.
//
//   GET keys=login:title,login:user,common:save
//       {"data": {"language": "de", "texts": {"common": {"save": ...}, "login": {...}}}, "success": true}
//
// A name without a text is left out of the reply.
#include <tarvel/string_bundle.h>
#include <tarvel/tarvel.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "reply.h"

namespace {

constexpr size_t kMaxKeys = 300;
constexpr size_t kMaxSections = 8;

using KeysOfSection = std::map<std::string, std::vector<std::string>>;

bool IsWord(const std::string& text) {
  return !text.empty() && text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_") == std::string::npos;
}

// "a:x,a:y,b:z" by section; false when one of the names is not of the form section:key.
bool Split(const std::string& list, KeysOfSection& out) {
  size_t count = 0;
  for (size_t start = 0; start < list.size();) {
    const size_t end = std::min(list.find(',', start), list.size());
    const std::string name = list.substr(start, end - start);
    const size_t colon = std::min(name.find(':'), name.size());
    const std::string section = name.substr(0, colon);
    const std::string key = name.substr(std::min(colon + 1, name.size()));
    if (!IsWord(section) || !IsWord(key) || ++count > kMaxKeys) return false;
    out[section].push_back(key);
    start = end + 1;
  }
  return !out.empty() && out.size() <= kMaxSections;
}

// One bundle per section: two sections may use the same key.
Json::Value TextsOf(std::string section, const std::vector<std::string>& keys) {
  StringBundle bundle(section.data(), nullptr, nullptr, nullptr, nullptr, nullptr);
  Json::Value texts(Json::objectValue);
  for (const std::string& key : keys) {
    const char* text = bundle.Text(key.c_str(), nullptr);
    if (text != nullptr) texts[key] = text;
  }
  return texts;
}

}  // namespace

int main() {
  Tarvel request(true);
  KeysOfSection wanted;
  if (!Split(request.In("keys", ""), wanted)) return site::Refuse(request, "error", "error_bad_request");

  Json::Value data;
  data["language"] = request.GetUILanguage();
  for (const auto& [section, keys] : wanted) data["texts"][section] = TextsOf(section, keys);
  return site::Succeed(request, data);
}
