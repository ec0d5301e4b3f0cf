#include "host/cgi/form_module.h"

#include <uriparser/Uri.h>

namespace {

const char* Unescape(char* text) { return uriUnescapeInPlaceExA(text, URI_TRUE, URI_BR_DONT_TOUCH); }

}  // namespace

const KestFormModule* KestFormModuleTable(void) {
  static constexpr KestFormModule kTable = {Unescape};
  return &kTable;
}
