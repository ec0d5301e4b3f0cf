#include "host/cgi/text_pairs.h"

#include <cstring>

namespace kest {

char* TextPairs::Room(size_t size_bytes) {
  blocks_.push_back(std::unique_ptr<char[]>(new char[size_bytes]));
  return blocks_.back().get();
}

char* TextPairs::Keep(std::string_view text) {
  char* const copy = Room(text.size() + 1);
  if (!text.empty()) memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

void TextPairs::AddCopy(std::string_view name, std::string_view value) {
  char* const room = Room(name.size() + value.size() + 1);
  memcpy(room, name.data(), name.size());
  if (!value.empty()) memcpy(room + name.size(), value.data(), value.size());
  room[name.size() + value.size()] = '\0';
  Add({room, name.size()}, room + name.size());
}

const char* TextPairs::Find(std::string_view name) const {
  for (const Pair& pair : pairs_) {
    if (pair.name == name) return pair.value;
  }
  return nullptr;
}

}  // namespace kest
