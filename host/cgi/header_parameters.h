#ifndef KEST_HOST_CGI_HEADER_PARAMETERS_H_
#define KEST_HOST_CGI_HEADER_PARAMETERS_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kest {

// A header value of the form  type; name=value; name="value"  taken apart.
struct HeaderParameters {
  std::string type;                                             // lower case
  std::vector<std::pair<std::string, std::string>> parameters;  // names in lower case

  // The value of a parameter that is there exactly once, else nullptr.
  const std::string* Find(std::string_view name) const;

  bool Has(std::string_view name) const;
};

// Inside quotes a backslash escapes a quote and nothing else: browsers send the backslashes of a path as they are.
// A ";" at the very end is accepted.
// @return false when the value has not this form
bool ParseHeaderParameters(std::string_view text, HeaderParameters* out);

}  // namespace kest

#endif  // KEST_HOST_CGI_HEADER_PARAMETERS_H_
