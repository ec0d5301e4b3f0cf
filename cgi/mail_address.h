// Mail addresses as the forms take them.
#ifndef CGI_MAIL_ADDRESS_H
#define CGI_MAIL_ADDRESS_H

#include <string>

namespace site {

/// Bytes of an address (RFC 5321, a path without its angle brackets).
inline constexpr unsigned int kAddressBytes = 254;

/// Whether a text is one address, words joined by dots on both sides of an "@" (RFC 5322, dot-atom); nothing that a
/// header could end or go on with.
bool IsMailAddress(const std::string& text);

}  // namespace site

#endif  // CGI_MAIL_ADDRESS_H
