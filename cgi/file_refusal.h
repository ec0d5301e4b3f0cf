// How the programs of the file manager refuse.
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

inline constexpr FileRefusal kNotYours = {"403 Forbidden", "error_not_yours"};
inline constexpr FileRefusal kNoListing = {"403 Forbidden", "error_no_listing"};
inline constexpr FileRefusal kNoFetching = {"403 Forbidden", "error_no_fetching"};
inline constexpr FileRefusal kNoChanges = {"403 Forbidden", "error_no_changes"};
inline constexpr FileRefusal kOnlyReading = {"403 Forbidden", "error_only_reading"};
inline constexpr FileRefusal kNoFile = {"403 Forbidden", "error_no_file"};
inline constexpr FileRefusal kNoFolder = {"403 Forbidden", "error_no_folder"};
inline constexpr FileRefusal kVolumeLocked = {"403 Forbidden", "error_volume_locked"};
inline constexpr FileRefusal kMissing = {"404 Not Found", "error_missing"};
inline constexpr FileRefusal kTaken = {"409 Conflict", "error_taken"};
inline constexpr FileRefusal kNoName = {"400 Bad Request", "error_no_name"};
inline constexpr FileRefusal kNoRoom = {"507 Insufficient Storage", "error_no_room"};
inline constexpr FileRefusal kNotRead = {"500 Internal Server Error", "error_not_read"};
inline constexpr FileRefusal kNotWritten = {"500 Internal Server Error", "error_not_written"};
inline constexpr FileRefusal kNoIdentity = {"500 Internal Server Error", "error_no_identity"};

/// The refusal for the errno of what could not be found, opened or read.
inline const FileRefusal& RefusalOf(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case ELOOP:
      return kNotYours;
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
      return kMissing;
    default:
      return kNotRead;
  }
}

/// The refusal for the errno of what could not be made in a folder that was found.
inline const FileRefusal& RefusalOfChange(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
      return kOnlyReading;
    case EROFS:
      return kVolumeLocked;
    case EEXIST:
      return kTaken;
    case ENOENT:
      return kMissing;
    case EINVAL:
    case ENAMETOOLONG:
      return kNoName;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return kNoRoom;
    default:
      return kNotWritten;
  }
}

inline int RefuseFile(Tarvel& request, const FileRefusal& refusal) {
  request.AddHeader("Status", refusal.status);
  return Refuse(request, "files", refusal.key);
}

}  // namespace site

#endif  // CGI_FILE_REFUSAL_H
