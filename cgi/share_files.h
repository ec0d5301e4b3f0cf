// Files and folders of the shares, as the account of a request may reach them.
#ifndef CGI_SHARE_FILES_H
#define CGI_SHARE_FILES_H

#include <sys/stat.h>
#include <tarvel/tarvel.h>

#include <cstdio>
#include <string>

#include "descriptor.h"
#include "file_refusal.h"

namespace site {

/// The transfer restrictions of a share: what is set is forbidden.
inline constexpr int kListing = 1, kChanging = 2, kFetching = 4;

/// What a program is about to do.
enum class Use { kList, kFetch, kFetchAll, kChange };

/// What a path names. The file itself is held, not its name: whatever happens to the path meanwhile, it stays this one.
struct FoundFile {
  Descriptor place;   // O_PATH: of a file of any kind, without having opened it
  Descriptor parent;  // O_PATH: the folder that holds it
  std::string name;   // the last piece of its path on the volume
  std::string volume;
  struct stat info = {};
  bool may_fetch = false;   // by the rules of the share
  bool may_change = false;  // by the rules of the share
  bool is_guarded = false;  // the process has an id of the account's own, so the kernel judges, too

  /// The kernel's own name for it, as long as it is held: what is opened through it is what was looked at.
  std::string Self() const { return "/proc/self/fd/" + std::to_string(place.get()); }
};

/// Finds a path as the account of the request, whose identity the process takes on for good: what the lists of the
/// share do not forbid the kernel may still.
///
/// @param request  allowed by IsAuthorized()
/// @param path     "/SHARE/...", or "/home/..." in the account's own folder; written out: no empty piece, no "." and
///                 no "..". No link is followed, wherever it leads
/// @return null when it is found; otherwise why not
const FileRefusal* FindFile(Tarvel& request, const std::string& path, Use use, FoundFile& out);

/// Opens a regular file for reading.
///
/// @return null, and errno, when it cannot be opened
FILE* OpenFile(const FoundFile& file);

/// Whether the kernel lets the process make files in a folder, as far as can be told before; errno says why not.
bool MayMakeFiles(const FoundFile& folder);

}  // namespace site

#endif  // CGI_SHARE_FILES_H
