#include "support/text_list.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sstream>

// As many texts as the array has, each behind the others in the same block.
struct KLIBSZLIST {
  int count;
  char* texts[1];
};

namespace tarvel_test {

PSZLIST NewTextList(const std::vector<std::string>& texts) {
  const size_t head = sizeof(KLIBSZLIST) + texts.size() * sizeof(char*);
  size_t bytes = head;
  for (const auto& text : texts) bytes += text.size() + 1;
  // Not malloc, which is the library's in these tests; `free` takes it all the same.
  constexpr size_t kAlignment = alignof(std::max_align_t);
  bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  auto* list = static_cast<KLIBSZLIST*>(std::aligned_alloc(kAlignment, bytes));
  list->count = static_cast<int>(texts.size());
  char* next = reinterpret_cast<char*>(list) + head;
  char** slot = list->texts;
  for (const auto& text : texts) {
    *slot++ = next;
    std::memcpy(next, text.c_str(), text.size() + 1);
    next += text.size() + 1;
  }
  return list;
}

char* TextOf(PSZLIST list, int index) {
  char** texts = list->texts;
  return index >= 0 && index < list->count ? texts[index] : nullptr;
}

std::vector<std::string> CommaPieces(const std::string& text) {
  std::vector<std::string> pieces;
  std::istringstream stream(text);
  for (std::string piece; std::getline(stream, piece, ',');) {
    if (!piece.empty()) pieces.push_back(piece);
  }
  return pieces;
}

void TrimInPlace(char* text) {
  const std::string all = text;
  const size_t begin = all.find_first_not_of(" \t\r\n\v\f");
  const size_t end = all.find_last_not_of(" \t\r\n\v\f");
  const std::string kept = begin == std::string::npos ? "" : all.substr(begin, end - begin + 1);
  std::memcpy(text, kept.c_str(), kept.size() + 1);
}

}  // namespace tarvel_test
