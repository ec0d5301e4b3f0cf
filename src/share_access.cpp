// Who may use a share, and its encryption.
#include <cstdio>

#include "internal/log.h"
#include "internal/platform_record.h"
#include "platform/klib.h"
#include "share.h"
#include "share_priv.h"

namespace {

constexpr char kLogSource[] = "share";

constexpr int kNamesBytes = 512;

constexpr int kNoAccess = 4;
constexpr int kReadWrite = 2;
constexpr int kReadOnly = 1;

constexpr int kChangeKey = 3;
constexpr int kCheckKey = 4;

using SDK::SharePriv;

void Push(tarvel_internal::TextList& list, const SharePriv::Names& names) {
  for (const std::string& name : names) KLIBSzListPush(list.Slot(), name.c_str());
}

// The platform's answer to one step of a change; 0 is done.
int Step(_tag_KEST_SHARE_ENC_& request, int operation, KEST_SHARE_ENC_STEP step) {
  request.step = step;
  return KESTShareEncryptionAction(operation, &request);
}

void SetPassphrase(_tag_KEST_SHARE_ENC_& request, const std::string& passphrase) {
  std::snprintf(request.pass, sizeof request.pass, "%s", passphrase.c_str());
}

bool Encrypt(_tag_KEST_SHARE_ENC_& request, const std::string& passphrase) {
  SetPassphrase(request, passphrase);
  if (Step(request, kChangeKey, KEST_SHARE_ENC_STORE) == 0 && Step(request, kChangeKey, KEST_SHARE_ENC_START) == 0) {
    return true;
  }
  LogError("%s:%d Key encrypt failed.");
  return false;
}

bool MountAutomatically(_tag_KEST_SHARE_ENC_& request, const std::string& passphrase) {
  SetPassphrase(request, passphrase);
  if (Step(request, kCheckKey, KEST_SHARE_ENC_VERIFY) != 0) {
    LogError("%s:%d Key verify failed.");
    return false;
  }
  if (Step(request, kChangeKey, KEST_SHARE_ENC_STORE) != 0) {
    LogError("%s:%d Key encrypt failed.");
    return false;
  }
  return true;
}

bool MountByHand(_tag_KEST_SHARE_ENC_& request) {
  if (Step(request, kChangeKey, KEST_SHARE_ENC_REMOVE) == 0) return true;
  LogError("%s:%d Key encrypt failed.");
  return false;
}

}  // namespace

void SDK::Share::AddToRW(const std::string& name) { body_->rw_set.insert(name); }
void SDK::Share::AddToRO(const std::string& name) { body_->ro_set.insert(name); }
void SDK::Share::AddToNA(const std::string& name) { body_->na_set.insert(name); }

void SDK::Share::RemoveFromRW(const std::string& name) { body_->rw_set.erase(name); }
void SDK::Share::RemoveFromRO(const std::string& name) { body_->ro_set.erase(name); }
void SDK::Share::RemoveFromNA(const std::string& name) { body_->na_set.erase(name); }

bool SDK::Share::InRW(const std::string& name) const { return body_->rw_set.count(name) != 0; }
bool SDK::Share::InRO(const std::string& name) const { return body_->ro_set.count(name) != 0; }
bool SDK::Share::InNA(const std::string& name) const { return body_->na_set.count(name) != 0; }

int SDK::Share::GetAccessRight(const std::string& user) {
  // The lists as they are stored, on purpose: what is edited counts when it is saved.
  const auto is_in = [&user](const std::string& list) { return BlSDKUserIsInList(user.c_str(), list.c_str()) != 0; };
  if (is_in(body_->na_list)) return kNoAccess;
  if (is_in(body_->rw_list)) return kReadWrite;
  return is_in(body_->ro_list) ? kReadOnly : kNoAccess;
}

bool SDK::Share::isAccessRightConflict() {
  tarvel_internal::TextList na(kNamesBytes);
  tarvel_internal::TextList rw(kNamesBytes);
  tarvel_internal::TextList ro(kNamesBytes);
  if (!na || !rw || !ro) return false;
  Push(rw, body_->rw_set);
  Push(ro, body_->ro_set);
  Push(na, body_->na_set);
  return UserCheckRights(na.Slot(), rw.Slot(), ro.Slot()) > 0;
}

void SDK::Share::CreateEncryption(int status, std::string passphrase) {
  body_->status = status;
  body_->enc_key = passphrase;
}

int SDK::Share::SetEncryption(int status, std::string passphrase, std::string verifyPassphrase) {
  const int before = body_->status;
  if (before == status || (before & SharePriv::kStateMask) == SharePriv::kStateMask) return 1;
  const char* const name = body_->name.c_str();
  _tag_KEST_SHARE_ENC_ request = {};
  std::snprintf(request.name, sizeof request.name, "%s", name);
  bool done = true;
  if (status == SharePriv::kClear) {
    // The platform is not asked here, on purpose: the state is stored with the share.
    LogDebug("%s:%d Change encrypted share to clear normal share, name=%s", name);
  } else if (before == SharePriv::kClear) {
    LogDebug("%s:%d Change clear normal share to encrypted share, name=%s", name);
    done = Encrypt(request, passphrase);
  } else if ((status & SharePriv::kAutoMount) != 0) {
    LogDebug("%s:%d Change from manual to auto, name=%s", name);
    done = MountAutomatically(request, verifyPassphrase);
  } else {
    LogDebug("%s:%d Change from auto to manual, name=%s", name);
    done = MountByHand(request);
  }
  if (!done) return 0;
  body_->status = status;
  return 1;
}

bool SDK::Share::IsEncryptionChanged(int status) {
  const int before = body_->status;
  if (before == status) return false;
  if (before == SharePriv::kClear) return (status & SharePriv::kStateMask) == SharePriv::kEncrypted;
  return (before & SharePriv::kStateMask) == SharePriv::kEncrypted && status == SharePriv::kClear;
}
