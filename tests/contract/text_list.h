#ifndef TESTS_CONTRACT_TEXT_LIST_H_
#define TESTS_CONTRACT_TEXT_LIST_H_

#include <string>
#include <vector>

#include "platform/klib.h"

/// A platform list that is released with the test.
class TextList {
 public:
  explicit TextList(int bytes = 64) : list_(PslKLIBSzListAlloc(bytes)) {}
  TextList(int bytes, const std::vector<std::string>& texts) : TextList(bytes) {
    for (const std::string& text : texts) KLIBSzListPush(&list_, text.c_str());
  }
  ~TextList() { KLIBSzListFree(list_); }
  TextList(const TextList&) = delete;
  TextList& operator=(const TextList&) = delete;

  PSZLIST get() const { return list_; }
  PSZLIST* Slot() { return &list_; }

  /// Every text from index 0 to the first index without one.
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (int i = 0; const char* text = SzKLIBSzListGet(list_, i); ++i) texts.emplace_back(text);
    return texts;
  }

 private:
  PSZLIST list_;
};

#endif  // TESTS_CONTRACT_TEXT_LIST_H_
