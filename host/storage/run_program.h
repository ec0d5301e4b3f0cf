#ifndef KEST_HOST_STORAGE_RUN_PROGRAM_H_
#define KEST_HOST_STORAGE_RUN_PROGRAM_H_

namespace kest {

// Runs a program and waits for its end. No shell is involved and nothing is looked up: `arguments[0]` is its path. It
// gets no environment but PATH and LC_ALL, no open file of this process, and /dev/null for its input and outputs; a
// web server would otherwise wait for it.
//
// @param arguments  ended by nullptr
// @param timeout_s  after so many seconds it is killed
// @return its exit status; -1 with errno when it could not be started (ENOENT, EACCES, ...), was ended by a signal
//         (EINTR) or took too long (ETIMEDOUT)
int RunProgram(const char* const* arguments, int timeout_s);

}  // namespace kest

#endif  // KEST_HOST_STORAGE_RUN_PROGRAM_H_
