// user.cgi: one account, a new one or one that is there.
//
//   GET  action=load[&user=NAME]   {"data": {field: value, ...}, "success": true}; without a name what a new one starts
//                                  with
//   POST action=apply&change=save&user=NAME&version=...&name=...&...
//                                  makes an account, or changes the one of that name; "version" is what load told.
//                                  "mail" = "on" mails the new password, and "mailed" in the answer tells whether it
//                                  could be handed over
//   POST action=apply&change=disable|enable&user=NAME
//                                  enabling also ends an expiry
//
// A change answers what load answers, or with the failure:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
//
// "state" is "normal", "disabled" or "until", with the last day in "until" as YYYY/MM/DD.
#include <tarvel/webutils.h>

#include <string>
#include <vector>

#include "directory_form.h"
#include "mail_address.h"
#include "name_text.h"
// The library counts no characters.
#include "platform/klib.h"

namespace {

constexpr char kEvent[] = "account_data";
constexpr int kNever = -1;
constexpr int kDisabled = 1;
constexpr unsigned int kPasswordBytes = 511;
// More of it is cut off in the mail.
constexpr size_t kMailedBytes = 254;
// As NIST SP 800-63B has it for passwords that people choose.
constexpr int kPasswordCharacters = 8;

// Applications and their bits in an account's privileges, as the banner's links ask for them.
struct Application {
  const char* field;
  int bit;
};
constexpr Application kApplications[] = {
    {"app_file", 2}, {"app_audio", 4}, {"app_download", 8}, {"app_surveillance", 16}};

constexpr site::SaveFailures kFailures = {"error_name_taken", "error_directory_name", "error_account_gone",
                                          "error_account_needed", "error_account_not_saved"};

const char* OnOff(bool on) { return on ? "on" : "off"; }

std::string VersionOf(const SDK::User& user) {
  return site::VersionOf({user.GetName(), user.GetDesc(), user.GetEmail(), std::to_string(user.GetExpire()),
                          std::to_string(user.GetAppPrivilege()), OnOff(user.IsDisallowChPasswd())});
}

const char* StateOf(const SDK::User& user) {
  if (user.GetExpire() < 0) return "normal";
  return user.GetExpire() <= kDisabled ? "disabled" : "until";
}

class UserForm : public site::DirectoryForm {
 public:
  int Load() override {
    const std::string name = Value("user");
    const site::User user(name.empty() ? new SDK::User("") : SDK::User::LoadUser(name));
    return user == nullptr ? FailToLoad() : Show(*user, name, nullptr);
  }

 protected:
  int Save() override {
    const site::DirectoryTurn turn;
    if (!turn.IsOpen()) return Fail("error_account_not_saved");
    const std::string change = Value("change");
    if (change == "save") return SaveForm();
    if (Value("user").empty() || (change != "disable" && change != "enable")) return Fail("error_unknown_action");
    const site::User user(SDK::User::LoadUser(Value("user")));
    if (user == nullptr) return FailToLoad();
    user->SetExpire(change == "disable" ? kDisabled : kNever);
    if (user->IsExpired() && IsOwn(*user)) return Fail("error_own_account");
    return user->Save() ? Show(*user, user->GetName(), nullptr) : Fail(site::WhyNotSaved(kFailures));
  }

 private:
  bool IsOn(const char* field) { return Value(field) == "on"; }

  // Whoever administers the appliance must not shut himself out by a slip: somebody else can do it.
  bool IsOwn(const SDK::User& user) { return site::IsSameName(user.GetName(), request.GetLoginUserName()); }

  int FailToLoad() { return Fail(site::WhyNotFound("error_account_gone", "error_accounts_not_read")); }

  // The password is not sent back. `mailed` is null when nothing was to be mailed.
  int Show(SDK::User& user, const std::string& stored, const char* mailed) {
    Json::Value data;
    data["user"] = stored;
    data["name"] = user.GetName();
    data["description"] = user.GetDesc();
    data["email"] = user.GetEmail();
    data["state"] = StateOf(user);
    data["until"] = user.GetExpiredDate();
    data["password"] = data["password_again"] = "";
    data["mail"] = "off";
    data["keep_password"] = OnOff(user.IsDisallowChPasswd());
    for (const Application& application : kApplications) {
      data[application.field] = OnOff((user.GetAppPrivilege() & application.bit) != 0);
    }
    data["version"] = VersionOf(user);
    if (mailed != nullptr) data["mailed"] = mailed;
    return Succeed(data);
  }

  int SaveForm() {
    if (!IsEachFieldRight()) return Fail(nullptr);
    const std::string stored = Value("user");
    const site::User user(stored.empty() ? new SDK::User(Value("name")) : SDK::User::LoadUser(stored));
    if (user == nullptr) return FailToLoad();
    if (!stored.empty() && VersionOf(*user) != Value("version")) return Fail("error_account_changed");
    if (!Fill(*user)) return Fail(nullptr);
    return user->Save() ? Tell() : FailToSave(kFailures);
  }

  bool IsEachFieldRight() {
    FormValidator form;
    const std::vector<std::string> on_off = {"on", "off"};
    form.AddTextField("name", site::kNameBytes, false);
    form.AddTextField("description", site::kDescriptionBytes, true);
    form.AddTextField("email", site::kAddressBytes, true);
    form.AddTextField("password", kPasswordBytes, true);
    form.AddTextField("password_again", true);
    form.AddStringList("state", {"normal", "disabled", "until"});
    if (Value("state") == "until") form.AddDateTimeField("until", nullptr);
    for (const char* field : {"mail", "keep_password"}) form.AddStringList(field, on_off);
    for (const Application& application : kApplications) form.AddStringList(application.field, on_off);
    return form.Validate(*this);
  }

  // Takes the fields over; each that cannot be is recorded, and the account is not to be saved then.
  bool Fill(SDK::User& user) {
    const bool is_own = IsOwn(user);
    FillName(user);
    Demand(site::IsPlainText(Value("description")), "description", "error_field_characters");
    user.SetDesc(Value("description"));
    const std::string email = Value("email");
    Demand(email.empty() || site::IsMailAddress(email), "email", "error_mail_address");
    user.SetEmail(email);
    FillState(user, is_own);
    FillPassword(user);
    user.SetDisallowChPasswd(IsOn("keep_password"));
    int privilege = user.GetAppPrivilege();
    for (const Application& application : kApplications) {
      privilege = IsOn(application.field) ? privilege | application.bit : privilege & ~application.bit;
    }
    user.SetPrivilege(privilege);
    return IsFine();
  }

  void FillName(SDK::User& user) {
    const std::string name = Value("name");
    // An account that is there keeps the name it has, whatever new ones may be called.
    const bool stays = user.GetUID() >= 0 && name == user.GetName();
    Demand(stays || site::IsDirectoryName(name), "name", "error_directory_name");
    if (!IsFine()) return;
    const site::User other(SDK::User::LoadUser(name));
    Demand(other == nullptr || other->GetUID() == user.GetUID(), "name", "error_name_taken");
    user.SetName(name);
  }

  void FillState(SDK::User& user, bool is_own) {
    const std::string state = Value("state");
    if (state == "until") {
      // An empty date means never to the platform.
      const bool is_day = !Value("until").empty() && user.SetExpiredDate(Value("until")) == 0;
      Demand(is_day, "until", "error_date");
    } else if (state != StateOf(user)) {
      user.SetExpire(state == "disabled" ? kDisabled : kNever);
    }
    if (IsFine() && is_own) Demand(!user.IsExpired(), state == "until" ? "until" : "state", "error_own_account");
  }

  void FillPassword(SDK::User& user) {
    const std::string password = Value("password");
    const bool is_new = user.GetUID() < 0;
    if (IsOn("mail")) {
      Demand(!password.empty(), "password", "error_mail_password");
      Demand(password.size() <= kMailedBytes, "password", "error_field_too_long");
      Demand(!Value("email").empty(), "email", "error_mail_address");
    }
    if (password.empty()) {
      Demand(!is_new, "password", "error_password_empty");
      Demand(Value("password_again").empty(), "password_again", "error_passwords_differ");
      return;
    }
    Demand(site::IsPlainText(password), "password", "error_field_characters");
    Demand(KLIBUnicodeUTF8StrCountChar(password.c_str()) >= kPasswordCharacters, "password", "error_password_short");
    Demand(!site::IsSameName(password, user.GetName()), "password", "error_password_name");
    Demand(password == Value("password_again"), "password_again", "error_passwords_differ");
    user.SetPasswd(password);
  }

  // The account as it is stored now, and its password on the way to the user.
  int Tell() {
    const site::User user(SDK::User::LoadUser(Value("name")));
    if (user == nullptr) return FailToLoad();
    if (!IsOn("mail")) return Show(*user, user->GetName(), nullptr);
    KLIBErrSet(0);
    WebUtils::SendUserInfoMail(user->GetName(), Value("password"), user->GetEmail(), kEvent);
    return Show(*user, user->GetName(), KLIBErrGet() == 0 ? "yes" : "no");
  }
};

}  // namespace

int main() { return UserForm().Run(); }
