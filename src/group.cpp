#include "group.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <set>

#include "internal/buffer.h"
#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/text_of.h"
#include "platform/klib.h"
#include "user.h"

namespace {

constexpr char kLogSource[] = "group";

constexpr char kEverybody[] = "users";
constexpr int kUnsaved = -1;

using tarvel_internal::TextOf;
using GroupRecord = tarvel_internal::PlatformRecord<KESTGROUP, KESTGroupFree>;

}  // namespace

// Not in the header: a program with a set of names would have to be linked with the platform's libraries, too.
bool SDK::LTOBJ::operator()(const std::string& a, const std::string& b) const {
  return KLIBUnicodeUTF8StrCaseCmp(a.c_str(), b.c_str()) < 0;
}

struct SDK::Group::Body {
  std::string name;
  std::string loaded_name;
  std::string desc;
  std::set<std::string, LTOBJ> members;
  int gid = kUnsaved;
  AUTH_TYPE auth_type = AUTH_TYPE_LOCAL;
  bool desc_changed = false;

  explicit Body(const std::string& of) : name(of) {}

  explicit Body(const KESTGROUP& record)
      : name(TextOf(record.name)),
        loaded_name(name),
        gid(record.gid),
        auth_type(static_cast<AUTH_TYPE>(record.source)) {
    for (char** member = record.members; member != nullptr && *member != nullptr; ++member) members.insert(*member);
  }

  bool IsEverybody() const { return name == kEverybody; }

  bool SaveMembers() const;
};

SDK::Group::Group(const std::string& name) : body_(new Body(name)) {}

SDK::Group::Group(KESTGROUP* record) : body_(new Body(*record)) {
  char* text = nullptr;
  int ignored = 0;
  const int result = KESTGroupDescGet(body_->name.c_str(), &text, &ignored);
  const tarvel_internal::Buffer desc(text);
  if (result < 0) {
    LogError("%s:%d: Failed to get group info for %s", body_->name.c_str());
  } else {
    body_->desc = TextOf(desc.get());
  }
}

SDK::Group::~Group() = default;

SDK::Group* SDK::Group::LoadGroup(const std::string& name) {
  GroupRecord record;
  // Exactly 0, while IsGroupExist() accepts positive answers: deliberately so.
  if (KESTGroupGet(name.c_str(), record.Slot()) != 0) return nullptr;
  return new Group(record.get());
}

SDK::Group* SDK::Group::CreateGroup(const std::string& name) { return IsGroupExist(name) ? nullptr : new Group(name); }

bool SDK::Group::IsGroupExist(const std::string& name) {
  GroupRecord record;
  return KESTGroupGet(name.c_str(), record.Slot()) >= 0;
}

void SDK::Group::Release(Group* group) { delete group; }

std::string SDK::Group::GetName() const { return body_->name; }
std::string SDK::Group::GetDesc() const { return body_->desc; }
int SDK::Group::GetGID() const { return body_->gid; }
AUTH_TYPE SDK::Group::GetAuthType() const { return body_->auth_type; }

void SDK::Group::SetName(std::string& name) {
  if (!body_->IsEverybody()) body_->name = name;
}

void SDK::Group::SetDesc(const std::string& desc) {
  if (desc == body_->desc) return;
  body_->desc = desc;
  body_->desc_changed = true;
}

bool SDK::Group::IsMember(const std::string& user) {
  return body_->IsEverybody() ? User::IsUserExist(user) : body_->members.count(user) != 0;
}

int SDK::Group::GetMemberPos(const std::string& user) {
  if (body_->IsEverybody()) return -1;
  const auto& members = body_->members;
  const auto found = std::find_if(members.begin(), members.end(), [&user](const std::string& member) {
    return KLIBUnicodeUTF8StrCaseCmp(member.c_str(), user.c_str()) == 0;
  });
  return found == members.end() ? -1 : static_cast<int>(std::distance(members.begin(), found));
}

int SDK::Group::GetMemberCount() {
  return body_->IsEverybody() ? KESTUserTotalNum(body_->auth_type) : static_cast<int>(body_->members.size());
}

void SDK::Group::AddMember(const std::string& user) {
  if (!body_->IsEverybody()) body_->members.insert(user);
}

void SDK::Group::RemoveMember(const std::string& user) {
  if (!body_->IsEverybody()) body_->members.erase(user);
}

std::vector<std::string> SDK::Group::GetMembers() const { return {body_->members.begin(), body_->members.end()}; }

bool SDK::Group::Body::SaveMembers() const {
  const std::unique_ptr<char*[]> names(new (std::nothrow) char*[members.size() + 1]());
  if (!names) {
    LogError("%s:%d Failed to allocate memory");
    return false;
  }
  char** next = names.get();
  for (const std::string& member : members) *next++ = const_cast<char*>(member.c_str());
  // The source is 0 on purpose, whatever the group's is.
  KESTGROUP record = {const_cast<char*>(name.c_str()), gid, names.get(), 0, 0};
  if (KESTGroupSet(loaded_name.empty() ? nullptr : loaded_name.c_str(), &record) < 0) {
    LogError("%s:%d KESTGroupSet failed");
    return false;
  }
  return true;
}

// The object stays as it is on purpose, the changed description included: each Save() writes the same again.
bool SDK::Group::Save() {
  if (!body_->IsEverybody() && !body_->SaveMembers()) return false;
  const bool renamed = body_->name != body_->loaded_name;
  // For a new group, too, which removes the description of the group "": deliberately so.
  if (renamed) KESTGroupDescSet(body_->loaded_name.c_str(), nullptr);
  if (renamed || body_->desc_changed) KESTGroupDescSet(body_->name.c_str(), body_->desc.c_str());
  return true;
}
