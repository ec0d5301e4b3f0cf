// Session files that something else may have written: read is only what this platform writes, byte for byte.
#include "host/session/session_text.h"

#include <cstring>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const std::string id = input.TextLine();
  if (kest::IsSessionId(id.c_str())) {
    Require(id.size() == kest::kSessionIdLength && id.find_first_not_of("0123456789abcdef") == std::string::npos);
  }
  const std::string text = input.TextRest();
  kest::Session session;
  if (!kest::ParseSession(text.c_str(), &session)) return 0;
  Require(memchr(session.user, '\0', sizeof(session.user)) != nullptr);
  Require(memchr(session.remote, '\0', sizeof(session.remote)) != nullptr);
  char again[kest::kSessionTextBytes];
  Require(kest::FormatSession(session, again) == text.size() && text == again);
  return 0;
}
