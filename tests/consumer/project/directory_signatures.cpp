// Must compile and link: programs rely on the very types of these operations and on the layout of these records. Users,
// groups, shares, and the file manager.
#include <tarvel/file_share.h>
#include <tarvel/group.h>
#include <tarvel/share.h>
#include <tarvel/user.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

using SDK::Group;
using SDK::Share;
using SDK::User;

template <typename Function>
void Is(Function) {}

using Text = const std::string&;
using Texts = std::vector<std::string>;

// One pointer to what they keep.
static_assert(sizeof(User) == sizeof(void*) && sizeof(Group) == sizeof(void*) && sizeof(Share) == sizeof(void*));
static_assert(std::is_empty_v<TarvelFileShare> && std::is_default_constructible_v<TarvelFileShare>);
static_assert(std::is_constructible_v<User, Text> && std::is_constructible_v<User, KESTUSER*>);
static_assert(std::is_constructible_v<Group, Text> && std::is_constructible_v<Group, KESTGROUP*>);
static_assert(std::is_constructible_v<Share, Text, Text, bool> && std::is_constructible_v<Share, KESTSHARE*>);

using Folder = _tag_SUBDIR_ENTRY_INFO_;
static_assert(std::is_same_v<decltype(Folder::name), std::string> && offsetof(Folder, name) == 0);
static_assert(std::is_same_v<decltype(Folder::path), std::string> && offsetof(Folder, path) == sizeof(std::string));
static_assert(sizeof(Folder::size) == 8 && std::is_signed_v<decltype(Folder::size)>);
static_assert(std::is_same_v<decltype(Folder::mode), uint32_t> && std::is_same_v<decltype(Folder::mtime), int32_t>);
static_assert(std::is_same_v<decltype(Folder::uid), uint32_t> && std::is_same_v<decltype(Folder::gid), uint32_t>);
static_assert(sizeof(WEBFMERR) == 4 && sizeof(WEBFM_SHARE_PRIVILEGE) == 4);

void Users() {
  Is<User* (*)(int)>(&User::LoadUser);
  Is<User* (*)(Text)>(&User::LoadUser);
  Is<User* (*)(Text)>(&User::CreateUser);
  Is<bool (*)(Text)>(&User::IsUserExist);
  Is<void (*)(User*)>(&User::Release);
  Is<void (*)(std::vector<User*>&)>(&User::ReleaseUserList);
  Is<int (User::*)(KESTUSER*) const>(&User::ConvertToSDKUSER);
  Is<int (User::*)(KESTUSER*)>(&User::ConvertFromSDKUSER);
  Is<bool (User::*)()>(&User::Save);
  Is<bool (User::*)() const>(&User::IsExpired);
  Is<std::string (User::*)()>(&User::GetStatus);
  Is<std::string (User::*)()>(&User::GetExpiredDate);
  Is<int (User::*)(std::string)>(&User::SetExpiredDate);
  Is<int (*)(Text, AUTH_TYPE, int*)>(&User::GetUserLocation);
  Is<int (*)(int, int, AUTH_TYPE, std::vector<User*>&)>(&User::EnumAllUsers);
  Is<int (*)(int, int, AUTH_TYPE, const char*, std::vector<User*>&)>(&User::EnumUsers);
  Is<int (*)(int, int, AUTH_TYPE, const char*, Json::Value&)>(&User::EnumUsers);
}

void Groups() {
  Is<Group* (*)(Text)>(&Group::LoadGroup);
  Is<Group* (*)(Text)>(&Group::CreateGroup);
  Is<bool (*)(Text)>(&Group::IsGroupExist);
  Is<void (*)(Group*)>(&Group::Release);
  Is<bool (Group::*)(Text)>(&Group::IsMember);
  Is<int (Group::*)(Text)>(&Group::GetMemberPos);
  Is<int (Group::*)()>(&Group::GetMemberCount);
  Is<void (Group::*)(Text)>(&Group::AddMember);
  Is<void (Group::*)(Text)>(&Group::RemoveMember);
  Is<void (Group::*)(std::string&)>(&Group::SetName);
  Is<void (Group::*)(Text)>(&Group::SetDesc);
  Is<bool (Group::*)()>(&Group::Save);
  Is<int (*)(Text, AUTH_TYPE, int*)>(&Group::GetGroupLocation);
  Is<int (*)(int, int, AUTH_TYPE, const char*, const char*, Json::Value&)>(&Group::EnumGroups);
}

void Shares() {
  Is<Share* (*)(KESTSHARE*)>(&Share::ConvertShare);
  Is<Share* (*)(Text)>(&Share::LoadShare);
  Is<Share* (*)(Text, Text, bool)>(&Share::CreateShare);
  Is<bool (*)(Text)>(&Share::IsShareExist);
  Is<void (*)(Share*)>(&Share::Release);
  Is<void (Share::*)(std::string)>(&Share::SetDesc);
  Is<void (Share::*)(int)>(&Share::SetFTPPrivilege);
  Is<void (Share::*)(bool)>(&Share::SetBrowseable);
  Is<void (Share::*)(std::string, std::string)>(&Share::SetPath);
  Is<void (Share::*)(char*, int) const>(&Share::GetVolumePath);
  Is<void (Share::*)(std::string)>(&Share::ChangeName);
  Is<void (Share::*)(KESTCOPYARGS*)>(&Share::SetMoveArgs);
  Is<bool (*)(Text)>(&Share::IsShareName);
  Is<bool (*)(Text)>(&Share::IsShareNameReserved);
  Is<bool (*)(Text)>(&Share::UsedBySurveillance);
  Is<bool (*)(Text)>(&Share::IsShareForExternalBackup);
  Is<bool (*)(Text)>(&Share::IsSharePermissionSetable);
  Is<bool (*)(std::string)>(&Share::IsServiceShare);
  Is<bool (*)(std::string&)>(&Share::IsShareDescription);
  Is<bool (*)(char*)>(&Share::IsSATAShare);
  Is<bool (*)(char*)>(&Share::IsUSBShare);
  Is<int (*)(Text)>(&Share::IsShareCreatable);
  Is<int (*)(Text, Text)>(&Share::IsShareRenameTo);
  Is<bool (*)()>(&Share::IsReachMaxShareCount);
  Is<bool (Share::*)()>(&Share::Save);
  Is<void (Share::*)(Text)>(&Share::AddToRW);
  Is<void (Share::*)(Text)>(&Share::AddToRO);
  Is<void (Share::*)(Text)>(&Share::AddToNA);
  Is<void (Share::*)(Text)>(&Share::RemoveFromRW);
  Is<void (Share::*)(Text)>(&Share::RemoveFromRO);
  Is<void (Share::*)(Text)>(&Share::RemoveFromNA);
  Is<bool (Share::*)(Text) const>(&Share::InRW);
  Is<bool (Share::*)(Text) const>(&Share::InRO);
  Is<bool (Share::*)(Text) const>(&Share::InNA);
  Is<int (Share::*)(Text)>(&Share::GetAccessRight);
  Is<bool (Share::*)()>(&Share::isAccessRightConflict);
  Is<void (Share::*)(int, std::string)>(&Share::CreateEncryption);
  Is<int (Share::*)(int, std::string, std::string)>(&Share::SetEncryption);
  Is<bool (Share::*)(int)>(&Share::IsEncryptionChanged);
  Is<Texts (*)(KEST_SHARE_ENUM)>(&Share::EnumShares);
  Is<int (*)(KEST_SHARE_ENUM, const char*, Json::Value&)>(&Share::EnumShares);
}

void FileManager() {
  Is<void (TarvelFileShare::*)(WEBFMERR)>(&TarvelFileShare::WfmLibSetErr);
  Is<WEBFMERR (TarvelFileShare::*)()>(&TarvelFileShare::WfmLibGetErr);
  Is<int (TarvelFileShare::*)(const char*, const char*)>(&TarvelFileShare::WfmLibUGIDSet);
  Is<int (TarvelFileShare::*)(const char*)>(&TarvelFileShare::WfmCheckPath);
  Is<BOOL (TarvelFileShare::*)(const char*, char*, int)>(&TarvelFileShare::WfmLibRealFullPathGet);
  Is<char* (TarvelFileShare::*)(const char*, BOOL)>(&TarvelFileShare::WfmLibGetTokOfPath);
  Is<bool (TarvelFileShare::*)(Text, const char*)>(&TarvelFileShare::IsDirUserHome);
  Is<int (TarvelFileShare::*)(std::string&, std::string)>(&TarvelFileShare::WfmUserHomeFullPathGet);
  Is<int (TarvelFileShare::*)(const char*, std::string&, std::string&, std::string&, std::string&, std::string)>(
      &TarvelFileShare::WfmFullPathGet);
  Is<unsigned (TarvelFileShare::*)(unsigned)>(&TarvelFileShare::GetPrivilege);
  Is<int (TarvelFileShare::*)(const char*, const char*, const char*, WEBFM_SHARE_PRIVILEGE*, int*)>(
      &TarvelFileShare::WfmLibGetPrivilege);
  Is<PSZLIST (TarvelFileShare::*)(char*, BOOL, BOOL, KESTUSER*)>(&TarvelFileShare::WfmLibValidShareGen);
  Is<int (TarvelFileShare::*)(std::string, std::vector<_tag_SUBDIR_ENTRY_INFO_>&)>(&TarvelFileShare::WfmLibEnumSubDir);
}

int main() {
  const Folder folder = {"name", "/path/name", 1, 2, 3, 4, 5};
  std::set<std::string, SDK::LTOBJ> names = {folder.name, "Name"};

  User user("alice");
  user.SetName("bob");
  user.SetDesc("description");
  user.SetEmail("bob@example.org");
  user.SetPasswd("secret");
  user.SetExpire(1);
  user.SetPrivilege(3);
  user.SetDisallowChPasswd(true);
  const User& stored = user;
  names.insert(stored.GetName() + stored.GetDesc() + stored.GetEmail() + stored.GetUserHome());
  const int numbers = stored.GetUID() + stored.GetGID() + stored.GetExpire() + stored.GetAppPrivilege();

  const Group group("editors");
  const AUTH_TYPE source = group.GetAuthType();
  names.insert(group.GetName() + group.GetDesc());
  const Texts members = group.GetMembers();

  const Share share("photo", "/volume1/photo", true);
  names.insert(share.GetName() + share.GetDesc() + share.GetFullPath());
  const int bits = share.GetStatus() + share.GetFTPPrivilege() + group.GetGID();
  return stored.IsDisallowChPasswd() && share.GetBrowseable() && names.size() > 9 && members.empty() && source == 1
             ? numbers + bits
             : 0;
}
