#ifndef CGI_VISIBLE_SHARES_H
#define CGI_VISIBLE_SHARES_H

#include <optional>
#include <string>
#include <vector>

namespace site {

/// The names of the shares that an account may open, sorted, "home" among them when it has one. A home folder that is
/// not there yet is made, so this is asked before the process takes on the account's identity.
///
/// @return nothing when they cannot be told
std::optional<std::vector<std::string>> VisibleShares(const std::string& user);

}  // namespace site

#endif  // CGI_VISIBLE_SHARES_H
