#ifndef KEST_KLIB_RUN_PROGRAM_H_
#define KEST_KLIB_RUN_PROGRAM_H_

#include <string>

namespace kest {

// Runs a program and waits for its end. No shell is involved and nothing is looked up: `arguments[0]` is its path. It
// gets no environment but PATH and LC_ALL, and no open file of this process but those that are given to it: a web
// server would otherwise wait for it.
//
// @param arguments  ended by nullptr
// @param timeout_s  after so many seconds it is killed
// @param input      an open file, read from where it stands, as its standard input; negative: /dev/null
// @param output     an open file as its standard output; negative: /dev/null
// @return its exit status; -1 with errno when it could not be started (ENOENT, EACCES, ...), was ended by a signal
//         (EINTR) or took too long (ETIMEDOUT)
int RunProgram(const char* const* arguments, int timeout_s, int input = -1, int output = -1);

// The same, without input.
// @param output  receives what the program printed, 1 MiB at most (else EFBIG); untouched with -1
int ReadProgram(const char* const* arguments, int timeout_s, std::string* output);

}  // namespace kest

#endif  // KEST_KLIB_RUN_PROGRAM_H_
