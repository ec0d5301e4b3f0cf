#ifndef KEST_HOST_SESSION_SESSION_TEXT_H_
#define KEST_HOST_SESSION_SESSION_TEXT_H_

#include "host/session/session_file.h"

namespace kest {

// Longest content of a session's file.
constexpr size_t kSessionTextBytes = 1024;

// Writes the content. @return its length, 0 when it does not fit
size_t FormatSession(const Session& session, char (&text)[kSessionTextBytes]);

// Reads the content; active_s is left alone. False when it is not exactly what FormatSession() writes.
bool ParseSession(const char* text, Session* out);

}  // namespace kest

#endif  // KEST_HOST_SESSION_SESSION_TEXT_H_
