// Tokens, trimming, comparison, counting, sorting and the checks of the utility library.
#include <cstring>

#include "fuzz_input.h"
#include "platform/klib.h"

namespace {

void CheckTokens(const std::string& text, const std::string& delims) {
  PSZLIST list = PslKLIBSzListAlloc(1);
  const int count = KLIBStrTok(text.c_str(), delims.c_str(), &list);
  size_t at = 0;
  for (int i = 0; i < count; ++i) {
    at = text.find_first_not_of(delims, at);
    const std::string expected = text.substr(at, text.find_first_of(delims, at) - at);
    Require(expected == SzKLIBSzListGet(list, i));
    at += expected.size();
  }
  Require(text.find_first_not_of(delims, at) == std::string::npos || at >= text.size());
  Require(SzKLIBSzListGet(list, count) == nullptr && SzKLIBSzListGet(list, -1) == nullptr);

  Require(KLIBSzListSortItems(list, KLIB_SZLIST_SORT_NO_CASE) == 0);
  for (int i = 1; i < count; ++i) {
    Require(KLIBUnicodeUTF8StrCaseCmp(SzKLIBSzListGet(list, i - 1), SzKLIBSzListGet(list, i)) <= 0);
  }
  if (count > 0) Require(KLIBSzListPush(&list, SzKLIBSzListGet(list, count / 2)) == 0);
  if (count > 0) Require(strcmp(SzKLIBSzListGet(list, count), SzKLIBSzListGet(list, count / 2)) == 0);
  free(list);
}

int Sign(int value) { return value < 0 ? -1 : value > 0; }

void CheckOrder(const std::string& a, const std::string& b, const std::string& c) {
  const int ab = Sign(KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()));
  const int ba = Sign(KLIBUnicodeUTF8StrCaseCmp(b.c_str(), a.c_str()));
  const int bc = Sign(KLIBUnicodeUTF8StrCaseCmp(b.c_str(), c.c_str()));
  const int ac = Sign(KLIBUnicodeUTF8StrCaseCmp(a.c_str(), c.c_str()));
  Require(ab == -ba);
  if (ab <= 0 && bc <= 0) Require(ac == std::min(ab, bc));
  if (ab >= 0 && bc >= 0) Require(ac == std::max(ab, bc));
  std::string lower = a;
  SzKLIBStrCaseLower(lower.data());
  Require(KLIBUnicodeUTF8StrCaseCmp(a.c_str(), lower.c_str()) == 0);
  Require(KLIBUnicodeUTF8StrCountChar(a.c_str()) <= static_cast<int>(a.size()));
}

void CheckTrim(const std::string& text) {
  std::string in = text;
  std::string out(text.size() + 1, '#');
  Require(KLIBStrTrimSpace(in.data(), out.data()) == 0 && in == text);
  Require(KLIBStrTrimSpace(in.data(), nullptr) == 0 && strcmp(in.c_str(), out.c_str()) == 0);
  const std::string trimmed = in.c_str();
  if (!trimmed.empty()) Require(strchr(" \t\r\n\v\f", trimmed.front()) == nullptr);
  if (!trimmed.empty()) Require(strchr(" \t\r\n\v\f", trimmed.back()) == nullptr);
  Require(text.find(trimmed) != std::string::npos);
}

void CheckNames(const std::string& text) {
  if (BlKLIBIsShareName(text.c_str())) {
    Require(KLIBUnicodeUTF8StrCountChar(text.c_str()) <= 32);
    Require(text.find_first_of("\"/\\[]:;|<>+=,*?@%\n\r\t") == std::string::npos && text[0] != '.');
  }
  if (BlKLIBIsIpMask(text.c_str())) Require(text.find_first_not_of("0123456789.") == std::string::npos);
  unsigned char digest[17];
  digest[16] = '#';
  Require(KLIBSmbMd4Hash(text.c_str(), digest, 16) == 0 && digest[16] == '#');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const std::string delims = input.TextLine();
  const std::string second = input.TextLine();
  const std::string third = input.TextLine();
  const std::string text = input.TextRest();
  CheckTokens(text, delims);
  CheckOrder(text, second, third);
  CheckTrim(text);
  CheckNames(text);
  return 0;
}
