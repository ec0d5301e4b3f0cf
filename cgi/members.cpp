// members.cgi: who belongs to a group.
//
//   GET  action=load&group=NAME[&offset=N][&prefix=TEXT][&only=members]
//                     {"data": {"items": [{"name", "descr", "member"}, ...], "offset", "total", "members",
//                     "everybody"}, "success": true}: 50 accounts from that position on, of those whose names begin
//                     with the prefix; of all accounts, or of the members only. "members" is how many the group has;
//                     "everybody" tells that it is the group of all accounts
//   POST action=apply&group=NAME&added=NAMES&removed=NAMES
//                     one name a line; answers {"data": {"members"}, "success": true} or with the failure:
//                     {"errinfo": {"sec", "key"}, "success": false}
//
// What others have added or removed meanwhile stays: a change names only those whom it is about.
#include <tarvel/webutils.h>

#include <string>
#include <vector>

#include "directory.h"
// The library counts no characters.
#include "platform/klib.h"
#include "settings_form.h"

namespace {

constexpr site::SaveFailures kFailures = {"error_group_not_saved", "error_group_not_saved", "error_unknown_member",
                                          "error_administrator_needed", "error_group_not_saved"};

// The first characters of a UTF-8 text.
std::string FirstCharacters(const std::string& text, int count) {
  size_t at = 0;
  for (; at < text.size(); ++at) {
    const bool begins = (static_cast<unsigned char>(text[at]) & 0xc0) != 0x80;
    if (begins && count-- == 0) break;
  }
  return text.substr(0, at);
}

bool BeginsWith(const std::string& name, const std::string& prefix) {
  const std::string beginning = FirstCharacters(name, KLIBUnicodeUTF8StrCountChar(prefix.c_str()));
  return site::IsSameName(beginning, prefix);
}

class MembersForm : public site::SettingsForm {
 public:
  int Load() override {
    const site::Group group(SDK::Group::LoadGroup(Value("group")));
    if (group == nullptr) return FailToLoad();
    const bool everybody = group->GetName() == site::kEverybody;
    Json::Value data;
    const bool listed = Value("only") == "members" && !everybody ? ListMembers(*group, data) : ListAll(*group, data);
    if (!listed) return Fail("error_accounts_not_read");
    data["everybody"] = everybody;
    data["members"] = group->GetMemberCount();
    data["offset"] = site::OffsetOf(request);
    return Succeed(data);
  }

 protected:
  int Save() override {
    const site::DirectoryTurn turn;
    if (!turn.IsOpen()) return Fail(kFailures.failed);
    const site::Group group(SDK::Group::LoadGroup(Value("group")));
    if (group == nullptr) return FailToLoad();
    if (group->GetName() == site::kEverybody) return Fail("error_group_everybody");
    for (const std::string& name : Names("removed")) {
      // Whoever administers the appliance must not shut himself out by a slip: somebody else can do it.
      const bool is_own = site::IsSameName(name, request.GetLoginUserName());
      if (is_own && site::IsSameName(group->GetName(), site::kAdministrators)) return Fail("error_own_membership");
      group->RemoveMember(name);
    }
    for (const std::string& name : Names("added")) {
      if (!SDK::User::IsUserExist(name)) return Fail(kFailures.gone);
      group->AddMember(name);
    }
    if (!group->Save()) return Fail(site::WhyNotSaved(kFailures));
    Json::Value data;
    data["members"] = group->GetMemberCount();
    return Succeed(data);
  }

 private:
  // No name holds the end of a line.
  std::vector<std::string> Names(const char* field) { return WebUtils::StringExplode(Value(field), "\r\n"); }

  int FailToLoad() { return Fail(site::WhyNotFound("error_group_gone", "error_groups_not_read")); }

  bool ListAll(SDK::Group& group, Json::Value& data) {
    const std::string prefix = Value("prefix");
    SDK::User::EnumUsers(site::OffsetOf(request), site::kRows, AUTH_TYPE_LOCAL,
                         prefix.empty() ? nullptr : prefix.c_str(), data);
    // Whoever asks has an account: without any the accounts could not be read.
    const int total = data["total"].asInt();
    if (total < 0 || (prefix.empty() && total == 0)) return false;
    for (Json::Value& item : data["items"]) item["member"] = group.IsMember(item["name"].asString());
    return true;
  }

  bool ListMembers(const SDK::Group& group, Json::Value& data) {
    const std::string prefix = Value("prefix");
    const int offset = site::OffsetOf(request);
    int total = 0;
    data["items"] = Json::Value(Json::arrayValue);
    for (const std::string& name : group.GetMembers()) {
      if (!BeginsWith(name, prefix)) continue;
      if (total >= offset && total < offset + site::kRows) data["items"].append(Member(name));
      ++total;
    }
    data["total"] = total;
    return true;
  }

  static Json::Value Member(const std::string& name) {
    const site::User user(SDK::User::LoadUser(name));
    Json::Value item;
    item["name"] = name;
    item["descr"] = user == nullptr ? "" : user->GetDesc();
    item["member"] = true;
    return item;
  }
};

}  // namespace

int main() { return MembersForm().Run(); }
