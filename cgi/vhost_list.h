// The virtual hosts of the appliance, held by one program at a time: the library's writer must have no other beside it.
#ifndef CGI_VHOST_LIST_H
#define CGI_VHOST_LIST_H

#include <json/value.h>

#include <string>

#include "descriptor.h"

namespace site {

class VHostList {
 public:
  /// The hosts as they are now, for somebody who changes nothing: HTTP hosts first.
  static Json::Value Read();

  /// Waits for its turn, which lasts as long as the object, and reads the hosts.
  ///
  /// @return false when no turn was to be had
  bool TakeTurn();

  /// As they were read.
  const Json::Value& hosts() const { return hosts_; }

  /// Index of a host by what IdOf() tells; the number of hosts when there is none.
  Json::ArrayIndex Find(const std::string& id) const;

  /// What tells a host from all others: "TYPE:PORT:NAME".
  static std::string IdOf(const Json::Value& host);

  /// Hands hosts to the library.
  ///
  /// @return null; otherwise the key of what to say, section "error"
  const char* Write(const Json::Value& hosts);

  /// Puts the hosts back that were read, after a change that came to nothing.
  ///
  /// @param failure  key of why it did, section "error"; null for somebody who says it otherwise
  /// @return `failure`; the key of something worse when they could not be put back
  const char* WriteBack(const char* failure);

 private:
  Descriptor lock_;
  Json::Value hosts_ = Json::arrayValue;
};

}  // namespace site

#endif  // CGI_VHOST_LIST_H
