#ifndef KEST_HOST_SESSION_SESSION_SETTINGS_H_
#define KEST_HOST_SESSION_SESSION_SETTINGS_H_

namespace kest {

// Setting session_timeout: minutes without activity after which a session ends, 1 to 10080; 15 when absent or anything
// else. In seconds.
int SessionTimeoutSeconds();

// Setting session_single: "yes" when an account's login ends its earlier sessions.
bool OneSessionPerAccount();

}  // namespace kest

#endif  // KEST_HOST_SESSION_SESSION_SETTINGS_H_
