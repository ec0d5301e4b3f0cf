#include "host/schedule/command_line.h"

namespace kest {
namespace {

bool HasControls(std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return true;
  }
  return false;
}

// Takes the first word, which begins at the line's start. False when a quote stands where none may.
bool TakeWord(std::string_view* line, std::string* word) {
  const bool quoted = line->front() == '"';
  if (quoted) line->remove_prefix(1);
  const size_t end = line->find(quoted ? '"' : ' ');
  if (quoted && end == std::string_view::npos) return false;
  const std::string_view text = line->substr(0, end);
  if (text.find('"') != std::string_view::npos) return false;
  word->assign(text);
  line->remove_prefix(text.size() + (quoted ? 1 : 0));
  return line->empty() || line->front() == ' ';
}

}  // namespace

bool SplitCommandLine(std::string_view line, std::vector<std::string>* words) {
  if (HasControls(line)) return false;
  std::vector<std::string> all;
  for (;;) {
    while (!line.empty() && line.front() == ' ') line.remove_prefix(1);
    if (line.empty()) break;
    if (!TakeWord(&line, &all.emplace_back())) return false;
  }
  if (all.empty() || all.front().empty() || all.front().front() != '/') return false;
  words->swap(all);
  return true;
}

}  // namespace kest
