#include "host/cgi/request_body.h"

#include <errno.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/cgi/decimal.h"
#include "host/cgi/refusal.h"

namespace kest {
namespace {

const char* Environment(const char* name) {
  const char* const value = getenv(name);
  return value != nullptr ? value : "";
}

// Nothing of this waits: bytes still to come are refused, and those that have come are read. A pipe needs neither.
void DropUnreadBody() {
  if (shutdown(STDIN_FILENO, SHUT_RD) != 0) return;
  char dropped[16 * 1024];
  ssize_t got;
  do {
    got = recv(STDIN_FILENO, dropped, sizeof(dropped), MSG_DONTWAIT);
  } while (got > 0 || (got < 0 && errno == EINTR));
}

}  // namespace

bool RequestHasBody() {
  const char* const method = Environment("REQUEST_METHOD");
  return strcmp(method, "POST") == 0 || strcmp(method, "PUT") == 0;
}

bool RequestIsUpload() {
  constexpr char kType[] = "multipart/form-data";
  const char* type = Environment("CONTENT_TYPE");
  type += strspn(type, " \t");
  if (!RequestHasBody() || strncasecmp(type, kType, strlen(kType)) != 0) return false;
  const char behind = type[strlen(kType)];
  return behind == '\0' || strchr("; \t", behind) != nullptr;
}

bool AnnouncedLength(Limit limit, uint64_t* length) {
  const char* const text = Environment("CONTENT_LENGTH");
  *length = 0;
  if (*text == '\0') {
    // A chunked body reaches a program without its length; reading on until the end would have no bound.
    if (*Environment("HTTP_TRANSFER_ENCODING") == '\0') return true;
    Refuse(RefusalReason::kLengthRequired);
    return false;
  }
  const Decimal kind = ParseDecimal(text, length);
  if (kind == Decimal::kNumber && *length <= LimitOf(limit)) return true;
  Refuse(kind == Decimal::kNone ? RefusalReason::kContentLength : RefusalReason::kBodyTooLarge);
  return false;
}

void DropUnreadBodyAtExit() {
  static bool asked = false;
  if (!asked && RequestHasBody()) atexit(DropUnreadBody);
  asked = true;
}

int BodyReader::Read(char* buffer, size_t size) {
  if (size > INT_MAX) size = INT_MAX;
  if (size > left_) size = static_cast<size_t>(left_);
  if (size == 0) return 0;
  ssize_t got = 0;
  do {
    got = read(STDIN_FILENO, buffer, size);
  } while (got < 0 && errno == EINTR);
  if (got <= 0) {
    Refuse(RefusalReason::kBodyShort);
    return -1;
  }
  left_ -= static_cast<uint64_t>(got);
  return static_cast<int>(got);
}

}  // namespace kest
