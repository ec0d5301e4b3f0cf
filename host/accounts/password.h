// Password hashes: yescrypt of crypt(3).
#ifndef KEST_HOST_ACCOUNTS_PASSWORD_H_
#define KEST_HOST_ACCOUNTS_PASSWORD_H_

#include <string>

namespace kest {

// Longest password that crypt(3) takes.
constexpr size_t kMaxPasswordBytes = 511;

// A salted hash of a password; empty when the password is empty or too long, or no salt could be had (logged).
std::string HashPassword(const char* password);

// Whether the password belongs to the hash. With an empty hash (an unknown account, or one without a password) the
// answer is no, after the same work as for a real one.
bool PasswordMatches(const char* password, const std::string& hash);

// The hash that stands in where there is none: of a password that nobody knows, as costly as a real one.
const char* NobodysHash();

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_PASSWORD_H_
