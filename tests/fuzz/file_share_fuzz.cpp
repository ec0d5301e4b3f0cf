// Paths of the file manager of any bytes, against rules written a second time; paths on the file system against a walk
// from the root, which the library takes from the end.
#include "file_share.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_input.h"

extern "C" void SilentSyslog(int, const char*, ...) __asm__("__wrap_syslog");

namespace {

// A folder of this process with a file, a pipe, folders and links, whose names have one letter.
class Tree {
 public:
  Tree() {
    Require(mkdtemp(path_.data()) != nullptr);
    for (const char* folder : {"/a", "/a/b"}) Require(mkdir((path_ + folder).c_str(), 0700) == 0);
    close(open((path_ + "/a/f").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    Require(mkfifo((path_ + "/p").c_str(), 0600) == 0 && symlink("a", (path_ + "/l").c_str()) == 0);
    Require(symlink("..", (path_ + "/a/u").c_str()) == 0 && symlink("o", (path_ + "/o").c_str()) == 0);
  }
  ~Tree() {
    for (const char* file : {"/a/f", "/a/u", "/p", "/l", "/o"}) unlink((path_ + file).c_str());
    for (const char* folder : {"/a/b", "/a", ""}) rmdir((path_ + folder).c_str());
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_ = "/tmp/fuzzXXXXXX";
};

Tree& TheTree() {
  static Tree tree;
  return tree;
}

// Any bytes as a path among the names of the tree.
std::string InTree(const std::string& text) {
  static constexpr char kLetters[] = "//..abflpuox";
  std::string path = TheTree().path();
  for (const char byte : text) path += kLetters[static_cast<unsigned char>(byte) % (sizeof kLetters - 1)];
  return path;
}

std::vector<std::string> Split(const std::string& path) {
  std::vector<std::string> pieces(1);
  for (const char byte : path) {
    if (byte == '/') {
      pieces.emplace_back();
    } else {
      pieces.back() += byte;
    }
  }
  return pieces;
}

// What counts of a path, without empty components.
std::vector<std::string> Components(const std::string& path) {
  std::vector<std::string> components;
  for (const std::string& piece : Split(path.substr(0, 4094))) {
    if (!piece.empty()) components.push_back(piece);
  }
  return components;
}

bool HasSlash(const std::string& path) { return Split(path).size() > 1; }

// "" stands for none: no component is that.
std::string Taken(char* component) {
  const std::string text = component != nullptr ? component : "";
  std::free(component);
  return text;
}

void CheckComponents(const std::string& path) {
  TarvelFileShare files;
  const std::vector<std::string> components = HasSlash(path) ? Components(path) : std::vector<std::string>();
  Require(Taken(files.WfmLibGetTokOfPath(path.c_str(), TRUE)) == (components.empty() ? "" : components.front()));
  Require(Taken(files.WfmLibGetTokOfPath(path.c_str(), FALSE)) == (components.empty() ? "" : components.back()));
}

char Lower(char byte) { return static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte); }

void CheckHome(const std::string& dir, const std::string& user, bool has_user) {
  bool home = dir == "home" || dir == "/home";
  if (!home && has_user && dir.rfind("/homes", 0) == 0) {
    const std::string own = "/homes/" + user;
    home = dir.size() >= own.size();
    for (size_t i = 0; home && i < own.size(); ++i) home = Lower(dir[i]) == Lower(own[i]);
  } else if (!home) {
    home = dir.rfind("/home/", 0) == 0 && dir != "/home/";
  }
  Require(TarvelFileShare().IsDirUserHome(dir, has_user ? user.c_str() : nullptr) == home);
}

// Shares are all names that do not begin with "x"; their folders have every form. One account has a home.
bool IsShare(const std::string& name) { return name[0] != 'x'; }
std::string FolderOf(const std::string& name) {
  static constexpr const char* kForms[] = {"/volume1/", "/volume2/deep/", "relative/", "/", "//", ""};
  return kForms[name.size() % 6] + name;
}
bool HasHome(const std::string& user) { return user == "anna"; }

void CheckFullPath(const std::string& path, const std::string& user) {
  TarvelFileShare files;
  std::string full, share, volume, folder;
  const int result = files.WfmFullPathGet(path.c_str(), full, share, volume, folder, user);
  const std::vector<std::string> components = Components(path);
  int error = 0;
  std::string expected_folder;
  if (path.empty() || user.empty()) {
    error = 1;
  } else if (!HasSlash(path) || components.empty()) {
    error = 2;
  } else if (components[0] == "home") {
    expected_folder = TheTree().path() + "/a";
    if (!HasHome(user)) error = 2;
  } else {
    expected_folder = FolderOf(components[0]);
    if (!IsShare(components[0])) error = 6;
  }
  Require(result == (error == 0 ? 1 : 0) && files.WfmLibGetErr() == error);
  if (error != 0) return;
  Require(share == components[0] && folder == expected_folder);
  // Slashes and component stand before what is carried over.
  const std::string inside = full.substr(folder.size());
  const std::string before = path.substr(0, path.size() - inside.size());
  Require(full == folder + inside && path == before + inside);
  Require(before == std::string(before.size() - share.size(), '/') + share);
  const std::vector<std::string> pieces = Split(folder);
  Require(volume == (pieces.size() < 3 ? folder : pieces[0] + "/" + pieces[1]));
}

// From the root: a plain file or folder behind each name, and no link.
bool IsSafe(const std::string& path) {
  if (path.empty() || path[0] != '/' || path.size() >= PATH_MAX) return false;
  int at = open("/", O_PATH | O_CLOEXEC);
  bool safe = true, folder = true;
  for (const std::string& name : Split(path.substr(1))) {
    safe = safe && folder && name != "." && name != "..";
    if (!safe || name.empty()) continue;
    const int next = openat(at, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    struct stat info = {};
    folder = next >= 0 && fstat(next, &info) == 0 && S_ISDIR(info.st_mode);
    safe = folder || (next >= 0 && S_ISREG(info.st_mode));
    if (next >= 0) {
      close(at);
      at = next;
    }
  }
  close(at);
  return safe;
}

void CheckSafety(const std::string& path) {
  KLIBErrSet(0);
  const int result = TarvelFileShare().WfmCheckPath(path.c_str());
  Require(result == (IsSafe(path) ? 0 : -1));
  const int error = KLIBErrGet();
  if (result == 0) Require(error == 0);
  if (result != 0 && path[0] == '/') Require(error == 0x600 || error == 0x300 || error == 0x8100);
  Require((error == 0xD00) == (path[0] != '/'));
}

void CheckRealPath(const std::string& path) {
  char expected[PATH_MAX], real[4095];
  struct stat info = {};
  const bool folder = stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
  const BOOL result = TarvelFileShare().WfmLibRealFullPathGet(path.c_str(), real, sizeof real);
  Require((result != FALSE) == folder);
  if (folder) Require(realpath(path.c_str(), expected) != nullptr && std::string(expected) == real);
}

void CheckPermissions(const std::string& bytes) {
  unsigned mode = 0;
  for (const char byte : bytes) mode = mode << 7 ^ static_cast<unsigned char>(byte);
  std::string digits;
  for (const unsigned shift : {6U, 3U, 0U}) digits += static_cast<char>('0' + ((mode >> shift) & 7U));
  Require(TarvelFileShare().GetPrivilege(mode) == std::stoul(digits));
}

}  // namespace

void SilentSyslog(int, const char*, ...) {}

// These stand in the place of the platform's.
int KESTShareGet(const char* name, KESTSHARE** slot) {
  if (!IsShare(name)) return -1;
  *slot = new KESTSHARE{};
  (*slot)->path = strdup(FolderOf(name).c_str());
  return 0;
}

void KESTShareFree(KESTSHARE* share) {
  std::free(share->path);
  delete share;
}

int KESTUserGet(const char* name, KESTUSER** slot) {
  if (!HasHome(name)) return -1;
  *slot = new KESTUSER{};
  (*slot)->home = strdup((TheTree().path() + "/l/./b/..").c_str());
  return 0;
}

void KESTUserFree(KESTUSER* user) {
  std::free(user->home);
  delete user;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const bool has_user = input.Choice(4) != 0;
  const std::string user = input.TextLine();
  const std::string path = input.TextRest();
  // As long as what counts of a path, where one byte more or less matters.
  const std::string padded = std::string(path.size() % 2 != 0 ? 4090 : 0, '/') + path;
  for (const std::string& one : {path, padded, "/" + path, "/home" + path}) {
    CheckComponents(one);
    CheckFullPath(one, user);
    CheckFullPath(one, "anna");
  }
  for (const std::string& one : {path, "/homes/" + path, "/homes/" + user + path, "/home" + path}) {
    CheckHome(one, user, has_user);
  }
  const std::string in_tree = InTree(path);
  CheckSafety(in_tree);
  CheckSafety(path);
  CheckRealPath(in_tree);
  CheckPermissions(path);
  return 0;
}
