#include "host/session/session_text.h"

#include <errno.h>
#include <inttypes.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace kest {
namespace {

constexpr char kHead[] = "kest session 2\n";
constexpr char kTail[] = "end\n";

// Takes "key=value" lines off a text, in the order in which they are asked for. One that is missing or odd spoils all.
class Lines {
 public:
  explicit Lines(const char* text) : at_(text) {}

  bool good() const { return at_ != nullptr; }

  void Skip(const char* literal) {
    const size_t length = strlen(literal);
    if (good()) at_ = strncmp(at_, literal, length) == 0 ? at_ + length : nullptr;
  }

  // A number as FormatSession() writes it, and within its bounds.
  int64_t Number(const char* key, int64_t min = INT64_MIN, int64_t max = INT64_MAX) {
    Skip(key);
    if (!good()) return 0;
    char* end = nullptr;
    errno = 0;
    const long long value = IsPlainNumber() ? strtoll(at_, &end, 10) : 0;
    const bool taken = end != nullptr && errno == 0 && *end == '\n' && value >= min && value <= max;
    at_ = taken ? end + 1 : nullptr;
    return value;
  }

  void Text(const char* key, char* out, size_t size) {
    Skip(key);
    if (!good()) return;
    const size_t length = strcspn(at_, "\n");
    if (length >= size || at_[length] == '\0') {
      at_ = nullptr;
      return;
    }
    memcpy(out, at_, length);
    out[length] = '\0';
    at_ += length + 1;
  }

  int Int(const char* key) { return static_cast<int>(Number(key, INT_MIN, INT_MAX)); }

  bool AtEnd() const { return good() && *at_ == '\0'; }

 private:
  // No blank, no plus sign, no zero in front.
  bool IsPlainNumber() const {
    const bool negative = *at_ == '-';
    const char* const digits = at_ + (negative ? 1 : 0);
    if (*digits == '0') return !negative && digits[1] == '\n';
    return *digits >= '1' && *digits <= '9';
  }

  const char* at_;
};

}  // namespace

size_t FormatSession(const Session& session, char (&text)[kSessionTextBytes]) {
  const ChangeStamp& stamp = session.stamp;
  const int length =
      snprintf(text, sizeof(text),
               "%suid=%d\nexpire_day=%d\nadministrator=%d\nprivilege=%d\ncredential=%" PRId64 "\nlogin_serial=%" PRId64
               "\nnewest_login=%" PRId64 "\ninode=%" PRId64 "\nchanged_ns=%" PRId64 "\nsize_bytes=%" PRId64
               "\nlog_changed_ns=%" PRId64 "\nlog_size_bytes=%" PRId64 "\nremote=%s\nuser=%s\n%s",
               kHead, session.uid, session.expire_day, session.administrator ? 1 : 0, session.privilege,
               session.credential, session.login_serial, session.newest_login, stamp.inode, stamp.changed_ns,
               stamp.size_bytes, stamp.log_changed_ns, stamp.log_size_bytes, session.remote, session.user, kTail);
  return length > 0 && static_cast<size_t>(length) < sizeof(text) ? static_cast<size_t>(length) : 0;
}

bool ParseSession(const char* text, Session* out) {
  Session read = *out;
  Lines lines(text);
  lines.Skip(kHead);
  read.uid = lines.Int("uid=");
  read.expire_day = lines.Int("expire_day=");
  read.administrator = lines.Number("administrator=", 0, 1) == 1;
  read.privilege = lines.Int("privilege=");
  read.credential = lines.Number("credential=");
  read.login_serial = lines.Number("login_serial=");
  read.newest_login = lines.Number("newest_login=");
  read.stamp.inode = lines.Number("inode=");
  read.stamp.changed_ns = lines.Number("changed_ns=");
  read.stamp.size_bytes = lines.Number("size_bytes=");
  read.stamp.log_changed_ns = lines.Number("log_changed_ns=");
  read.stamp.log_size_bytes = lines.Number("log_size_bytes=");
  lines.Text("remote=", read.remote, sizeof(read.remote));
  lines.Text("user=", read.user, sizeof(read.user));
  lines.Skip(kTail);
  if (!lines.AtEnd() || read.user[0] == '\0') return false;
  *out = read;
  return true;
}

}  // namespace kest
