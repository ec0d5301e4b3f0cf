#ifndef CGI_CONTENT_DISPOSITION_H
#define CGI_CONTENT_DISPOSITION_H

#include <string>

namespace site {

/// The value of a header "Content-Disposition" (RFC 6266) that carries the name of a file, whatever bytes it has.
///
///     ContentDisposition("inline", "Grüße.txt");  // inline; filename="Gr__e.txt";
///     filename*=UTF-8''Gr%C3%BC%C3%9Fe.txt
///
/// @param kind  "attachment" or "inline"
/// @param name  without folders. Control characters, and bytes of a name that is no UTF-8, become "_"
std::string ContentDisposition(const std::string& kind, const std::string& name);

}  // namespace site

#endif  // CGI_CONTENT_DISPOSITION_H
