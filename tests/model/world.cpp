// One step after the other with the library and with the model.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "kernel_rights.h"
#include "platform/klib.h"
#include "steps.h"

namespace model {

namespace {

constexpr char kVolume[] = "/volume1/";

bool IsFolderThere(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

const std::string& OneOf(const Texts& texts, unsigned choice) {
  // Those at the beginning more often: what befalls the same few things meets sooner.
  const size_t size = texts.size();
  return texts[std::min(choice % size, choice / size % size)];
}

std::string AnyOf(const Texts& texts, const Texts& odd, unsigned choice) {
  constexpr unsigned kSeldom = 16;
  return choice % kSeldom == 0 ? OneOf(odd, choice / kSeldom) : OneOf(texts, choice / kSeldom);
}

Page AnyPage(unsigned choice) {
  constexpr int kOffsets[] = {0, 0, 1, 3, 7, -2, 100};
  constexpr int kLimits[] = {50, -1, 0, 1, 2, 5, 1 << 30};
  return {kOffsets[choice % std::size(kOffsets)], kLimits[choice / std::size(kOffsets) % std::size(kLimits)]};
}

World::World() {
  ReadPeople();
  ReadTeams();
  ReadFolders();
}

World::~World() {
  for (const UserSlot& slot : users_) SDK::User::Release(slot.user);
  for (const GroupSlot& slot : groups_) SDK::Group::Release(slot.group);
  for (const ShareSlot& slot : shares_) SDK::Share::Release(slot.share);
}

void World::Take(const Step& step) {
  // As often as it stands here.
  static constexpr void (World::*kSteps[])(const Step&) = {
      &World::LoadUser,    &World::LoadUser,    &World::LoadUserByNumber,
      &World::CreateUser,  &World::CreateUser,  &World::ChangeUser,
      &World::RenameUser,  &World::SetDate,     &World::SaveUser,
      &World::SaveUser,    &World::SaveUser,    &World::ListUsers,
      &World::LocateUser,  &World::LoadGroup,   &World::LoadGroup,
      &World::CreateGroup, &World::CreateGroup, &World::ChangeGroup,
      &World::RenameGroup, &World::Join,        &World::Join,
      &World::Join,        &World::Leave,       &World::SaveGroup,
      &World::SaveGroup,   &World::SaveGroup,   &World::ListGroups,
      &World::LocateGroup, &World::LoadShare,   &World::LoadShare,
      &World::CreateShare, &World::CreateShare, &World::ChangeShare,
      &World::RenameShare, &World::MoveShare,   &World::Admit,
      &World::Admit,       &World::Dismiss,     &World::AskRights,
      &World::SaveShare,   &World::SaveShare,   &World::SaveShare,
      &World::ListShares};
  slot_ = step.slot % kSlots;
  (this->*kSteps[step.kind % std::size(kSteps)])(step);
  for (const auto& [id, folder] : directory_.folders) CompareKernel(folder);
}

void World::CompareAll() {
  CompareUserList(0, -1, nullptr);
  CompareUserList(0, -1, "");
  CompareGroupList(0, -1, nullptr, "anna");
  CompareGroupList(0, -1, "", nullptr);
  CompareShareList(nullptr);
  CompareShareList("");
  Tell("everything");
  for (const std::string& name : People()) CompareUser(name);
  for (const std::string& name : Teams()) CompareGroup(name);
  for (const std::string& name : Folders()) {
    CompareShare(name);
    Same(("folder of " + name).c_str(), directory_.paths.count(kVolume + name) != 0, IsFolderThere(kVolume + name));
  }
}

// The folder lets in whom the lists let in, whatever has happened to the groups that they name.
void World::CompareKernel(const Folder& folder) {
  for (const auto& [uid, person] : directory_.people) {
    std::set<unsigned> gids = {static_cast<unsigned>(kUsers)};
    for (const auto& [gid, team] : directory_.teams) {
      if (team.members.count(uid) != 0) gids.insert(static_cast<unsigned>(gid));
    }
    const auto covers = [&gids, number = uid](const std::vector<Entry>& list) {
      return std::any_of(list.begin(), list.end(), [&](const Entry& entry) {
        return entry.is_team ? gids.count(static_cast<unsigned>(entry.number)) != 0 : entry.number == number;
      });
    };
    const int right = covers(folder.lists[kNoAccess])    ? 0
                      : covers(folder.lists[kReadWrite]) ? 2
                      : covers(folder.lists[kReadOnly])  ? 1
                                                         : 0;
    Same(("right of " + person.name + " in " + folder.path).c_str(), right,
         KernelRight(folder.path, static_cast<unsigned>(uid), gids));
  }
}

void World::SameResult(const Refusals& refusals, bool done) {
  const int code = KLIBErrGet();
  std::string expected = refusals.empty() ? "done" : "refused for";
  for (const int refusal : refusals) expected += " " + std::to_string(refusal);
  const std::string actual = done ? "done" : "refused for " + std::to_string(code);
  if (done != refusals.empty() || (!done && refusals.count(code) == 0)) Differ("saving", expected, actual);
}

void World::Differ(const std::string& what, const std::string& expected, const std::string& actual) const {
  throw Difference{told_ + "\n  " + what + ": it should be " + expected + ", and is " + actual};
}

std::string World::Shown(const Json::Value& value) { return value.toStyledString(); }

std::string World::Shown(const Texts& texts) {
  std::string shown = "[";
  for (const std::string& text : texts) shown += Quoted(text) + " ";
  return shown + "]";
}

std::string World::Quoted(const std::string& text) {
  constexpr size_t kShown = 60;
  std::string quoted = "\"";
  for (const char c : text.substr(0, kShown)) {
    const auto byte = static_cast<unsigned char>(c);
    char escape[8] = {c};
    if (byte < 0x20 || c == '"' || c == '\\') std::snprintf(escape, sizeof escape, "\\x%02x", byte);
    quoted += escape;
  }
  return quoted + (text.size() > kShown ? "...\"" : "\"");
}

}  // namespace model
