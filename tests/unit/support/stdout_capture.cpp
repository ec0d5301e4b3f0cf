#include "support/stdout_capture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

namespace tarvel_test {

namespace {

// Fully buffered also when the tests run on a terminal, so that what is flushed is the library's doing.
char buffer[1 << 16];

}  // namespace

StdoutCapture::StdoutCapture() : file_(memfd_create("stdout", MFD_CLOEXEC)) {
  std::fflush(stdout);
  std::clearerr(stdout);
  std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
  original_ = dup(STDOUT_FILENO);
  dup2(file_, STDOUT_FILENO);
}

StdoutCapture::~StdoutCapture() {
  std::fflush(stdout);
  dup2(original_, STDOUT_FILENO);
  close(original_);
  close(file_);
}

std::string StdoutCapture::Take() {
  std::fflush(stdout);
  std::string text = Flushed();
  taken_ += static_cast<long>(text.size());
  return text;
}

std::string StdoutCapture::Flushed() const {
  std::string text;
  char piece[4096];
  ssize_t got;
  while ((got = pread(file_, piece, sizeof piece, taken_ + static_cast<long>(text.size()))) > 0) {
    text.append(piece, static_cast<size_t>(got));
  }
  return text;
}

}  // namespace tarvel_test
