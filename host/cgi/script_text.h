#ifndef KEST_HOST_CGI_SCRIPT_TEXT_H_
#define KEST_HOST_CGI_SCRIPT_TEXT_H_

#include <string>
#include <string_view>

namespace kest {

// A text as it may stand between quotes of either kind in a script, and the script in an HTML page: quotes,
// backslashes, control characters, "<", ">", "&" and the line separators U+2028 and U+2029 are escaped.
std::string EncodeForScript(std::string_view text);

}  // namespace kest

#endif  // KEST_HOST_CGI_SCRIPT_TEXT_H_
