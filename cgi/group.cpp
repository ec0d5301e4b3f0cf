// group.cgi: one group, a new one or one that is there. Its members are those of members.cgi.
//
//   GET  action=load[&group=NAME]   {"data": {"group", "name", "description", "version"}, "success": true}; without a
//                                   name what a new one starts with
//   POST action=apply&group=NAME&version=...&name=...&description=...
//                                   makes a group, or changes the one of that name; "version" is what load told
//
// A change answers what load answers, or with the failure:
//        {"errors": {field: message}, "success": false}, {"errinfo": {"sec", "key"}, "success": false}
//
// The group "users" holds everybody and stays as it is.
#include <string>

#include "directory_form.h"
#include "name_text.h"

namespace {

constexpr site::SaveFailures kFailures = {"error_name_taken", "error_directory_name", "error_group_gone",
                                          "error_group_fixed", "error_group_not_saved"};

std::string VersionOf(const SDK::Group& group) { return site::VersionOf({group.GetName(), group.GetDesc()}); }

class GroupForm : public site::DirectoryForm {
 public:
  int Load() override {
    const std::string name = Value("group");
    const site::Group group(name.empty() ? new SDK::Group("") : SDK::Group::LoadGroup(name));
    return group == nullptr ? FailToLoad() : Show(*group);
  }

 protected:
  int Save() override {
    FormValidator form;
    form.AddTextField("name", site::kNameBytes, false);
    form.AddTextField("description", site::kDescriptionBytes, true);
    if (!form.Validate(*this)) return Fail(nullptr);
    const site::DirectoryTurn turn;
    if (!turn.IsOpen()) return Fail(kFailures.failed);
    const std::string stored = Value("group");
    const site::Group group(stored.empty() ? new SDK::Group("") : SDK::Group::LoadGroup(stored));
    if (group == nullptr) return FailToLoad();
    if (group->GetName() == site::kEverybody) return Fail("error_group_everybody");
    if (!stored.empty() && VersionOf(*group) != Value("version")) return Fail("error_group_changed");
    if (!Fill(*group)) return Fail(nullptr);
    const bool is_named_so = stored == Value("name");
    if (!group->Save()) return FailToSave(kFailures);
    return Tell(is_named_so ? site::WhyNotSaved(kFailures) : "error_group_partly");
  }

 private:
  int FailToLoad() { return Fail(site::WhyNotFound("error_group_gone", "error_groups_not_read")); }

  int Show(const SDK::Group& group) {
    Json::Value data;
    data["group"] = data["name"] = group.GetName();
    data["description"] = group.GetDesc();
    data["version"] = VersionOf(group);
    return Succeed(data);
  }

  bool Fill(SDK::Group& group) {
    std::string name = Value("name");
    // A group that is there keeps the name it has, whatever new ones may be called.
    Demand(name == group.GetName() || site::IsDirectoryName(name), "name", kFailures.name);
    Demand(site::IsPlainText(Value("description")), "description", "error_field_characters");
    if (!IsFine()) return false;
    const site::Group other(SDK::Group::LoadGroup(name));
    Demand(other == nullptr || other->GetGID() == group.GetGID(), "name", kFailures.taken);
    group.SetName(name);
    group.SetDesc(Value("description"));
    return IsFine();
  }

  // The library does not tell whether the description was stored: the group as it is now does. `failure` is why it was
  // not.
  int Tell(const char* failure) {
    const site::Group group(SDK::Group::LoadGroup(Value("name")));
    if (group == nullptr) return FailToLoad();
    return group->GetDesc() == Value("description") ? Show(*group) : Fail(failure);
  }
};

}  // namespace

int main() { return GroupForm().Run(); }
