#ifndef KEST_HOST_CGI_MULTIPART_READER_H_
#define KEST_HOST_CGI_MULTIPART_READER_H_

#include <memory>
#include <string>
#include <string_view>

#include "host/cgi/request_body.h"

namespace kest {

// Takes a multipart body apart as it streams in (RFC 2046 section 5.1.1), in one buffer whatever the body's size.
//
// A delimiter is CR LF, "--", the boundary, optional blanks and CR LF; the last one has "--" behind the boundary and
// may end the body. Anything that only resembles one is content: a line that the boundary is a prefix of, a lone LF.
// What stands before the first delimiter and behind the last one is passed over.
class MultipartReader {
 public:
  enum class Step {
    kMore,       // there is a part, or a piece of it
    kEnd,        // no further part, or no further piece
    kMalformed,  // no multipart body, or one that ends before its last delimiter
    kTooLarge,   // the header of a part is too large
    kFailed,     // the body cannot be read on; the request is refused already
  };

  // @param header_max  bytes that the header of a part may have, at most kHeaderMost
  MultipartReader(BodyReader* body, const std::string& boundary, size_t header_max);

  // Goes on to the next part, over what is left of the current one.
  // @param header  its header lines, each ended by CR LF; valid until the next call
  Step NextPart(std::string_view* header);

  // The next piece of the part's content, valid until the next call. A piece is never empty.
  Step NextPiece(std::string_view* piece);

  static constexpr size_t kHeaderMost = 32 * 1024;

 private:
  enum class Behind { kPart, kEnd, kContent, kUnknown, kFailed };
  static constexpr size_t kBufferBytes = 128 * 1024;

  std::string_view Buffered() const { return {buffer_.get() + begin_, end_ - begin_}; }
  bool Fill();
  Behind WhatIsBehind(size_t* length);
  Step Drain();

  BodyReader* body_;
  const std::string delimiter_;
  const size_t header_max_;
  std::unique_ptr<char[]> buffer_;
  size_t begin_ = 0;
  size_t end_ = 0;
  bool body_ended_ = false;
  bool in_part_ = true;  // the preamble counts as one
  bool last_seen_ = false;
};

}  // namespace kest

#endif  // KEST_HOST_CGI_MULTIPART_READER_H_
