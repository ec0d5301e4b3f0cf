// Range headers of any bytes and files of any size, against a reader written by hand. With a small file the whole reply
// is made, too.
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "fuzz_input.h"
#include "http_file_outputer.h"

namespace {

constexpr char kBlanks[] = " \t\r\n\v\f";

struct Range {
  __int128 start;
  __int128 end;
};

// A number as it may be written: blanks, a sign, digits up to the end. False when it is none.
bool Number(const std::string& text, unsigned long long& number) {
  size_t at = std::min(text.find_first_not_of(kBlanks), text.size());
  const bool negative = at < text.size() && text[at] == '-';
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
  if (at == text.size() || text.find_first_not_of("0123456789", at) != std::string::npos) return false;
  __int128 value = 0;
  for (; at < text.size() && value <= ULLONG_MAX; ++at) value = value * 10 + (text[at] - '0');
  number = static_cast<unsigned long long>(value);
  if (negative) number = 0 - number;
  if (value > ULLONG_MAX) number = ULLONG_MAX;
  return true;
}

// 1, -1 or 0, as the header of the class says.
int Read(const std::string& text, long long size, Range& range) {
  const size_t dash = text.find('-');
  if (dash == std::string::npos) return 0;
  const std::string before = text.substr(0, dash), behind = text.substr(dash + 1);
  unsigned long long number = 0;
  range.end = static_cast<__int128>(size) - 1;
  if (dash == 0) {
    if (!behind.empty() && !Number(behind, number)) return 0;
    range.start = static_cast<long long>(static_cast<unsigned long long>(size) - number);
    return range.start > range.end ? -1 : 1;
  }
  if (!Number(before, number) || number > LLONG_MAX) return 0;
  range.start = number;
  if (!behind.empty()) {
    if (!Number(behind, number) || number > LLONG_MAX) return 0;
    range.end = std::min(range.end, static_cast<__int128>(number));
  }
  return range.start > range.end ? -1 : 1;
}

int ReadAll(const std::string& header, long long size, std::vector<Range>& ranges) {
  size_t begin = header.find_first_not_of(',');
  for (; begin != std::string::npos; begin = header.find_first_not_of(',', begin)) {
    std::string piece = header.substr(begin, header.find(',', begin) - begin);
    begin += piece.size();
    piece.erase(0, std::min(piece.find_first_not_of(kBlanks), piece.size()));
    piece.erase(piece.find_last_not_of(kBlanks) + 1);
    Range range = {};
    if (Read(piece, size, range) != 1) return -1;
    ranges.push_back(range);
  }
  return static_cast<int>(ranges.size());
}

// The reply's announced length is the length of what stands behind its header block, unless a suffix was too long.
void CheckReply(const std::string& content, bool must_fail) {
  static FILE* const file = tmpfile();
  Require(file != nullptr && ftruncate(fileno(file), 0) == 0);
  rewind(file);
  fwrite(content.data(), 1, content.size(), file);
  rewind(file);

  static FILE* const printed = tmpfile();
  static const int out = dup(STDOUT_FILENO);
  Require(printed != nullptr && ftruncate(fileno(printed), 0) == 0);
  lseek(fileno(printed), 0, SEEK_SET);
  fflush(stdout);
  dup2(fileno(printed), STDOUT_FILENO);
  const int result = HTTPFileOutputer().Output(file, nullptr, "a/b");
  fflush(stdout);
  dup2(out, STDOUT_FILENO);
  Require(result == (must_fail ? -1 : 0));
  if (must_fail) return;

  std::string reply(static_cast<size_t>(lseek(fileno(printed), 0, SEEK_END)), '\0');
  Require(pread(fileno(printed), reply.data(), reply.size(), 0) == static_cast<ssize_t>(reply.size()));
  const size_t top = reply.find("\r\n\r\n");
  const size_t length = reply.find("Content-Length: ");
  Require(top != std::string::npos && length < top);
  Require(strtoull(reply.c_str() + length + 16, nullptr, 10) == reply.size() - top - 4);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
  static const long long kSizes[] = {0, 1, 10, 1000, 2147483648, 4294967400, LLONG_MAX};
  FuzzInput input(data, bytes);
  const long long size = kSizes[input.Choice(sizeof kSizes / sizeof kSizes[0])];
  const std::string header = input.TextRest();
  setenv("HTTP_RANGE", ("bytes=" + header).c_str(), 1);

  std::vector<Range> expected;
  const int count = ReadAll(header, size, expected);
  _tag_HTTP_RANGE_SEGMENT* segments = nullptr;
  Require(HTTPFileOutputer().SeekHttpRange(&segments, size) == count);
  for (int i = 0; i < count; ++i) {
    Require(segments[i].start == expected[static_cast<size_t>(i)].start);
    Require(segments[i].end == expected[static_cast<size_t>(i)].end);
  }
  free(segments);

  const auto begins_early = [](const Range& range) { return range.start < 0; };
  if (size <= 10 && count < 100) {
    const bool too_long = count > 0 && std::any_of(expected.begin(), expected.end(), begins_early);
    CheckReply(std::string("0123456789", static_cast<size_t>(size)), too_long);
  }
  return 0;
}
