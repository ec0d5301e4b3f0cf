#ifndef TESTS_FUZZ_FUZZ_INPUT_H_
#define TESTS_FUZZ_FUZZ_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

/// The bytes of one run, taken piece by piece: earlier arguments end at a newline, the last one is the rest.
class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  /// One byte as a number below `bound`; 0 at the end.
  unsigned Choice(unsigned bound) {
    const unsigned byte = rest_.empty() ? 0 : static_cast<unsigned char>(rest_[0]);
    rest_.remove_prefix(rest_.empty() ? 0 : 1);
    return byte % bound;
  }

  bool Empty() const { return rest_.empty(); }

  std::string Line() {
    const size_t end = rest_.find('\n');
    const std::string line(rest_.substr(0, end));
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    return line;
  }

  /// The same for functions that take C texts: what stands before the first NUL.
  std::string TextLine() { return Line().c_str(); }

  std::string Rest() {
    const std::string all(rest_);
    rest_ = {};
    return all;
  }
  std::string TextRest() { return Rest().c_str(); }

 private:
  std::string_view rest_;
};

/// Ends the run as a finding: what the code promises does not hold for this input.
inline void Require(bool holds) {
  if (!holds) std::abort();
}

#endif  // TESTS_FUZZ_FUZZ_INPUT_H_
