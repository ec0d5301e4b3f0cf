#include "host/accounts/account_database.h"
#include "host/accounts/account_source.h"
#include "host/accounts/directory.h"
#include "host/accounts/hash_slot.h"
#include "host/accounts/password.h"

namespace kest {
namespace {

// The accounts of this machine.
class LocalAccounts : public AccountSource {
 public:
  bool Owns(const std::string& name) const override { return name.find('\\') == std::string::npos; }

  Lookup Find(const std::string& name, Account* out) override {
    auto directory = Directory();
    return directory == nullptr ? Lookup::kFailed : AccountDatabase(directory).Find(name, out);
  }

  Lookup FindByUid(int uid, Account* out) override {
    auto directory = Directory();
    return directory == nullptr ? Lookup::kFailed : AccountDatabase(directory).FindByUid(uid, out);
  }

  // Nothing is kept of them.
  Lookup Refresh() override { return Lookup::kFound; }

  PasswordCheck CheckPassword(const std::string& name, const char* password, Account* out) override {
    Account account;
    std::string hash;
    auto directory = Directory();
    if (directory == nullptr || AccountDatabase(directory).Find(name, &account, &hash) == Lookup::kFailed) {
      return PasswordCheck::kFailed;
    }
    const HashSlot slot;
    if (!slot.held()) return PasswordCheck::kFailed;
    if (!PasswordMatches(password, hash)) return PasswordCheck::kWrong;
    *out = account;
    return PasswordCheck::kRight;
  }

  int SharePrivilege(const std::string&, const std::string&, const std::string&, int*) override { return -1; }
};

}  // namespace

AccountSource& LocalSource() {
  static LocalAccounts local;
  return local;
}

}  // namespace kest
