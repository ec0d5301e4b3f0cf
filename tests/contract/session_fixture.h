#ifndef TESTS_CONTRACT_SESSION_FIXTURE_H_
#define TESTS_CONTRACT_SESSION_FIXTURE_H_

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/kestcgi.h"
#include "system_log.h"

/// A client between two requests: where it is, and what its browser keeps.
struct Client {
  std::string address = "192.0.2.7";
  std::string cookie;  ///< value of HTTP_COOKIE; "" sends none
  bool https = false;

  std::string Id() const { return cookie.compare(0, 3, "id=") == 0 ? cookie.substr(3) : ""; }
  static Client With(const std::string& cookie) { return Client{"192.0.2.7", cookie, false}; }
};

/// What one request came to. Lives in memory shared with the process of the request.
struct Answer {
  int result;
  char user[493];
  CgiAuthRequest request;
  int delay_s;
  char id[64];
  char headers[2048];      ///< header block that the request would send
  bool opened_accounts;    ///< the accounts' database was opened meanwhile, by whomever
  bool refused_to_answer;  ///< the process died
};

/// Fresh accounts, no sessions, settings of the test's own. Each request is a process of its own, as on the appliance.
///
/// How accounts are made, where sessions lie and how the time of their last activity is kept is this platform's; what
/// is asked and answered is every platform's.
class SessionTest : public ::testing::Test {
 protected:
  static constexpr char kSessions[] = "/usr/kest/var/session";
  static constexpr char kAccounts[] = "/usr/kest/etc/accounts.db";
  static constexpr char kFailures[] = "/usr/kest/var/login_failures.db";

  void SetUp() override;

  /// Runs kestaccount; the password goes to its standard input.
  static int Account(const std::vector<std::string>& arguments, const std::string& password = "");
  /// Puts these lines into the settings.
  static void Settings(const std::string& lines);

  /// Runs `body` as a request of the client.
  static Answer Request(const Client& client, const std::function<void(KESTCGI*, Answer*)>& body);
  static Answer Login(const Client& client, const char* user, const char* passwd);
  static Answer Check(const Client& client, _tag_cgi_position position = KEST_CGI_POSITION_ACCOUNT, int mode = 1);
  static Answer Logout(const Client& client, const char* user);

  /// A client that is logged in. Passwords of the fixture's accounts are "pw-" and the name.
  static Client LoggedIn(const char* user);

  /// As if nobody had ever given a wrong password.
  static void ForgetFailures();

  /// Moves the session's last activity, seconds into the past (or, negative, into the future).
  static void Age(const Client& client, int seconds);
  static int64_t LastActivity(const Client& client);
  static std::string SessionPath(const Client& client) { return std::string(kSessions) + "/" + client.Id(); }
  /// Whether a session that had so many seconds left has them still, but for those that a busy machine takes for a
  /// request.
  static ::testing::AssertionResult IsAbout(int seconds, int left);
  /// Number of entries of the session directory.
  static size_t SessionCount();

  SystemLog log_;
};

#endif  // TESTS_CONTRACT_SESSION_FIXTURE_H_
