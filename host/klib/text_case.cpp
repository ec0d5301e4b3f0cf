// Comparison, counting and lower case of texts. Case folding and decoding are utf8proc's; plain ASCII, nearly all that
// comes, never reaches its tables.
#include <utf8proc.h>

#include <climits>
#include <cstring>

#include "platform/klib.h"

namespace {

// A byte outside valid UTF-8 counts as a character behind all others, so that every byte string has one key.
constexpr utf8proc_int32_t kInvalidByte = 0x110000;

// The longest folding of one character has three code points.
constexpr int kFoldingMax = 4;

utf8proc_int32_t AsciiLower(unsigned char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; }

// Decodes one character; advances by its bytes, or by one byte that belongs to none.
utf8proc_int32_t NextCharacter(const unsigned char** text, const unsigned char* end) {
  utf8proc_int32_t character = 0;
  const utf8proc_ssize_t bytes = utf8proc_iterate(*text, end - *text, &character);
  if (bytes <= 0) return kInvalidByte + *(*text)++;
  *text += bytes;
  return character;
}

// Walks the folded code points of a text; 0 marks its end. Comparing what two of these deliver, first difference first,
// is the lexicographic order of two sequences, and therefore a strict weak ordering of the texts.
class FoldedText {
 public:
  explicit FoldedText(const char* text)
      : next_(reinterpret_cast<const unsigned char*>(text == nullptr ? "" : text)), end_(nullptr) {}

  utf8proc_int32_t Next() {
    if (pending_ < length_) return folding_[pending_++];
    if (*next_ == 0) return 0;
    if (*next_ < 0x80) return AsciiLower(*next_++);
    if (end_ == nullptr) end_ = next_ + strlen(reinterpret_cast<const char*>(next_));
    return Fold(NextCharacter(&next_, end_));
  }

 private:
  utf8proc_int32_t Fold(utf8proc_int32_t character) {
    if (character >= kInvalidByte) return character;
    int boundary = 0;
    const utf8proc_ssize_t count =
        utf8proc_decompose_char(character, folding_, kFoldingMax, UTF8PROC_CASEFOLD, &boundary);
    if (count < 1 || count > kFoldingMax) return character;
    length_ = static_cast<int>(count);
    pending_ = 1;
    return folding_[0];
  }

  const unsigned char* next_;
  const unsigned char* end_;
  utf8proc_int32_t folding_[kFoldingMax] = {};
  int pending_ = 0;
  int length_ = 0;
};

}  // namespace

int KLIBUnicodeUTF8StrCaseCmp(const char* a, const char* b) {
  FoldedText left(a);
  FoldedText right(b);
  for (;;) {
    const utf8proc_int32_t x = left.Next();
    const utf8proc_int32_t y = right.Next();
    if (x != y) return x < y ? -1 : 1;
    if (x == 0) return 0;
  }
}

int KLIBUnicodeUTF8StrCountChar(const char* text) {
  if (text == nullptr) return 0;
  const unsigned char* next = reinterpret_cast<const unsigned char*>(text);
  const unsigned char* const end = next + strlen(text);
  int count = 0;
  for (; next < end && count < INT_MAX; ++count) {
    if (*next < 0x80) {
      ++next;
    } else {
      NextCharacter(&next, end);
    }
  }
  return count;
}

char* SzKLIBStrCaseLower(char* text) {
  if (text == nullptr) return nullptr;
  for (char* c = text; *c != '\0'; ++c) *c = static_cast<char>(AsciiLower(static_cast<unsigned char>(*c)));
  return text;
}
