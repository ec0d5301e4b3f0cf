#ifndef KEST_HOST_MAIL_MAIL_ADDRESS_H_
#define KEST_HOST_MAIL_MAIL_ADDRESS_H_

#include <string_view>

namespace kest {

// Whether a text is exactly one plain address, NAME@HOST (the dot-atoms of RFC 5322 section 3.4.1, in ASCII, at most
// 254 bytes): it can stand in a header as it is, and names one recipient.
bool IsMailAddress(std::string_view text);

}  // namespace kest

#endif  // KEST_HOST_MAIL_MAIL_ADDRESS_H_
