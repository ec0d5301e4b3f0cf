#include "host/cgi/texts.h"

#include <algorithm>

#include "host/cgi/script_text.h"
#include "host/klib/file_read.h"
#include "host/klib/key_value_line.h"

namespace kest {
namespace {

constexpr size_t kNoSection = static_cast<size_t>(-1);

std::string_view Trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// Index of the section that a "[name]" line begins; kNoSection when nobody asked for it or the line is broken.
size_t SectionBegun(std::string_view line, const std::vector<std::string>& sections) {
  if (line.size() < 2 || line.back() != ']') return kNoSection;
  const auto found = std::find(sections.begin(), sections.end(), Trimmed(line.substr(1, line.size() - 2)));
  return found == sections.end() ? kNoSection : static_cast<size_t>(found - sections.begin());
}

// The line lies in a block of the table: its value becomes a C text where it stands, because what follows it (a quote,
// the line's end or the block's last NUL) is not needed any more.
void AddLine(std::string_view line, TextPairs* texts) {
  const KeyValueLine parsed = SplitKeyValueLine(line);
  if (!parsed.says_something || parsed.key[0] == ';') return;
  if (parsed.value.empty()) return texts->Add(parsed.key, "");
  const_cast<char*>(parsed.value.data())[parsed.value.size()] = '\0';
  texts->Add(parsed.key, parsed.value.data());
}

const char* FindIn(const std::deque<TextPairs>& sections, std::string_view key) {
  for (const TextPairs& section : sections) {
    if (const char* const text = section.Find(key)) return text;
  }
  return nullptr;
}

}  // namespace

void Texts::Read(const std::string& path, const std::vector<std::string>& sections, std::deque<TextPairs>* texts) {
  texts->resize(sections.size());
  std::string file;
  if (sections.empty() || !ReadWholeFile(path.c_str(), kTextFileMax, &file)) return;
  const char* const block = texts->front().Keep(file);
  std::string_view rest = WithoutByteOrderMark({block, file.size()});
  size_t current = kNoSection;
  while (!rest.empty()) {
    const std::string_view line = Trimmed(TakeLine(&rest));
    if (!line.empty() && line[0] == '[') {
      current = SectionBegun(line, sections);
    } else if (current != kNoSection) {
      AddLine(line, &(*texts)[current]);
    }
  }
}

void Texts::ReadFallback(Request* request) {
  if (request->fallback_path.empty()) return;
  Read(request->fallback_path, request->sections, &request->fallback_texts);
  request->fallback_path.clear();
}

int Texts::Load(const std::string& root, const std::string& language, const std::vector<std::string>& sections) {
  const std::string directory = root + "/texts/";
  Request& request = requests_.emplace_back();
  request.sections = sections;
  Read(directory + language + ".ini", sections, &request.texts);
  if (language != kFallbackLanguage) request.fallback_path = directory + kFallbackLanguage + ".ini";

  const auto lacks_texts = [](const TextPairs& section) { return section.Count() == 0; };
  if (std::any_of(request.texts.begin(), request.texts.end(), lacks_texts)) ReadFallback(&request);
  int found = 0;
  for (size_t i = 0; i < sections.size(); ++i) {
    const bool has_fallback = i < request.fallback_texts.size() && !lacks_texts(request.fallback_texts[i]);
    if (has_fallback || !lacks_texts(request.texts[i])) ++found;
  }
  return found;
}

const char* Texts::Find(std::string_view key) {
  for (const Request& request : requests_) {
    if (const char* const text = FindIn(request.texts, key)) return text;
  }
  for (Request& request : requests_) {
    ReadFallback(&request);
    if (const char* const text = FindIn(request.fallback_texts, key)) return text;
  }
  return nullptr;
}

const char* Texts::FindEncoded(std::string_view key) {
  if (const char* const known = encoded_.Find(key)) return known;
  const char* const text = Find(key);
  if (text == nullptr) return nullptr;
  encoded_.AddCopy(key, EncodeForScript(text));
  return encoded_.Find(key);
}

}  // namespace kest
