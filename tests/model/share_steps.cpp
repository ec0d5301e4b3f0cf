// Shares: steps, and what is asked of them afterwards.
#include <algorithm>

#include "platform/klib.h"
#include "steps.h"

namespace model {

namespace {

constexpr int kRights[] = {4, 2, 1};

// Names for access lists: accounts, groups, and some that are neither.
const Texts& Entries() {
  static const Texts texts = [] {
    // By turns, so that the first ones of both come often.
    Texts all;
    for (size_t i = 0; i < std::max(People().size(), Teams().size()); ++i) {
      if (i < People().size()) all.push_back(People()[i]);
      if (i < Teams().size()) all.push_back("@" + Teams()[i]);
    }
    all.insert(all.end(), {"nobody at all", "@no group"});
    return all;
  }();
  return texts;
}

bool IsReserved(const std::string& name) {
  for (const char* reserved : {"global", "home", "printers", "usbbackup", "satabackup", "surveillance"}) {
    if (IsSame(name, reserved)) return true;
  }
  return BeginsWith(name, "usbshare") || BeginsWith(name, "satashare");
}

const Texts& ReservedNames() {
  static const Texts texts = {"Home", "global", "USBshare1", "satashareX", "Surveillance", "printers"};
  return texts;
}

std::string AnyFolder(unsigned choice) {
  return choice % 11 == 10 ? OneOf(ReservedNames(), choice / 11) : AnyOf(Folders(), NoFolders(), choice / 11);
}

}  // namespace

void World::ReadFolders() {
  for (const std::string& name : SDK::Share::EnumShares(KEST_SHARE_ENUM_COUNTED)) Differ("at first", "no share", name);
}

void World::LoadShare(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  const std::string name = AnyFolder(step.a);
  Tell("share = LoadShare(" + Quoted(name) + ")");
  SDK::Share* const share = SDK::Share::LoadShare(name);
  const int id = directory_.FindFolder(name);
  Same("is there", id != -1, share != nullptr);
  if (id == -1) return;
  const Folder& folder = directory_.folders.at(id);
  Put(slot.share, share, slot.model,
      {folder.name,
       folder.name,
       folder.desc,
       folder.path,
       {},
       {},
       0,
       folder.attributes,
       folder.restrictions,
       folder.browseable,
       false});
  for (int list = 0; list < kLists; ++list) {
    slot.model.stored_lists[list] = directory_.Listed(folder.lists[list]);
    for (const std::string& entry : slot.model.stored_lists[list]) slot.model.sets[list].emplace(Folded(entry), entry);
  }
  CompareShare(name);
}

void World::CreateShare(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  const std::string name = AnyFolder(step.a), path = "/volume1/" + name;
  const bool browseable = step.b % 2 == 0;
  Tell("share = CreateShare(" + Quoted(name) + ", " + Quoted(path) + ", " + Shown(browseable) + ")");
  const bool exists = directory_.FindFolder(name) != -1;
  const int code = !IsFolder(name) ? -2 : exists ? -1 : IsReserved(name) ? -3 : 1;
  Same("is creatable", code, SDK::Share::IsShareCreatable(name));
  SDK::Share* const share = SDK::Share::CreateShare(name, path, browseable);
  Same("is made", code == 1, share != nullptr);
  if (share != nullptr) Put(slot.share, share, slot.model, {name, "", "", path, {}, {}, 0, 2, 0, browseable, false});
}

void World::ChangeShare(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  if (slot.share == nullptr) return Tell("");
  FolderObject& object = slot.model;
  switch (step.a % 7) {
    case 0:
      ChangeState(slot, step.b);
      return;
    case 1:
    case 2:
      slot.share->SetDesc(object.desc = OneOf(Descriptions(), step.b));
      return Tell("share.SetDesc(" + Quoted(object.desc) + ")");
    case 3:
    case 4:
      slot.share->SetFTPPrivilege(object.restrictions = static_cast<int>(step.b % 8));
      return Tell("share.SetFTPPrivilege(" + Shown(object.restrictions) + ")");
    default:
      slot.share->SetBrowseable(object.browseable = step.b % 2 == 0);
      return Tell("share.SetBrowseable(" + Shown(object.browseable) + ")");
  }
}

// A state without a passphrase: the platform takes none from a record.
void World::ChangeState(ShareSlot& slot, unsigned choice) {
  constexpr int kStates[] = {0, 2, 6};
  const int state = kStates[choice % std::size(kStates)];
  Tell("share.CreateEncryption(" + Shown(state) + ", \"\")");
  Same("is a change", (slot.model.state == 0) != (state == 0), slot.share->IsEncryptionChanged(state));
  slot.share->CreateEncryption(slot.model.state = state, "");
}

void World::RenameShare(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  if (slot.share == nullptr) return Tell("");
  FolderObject& object = slot.model;
  const std::string name = AnyFolder(step.a);
  Tell("share.ChangeName(" + Quoted(name) + ")  (it is " + Quoted(object.name) + ")");
  const bool is_taken = directory_.FindFolder(name) != -1;
  const int code = name == object.name                           ? -4
                   : !IsFolder(name)                             ? -2
                   : IsReserved(object.name) || IsReserved(name) ? -3
                   : IsSame(name, object.name) || !is_taken      ? 1
                                                                 : -1;
  Same("may be renamed", code, SDK::Share::IsShareRenameTo(object.name, name));
  // Pages rename nothing to a reserved name.
  if (code == -3) return;
  slot.share->ChangeName(name);
  object.name = name;
  const std::string parent = object.path.substr(0, 63);
  object.path = parent.substr(0, parent.rfind('/')) + "/" + name;
  Same("path", object.path, slot.share->GetFullPath());
}

void World::MoveShare(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  if (slot.share == nullptr) return Tell("");
  if (step.b % 2 == 0) {
    Tell("share.SetMoveArgs({0, 0, 0, 0, 0, 0, 0, 0})");
    KESTCOPYARGS nothing = {};
    slot.share->SetMoveArgs(&nothing);
    slot.model.moves = true;
    return;
  }
  const std::string name = AnyOf(Folders(), NoPaths(), step.a);
  Tell("share.SetPath(\"/volume1\", " + Quoted(name) + ")");
  slot.share->SetPath("/volume1", name);
  slot.model.path = "/volume1/" + name;
}

void World::Admit(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  if (slot.share == nullptr) return Tell("");
  const std::string name = OneOf(Entries(), step.a);
  const unsigned list = step.b % kLists;
  void (SDK::Share::*const add[])(const std::string&) = {&SDK::Share::AddToNA, &SDK::Share::AddToRW,
                                                         &SDK::Share::AddToRO};
  constexpr const char* kCalls[] = {"AddToNA", "AddToRW", "AddToRO"};
  Tell(std::string("share.") + kCalls[list] + "(" + Quoted(name) + ")");
  (slot.share->*add[list])(name);
  slot.model.sets[list].emplace(Folded(name), name);
  CompareRights(*slot.share, slot.model, name);
}

void World::Dismiss(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  if (slot.share == nullptr) return Tell("");
  const unsigned list = step.b % kLists;
  Texts present;
  for (const auto& [folded, entry] : slot.model.sets[list]) present.push_back(entry);
  const std::string name = OneOf(step.b / kLists % 4 == 0 || present.empty() ? Entries() : present, step.a);
  void (SDK::Share::*const remove[])(const std::string&) = {&SDK::Share::RemoveFromNA, &SDK::Share::RemoveFromRW,
                                                            &SDK::Share::RemoveFromRO};
  constexpr const char* kCalls[] = {"RemoveFromNA", "RemoveFromRW", "RemoveFromRO"};
  Tell(std::string("share.") + kCalls[list] + "(" + Quoted(name) + ")");
  (slot.share->*remove[list])(name);
  slot.model.sets[list].erase(Folded(name));
  CompareRights(*slot.share, slot.model, name);
}

void World::AskRights(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  if (slot.share == nullptr) return Tell("");
  const std::string user = OneOf(People(), step.a);
  Tell("share.GetAccessRight(" + Quoted(user) + ")");
  CompareRights(*slot.share, slot.model, user);
}

void World::CompareRights(SDK::Share& share, const FolderObject& object, const std::string& name) {
  Same("in the list of no access", object.sets[kNoAccess].count(Folded(name)) != 0, share.InNA(name));
  Same("in the list of writers", object.sets[kReadWrite].count(Folded(name)) != 0, share.InRW(name));
  Same("in the list of readers", object.sets[kReadOnly].count(Folded(name)) != 0, share.InRO(name));
  int right = 4;
  for (int list = kLists - 1; list >= 0; --list) {
    for (const std::string& entry : object.stored_lists[list]) {
      const bool covers = entry[0] != '@'                    ? IsSame(entry, name)
                          : IsSame(entry.substr(1), "users") ? true
                                                             : directory_.IsMember(name, entry.substr(1));
      if (covers) right = kRights[list];
    }
  }
  if (name[0] != '@') Same("right", right, share.GetAccessRight(name));
  bool conflicts = false;
  for (int list = 0; list < kLists; ++list) {
    for (const auto& [folded, entry] : object.sets[list]) {
      conflicts = conflicts || object.sets[(list + 1) % kLists].count(folded) != 0;
    }
  }
  Same("conflict", conflicts, share.isAccessRightConflict());
}

void World::SaveShare(const Step& step) {
  ShareSlot& slot = shares_[step.slot % kSlots];
  if (slot.share == nullptr) return Tell("");
  FolderObject& object = slot.model;
  Tell("share.Save()  (loaded as " + Quoted(object.loaded) + ", now " + Quoted(object.name) + " in " +
       Quoted(object.path) + (object.moves ? ", moved along)" : ")"));
  SameResult(directory_.Save(object), slot.share->Save());
  CompareShare(object.name);
  CompareShare(object.loaded);
  CompareRights(*slot.share, object, OneOf(People(), step.a));
}

void World::CompareShare(const std::string& name) {
  const int id = directory_.FindFolder(name);
  Same("exists", id != -1, SDK::Share::IsShareExist(name));
  if (id == -1) return;
  const Folder& folder = directory_.folders.at(id);
  SDK::Share* const share = SDK::Share::LoadShare(name);
  Same("name", folder.name, share->GetName());
  Same("description", folder.desc, share->GetDesc());
  Same("path", folder.path, share->GetFullPath());
  Same("restrictions", folder.restrictions, share->GetFTPPrivilege());
  Same("browseable", folder.browseable, share->GetBrowseable());
  Same("state", 0, share->GetStatus());
  FolderObject object;
  for (int list = 0; list < kLists; ++list) {
    object.stored_lists[list] = directory_.Listed(folder.lists[list]);
    for (const std::string& entry : object.stored_lists[list]) object.sets[list].emplace(Folded(entry), entry);
  }
  for (const std::string& entry : Entries()) CompareRights(*share, object, entry);
  SDK::Share::Release(share);
}

void World::ListShares(const Step& step) {
  const std::string prefix = OneOf(Prefixes(), step.a);
  CompareShareList(step.slot % 2 == 0 ? nullptr : prefix.c_str());
}

void World::CompareShareList(const char* prefix) {
  Tell("EnumShares(769, " + std::string(prefix != nullptr ? Quoted(prefix) : "null") + ")");
  Json::Value expected, actual;
  expected["items"] = Json::Value(Json::arrayValue);
  const Names names = InOrder(directory_.folders, prefix != nullptr ? prefix : "");
  for (const auto& [folded, name] : names) {
    const Folder& folder = directory_.folders.at(directory_.FindFolder(name));
    Json::Value item;
    item["name"] = folder.name;
    item["descr"] = folder.desc;
    item["hidden"] = !folder.browseable;
    item["disable_list"] = folder.restrictions % 2 == 1;
    item["disable_modify"] = folder.restrictions / 2 % 2 == 1;
    item["disable_download"] = folder.restrictions / 4 % 2 == 1;
    item["enc_auto_mount"] = false;
    item["encryption"] = 0;
    expected["items"].append(item);
  }
  expected["total"] = static_cast<int>(names.size());
  Same("result", 1, SDK::Share::EnumShares(KEST_SHARE_ENUM_COUNTED, prefix, actual));
  Same("list", expected, actual);
}

}  // namespace model
