// The files of the volume that an account may fetch: everybody's in /volume1/public, its own in /volume1/homes/NAME.
#ifndef CGI_ACCOUNT_FILES_H
#define CGI_ACCOUNT_FILES_H

#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "descriptor.h"

namespace site {

/// What a path names. The file itself is held, not its name: whatever happens to the path meanwhile, it stays this one.
struct FoundFile {
  Descriptor place;   // O_PATH: of a file of any kind, without having opened it
  Descriptor parent;  // O_PATH: the folder that holds it
  std::string name;
  struct stat info;
};

/// Finds a path as an account may: from "/" on, piece by piece, through no link.
///
/// @param path  absolute and written out: begins with one of the two folders; no empty piece, no "." and no ".."
/// @param user  the account
/// @return 0; EACCES for a path that is not written so, not the account's, or leads through or to a link; otherwise the
///         errno of what could not be found
int FindFile(const std::string& path, const std::string& user, FoundFile& out);

/// Opens a regular file for reading.
///
/// @return null, and errno, when it cannot be opened
FILE* OpenFile(const FoundFile& file);

}  // namespace site

#endif  // CGI_ACCOUNT_FILES_H
