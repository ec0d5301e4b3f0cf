#include "host/accounts/account_database.h"
#include "host/accounts/account_source.h"
#include "host/accounts/hash_slot.h"
#include "host/accounts/password.h"

namespace kest {
namespace {

// The accounts of this machine. Each call opens the database for itself.
class LocalAccounts : public AccountSource {
 public:
  bool Owns(const std::string& name) const override { return name.find('\\') == std::string::npos; }

  Lookup Find(const std::string& name, Account* out) override {
    auto accounts = AccountDatabase::Open();
    return accounts == nullptr ? Lookup::kFailed : accounts->Find(name, out);
  }

  Lookup FindByUid(int uid, Account* out) override {
    auto accounts = AccountDatabase::Open();
    return accounts == nullptr ? Lookup::kFailed : accounts->FindByUid(uid, out);
  }

  PasswordCheck CheckPassword(const std::string& name, const char* password, Account* out) override {
    Account account;
    std::string hash;
    {
      // Closed before the hash is computed: that takes long, and the database is not needed for it.
      auto accounts = AccountDatabase::Open();
      if (accounts == nullptr || accounts->Find(name, &account, &hash) == Lookup::kFailed) {
        return PasswordCheck::kFailed;
      }
    }
    const HashSlot slot;
    if (!slot.held()) return PasswordCheck::kFailed;
    if (!PasswordMatches(password, hash)) return PasswordCheck::kWrong;
    *out = account;
    return PasswordCheck::kRight;
  }
};

}  // namespace

AccountSource& LocalSource() {
  static LocalAccounts local;
  return local;
}

}  // namespace kest
