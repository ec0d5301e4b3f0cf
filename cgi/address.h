// The parameters in the address of a request whose body has not been read yet.
#ifndef CGI_ADDRESS_H
#define CGI_ADDRESS_H

#include <string>

// The library reads those of an upload together with its body only.
#include "platform/kestcgi.h"

namespace site {

class Address {
 public:
  Address() {
    char no_line[] = "";
    KestCgiInit("", &context_);
    KestCgiParseCGIParam(&context_, no_line);
  }
  ~Address() { KestCgiFree(&context_); }
  Address(const Address&) = delete;
  Address& operator=(const Address&) = delete;

  /// The value of a parameter; "" when it is absent.
  std::string Get(const char* name) const { return KestCgiGetCGIParam(&context_, name, ""); }

 private:
  // Asked for a value the platform takes it as changeable.
  mutable KESTCGI context_;
};

}  // namespace site

#endif  // CGI_ADDRESS_H
