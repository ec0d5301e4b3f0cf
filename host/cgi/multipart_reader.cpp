#include "host/cgi/multipart_reader.h"

#include <string.h>

#include <algorithm>

namespace kest {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

// Blanks allowed between a boundary and the end of its line; more of them make it content.
constexpr size_t kPaddingMax = 256;

size_t Find(std::string_view text, std::string_view wanted) {
  const void* const hit = memmem(text.data(), text.size(), wanted.data(), wanted.size());
  return hit == nullptr ? std::string_view::npos : static_cast<size_t>(static_cast<const char*>(hit) - text.data());
}

bool BeginsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

}  // namespace

MultipartReader::MultipartReader(BodyReader* body, const std::string& boundary, size_t header_max)
    : body_(body),
      delimiter_("\r\n--" + boundary),
      header_max_(std::min(header_max, kHeaderMost)),
      buffer_(new char[kBufferBytes]) {
  // The first delimiter may begin the body: a line end in front makes it one like the others.
  memcpy(buffer_.get(), kLineEnd.data(), kLineEnd.size());
  end_ = kLineEnd.size();
}

// Reads more behind what is buffered; false when the body cannot be read. At the body's end nothing is added.
bool MultipartReader::Fill() {
  if (begin_ > 0) {
    memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  const int got = body_->Read(buffer_.get() + end_, kBufferBytes - end_);
  if (got < 0) return false;
  body_ended_ = got == 0;
  end_ += static_cast<size_t>(got);
  return true;
}

// Decides what the delimiter's text at the beginning of the buffer is; `length` receives how much of it is to be
// passed over: the line end behind it stays, a part's header begins with it.
MultipartReader::Behind MultipartReader::WhatIsBehind(size_t* length) {
  std::string_view rest = Buffered().substr(delimiter_.size());
  const bool undecided = rest.size() < kPaddingMax + 4 && !body_ended_;
  if (undecided) return Fill() ? Behind::kUnknown : Behind::kFailed;
  const bool last = BeginsWith(rest, "--");
  if (last) rest.remove_prefix(2);
  const size_t padding = std::min(rest.find_first_not_of(" \t"), rest.size());
  rest.remove_prefix(padding);
  *length = Buffered().size() - rest.size();
  const bool line_ends = padding <= kPaddingMax && BeginsWith(rest, kLineEnd);
  if (last) return line_ends || rest.empty() ? Behind::kEnd : Behind::kContent;
  return line_ends ? Behind::kPart : Behind::kContent;
}

MultipartReader::Step MultipartReader::NextPiece(std::string_view* piece) {
  while (in_part_) {
    size_t hit = Find(Buffered(), delimiter_);
    if (hit == 0) {
      size_t length = 0;
      const Behind behind = WhatIsBehind(&length);
      if (behind == Behind::kUnknown) continue;
      if (behind == Behind::kFailed) return Step::kFailed;
      if (behind != Behind::kContent) {
        begin_ += length;
        in_part_ = false;
        last_seen_ = behind == Behind::kEnd;
        return last_seen_ ? Drain() : Step::kEnd;
      }
      hit = delimiter_.size();
    } else if (hit == std::string_view::npos) {
      // A delimiter may have begun in the last bytes.
      const size_t kept = std::min(delimiter_.size() - 1, Buffered().size());
      hit = Buffered().size() - kept;
      if (hit == 0 && body_ended_) return Step::kMalformed;
      if (hit == 0 && !Fill()) return Step::kFailed;
      if (hit == 0) continue;
    }
    *piece = Buffered().substr(0, hit);
    begin_ += hit;
    return Step::kMore;
  }
  return Step::kEnd;
}

// Reads what stands behind the last delimiter, so that a body that is cut off there is noticed too.
MultipartReader::Step MultipartReader::Drain() {
  while (!body_ended_) {
    begin_ = end_;
    if (!Fill()) return Step::kFailed;
  }
  return Step::kEnd;
}

MultipartReader::Step MultipartReader::NextPart(std::string_view* header) {
  std::string_view passed_over;
  Step step = Step::kMore;
  while (step == Step::kMore) step = NextPiece(&passed_over);
  if (step != Step::kEnd || last_seen_) return step;
  constexpr std::string_view kHeaderEnd = "\r\n\r\n";
  size_t end = Find(Buffered(), kHeaderEnd);
  while (end == std::string_view::npos) {
    if (Buffered().size() > header_max_ + kHeaderEnd.size()) return Step::kTooLarge;
    if (body_ended_) return Step::kMalformed;
    if (!Fill()) return Step::kFailed;
    end = Find(Buffered(), kHeaderEnd);
  }
  if (end > header_max_) return Step::kTooLarge;
  *header = Buffered().substr(kLineEnd.size(), end);
  begin_ += end + kHeaderEnd.size();
  in_part_ = true;
  return Step::kMore;
}

}  // namespace kest
