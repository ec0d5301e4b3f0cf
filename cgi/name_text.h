// Texts of clients and names of files are bytes; what is kept and sent is UTF-8.
#ifndef CGI_NAME_TEXT_H
#define CGI_NAME_TEXT_H

#include <string>

namespace site {

/// Whether a text is UTF-8.
bool IsUtf8(const std::string& text);

/// Whether a text is UTF-8 without control characters: a settings file keeps one value per line.
bool IsPlainText(const std::string& text);

/// A text with U+FFFD for each byte that belongs to no character.
std::string AsUtf8(const std::string& text);

}  // namespace site

#endif  // CGI_NAME_TEXT_H
