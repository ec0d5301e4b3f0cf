#ifndef KEST_HOST_CGI_COOKIES_H_
#define KEST_HOST_CGI_COOKIES_H_

#include <string_view>

#include "host/cgi/text_pairs.h"

namespace kest {

// Takes a Cookie header apart: pairs between semicolons, blanks around name and value and one pair of quotes around the
// value removed, nothing else decoded. What has no "=" or no name is passed over; so is everything behind the first
// 200 pairs. A bad cookie never refuses a request: the client could not get rid of it.
void ParseCookies(std::string_view header, TextPairs* cookies);

}  // namespace kest

#endif  // KEST_HOST_CGI_COOKIES_H_
