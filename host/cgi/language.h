#ifndef KEST_HOST_CGI_LANGUAGE_H_
#define KEST_HOST_CGI_LANGUAGE_H_

namespace kest {

// Root of the main module's texts: a language is shipped when a file of texts stands there.
constexpr char kMainTextRoot[] = "/usr/kest/kestman/tarvel";

// Language of this process's request, chosen once; lives as long as the process.
const char* RequestLanguage();

}  // namespace kest

#endif  // KEST_HOST_CGI_LANGUAGE_H_
