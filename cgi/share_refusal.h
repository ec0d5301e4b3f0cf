// Why a shared folder is not made, named or stored as somebody wants it: keys of the section "error".
#ifndef CGI_SHARE_REFUSAL_H
#define CGI_SHARE_REFUSAL_H

#include <string>

namespace site {

/// @return null when a share may be made under that name
const char* RefusalOfNewName(const std::string& name);

/// @return null when the share may be renamed
const char* RefusalOfRename(const std::string& from, const std::string& to);

/// @return null when it may be the description of a share
const char* RefusalOfDescription(std::string text);

/// After a Save() or a SetEncryption() that failed. Before it KLIBErrSet(0) was called.
const char* WhyNotSaved();

/// After a share could not be loaded.
const char* WhyNotLoaded();

}  // namespace site

#endif  // CGI_SHARE_REFUSAL_H
