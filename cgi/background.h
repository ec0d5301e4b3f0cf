// Work that goes on after its request has been answered, one piece of a kind at a time.
#ifndef CGI_BACKGROUND_H
#define CGI_BACKGROUND_H

#include <functional>
#include <string>

#include "descriptor.h"

namespace site {

/// A kind of work. Whoever has taken it has it until the last process that shares this object has ended, however it
/// ends: a process that was killed leaves nothing behind that would have to be cleared away.
class WorkLock {
 public:
  /// @param name  of the work: letters, digits and "_"
  explicit WorkLock(const std::string& name);

  /// @return false when somebody else has it, or when it cannot be had (errno: EAGAIN for the former)
  bool Take();

  /// Looks without taking.
  bool IsTaken() const;

  int descriptor() const { return file_.get(); }

 private:
  Descriptor file_;
};

/// Runs `work` in a process of its own, which belongs neither to this one nor to the web server's session: it goes on
/// when the request is over, and the server does not wait for it. Of the open files it keeps the lock alone.
///
/// @return false when no process could be made
bool RunInBackground(const WorkLock& lock, const std::function<void()>& work);

}  // namespace site

#endif  // CGI_BACKGROUND_H
