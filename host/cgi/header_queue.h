#ifndef KEST_HOST_CGI_HEADER_QUEUE_H_
#define KEST_HOST_CGI_HEADER_QUEUE_H_

#include <string>
#include <string_view>
#include <vector>

#include "host/cgi/text_pairs.h"

namespace kest {

// Longest header line that is queued, name, colon and value: the web server refuses scripts that send longer ones.
constexpr size_t kHeaderLineMax = 8000;

// Attributes of a cookie to be sent. Null texts leave their attribute out.
struct CookieToSend {
  const char* name;
  const char* value;
  const char* expires = nullptr;
  const char* path = nullptr;
  const char* domain = nullptr;
  bool secure = false;
  bool http_only = false;
  const char* same_site = nullptr;
};

// The reply's header lines until they are printed.
class HeaderQueue {
 public:
  // Queues a header; "Status" replaces an earlier one.
  // @return false, and nothing is queued, when the name is no token of RFC 9110, the value holds a control character
  //         other than a tab, or the line would be too long
  bool Add(std::string_view name, std::string_view value);

  // Queues a Set-Cookie header.
  // @return false, and nothing is queued, when the name is no token, the value holds an octet that RFC 6265 does not
  //         allow there, an attribute holds a control character or ";", or the line would be too long
  bool AddCookie(const CookieToSend& cookie);

  // Appends the cookies of this reply as the client will send them back, the latest first. One that the reply removes
  // (empty, with a date of expiry) has a null value.
  void AppendQueuedCookies(TextPairs* cookies) const;

  // The block to send, its empty line included; the queue is empty afterwards. When the request is refused the block
  // says so, whatever status was queued.
  std::string TakeBlock();

 private:
  struct QueuedCookie {
    std::string name;
    std::string value;
    bool removed;
  };
  std::string status_;
  std::string lines_;
  std::vector<QueuedCookie> cookies_;
};

}  // namespace kest

#endif  // KEST_HOST_CGI_HEADER_QUEUE_H_
