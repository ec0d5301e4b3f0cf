// Where accounts come from. One interface, so that a directory server can stand beside the local database without the
// sessions or the user functions noticing.
#ifndef KEST_HOST_ACCOUNTS_ACCOUNT_SOURCE_H_
#define KEST_HOST_ACCOUNTS_ACCOUNT_SOURCE_H_

#include <stdint.h>

#include <string>

namespace kest {

// Bits of an account's privileges: the applications that it may use. The lowest belongs to none of them.
struct Application {
  const char* name;
  int bit;
};
constexpr Application kApplications[] = {{"file", 2}, {"audio", 4}, {"download", 8}, {"surveillance", 16}};
constexpr int kEveryApplication = 2 | 4 | 8 | 16;

struct Account {
  std::string name;  // as stored; a login may spell it in another case
  int uid = -1;
  int gid = 100;
  std::string description;
  std::string home;
  std::string shell;
  std::string email;
  int expire_day = -1;  // last valid day since the epoch (UTC); 0 and 1: disabled; negative: never expires
  bool no_password_change = false;
  int attributes = 1;
  int privilege = 3;
  bool administrator = false;
  bool home_is_moving = false;  // or a killed process has left it on its way
  int64_t credential = 0;       // changes with every new password
  int64_t login_serial = 0;     // counts the logins made while an account may have one session only
};

enum class Lookup { kFound, kAbsent, kFailed };
enum class PasswordCheck { kRight, kWrong, kFailed };

class AccountSource {
 public:
  virtual ~AccountSource() = default;

  // Whether names of this form belong to the source, existing or not.
  virtual bool Owns(const std::string& name) const = 0;

  // `out` is filled only when the account is found. Failures are logged by the source.
  virtual Lookup Find(const std::string& name, Account* out) = 0;
  virtual Lookup FindByUid(int uid, Account* out) = 0;

  // Brings what is kept of the source's accounts up to date; kAbsent where there is no such source.
  virtual Lookup Refresh() = 0;

  // An unknown name is kWrong and takes as long as a wrong password. `out` is filled only on kRight.
  virtual PasswordCheck CheckPassword(const std::string& name, const char* password, Account* out) = 0;

  // Right of an account on a shared folder, as the source itself keeps it: 0, and `privilege` is 1 read-only, 2 read
  // and write, anything else none; -2 when the source refuses to tell; another negative value on any other failure.
  // `argument` is the domain argument of KestCgiDomGetPrivilege(). The local source keeps none: there the folder's
  // lists decide.
  virtual int SharePrivilege(const std::string& share, const std::string& name, const std::string& argument,
                             int* privilege) = 0;
};

// The joined domain's source when `name` carries the prefix of a domain that it knows, else the local one.
AccountSource& SourceOf(const std::string& name);

// The sources by themselves.
AccountSource& LocalSource();
AccountSource& DomainSource();

}  // namespace kest

#endif  // KEST_HOST_ACCOUNTS_ACCOUNT_SOURCE_H_
