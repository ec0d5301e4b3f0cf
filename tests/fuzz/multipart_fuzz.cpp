// A multipart body that arrives in pieces of any size, against a reader that has the whole body before it.
#include "host/cgi/multipart_reader.h"

#include <optional>
#include <utility>
#include <vector>

#include "arriving_body.h"
#include "fuzz_input.h"

namespace {

using Part = std::pair<std::string, std::string>;  // header lines, content

constexpr size_t kHeaderMax = 8192;
constexpr size_t kPaddingMax = 256;

struct Delimiter {
  size_t begin;
  size_t end;  // at the line end behind it
  bool last;
};

// The next delimiter at or behind a place of a body that has a line end in front.
std::optional<Delimiter> NextDelimiter(const std::string& body, const std::string& text, size_t from) {
  for (size_t at = body.find(text, from); at != std::string::npos; at = body.find(text, at + text.size())) {
    size_t end = at + text.size();
    const bool last = body.compare(end, 2, "--") == 0;
    if (last) end += 2;
    const size_t after = std::min(body.find_first_not_of(" \t", end), body.size());
    const bool line_ends = after - end <= kPaddingMax && body.compare(after, 2, "\r\n") == 0;
    if (line_ends || (last && after == body.size())) return Delimiter{at, after, last};
  }
  return std::nullopt;
}

// All parts, or nothing when the body is malformed or a header too large.
std::optional<std::vector<Part>> Reference(const std::string& bytes, const std::string& boundary) {
  const std::string body = "\r\n" + bytes;
  const std::string text = "\r\n--" + boundary;
  std::vector<Part> parts;
  std::optional<Delimiter> delimiter = NextDelimiter(body, text, 0);
  while (delimiter && !delimiter->last) {
    const size_t header_end = body.find("\r\n\r\n", delimiter->end);
    if (header_end == std::string::npos || header_end - delimiter->end > kHeaderMax) return std::nullopt;
    const size_t content = header_end + 4;
    const std::string header = body.substr(delimiter->end + 2, header_end - delimiter->end);
    delimiter = NextDelimiter(body, text, content);
    if (delimiter) parts.emplace_back(header, body.substr(content, delimiter->begin - content));
  }
  if (!delimiter) return std::nullopt;
  return parts;
}

std::optional<std::vector<Part>> Read(kest::MultipartReader* reader) {
  using Step = kest::MultipartReader::Step;
  std::vector<Part> parts;
  std::string_view piece;
  Step step = Step::kMore;
  while ((step = reader->NextPart(&piece)) == Step::kMore) {
    parts.emplace_back(piece, "");
    while ((step = reader->NextPiece(&piece)) == Step::kMore) {
      Require(!piece.empty());
      parts.back().second += piece;
    }
    if (step != Step::kEnd) return std::nullopt;
  }
  if (step != Step::kEnd) return std::nullopt;
  return parts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const size_t step = 1 + input.Choice(256);
  const unsigned missing = input.Choice(4) == 3 ? 1 : 0;
  const std::string boundary = "x" + input.TextLine().substr(0, 69);
  const std::string bytes = input.Rest();

  ArrivingBody arriving(bytes, step);
  kest::BodyReader body(bytes.size() + missing);
  kest::MultipartReader reader(&body, boundary, kHeaderMax);
  const auto parts = Read(&reader);
  if (missing != 0) {
    Require(!parts);  // the client went away before the announced end
  } else {
    Require(parts == Reference(bytes, boundary));
  }
  return 0;
}
