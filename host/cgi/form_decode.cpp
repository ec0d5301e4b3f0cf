#include "host/cgi/form_decode.h"

#include <microhttpd.h>
#include <stdlib.h>
#include <string.h>

#include "host/cgi/context.h"
#include "host/cgi/refusal.h"
#include "host/cgi/request_body.h"

namespace kest {
namespace {

// Unescapes a piece in place: "+" is a blank, %XX a byte, once only; what is no such escape stays as it is.
// @return false when it holds a NUL
bool Unescape(char* piece) {
  for (char* plus = strchr(piece, '+'); plus != nullptr; plus = strchr(plus, '+')) *plus = ' ';
  if (strchr(piece, '%') == nullptr) return true;
  const size_t bytes = MHD_http_unescape(piece);
  if (bytes == strlen(piece)) return true;
  Refuse(RefusalReason::kNulByte);
  return false;
}

// Decodes one "name=value", a text of the table's own.
bool AddPair(char* piece, TextPairs* parameters) {
  char* value = strchr(piece, '=');
  if (value == nullptr) {
    value = piece + strlen(piece);
  } else {
    *value++ = '\0';
  }
  if (!Unescape(piece) || !Unescape(value)) return false;
  const std::string_view name = piece;
  if (name.empty()) return true;
  if (!ParameterAllowed(name, parameters->Count())) return false;
  parameters->Add(name, value);
  return true;
}

}  // namespace

bool ParameterAllowed(std::string_view name, size_t count_before) {
  if (name.size() > LimitOf(Limit::kNameBytes)) {
    Refuse(RefusalReason::kNameTooLong);
  } else if (count_before >= LimitOf(Limit::kPairs)) {
    Refuse(RefusalReason::kTooManyParameters);
  } else {
    return true;
  }
  return false;
}

int DecodeForm(std::string_view line, TextPairs* parameters) {
  const size_t before = parameters->Count();
  char* piece = parameters->Keep(line);
  while (piece != nullptr) {
    char* const end = strchr(piece, '&');
    if (end != nullptr) *end = '\0';
    if (!AddPair(piece, parameters)) return -1;
    piece = end == nullptr ? nullptr : end + 1;
  }
  return static_cast<int>(parameters->Count() - before);
}

int DecodeQueryOnce(KestCgiCore* core) {
  const char* const query = getenv("QUERY_STRING");
  if (core->query_decoded || query == nullptr) return 0;
  core->query_decoded = true;
  return DecodeForm(query, &core->parameters);
}

}  // namespace kest

int KestCgiParseCGIParam(KESTCGI* ctx, char* line) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr || line == nullptr) return -1;
  return kest::Guarded(-1, [&] {
    const size_t before = core->parameters.Count();
    int added = kest::DecodeForm(line, &core->parameters);
    // Behind the body, so that its parameters win over those of the same name in the URL.
    if (added >= 0 && kest::RequestHasBody()) {
      const int more = kest::DecodeQueryOnce(core);
      added = more < 0 ? more : added + more;
    }
    if (added < 0) core->parameters.Truncate(before);
    return added;
  });
}

const char* KestCgiGetCGIParam(KESTCGI* ctx, const char* name, const char* def) {
  const KestCgiCore* const core = kest::CoreOf(ctx);
  const char* const value = core == nullptr || name == nullptr ? nullptr : core->parameters.Find(name);
  return value != nullptr ? value : def;
}
