#ifndef TESTS_CONTRACT_GUARDED_TEXT_H_
#define TESTS_CONTRACT_GUARDED_TEXT_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

/// A NUL-terminated text in read-only memory that ends at the end of its page: writing to it and reading behind its NUL
/// both end the test program at the faulty access.
class GuardedText {
 public:
  explicit GuardedText(const std::string& text) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t needed = text.size() + 1;
    const size_t readable = (needed + page - 1) / page * page;
    size_ = readable + page;
    void* const memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) abort();
    begin_ = static_cast<char*>(memory);
    text_ = begin_ + readable - needed;
    memcpy(text_, text.c_str(), needed);
    if (mprotect(begin_, readable, PROT_READ) != 0 || mprotect(begin_ + readable, page, PROT_NONE) != 0) abort();
  }
  ~GuardedText() { munmap(begin_, size_); }
  GuardedText(const GuardedText&) = delete;
  GuardedText& operator=(const GuardedText&) = delete;

  const char* get() const { return text_; }

 private:
  char* begin_ = nullptr;
  char* text_ = nullptr;
  size_t size_ = 0;
};

#endif  // TESTS_CONTRACT_GUARDED_TEXT_H_
