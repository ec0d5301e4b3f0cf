#include "directory.h"

namespace model {

namespace {

constexpr char kVolume[] = "/volume1/";
constexpr char kHomes[] = "/var/services/homes/";

template <typename Records>
int Find(const Records& records, const std::string& name) {
  for (const auto& [number, record] : records) {
    if (IsSame(record.name, name)) return number;
  }
  return -1;
}

std::string ParentOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

bool MeetsPath(const std::string& a, const std::string& b) {
  return a == b || a.rfind(b + "/", 0) == 0 || b.rfind(a + "/", 0) == 0;
}

}  // namespace

int Directory::FindPerson(const std::string& name) const { return Find(people, name); }
int Directory::FindTeam(const std::string& name) const { return Find(teams, name); }
int Directory::FindFolder(const std::string& name) const { return Find(folders, name); }

bool Directory::IsPersonTaken(const std::string& name, int but) const {
  const int found = FindPerson(name);
  return found != -1 && found != but;
}

Refusals Directory::Save(const PersonObject& object) {
  Refusals refusals;
  Person next = object.fields;
  const bool is_new = object.uid == -1;
  const int uid = is_new ? kUnnumbered : FindPerson(object.loaded);
  if (!IsDescription(next.desc) || !IsMail(next.email) || next.expire < -1) refusals.insert(kBad);
  // Somebody else has been given the name since it was loaded.
  if (!is_new && uid != object.uid) refusals.insert(kUnknown);
  const bool is_renamed = is_new || uid == -1 || people.at(uid).name != next.name;
  if (is_renamed && !IsName(next.name)) refusals.insert(kBad);
  if (is_renamed && IsPersonTaken(next.name, uid)) refusals.insert(kTaken);
  // A home may come from a name that was not to be had.
  if (next.home.find_first_of(":\n\xff") != std::string::npos) refusals.insert(kBad);
  if (!refusals.empty()) return refusals;
  if (!is_new && is_renamed) {
    const Person& before = people.at(uid);
    // The usual home goes with the name.
    if (before.home == kHomes + before.name && next.home == before.home) next.home = kHomes + next.name;
  }
  people[uid] = next;
  return {};
}

void Directory::Number(const std::string& name, int uid) {
  const int before = FindPerson(name);
  const Person person = people.at(before);
  people.erase(before);
  people[uid] = person;
}

Refusals Directory::Save(const TeamObject& object) {
  if (object.name == "users") return {};
  Refusals refusals;
  const bool is_new = object.loaded.empty();
  const int gid = is_new ? kUnnumbered : FindTeam(object.loaded);
  if (is_new ? object.gid != -1 : gid != object.gid) refusals.insert({kUnknown, kBad});
  const bool is_renamed = is_new || gid == -1 || teams.at(gid).name != object.name;
  if (is_renamed && !IsName(object.name)) refusals.insert(kBad);
  const int holder = FindTeam(object.name);
  if (is_renamed && holder != -1 && holder != gid) refusals.insert(kTaken);
  if (is_renamed && (gid == kUsers || gid == kAdministrators)) refusals.insert(kDenied);
  std::set<int> members;
  for (const auto& [folded, spelling] : object.members) {
    const int uid = FindPerson(spelling);
    if (uid == -1) refusals.insert(kUnknown);
    members.insert(uid);
  }
  if (gid == kUsers && !members.empty()) refusals.insert(kBad);
  if (!refusals.empty()) return refusals;
  teams[gid].name = object.name;
  if (gid != kUsers) teams[gid].members = members;
  return {};
}

void Directory::Describe(const std::string& team, const std::string& desc) {
  const int gid = FindTeam(team);
  if (gid != -1 && IsDescription(desc)) teams[gid].desc = desc;
}

Refusals Directory::Save(FolderObject& object) {
  Refusals refusals;
  const bool is_new = object.loaded.empty();
  const int id = is_new ? kUnnumbered : FindFolder(object.loaded);
  if (!IsFolder(object.name) || !IsDescription(object.desc)) refusals.insert(kBad);
  const std::string folder = object.path.substr(sizeof kVolume - 1);
  if (!IsPath(folder)) refusals.insert(kBad);
  // The folder above is not there.
  if (folder.find('/') != std::string::npos) refusals.insert({kBad, kUnknown});
  // Nothing is encrypted by a record, which has no passphrase.
  if (object.state != 0) refusals.insert(kBad);
  if (id == -1) refusals.insert(kUnknown);
  for (const auto& [number, other] : folders) {
    if (number != id && (IsSame(other.name, object.name) || MeetsPath(other.path, object.path)))
      refusals.insert(kTaken);
  }
  Folder next = {object.name, object.desc, object.path, {}, object.attributes, object.restrictions, object.browseable};
  for (int list = 0; list < kLists; ++list) {
    for (const auto& [folded, name] : object.sets[list]) {
      const bool is_team = name[0] == '@';
      const int number = is_team ? FindTeam(name.substr(1)) : FindPerson(name);
      if (number == -1) refusals.insert(kUnknown);
      next.lists[list].push_back({is_team, number});
    }
  }
  bool is_carried = false;
  if (!is_new && id != -1) {
    const Folder& before = folders.at(id);
    is_carried = before.path != next.path &&
                 (object.moves || (before.name != next.name && ParentOf(before.path) == ParentOf(next.path)));
    if (is_carried && paths.count(next.path) != 0) refusals.insert(kTaken);
  }
  if (!refusals.empty()) return refusals;
  if (is_carried) paths.erase(folders.at(id).path);
  paths.insert(next.path);
  folders[is_new ? static_cast<int>(folders.empty() ? 1 : folders.rbegin()->first + 1) : id] = next;
  for (int list = 0; list < kLists; ++list) {
    object.stored_lists[list].clear();
    for (const auto& [folded, name] : object.sets[list]) object.stored_lists[list].push_back(name);
  }
  return {};
}

Names Directory::MembersOf(int gid) const {
  Names names;
  for (const int uid : teams.at(gid).members) names[Folded(people.at(uid).name)] = people.at(uid).name;
  return names;
}

bool Directory::IsMember(const std::string& person, const std::string& team) const {
  const int gid = FindTeam(team), uid = FindPerson(person);
  if (gid == kUsers) return uid != -1;
  return gid != -1 && uid != -1 && teams.at(gid).members.count(uid) != 0;
}

Texts Directory::Listed(const std::vector<Entry>& entries) const {
  Texts texts;
  for (const Entry& entry : entries) {
    texts.push_back(entry.is_team ? "@" + teams.at(entry.number).name : people.at(entry.number).name);
  }
  return texts;
}

}  // namespace model
