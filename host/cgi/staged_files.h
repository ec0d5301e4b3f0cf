#ifndef KEST_HOST_CGI_STAGED_FILES_H_
#define KEST_HOST_CGI_STAGED_FILES_H_

#include <stdint.h>

#include <deque>
#include <string>
#include <string_view>

#include "host/klib/file_descriptor.h"

namespace kest {

// Files of an upload in the staging directory. A file gets its name only when the whole upload has arrived, so that
// a program that is killed on the way leaves nothing. Named files still there when the object goes are removed; a
// program keeps one by renaming it away.
class StagedFiles {
 public:
  StagedFiles() = default;
  StagedFiles(const StagedFiles&) = delete;
  StagedFiles& operator=(const StagedFiles&) = delete;
  ~StagedFiles() { RemoveAll(); }

  // Begins a new file, mode 0600, that will have a name that nobody can foresee.
  // @return false with errno
  bool Begin(const char* directory);

  // Appends to the file begun last.
  // @return false with errno: the disk is full, ...
  bool Write(std::string_view bytes);

  const std::string& LastPath() const { return files_.back().path; }
  uint64_t LastSize() const { return files_.back().size_bytes; }
  size_t Count() const { return files_.size(); }

  // Gives every file its name.
  // @return false with errno when one of them cannot have it
  bool Publish();

  // Removes all files, named or not.
  void RemoveAll();

 private:
  struct File {
    std::string path;
    FileDescriptor content;
    bool named = false;
    uint64_t size_bytes = 0;
  };
  std::deque<File> files_;
};

}  // namespace kest

#endif  // KEST_HOST_CGI_STAGED_FILES_H_
