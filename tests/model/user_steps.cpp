// Accounts: steps, and what is asked of them afterwards.
#include <ctime>

#include "platform/klib.h"
#include "steps.h"

namespace model {

namespace {

constexpr int kDays[] = {-1, 0, 1, 2, 11016, 21945, 60000, -2, -1, 21945};
constexpr int kMasks[] = {3, 0, 31, -7, 1 << 30};

struct Date {
  const char* text;
  int day;  // -2: it is none
};
constexpr Date kDates[] = {{"2030/01/31", 21945}, {"", -1},          {"2024/02/30", -2}, {"2000/02/29", 11016},
                           {"1970/01/02", -2},    {"1970/01/03", 2}, {"2030/1/31", -2},  {"tomorrow", -2}};

std::string StatusOf(int day) {
  if (day < 0) return "Normal";
  if (day < 2) return "Disable";
  constexpr long long kDay = 86400;
  if (day < std::time(nullptr) / kDay) return "Expired";
  const std::time_t seconds = static_cast<std::time_t>(day * kDay);
  const std::tm* const date = std::gmtime(&seconds);
  return std::to_string(date->tm_year + 1900) + "/" + std::to_string(date->tm_mon + 1) + "/" +
         std::to_string(date->tm_mday);
}

Person NewPerson(const std::string& name) {
  const bool rsync = Folded(name) == "rsync";
  Person person;
  person.name = name;
  person.shell = rsync ? "/bin/sh" : "/sbin/nologin";
  person.home = rsync ? "/" : ("/var/services/homes/" + name).substr(0, 523);
  return person;
}

}  // namespace

void World::ReadPeople() {
  std::vector<SDK::User*> users;
  SDK::User::EnumAllUsers(0, -1, AUTH_TYPE_LOCAL, users);
  for (const SDK::User* user : users) {
    KESTUSER record = {};
    user->ConvertToSDKUSER(&record);
    directory_.people[record.uid] = {
        record.name, record.desc,   record.email, record.home,      record.shell,
        record.gid,  record.expire, record.attr,  record.privilege, record.noChPasswd != 0};
  }
  SDK::User::ReleaseUserList(users);
}

void World::LoadUser(const Step& step) {
  UserSlot& slot = users_[step.slot % kSlots];
  const std::string name = AnyOf(People(), NoNames(), step.a);
  Tell("user = LoadUser(" + Quoted(name) + ")");
  SDK::User* const user = SDK::User::LoadUser(name);
  const int uid = directory_.FindPerson(name);
  Same("is there", uid != -1, user != nullptr);
  if (uid != -1) Put(slot.user, user, slot.model, {directory_.people.at(uid), directory_.people.at(uid).name, uid});
  CompareUser(name);
}

void World::LoadUserByNumber(const Step& step) {
  UserSlot& slot = users_[step.slot % kSlots];
  auto person = directory_.people.begin();
  std::advance(person, step.a % directory_.people.size());
  const int uid = step.b % 8 == 0 ? person->first + 100000 : person->first;
  Tell("user = LoadUser(" + std::to_string(uid) + ")");
  SDK::User* const user = SDK::User::LoadUser(uid);
  Same("is there", uid == person->first, user != nullptr);
  if (user != nullptr) Put(slot.user, user, slot.model, {person->second, person->second.name, uid});
}

void World::CreateUser(const Step& step) {
  UserSlot& slot = users_[step.slot % kSlots];
  const std::string name = AnyOf(People(), NoNames(), step.a);
  Tell("user = CreateUser(" + Quoted(name) + ")");
  SDK::User* const user = SDK::User::CreateUser(name);
  Same("is free", directory_.FindPerson(name) == -1, user != nullptr);
  if (user != nullptr) Put(slot.user, user, slot.model, {NewPerson(name), "", -1});
}

void World::ChangeUser(const Step& step) {
  UserSlot& slot = users_[step.slot % kSlots];
  if (slot.user == nullptr) return Tell("");
  Person& fields = slot.model.fields;
  const std::string text = OneOf(Descriptions(), step.b);
  switch (step.a % 5) {
    case 0:
      slot.user->SetDesc(fields.desc = text);
      return Tell("user.SetDesc(" + Quoted(text) + ")");
    case 1:
      slot.user->SetEmail(fields.email = text);
      return Tell("user.SetEmail(" + Quoted(text) + ")");
    case 2:
      fields.expire = kDays[step.b % std::size(kDays)];
      slot.user->SetExpire(fields.expire);
      return Tell("user.SetExpire(" + std::to_string(fields.expire) + ")");
    case 3:
      fields.privilege = kMasks[step.b % std::size(kMasks)];
      slot.user->SetPrivilege(fields.privilege);
      return Tell("user.SetPrivilege(" + std::to_string(fields.privilege) + ")");
    default:
      fields.keeps_password = step.b % 2 == 1;
      slot.user->SetDisallowChPasswd(fields.keeps_password);
      return Tell("user.SetDisallowChPasswd(" + Shown(fields.keeps_password) + ")");
  }
}

void World::RenameUser(const Step& step) {
  UserSlot& slot = users_[step.slot % kSlots];
  if (slot.user == nullptr) return Tell("");
  slot.model.fields.name = AnyOf(People(), NoNames(), step.a);
  Tell("user.SetName(" + Quoted(slot.model.fields.name) + ")");
  slot.user->SetName(slot.model.fields.name);
}

void World::SetDate(const Step& step) {
  UserSlot& slot = users_[step.slot % kSlots];
  if (slot.user == nullptr) return Tell("");
  const Date& date = kDates[step.a % std::size(kDates)];
  Tell("user.SetExpiredDate(" + Quoted(date.text) + ")");
  Same("result", date.day == -2 ? -1 : 0, slot.user->SetExpiredDate(date.text));
  if (date.day != -2) slot.model.fields.expire = date.day;
  Same("day", slot.model.fields.expire, slot.user->GetExpire());
  if (date.day != -2) Same("date", std::string(date.text), slot.user->GetExpiredDate());
}

void World::SaveUser(const Step& step) {
  UserSlot& slot = users_[step.slot % kSlots];
  if (slot.user == nullptr) return Tell("");
  const PersonObject& object = slot.model;
  Tell("user.Save()  (uid " + std::to_string(object.uid) + ", loaded as " + Quoted(object.loaded) + ", now " +
       Quoted(object.fields.name) + ")");
  const Refusals refusals = directory_.Save(object);
  SameResult(refusals, slot.user->Save());
  if (refusals.empty() && object.uid == -1) {
    SDK::User* const stored = SDK::User::LoadUser(object.fields.name);
    if (stored == nullptr) Differ("made", "an account", "none");
    const int uid = stored->GetUID();
    SDK::User::Release(stored);
    Same("number is new", true, directory_.people.count(uid) == 0 && uid > 1000);
    directory_.Number(object.fields.name, uid);
  }
  CompareUser(object.fields.name);
  CompareUser(object.loaded);
}

void World::CompareUser(const std::string& name) {
  const int uid = directory_.FindPerson(name);
  Same("exists", uid != -1, SDK::User::IsUserExist(name));
  if (uid == -1) return;
  const Person& person = directory_.people.at(uid);
  SDK::User* const user = SDK::User::LoadUser(name);
  KESTUSER record = {};
  user->ConvertToSDKUSER(&record);
  Same("name", person.name, std::string(record.name));
  Same("description", person.desc, std::string(record.desc));
  Same("mail", person.email, std::string(record.email));
  Same("home", person.home, std::string(record.home));
  Same("shell", person.shell, std::string(record.shell));
  Same("numbers", Texts{std::to_string(uid), std::to_string(person.gid), std::to_string(person.expire)},
       Texts{std::to_string(record.uid), std::to_string(record.gid), std::to_string(record.expire)});
  Same("privilege", person.privilege, record.privilege);
  Same("attributes", person.attributes, record.attr);
  Same("keeps its password", person.keeps_password, record.noChPasswd != 0);
  SDK::User::Release(user);
}

void World::ListUsers(const Step& step) {
  const Page page = AnyPage(step.a);
  const std::string prefix = OneOf(Prefixes(), step.b);
  CompareUserList(page.offset, page.limit, step.slot % 4 == 0 ? nullptr : prefix.c_str());
}

void World::CompareUserList(int offset, int limit, const char* prefix) {
  Tell("EnumUsers(" + std::to_string(offset) + ", " + std::to_string(limit) + ", " +
       (prefix != nullptr ? Quoted(prefix) : "null") + ")");
  const Page page = {offset, limit};
  Json::Value expected, actual;
  expected["items"] = Json::Value(Json::arrayValue);
  int count = 0;
  for (const auto& [folded, name] : InOrder(directory_.people, prefix != nullptr ? prefix : "")) {
    if (!page.Shows(count++)) continue;
    const Person& person = directory_.people.at(directory_.FindPerson(name));
    Json::Value item;
    item["name"] = person.name;
    item["descr"] = person.desc;
    item["email"] = person.email;
    item["disabled"] = StatusOf(person.expire);
    expected["items"].append(item);
  }
  expected["total"] = count;
  Same("result", 1, SDK::User::EnumUsers(offset, limit, AUTH_TYPE_LOCAL, prefix, actual));
  Same("list", expected, actual);
}

void World::LocateUser(const Step& step) {
  const std::string name = AnyOf(People(), NoNames(), step.a);
  Tell("GetUserLocation(" + Quoted(name) + ")");
  const Names people = InOrder(directory_.people, "");
  int position = -7;
  Same("result", 1, SDK::User::GetUserLocation(name, AUTH_TYPE_LOCAL, &position));
  Same("position", static_cast<int>(std::distance(people.begin(), people.find(Folded(name)))), position);
}

}  // namespace model
