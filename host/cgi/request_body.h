#ifndef KEST_HOST_CGI_REQUEST_BODY_H_
#define KEST_HOST_CGI_REQUEST_BODY_H_

#include <stddef.h>
#include <stdint.h>

#include "host/cgi/settings.h"

namespace kest {

// True for the methods whose parameters come in a body.
bool RequestHasBody();

// True for a body of the media type multipart/form-data.
bool RequestIsUpload();

// Length of the body as the web server announces it; 0 when there is none.
// @return false, and the request is refused, when it is no decimal number, missing for a body of unknown length, or
//         above the limit
bool AnnouncedLength(Limit limit, uint64_t* length);

// Makes the end of this process orderly for the web server: what is left of a body that the program did not want is
// dropped then. A socket that is closed with bytes unread breaks the connection, and the reply in it is lost.
void DropUnreadBodyAtExit();

// The body, read from standard input without stdio and never beyond its announced length.
class BodyReader {
 public:
  explicit BodyReader(uint64_t length) : left_(length) {}

  // Reads up to `size` bytes.
  // @return bytes read; 0 at the announced end; -1 when the client sent less than it announced (refused), or standard
  //         input failed
  int Read(char* buffer, size_t size);

 private:
  uint64_t left_;
};

}  // namespace kest

#endif  // KEST_HOST_CGI_REQUEST_BODY_H_
