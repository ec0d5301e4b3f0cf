#ifndef CGI_SHARE_TURN_H
#define CGI_SHARE_TURN_H

#include <string>

#include "descriptor.h"

namespace site {

/// The turn to change one shared folder. Encrypting a full one takes long, and what was loaded before that must not be
/// saved behind it: an old state would make the folder clear again, and old lists would come back. Nobody waits for a
/// turn. It lasts as long as the object.
class ShareTurn {
 public:
  /// @param name  as the share is stored
  explicit ShareTurn(const std::string& name);
  bool IsOpen() const { return is_open_; }

 private:
  Descriptor lock_;
  bool is_open_;
};

}  // namespace site

#endif  // CGI_SHARE_TURN_H
