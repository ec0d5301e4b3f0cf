#include "account_files.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace site {

namespace {

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

bool MayFetch(const std::vector<std::string>& pieces, const std::string& user) {
  if (pieces.size() < 2 || pieces[0] != "volume1") return false;
  return pieces[1] == "public" || (pieces[1] == "homes" && pieces.size() > 2 && pieces[2] == user);
}

}  // namespace

int FindFile(const std::string& path, const std::string& user, FoundFile& out) {
  const std::vector<std::string> pieces = PiecesOf(path);
  if (!MayFetch(pieces, user)) return EACCES;
  Descriptor at(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
  for (const std::string& piece : pieces) {
    Descriptor next(openat(at.get(), piece.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!next.IsOpen() || fstat(next.get(), &out.info) != 0) return errno;
    if (S_ISLNK(out.info.st_mode)) return EACCES;
    out.parent = std::move(at);
    at = std::move(next);
  }
  out.place = std::move(at);
  out.name = pieces.back();
  return 0;
}

FILE* OpenFile(const FoundFile& file) {
  // Through the kernel's own name for it: opened is what was looked at, and no device or pipe that took its place.
  const std::string self = "/proc/self/fd/" + std::to_string(file.place.get());
  Descriptor opened(open(self.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  FILE* stream = opened.IsOpen() ? fdopen(opened.get(), "rb") : nullptr;
  if (stream != nullptr) opened.Release();
  return stream;
}

}  // namespace site
