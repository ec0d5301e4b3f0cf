// account_mail.cgi: mails an account's name and password to its user.
//
//   GET  action=load[&user=NAME]     {"data": {"user", "recipient", "password"}, "success": true}; the address is the
//   one
//                                    that the account has, if any
//   POST action=apply&user=NAME&recipient=ADDRESS&password=...   sends the mail; answers as load does, or with the
//   failure:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
//
// Passwords are kept as hashes only, so the administrator who has just set one types it; without one the mail says so.
#include <tarvel/webutils.h>

#include <cstring>
#include <memory>
#include <string>

#include "mail_address.h"
#include "name_text.h"
// The library has no call that looks an account up, and does not tell whether a mail was sent: the platform's error
// does.
#include "platform/kestdir.h"
#include "platform/klib.h"
#include "settings_form.h"

namespace {

constexpr char kEvent[] = "account_data";
constexpr int kNoSuchObject = 0x0600;
constexpr unsigned int kNameBytes = 492;
// More is cut off by the library.
constexpr unsigned int kPasswordBytes = 254;

struct FreeUser {
  void operator()(KESTUSER* user) const { KESTUserFree(user); }
};
using User = std::unique_ptr<KESTUSER, FreeUser>;

// Null when there is none; KLIBErrGet() says why.
User FindUser(const std::string& name) {
  KESTUSER* user = nullptr;
  return User(KESTUserGet(name.c_str(), &user) < 0 ? nullptr : user);
}

class AccountMailForm : public site::SettingsForm {
 public:
  int Load() override {
    const std::string name = Value("user");
    if (name.empty()) return Show("", "");
    const User user = FindUser(name);
    return user == nullptr ? RefuseUser() : Show(user->name, user->email == nullptr ? "" : user->email);
  }

 protected:
  int Save() override {
    FormValidator form;
    form.AddTextField("user", kNameBytes, false);
    form.AddTextField("recipient", site::kAddressBytes, false);
    form.AddTextField("password", kPasswordBytes, true);
    if (!form.Validate(*this) || !CheckFurther()) return Fail(nullptr);
    const User user = FindUser(Value("user"));
    if (user == nullptr) return RefuseUser();

    KLIBErrSet(0);
    WebUtils::SendUserInfoMail(user->name, Value("password"), Value("recipient"), kEvent);
    return KLIBErrGet() == 0 ? Show(user->name, Value("recipient")) : Fail("error_mail_failed");
  }

 private:
  // The password is not sent back.
  int Show(const std::string& name, const std::string& recipient) {
    Json::Value data;
    data["user"] = name;
    data["recipient"] = recipient;
    data["password"] = "";
    return Succeed(data);
  }

  int RefuseUser() {
    if (KLIBErrGet() != kNoSuchObject) return Fail("error_accounts_not_read");
    Refuse("user", "error_unknown_account");
    return Fail(nullptr);
  }

  bool CheckFurther() {
    const bool address = site::IsMailAddress(Value("recipient"));
    const bool password = site::IsPlainText(Value("password"));
    if (!address) Refuse("recipient", "error_mail_address");
    if (!password) Refuse("password", "error_field_characters");
    return address && password;
  }
};

}  // namespace

int main() { return AccountMailForm().Run(); }
