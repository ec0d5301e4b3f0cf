// The languages of the pages. "auto" leaves the choice to the browser.
#ifndef CGI_LANGUAGES_H
#define CGI_LANGUAGES_H

namespace site {

inline constexpr const char* kLanguages[] = {"auto", "en", "de"};

}  // namespace site

#endif  // CGI_LANGUAGES_H
