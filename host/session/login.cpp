// Login and logout.
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <syslog.h>

#include "host/accounts/accounts_module.h"
#include "host/accounts/expiry.h"
#include "host/cgi/context.h"
#include "host/cgi/refusal.h"
#include "host/klib/error_code.h"
#include "host/session/session_file.h"
#include "host/session/session_settings.h"
#include "host/session/session_sweep.h"
#include "platform/kestdir.h"

namespace kest {
namespace {

constexpr int kDone = 1;
constexpr int kBadArguments = 0;
constexpr int kWrong = -1;
constexpr int kAccountClosed = -2;
constexpr int kStoreFailed = -4;

const char* OrEmpty(const char* text) { return text == nullptr ? "" : text; }

// Text of a client as the log may have it: short, and nothing in it that could look like another line.
struct LogText {
  char text[65];
  explicit LogText(const char* from) {
    size_t length = 0;
    for (; from[length] != '\0' && length < sizeof(text) - 1; ++length) {
      const auto byte = static_cast<unsigned char>(from[length]);
      text[length] = byte < 0x20 || byte == 0x7f ? '?' : from[length];
    }
    text[length] = '\0';
  }
};

void LogLogin(int result, const _tag_login_params& params) {
  constexpr const char* kMeanings[] = {"store failed", "too many failures", "account closed", "wrong name or password"};
  const LogText user(params.user);
  const LogText remote(params.remote != nullptr ? params.remote : OrEmpty(getenv("REMOTE_ADDR")));
  if (result == kDone) {
    syslog(LOG_AUTH | LOG_INFO, "login of %s from %s", user.text, remote.text);
  } else if (result < 0) {
    syslog(LOG_AUTH | LOG_NOTICE, "login of %s from %s refused: %s", user.text, remote.text,
           kMeanings[result - kStoreFailed]);
  }
}

// Queues the session cookie; an empty id removes it from the browser.
bool QueueCookie(KESTCGI* ctx, const char* id) {
  CookieToSend cookie{"id", id};
  if (id[0] == '\0') cookie.expires = "Thu, 01 Jan 1970 00:00:00 GMT";
  cookie.path = "/";
  cookie.secure = strcasecmp(OrEmpty(getenv("HTTPS")), "on") == 0;
  cookie.http_only = true;
  cookie.same_site = "Strict";
  return CoreOf(ctx)->headers.AddCookie(cookie);
}

// The address that later requests have to come from is the one that the web server saw; `remote` only stands in for it.
void FillRemote(const _tag_login_params& params, Session* session) {
  const char* seen = getenv("REMOTE_ADDR");
  strncpy(session->remote, seen != nullptr ? seen : OrEmpty(params.remote), sizeof(session->remote) - 1);
  // One line of the file.
  session->remote[strcspn(session->remote, "\n")] = '\0';
}

bool FillAccount(const KestAccountState& account, Session* session) {
  session->uid = account.uid;
  session->expire_day = account.expire_day;
  session->administrator = account.administrator;
  session->privilege = account.privilege;
  session->credential = account.credential;
  session->login_serial = account.login_serial;
  memcpy(session->user, account.name, sizeof(session->user));
  // Counted only where it matters: it changes the accounts' file, and then every session looks its account up again.
  const bool counted = !OneSessionPerAccount() || Accounts()->count_login(account.uid, &session->login_serial) == 1;
  session->newest_login = session->login_serial;
  return counted;
}

// Opens a session for an account that may log in; `id` receives its id. The session that the request came with ends.
int OpenSession(KESTCGI* ctx, const _tag_login_params& params, const KestAccountState& account,
                const ChangeStamp& stamp, char (&id)[kSessionIdLength + 1]) {
  Session session;
  session.stamp = IsSettled(stamp) ? stamp : kNoStamp;
  FillRemote(params, &session);
  if (!PrepareSessionDirectory() || !FillAccount(account, &session)) return kStoreFailed;
  SweepSessions(SessionTimeoutSeconds());
  if (!CreateSession(session, id)) return kStoreFailed;
  if (!QueueCookie(ctx, id)) {
    RemoveSession(id);
    return kStoreFailed;
  }
  const char* before = KestCgiGetInCookies(ctx, "id", nullptr);
  if (IsSessionId(before)) RemoveSession(before);
  return kDone;
}

int Login(KESTCGI* ctx, char* buf, _tag_login_params* params) {
  const KestAccountsModule* accounts = Accounts();
  if (accounts == nullptr) return kStoreFailed;
  const ChangeStamp stamp = ReadChangeStamp();
  KestAccountState account;
  const int checked = accounts->check_login(params->user, params->passwd, &account, &params->delay_s);
  if (checked != kDone) return checked;
  char id[kSessionIdLength + 1];
  const int opened = OpenSession(ctx, *params, account, stamp, id);
  if (opened == kDone) memcpy(buf, id, sizeof(id));
  return opened;
}

int LoginNoAuth(KESTCGI* ctx, const _tag_login_params& params) {
  const KestAccountsModule* accounts = Accounts();
  if (accounts == nullptr) return kStoreFailed;
  const ChangeStamp stamp = ReadChangeStamp();
  KestAccountState account;
  const int found = accounts->find(params.user, &account);
  if (found != 1) return found == 0 ? kWrong : kStoreFailed;
  if (IsExpiredDay(account.expire_day)) return kAccountClosed;
  char id[kSessionIdLength + 1];
  return OpenSession(ctx, params, account, stamp, id);
}

bool MayEnd(const char* id, const char* user) {
  if (user == nullptr || user[0] == '\0') return true;
  Session session;
  const SessionRead read = ReadSession(id, &session);
  if (read == SessionRead::kOk) return KLIBUnicodeUTF8StrCaseCmp(session.user, user) == 0;
  return read != SessionRead::kUnreadable;
}

}  // namespace
}  // namespace kest

int KestCgiLogin(KESTCGI* ctx, char* buf, int size, _tag_login_params* params) {
  if (params == nullptr) return kest::kBadArguments;
  params->delay_s = 0;
  const bool fits = buf != nullptr && size > static_cast<int>(kest::kSessionIdLength);
  if (kest::CoreOf(ctx) == nullptr || !fits || params->user == nullptr || params->passwd == nullptr ||
      kest::CurrentRefusal() != nullptr) {
    return kest::kBadArguments;
  }
  const int result = kest::Guarded(kest::kStoreFailed, [&] { return kest::Login(ctx, buf, params); });
  kest::LogLogin(result, *params);
  return result;
}

int KestCgiLoginNoAuth(KESTCGI* ctx, char*, char*, _tag_login_params* params) {
  if (params == nullptr) return kest::kBadArguments;
  params->delay_s = 0;
  if (kest::CoreOf(ctx) == nullptr || params->user == nullptr || kest::CurrentRefusal() != nullptr) {
    return kest::kBadArguments;
  }
  const int result = kest::Guarded(kest::kStoreFailed, [&] { return kest::LoginNoAuth(ctx, *params); });
  kest::LogLogin(result, *params);
  return result;
}

int KestCgiLogout(KESTCGI* ctx, const char* user) {
  if (kest::CoreOf(ctx) == nullptr) return 0;
  return kest::Guarded(0, [&] {
    const char* id = KestCgiGetInCookies(ctx, "id", nullptr);
    if (kest::IsSessionId(id) && (!kest::MayEnd(id, user) || !kest::RemoveSession(id))) return 0;
    return kest::QueueCookie(ctx, "") ? 1 : 0;
  });
}

int KestCgiGetSessPath(KESTCGI* ctx, char* buf, int size) {
  if (kest::CoreOf(ctx) == nullptr || buf == nullptr || size < 1) return -1;
  const char* id = KestCgiGetInCookies(ctx, "id", nullptr);
  char path[kest::kSessionPathBytes] = "";
  if (kest::IsSessionId(id)) kest::SessionPath(id, path);
  const size_t length = strlen(path);
  if (length >= static_cast<size_t>(size)) return -1;
  memcpy(buf, path, length + 1);
  return static_cast<int>(length);
}

int KestCgiDomValidShareWrite(const char*, const char*) {
  // No domain is joined, so there are no rights of one that could be recorded.
  return kest::FailWith(kest::kErrorNoSuchObject);
}
