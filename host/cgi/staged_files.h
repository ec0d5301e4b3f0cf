#ifndef KEST_HOST_CGI_STAGED_FILES_H_
#define KEST_HOST_CGI_STAGED_FILES_H_

#include <string>
#include <vector>

namespace kest {

// Files of an upload in the staging directory. Those still there when the object goes are removed; a program keeps a
// file by renaming it away.
class StagedFiles {
 public:
  StagedFiles() = default;
  StagedFiles(const StagedFiles&) = delete;
  StagedFiles& operator=(const StagedFiles&) = delete;
  ~StagedFiles() { RemoveAll(); }

  // Makes a new file, mode 0600, under a name that nobody can foresee.
  // @return its descriptor, or -1 with errno
  int Create(const char* directory);

  // Path of the file made last.
  const std::string& LastPath() const { return paths_.back(); }

  size_t Count() const { return paths_.size(); }

  // Removes the files behind the first `count`.
  void RemoveFrom(size_t count);
  void RemoveAll() { RemoveFrom(0); }

 private:
  std::vector<std::string> paths_;
};

}  // namespace kest

#endif  // KEST_HOST_CGI_STAGED_FILES_H_
