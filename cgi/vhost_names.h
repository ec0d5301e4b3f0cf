// What may be called by which name: the virtual hosts' files hold names as they are, so a program hands in only such as
// they can carry.
#ifndef CGI_VHOST_NAMES_H
#define CGI_VHOST_NAMES_H

#include <string>

namespace site {

/// Bytes of a folder's name: the library makes the folder of a path of 63 bytes at most, "/var/services/web/" among
/// them.
inline constexpr unsigned kFolderBytes = 45;

/// Bytes of a host's name (RFC 1035).
inline constexpr unsigned kHostBytes = 253;

/// Whether a browser can ask for a host of this name: labels of letters, digits, "-" and "_" between dots. What ends in
/// a number has to be an IPv4 address.
bool IsHostName(const std::string& name);

/// Whether a folder of this name can stand in a web server's configuration, of today and of former years: UTF-8 without
/// control characters, quotation marks, "/", "\" and what shells and web servers give a meaning of its own; neither a
/// dot nor a blank at its beginning, no blank at its end.
bool IsSiteFolder(const std::string& name);

}  // namespace site

#endif  // CGI_VHOST_NAMES_H
