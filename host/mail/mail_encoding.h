// Texts in a form that every mail system carries: ASCII, in short lines.
#ifndef KEST_HOST_MAIL_MAIL_ENCODING_H_
#define KEST_HOST_MAIL_MAIL_ENCODING_H_

#include <string>
#include <string_view>

namespace kest {

// Bytes that are no UTF-8 become U+FFFD each.
std::string AsUtf8(std::string_view text);

// Base64 (RFC 4648 section 4) in one line.
std::string Base64(std::string_view bytes);

// A header line with its LF. A plain text stands as it is; one that is long, not ASCII, or looks encoded becomes
// encoded words (RFC 2047) on lines of at most 76 characters. Control characters become blanks, so that there is no
// way out of the line.
// @param name  of the header, ASCII, at most 16 bytes
// @param text  UTF-8
std::string HeaderLine(std::string_view name, std::string_view text);

// A body in base64 lines of 76 characters (RFC 2045 section 6.8); line ends become CR LF before.
// @param text  UTF-8
std::string EncodedBody(std::string_view text);

}  // namespace kest

#endif  // KEST_HOST_MAIL_MAIL_ENCODING_H_
