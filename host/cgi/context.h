#ifndef KEST_HOST_CGI_CONTEXT_H_
#define KEST_HOST_CGI_CONTEXT_H_

#include <string>

#include "host/cgi/header_queue.h"
#include "host/cgi/staged_files.h"
#include "host/cgi/text_pairs.h"
#include "host/cgi/texts.h"
#include "host/klib/key_value_file.h"
#include "platform/kestcgi.h"

// Everything that the core keeps for one KESTCGI. Most contexts use one member only: a member costs nothing until then.
struct KestCgiCore {
  std::string text_root;
  kest::TextPairs parameters;
  bool query_decoded = false;
  kest::TextPairs cookies;
  kest::HeaderQueue headers;
  kest::KeyValueFile settings;
  kest::KeyValueFile factory_settings;
  kest::Texts texts;
  kest::StagedFiles staged;
};

namespace kest {

// What a context holds, or nullptr for none, an uninitialised or a released one.
inline KestCgiCore* CoreOf(const KESTCGI* ctx) { return ctx == nullptr ? nullptr : ctx->core; }

// Runs the body of a C function: no exception crosses the interface, lack of memory becomes its documented failure.
template <typename Result, typename Body>
Result Guarded(Result failure, Body body) noexcept {
  try {
    return body();
  } catch (...) {
    return failure;
  }
}

}  // namespace kest

#endif  // KEST_HOST_CGI_CONTEXT_H_
