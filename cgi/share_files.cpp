#include "share_files.h"

#include <fcntl.h>
#include <tarvel/file_share.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "visible_shares.h"

namespace site {

namespace {

// The library looks no further for a path's first piece.
constexpr size_t kLongestPath = 4094;
constexpr char kHome[] = "home";

// "/a/b" as {"a", "b"}; empty when the path is not written out.
std::vector<std::string> PiecesOf(const std::string& path) {
  std::vector<std::string> pieces;
  if (path.empty() || path[0] != '/') return {};
  for (size_t start = 1; start <= path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    const std::string piece = path.substr(start, end - start);
    if (piece.empty() || piece == "." || piece == "..") return {};
    pieces.push_back(piece);
    start = end + 1;
  }
  return pieces;
}

struct Right {
  WEBFM_SHARE_PRIVILEGE privilege = WEBFM_SHARE_NO_ACCESS;
  int restrictions = 0;
};

// What the list of shares does not show is not opened either: not the folder of all homes, and no share that is locked.
// Whether there is such a share is nobody's business who may not open it.
const FileRefusal* AskRight(const std::string& path, const std::string& share, const std::string& user, Right& out) {
  const auto shown = VisibleShares(user);
  if (!shown) return &kNotRead;
  if (std::find(shown->begin(), shown->end(), share) == shown->end()) return &kNotYours;
  if (share == kHome) {
    // It has no lists: who is shown it owns it.
    out.privilege = WEBFM_SHARE_READ_WRITE;
    return nullptr;
  }
  TarvelFileShare files;
  if (files.WfmLibGetPrivilege(path.c_str(), user.c_str(), "", &out.privilege, &out.restrictions) != 0)
    return &kNotRead;
  return out.privilege == WEBFM_SHARE_NO_ACCESS ? &kNotYours : nullptr;
}

const FileRefusal* CheckUse(const Right& right, Use use) {
  const auto is_forbidden = [&right](int what) { return (right.restrictions & what) != 0; };
  if ((use == Use::kList || use == Use::kFetchAll) && is_forbidden(kListing)) return &kNoListing;
  if ((use == Use::kFetch || use == Use::kFetchAll) && is_forbidden(kFetching)) return &kNoFetching;
  if (use == Use::kChange && right.privilege != WEBFM_SHARE_READ_WRITE) return &kOnlyReading;
  if (use == Use::kChange && is_forbidden(kChanging)) return &kNoChanges;
  return nullptr;
}

// From "/" on, piece by piece, through no link: 0 or an errno. Nothing is opened, so a pipe or a device does not
// notice.
int Walk(const std::string& path, FoundFile& out) {
  Descriptor at(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
  for (const std::string& piece : PiecesOf(path)) {
    Descriptor next(openat(at.get(), piece.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!next.IsOpen() || fstat(next.get(), &out.info) != 0) return errno;
    if (S_ISLNK(out.info.st_mode)) return EACCES;
    out.parent = std::move(at);
    at = std::move(next);
    out.name = piece;
  }
  out.place = std::move(at);
  return out.name.empty() ? EACCES : 0;
}

}  // namespace

const FileRefusal* FindFile(Tarvel& request, const std::string& path, Use use, FoundFile& out) {
  const std::vector<std::string> pieces = PiecesOf(path);
  if (pieces.empty()) return &kNotYours;
  if (path.size() > kLongestPath) return &kMissing;
  const std::string user = request.GetLoginUserName();
  Right right;
  if (const FileRefusal* refusal = AskRight(path, pieces[0], user, right)) return refusal;
  if (const FileRefusal* refusal = CheckUse(right, use)) return refusal;

  TarvelFileShare files;
  std::string full, share, folder;
  if (files.WfmFullPathGet(path.c_str(), full, share, out.volume, folder, user) != 1) return &kMissing;
  // No account may read the lists of accounts and shares: all that they tell has been asked by now.
  const uid_t before = geteuid();
  if (files.WfmLibUGIDSet(request.GetSessionID(), user.c_str()) != 0) return &kNoIdentity;
  // The check looks at names, so what was checked may have changed since: it is the walk that decides what is held, and
  // it tells better why there is nothing.
  const bool is_safe = files.WfmCheckPath(full.c_str()) == 0;
  if (const int error = Walk(full, out)) return &RefusalOf(error);
  if (!is_safe) return &kNoFile;
  out.is_guarded = geteuid() != before;
  out.may_fetch = CheckUse(right, Use::kFetch) == nullptr;
  out.may_change = CheckUse(right, Use::kChange) == nullptr;
  return nullptr;
}

FILE* OpenFile(const FoundFile& file) {
  Descriptor opened(open(file.Self().c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  FILE* stream = opened.IsOpen() ? fdopen(opened.get(), "rb") : nullptr;
  if (stream != nullptr) opened.Release();
  return stream;
}

bool MayMakeFiles(const FoundFile& folder) { return faccessat(folder.place.get(), ".", W_OK | X_OK, AT_EACCESS) == 0; }

}  // namespace site
