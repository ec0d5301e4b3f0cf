// What accounts and groups may be called, and what the texts of their records may hold.
#ifndef KEST_HOST_ACCOUNTS_ACCOUNT_NAME_H_
#define KEST_HOST_ACCOUNTS_ACCOUNT_NAME_H_

#include <string>

namespace kest {

// Longest new name, in bytes: a login name of the system and the folder of a home hold no more.
constexpr size_t kMaxNewNameBytes = 255;
// Longest text of a record, in bytes.
constexpr size_t kMaxTextBytes = 4096;

// Whether a new account or group may have this name: 1 to 255 bytes of UTF-8 without control characters, without
// , : @ \ / " and without a blank at either end, not beginning with "-", and neither "." nor "..".
bool IsDirectoryName(const std::string& name);

// Whether the system itself has an account of this name (in /etc/passwd, with a number below 1000 or that of nobody):
// its rights are not to be had by choosing a name.
bool IsSystemAccount(const std::string& name);

// Where the home of an account lies unless somebody has chosen another place, and its shell.
std::string UsualHome(const std::string& name);
constexpr char kUsualShell[] = "/sbin/nologin";

// A description: UTF-8 of at most 4096 bytes.
bool IsText(const std::string& text);

// A text of one line: no control characters.
bool IsLine(const std::string& text);

// An absolute path that fits into one field of a line of accounts: no ":" and no control character.
bool IsPathField(const std::string& path);

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_ACCOUNT_NAME_H_
