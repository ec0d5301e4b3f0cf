#ifndef KEST_HOST_CGI_TEXT_PAIRS_H_
#define KEST_HOST_CGI_TEXT_PAIRS_H_

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace kest {

// Names and their values, in the order in which they came. The texts lie in blocks that live as long as the table, so
// that a value once handed out stays valid even when its pair is forgotten.
class TextPairs {
 public:
  TextPairs() = default;
  TextPairs(const TextPairs&) = delete;
  TextPairs& operator=(const TextPairs&) = delete;

  // A new block of the table, uninitialised.
  char* Room(size_t size_bytes);

  // A copy of the text in a block of its own, NUL-terminated.
  char* Keep(std::string_view text);

  // Adds a pair whose texts lie in a block of the table.
  void Add(std::string_view name, const char* value) { pairs_.push_back({name, value}); }

  // Adds a pair of copies.
  void AddCopy(std::string_view name, std::string_view value);

  // The first value of the name, or nullptr.
  const char* Find(std::string_view name) const;

  size_t Count() const { return pairs_.size(); }

  std::string_view NameAt(size_t index) const { return pairs_[index].name; }

  // Forgets all pairs behind the first `count`.
  void Truncate(size_t count) { pairs_.resize(count); }

 private:
  struct Pair {
    std::string_view name;
    const char* value;
  };
  std::vector<std::unique_ptr<char[]>> blocks_;
  std::vector<Pair> pairs_;
};

}  // namespace kest

#endif  // KEST_HOST_CGI_TEXT_PAIRS_H_
