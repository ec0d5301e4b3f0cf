#ifndef CGI_PROGRAM_STREAM_H
#define CGI_PROGRAM_STREAM_H

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <vector>

namespace site {

/// A program of the machine, run beside this one, whose standard output is read here as a stream. It is started by its
/// path with a list of arguments: no shell, and an environment of its own.
class ProgramStream {
 public:
  /// Starts it. Without success `stream()` is null and `errno` says why.
  ///
  /// @param arguments  the first is the path
  /// @param folder     descriptor of the folder that it works in; -1 is that of this process
  explicit ProgramStream(std::vector<std::string> arguments, int folder = -1);
  ~ProgramStream();
  ProgramStream(const ProgramStream&) = delete;
  ProgramStream& operator=(const ProgramStream&) = delete;

  FILE* stream() const { return stream_; }

  /// Closes the stream, which ends the program if it still writes, and waits for it.
  ///
  /// @return whether it wrote everything and ended well
  bool Finish();

 private:
  FILE* stream_ = nullptr;
  pid_t process_ = -1;
};

}  // namespace site

#endif  // CGI_PROGRAM_STREAM_H
