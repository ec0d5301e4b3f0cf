// The request's parameters as one undecoded line.
#include <stdlib.h>
#include <string.h>

#include <memory>

#include "host/cgi/context.h"
#include "host/cgi/refusal.h"
#include "host/cgi/request_body.h"

namespace {

struct FreeText {
  void operator()(char* text) const { free(text); }
};
using HeapText = std::unique_ptr<char, FreeText>;

// The body as a text, or null when the request is refused.
HeapText ReadBody() {
  uint64_t length = 0;
  if (!kest::AnnouncedLength(kest::Limit::kBodyBytes, &length)) return nullptr;
  HeapText text(static_cast<char*>(malloc(static_cast<size_t>(length) + 1)));
  if (text == nullptr) return nullptr;
  kest::BodyReader body(length);
  size_t done = 0;
  while (done < length) {
    const int got = body.Read(text.get() + done, static_cast<size_t>(length) - done);
    if (got < 0) return nullptr;
    done += static_cast<size_t>(got);
  }
  text.get()[done] = '\0';
  if (memchr(text.get(), '\0', done) != nullptr) {
    kest::Refuse(kest::RefusalReason::kNulByte);
    return nullptr;
  }
  return text;
}

// The body of this process's request, read when first asked for: standard input gives it once only.
const char* Body() {
  static bool asked = false;
  static char* body = nullptr;
  if (!asked) body = ReadBody().release();
  asked = true;
  return body;
}

bool HasQuery() {
  const char* const method = getenv("REQUEST_METHOD");
  return method != nullptr && (strcmp(method, "GET") == 0 || strcmp(method, "HEAD") == 0);
}

const char* Line() {
  if (kest::RequestIsUpload() || kest::CurrentRefusal() != nullptr) return nullptr;
  if (kest::RequestHasBody()) return Body();
  return HasQuery() ? getenv("QUERY_STRING") : nullptr;
}

}  // namespace

char* KestCgiGetParamLine(void) {
  return kest::Guarded<char*>(nullptr, [] {
    const char* const line = Line();
    return line == nullptr ? nullptr : strdup(line);
  });
}

int KestCgiIsUploadRequest(void) { return kest::RequestIsUpload() ? 1 : 0; }
