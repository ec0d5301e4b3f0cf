#ifndef KEST_HOST_CGI_FORM_DECODE_H_
#define KEST_HOST_CGI_FORM_DECODE_H_

#include <string_view>

#include "host/cgi/text_pairs.h"

struct KestCgiCore;

namespace kest {

// Decodes urlencoded parameters behind those already there: pairs between "&", the name up to the first "=". A piece
// without "=" is a name with an empty value, one without a name is passed over.
// @return parameters added; negative when a limit is exceeded or a name or value holds a NUL: the request is refused
//         then, and what was added until there is the caller's to drop
int DecodeForm(std::string_view line, TextPairs* parameters);

// Checks a parameter's name and the number of parameters against the limits; refuses the request when one is exceeded.
bool ParameterAllowed(std::string_view name, size_t count_before);

// Adds the parameters of the URL behind those of the body, once per context.
// @return as DecodeForm
int DecodeQueryOnce(KestCgiCore* core);

}  // namespace kest

#endif  // KEST_HOST_CGI_FORM_DECODE_H_
