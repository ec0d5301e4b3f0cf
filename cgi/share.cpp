// share.cgi: one shared folder.
//
//   GET  action=load                the volumes and fields that the form of a new share begins with
//   GET  action=load&share=NAME     {"data": {"share", "desc", "volume", "path", "hidden", "disable_list",
//                                    "disable_modify", "disable_download", "na", "rw", "ro", "encryption",
//                                    "has_lists"}, "success": true}: texts, "on" and "off", lists of names;
//                                    "encryption" is "none", "manual", "auto" or "fixed"; without "has_lists" nobody's
//                                    access can be set
//   POST action=apply&change=create&name=...&volume=ID&encryption=none|manual|auto&passphrase=...&again=...&FIELDS
//   POST action=apply&change=save&share=NAME&version=...&FIELDS
//   POST action=apply&change=rename&share=NAME&new_name=...
//   POST action=apply&change=encrypt&share=NAME&encryption=none|manual|auto&passphrase=...&again=...
//
// FIELDS: desc, hidden, disable_list, disable_modify, disable_download, and the lists na, rw and ro with names between
// commas. A change answers {"data": {"share": NAME}, "success": true}, or with the failure; everything is then as it
// was:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
//
// A share is made first and encrypted then: when only that fails, "data" has its "failure", a key of the section
// "error".
#include <tarvel/webutils.h>

#include <optional>
#include <string>

#include "directory.h"
#include "name_text.h"
#include "platform/klib.h"
#include "settings_form.h"
#include "share_encryption.h"
#include "share_lists.h"
#include "share_refusal.h"
#include "share_turn.h"
#include "share_volume.h"

namespace {

struct Restriction {
  const char* field;
  int value;
};

constexpr Restriction kRestrictions[] = {{"disable_list", 1}, {"disable_modify", 2}, {"disable_download", 4}};
constexpr const char* kSwitches[] = {"hidden", "disable_list", "disable_modify", "disable_download"};
constexpr int kVolumeBytes = 512;
constexpr int kEncrypted = 2;

const char* Switch(bool is_on) { return is_on ? "on" : "off"; }

std::string VersionOf(const site::StoredShare& stored) {
  std::string lists;
  for (const std::vector<std::string>& names : stored.names) lists += WebUtils::StringImplode(names, ",") + "\n";
  const SDK::Share& share = *stored.share;
  return site::VersionOf(
      {share.GetDesc(), lists, Switch(share.GetBrowseable()), std::to_string(share.GetFTPPrivilege())});
}

Json::Value Described(const site::StoredShare& stored) {
  const SDK::Share& share = *stored.share;
  char volume[kVolumeBytes] = "";
  share.GetVolumePath(volume, kVolumeBytes);
  Json::Value data;
  data["share"] = site::AsUtf8(share.GetName());
  data["desc"] = site::AsUtf8(share.GetDesc());
  data["path"] = site::AsUtf8(share.GetFullPath());
  data["volume"] = site::AsUtf8(site::LabelOfVolume(volume));
  data["hidden"] = Switch(!share.GetBrowseable());
  for (const Restriction& at : kRestrictions) data[at.field] = Switch((share.GetFTPPrivilege() & at.value) != 0);
  for (size_t i = 0; i < site::kAccessListCount; ++i) {
    Json::Value& names = data[site::kAccessLists[i].field] = Json::Value(Json::arrayValue);
    for (const std::string& name : stored.names[i]) names.append(site::AsUtf8(name));
  }
  data["encryption"] = site::EncryptionWord(share.GetStatus());
  data["version"] = VersionOf(stored);
  data["has_lists"] = SDK::Share::IsSharePermissionSetable(share.GetName());
  return data;
}

class ShareForm : public site::SettingsForm {
 public:
  int Load() override {
    const std::string name = Value("share");
    if (name.empty()) {
      Json::Value data;
      data["volumes"] = site::VolumesForShares();
      return Succeed(data);
    }
    return LoadStored() ? Succeed(Described(stored_)) : Fail(site::WhyNotLoaded());
  }

 protected:
  int Save() override {
    const std::string change = Value("change");
    // A full folder takes long to encrypt, and nobody waits for that but who changes this very share.
    if (change != "encrypt" && !directory_turn_.emplace().IsOpen()) return Fail("error_share_not_saved");
    if (change == "create") return Create();
    if (const char* const failure = Begin()) return Fail(failure);
    if (change == "encrypt") return Encrypt();
    if (change == "save") return Change();
    return change == "rename" ? Rename() : Fail("error_unknown_action");
  }

 private:
  std::string Value(const char* field) { return request.In(field, ""); }

  bool LoadStored() {
    KLIBErrSet(0);
    stored_ = site::LoadStoredShare(Value("share"));
    return stored_.share != nullptr;
  }

  // Loads the share and takes the turn to change it; null, or the key of why not. What was loaded before the turn may
  // have been changed meanwhile.
  const char* Begin() {
    if (!LoadStored()) return site::WhyNotLoaded();
    if (!turn_.emplace(stored_.share->GetName()).IsOpen()) return "error_share_busy";
    return LoadStored() ? nullptr : site::WhyNotLoaded();
  }

  int Create() {
    if (SDK::Share::IsReachMaxShareCount()) return Fail("error_share_too_many");
    const std::string name = Value("name");
    std::string volume;
    bool fine = Check("name", site::RefusalOfNewName(name));
    fine = Check("volume", site::FindVolumeForShare(Value("volume"), volume)) && fine;
    fine = AreFieldsRight() && fine;
    fine = IsEncryptionRight(0) && fine;
    if (!fine) return Fail(nullptr);
    stored_.share.reset(SDK::Share::CreateShare(name, volume + "/" + name, true));
    // Somebody else was quicker.
    if (stored_.share == nullptr) return Fail("error_share_not_saved");
    if (!Fill()) return Fail(nullptr);
    if (!SaveShare()) return Fail(site::WhyNotSaved());
    return SucceedWith(name, EncryptNew(name));
  }

  // Null, or the key of why the new share is not encrypted as it should be.
  const char* EncryptNew(const std::string& name) {
    const int wanted = site::EncryptionOf(Value("encryption"));
    if (wanted == 0) return nullptr;
    // The folder may have been there before, with much in it.
    directory_turn_.reset();
    if (!turn_.emplace(name).IsOpen()) return "error_share_busy";
    const site::Share made(SDK::Share::LoadShare(name));
    return made == nullptr ? site::WhyNotLoaded() : site::ChangeEncryption(*made, wanted, Value("passphrase")).failure;
  }

  int Change() {
    if (VersionOf(stored_) != Value("version")) return Fail("error_share_changed");
    if (!AreFieldsRight() || !Fill()) return Fail(nullptr);
    return SaveShare() ? SucceedWith(stored_.share->GetName(), nullptr) : Fail(site::WhyNotSaved());
  }

  int Rename() {
    const std::string name = Value("new_name");
    if (!Check("new_name", site::RefusalOfRename(stored_.share->GetName(), name))) return Fail(nullptr);
    stored_.share->ChangeName(name);
    // The folder takes the new name, too.
    KESTCOPYARGS along = {};
    stored_.share->SetMoveArgs(&along);
    return SaveShare() ? SucceedWith(name, nullptr) : Fail(site::WhyNotSaved());
  }

  int Encrypt() {
    SDK::Share& share = *stored_.share;
    if (!IsEncryptionRight(share.GetStatus())) return Fail(nullptr);
    const int wanted = site::EncryptionOf(Value("encryption"));
    if (wanted == share.GetStatus()) return SucceedWith(share.GetName(), nullptr);
    const site::EncryptionOutcome outcome = site::ChangeEncryption(share, wanted, Value("passphrase"));
    if (outcome.failure == nullptr) return SucceedWith(share.GetName(), nullptr);
    if (!outcome.is_passphrase_to_blame) return Fail(outcome.failure);
    Refuse("passphrase", outcome.failure);
    return Fail(nullptr);
  }

  bool SaveShare() {
    KLIBErrSet(0);
    return stored_.share->Save();
  }

  int SucceedWith(const std::string& name, const char* failure) {
    Json::Value data;
    data["share"] = name;
    if (failure != nullptr) data["failure"] = failure;
    return Succeed(data);
  }

  // Records a refusal, if there is one.
  bool Check(const char* field, const char* refusal) {
    if (refusal != nullptr) Refuse(field, refusal);
    return refusal == nullptr;
  }

  bool AreFieldsRight() {
    FormValidator form;
    for (const char* field : kSwitches) form.AddStringList(field, {"on", "off"});
    form.AddTextField("desc", true);
    for (const site::AccessList& list : site::kAccessLists) form.AddTextField(list.field, true);
    bool fine = form.Validate(*this);
    fine = Check("desc", site::RefusalOfDescription(Value("desc"))) && fine;
    for (size_t i = 0; i < site::kAccessListCount; ++i) fine = IsListRight(i) && fine;
    return fine;
  }

  // What stands in a list already may stay there: it need not be an account of this appliance.
  bool IsListRight(size_t list) {
    const char* const field = site::kAccessLists[list].field;
    const std::string text = Value(field);
    if (!site::IsPlainText(text)) return Check(field, "error_field_characters");
    wanted_[list] = WebUtils::StringExplode(text, ",");
    for (const std::string& name : wanted_[list]) {
      if (IsListed(name) || site::IsKnownName(name)) continue;
      Refuse(field, "error_share_unknown_name", name);
      return false;
    }
    return true;
  }

  bool IsListed(const std::string& name) const {
    if (stored_.share == nullptr) return false;
    for (const site::AccessList& list : site::kAccessLists) {
      if ((*stored_.share.*list.has)(name)) return true;
    }
    return false;
  }

  // Puts the fields into the share; false when its lists contradict each other.
  bool Fill() {
    SDK::Share& share = *stored_.share;
    share.SetDesc(Value("desc"));
    share.SetBrowseable(Value("hidden") != "on");
    int restrictions = 0;
    for (const Restriction& at : kRestrictions) restrictions |= Value(at.field) == "on" ? at.value : 0;
    share.SetFTPPrivilege(restrictions);
    if (!SDK::Share::IsSharePermissionSetable(share.GetName())) return true;
    site::SetNames(share, stored_.names, wanted_);
    if (!share.isAccessRightConflict()) return true;
    BlameLists();
    return false;
  }

  void BlameLists() {
    bool is_found = false;
    for (size_t i = 0; i < site::kAccessListCount; ++i) {
      const std::string* const name = site::FindTwice(*stored_.share, wanted_, i);
      if (name != nullptr) Refuse(site::kAccessLists[i].field, "error_share_name_twice", *name);
      is_found = is_found || name != nullptr;
    }
    if (!is_found) Refuse(site::kAccessLists[0].field, "error_share_lists");
  }

  bool IsEncryptionRight(int before) {
    FormValidator form;
    form.AddStringList("encryption", site::EncryptionWords());
    if (!form.Validate(*this)) return false;
    const int wanted = site::EncryptionOf(Value("encryption"));
    if (wanted == before) return true;
    if (site::EncryptionWord(before) == std::string("fixed"))
      return Check("encryption", "error_share_encryption_fixed");
    if (before == kEncrypted && wanted != 0) return Check("passphrase", site::RefusalOfPassphrase(Value("passphrase")));
    if (before != 0) return true;
    if (!Check("passphrase", site::RefusalOfPassphrase(Value("passphrase")))) return false;
    return Check("again", Value("again") == Value("passphrase") ? nullptr : "error_passphrase_again");
  }

  std::optional<site::DirectoryTurn> directory_turn_;
  std::optional<site::ShareTurn> turn_;
  site::StoredShare stored_;
  site::ListedNames wanted_;
};

}  // namespace

int main() { return ShareForm().Run(); }
