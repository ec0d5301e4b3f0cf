// Groups: steps, and what is asked of them afterwards.
#include "platform/klib.h"
#include "steps.h"

namespace model {

namespace {

Texts Spellings(const Names& names) {
  Texts texts;
  for (const auto& [folded, name] : names) texts.push_back(name);
  return texts;
}

}  // namespace

void World::ReadTeams() {
  Json::Value list;
  SDK::Group::EnumGroups(0, -1, AUTH_TYPE_LOCAL, nullptr, nullptr, list);
  for (const Json::Value& item : list["items"]) {
    SDK::Group* const group = SDK::Group::LoadGroup(item["name"].asString());
    Team& team = directory_.teams[group->GetGID()];
    team = {group->GetName(), group->GetDesc(), {}};
    for (const std::string& member : group->GetMembers()) team.members.insert(directory_.FindPerson(member));
    SDK::Group::Release(group);
  }
}

void World::LoadGroup(const Step& step) {
  GroupSlot& slot = groups_[step.slot % kSlots];
  const std::string name = AnyOf(Teams(), NoNames(), step.a);
  Tell("group = LoadGroup(" + Quoted(name) + ")");
  SDK::Group* const group = SDK::Group::LoadGroup(name);
  const int gid = directory_.FindTeam(name);
  Same("is there", gid != -1, group != nullptr);
  if (gid == -1) return;
  const Team& team = directory_.teams.at(gid);
  Put(slot.group, group, slot.model, {team.name, team.name, team.desc, directory_.MembersOf(gid), gid, false});
  CompareGroup(name);
}

void World::CreateGroup(const Step& step) {
  GroupSlot& slot = groups_[step.slot % kSlots];
  const std::string name = AnyOf(Teams(), NoNames(), step.a);
  Tell("group = CreateGroup(" + Quoted(name) + ")");
  SDK::Group* const group = SDK::Group::CreateGroup(name);
  Same("is free", directory_.FindTeam(name) == -1, group != nullptr);
  if (group != nullptr) Put(slot.group, group, slot.model, {name, "", "", {}, -1, false});
}

void World::ChangeGroup(const Step& step) {
  GroupSlot& slot = groups_[step.slot % kSlots];
  if (slot.group == nullptr) return Tell("");
  const std::string text = OneOf(Descriptions(), step.a);
  Tell("group.SetDesc(" + Quoted(text) + ")");
  slot.group->SetDesc(text);
  if (slot.model.desc != text) slot.model.described = true;
  slot.model.desc = text;
}

void World::RenameGroup(const Step& step) {
  GroupSlot& slot = groups_[step.slot % kSlots];
  if (slot.group == nullptr) return Tell("");
  std::string name = AnyOf(Teams(), NoNames(), step.a);
  Tell("group.SetName(" + Quoted(name) + ")");
  slot.group->SetName(name);
  if (slot.model.name != "users") slot.model.name = name;
  Same("name", slot.model.name, slot.group->GetName());
}

void World::Join(const Step& step) {
  GroupSlot& slot = groups_[step.slot % kSlots];
  if (slot.group == nullptr) return Tell("");
  const std::string name = AnyOf(People(), NoNames(), step.a);
  Tell("group.AddMember(" + Quoted(name) + ")");
  slot.group->AddMember(name);
  if (slot.model.name != "users") slot.model.members.emplace(Folded(name), name);
  Same("members", Spellings(slot.model.members), slot.group->GetMembers());
}

void World::Leave(const Step& step) {
  GroupSlot& slot = groups_[step.slot % kSlots];
  if (slot.group == nullptr) return Tell("");
  const Texts members = Spellings(slot.model.members);
  const std::string name = OneOf(step.b % 4 == 0 || members.empty() ? People() : members, step.a);
  Tell("group.RemoveMember(" + Quoted(name) + ")");
  slot.group->RemoveMember(name);
  if (slot.model.name != "users") slot.model.members.erase(Folded(name));
  Same("members", Spellings(slot.model.members), slot.group->GetMembers());
}

void World::SaveGroup(const Step& step) {
  GroupSlot& slot = groups_[step.slot % kSlots];
  if (slot.group == nullptr) return Tell("");
  const TeamObject& object = slot.model;
  Tell("group.Save()  (gid " + std::to_string(object.gid) + ", loaded as " + Quoted(object.loaded) + ", now " +
       Quoted(object.name) + " with " + Shown(Spellings(object.members)) + ")");
  const Refusals refusals = directory_.Save(object);
  SameResult(refusals, slot.group->Save());
  if (refusals.empty()) {
    // A renamed group's description goes along; that of a new one is always written.
    if (object.name != object.loaded) directory_.Describe(object.loaded, "");
    if (object.name != object.loaded || object.described) directory_.Describe(object.name, object.desc);
    if (directory_.teams.count(kUnnumbered) != 0) {
      SDK::Group* const stored = SDK::Group::LoadGroup(object.name);
      if (stored == nullptr) Differ("made", "a group", "none");
      Same("number is new", true, directory_.teams.count(stored->GetGID()) == 0);
      directory_.teams[stored->GetGID()] = directory_.teams.at(kUnnumbered);
      directory_.teams.erase(kUnnumbered);
      SDK::Group::Release(stored);
    }
  }
  CompareGroup(object.name);
  CompareGroup(object.loaded);
}

void World::CompareGroup(const std::string& name) {
  const int gid = directory_.FindTeam(name);
  Same("exists", gid != -1, SDK::Group::IsGroupExist(name));
  if (gid == -1) return;
  const Team& team = directory_.teams.at(gid);
  SDK::Group* const group = SDK::Group::LoadGroup(name);
  Same("number", gid, group->GetGID());
  Same("name", team.name, group->GetName());
  Same("description", team.desc, group->GetDesc());
  const Names members = directory_.MembersOf(gid);
  Same("members", Spellings(members), group->GetMembers());
  Same("source", static_cast<int>(AUTH_TYPE_LOCAL), static_cast<int>(group->GetAuthType()));
  const bool is_everybody = team.name == "users";
  Same("count", static_cast<int>(is_everybody ? directory_.people.size() : members.size()), group->GetMemberCount());
  for (const std::string& person : People()) {
    Same("is a member", directory_.IsMember(person, name), group->IsMember(person));
  }
  SDK::Group::Release(group);
}

void World::ListGroups(const Step& step) {
  const Page page = AnyPage(step.a);
  const std::string prefix = OneOf(Prefixes(), step.b);
  const std::string user = OneOf(People(), step.a / 7);
  CompareGroupList(page.offset, page.limit, step.slot % 2 == 0 ? nullptr : prefix.c_str(),
                   step.slot % 4 < 2 ? nullptr : user.c_str());
}

void World::CompareGroupList(int offset, int limit, const char* prefix, const char* user) {
  Tell("EnumGroups(" + std::to_string(offset) + ", " + std::to_string(limit) + ", " +
       (prefix != nullptr ? Quoted(prefix) : "null") + ", " + (user != nullptr ? Quoted(user) : "null") + ")");
  const Page page = {offset, limit};
  Json::Value expected, actual;
  expected["items"] = Json::Value(Json::arrayValue);
  int count = 0;
  for (const auto& [folded, name] : InOrder(directory_.teams, prefix != nullptr ? prefix : "")) {
    if (!page.Shows(count++)) continue;
    Json::Value item;
    if (user != nullptr) item["join"] = directory_.IsMember(user, name);
    item["name"] = name;
    item["descr"] = directory_.teams.at(directory_.FindTeam(name)).desc;
    expected["items"].append(item);
  }
  expected["total"] = count;
  Same("result", 1, SDK::Group::EnumGroups(offset, limit, AUTH_TYPE_LOCAL, prefix, user, actual));
  Same("list", expected, actual);
}

void World::LocateGroup(const Step& step) {
  const std::string name = AnyOf(Teams(), NoNames(), step.a);
  Tell("GetGroupLocation(" + Quoted(name) + ")");
  const Names teams = InOrder(directory_.teams, "");
  int position = -7;
  Same("result", 1, SDK::Group::GetGroupLocation(name, AUTH_TYPE_LOCAL, &position));
  Same("position", static_cast<int>(std::distance(teams.begin(), teams.find(Folded(name)))), position);
}

}  // namespace model
