// How the programs that look at files refuse one.
#ifndef CGI_FILE_REFUSAL_H
#define CGI_FILE_REFUSAL_H

#include <cerrno>

#include "reply.h"

namespace site {

/// A refusal's status and the key of its words, section "files".
struct FileRefusal {
  const char* status;
  const char* key;
};

/// The refusal for the errno of what could not be found or opened.
inline FileRefusal RefusalOf(int error) {
  switch (error) {
    case EACCES:
      return {"403 Forbidden", "error_not_yours"};
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
      return {"404 Not Found", "error_missing"};
    default:
      return {"500 Internal Server Error", "error_not_read"};
  }
}

inline constexpr FileRefusal kNoFile = {"403 Forbidden", "error_no_file"};
inline constexpr FileRefusal kNoFolder = {"403 Forbidden", "error_no_folder"};

inline int RefuseFile(Tarvel& request, const FileRefusal& refusal) {
  request.AddHeader("Status", refusal.status);
  return Refuse(request, "files", refusal.key);
}

}  // namespace site

#endif  // CGI_FILE_REFUSAL_H
