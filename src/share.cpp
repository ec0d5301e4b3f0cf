#include "share.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/text_of.h"
#include "platform/klib.h"
#include "share_priv.h"
#include "webutils.h"

namespace {

constexpr char kLogSource[] = "share";

constexpr int kVolumePathBytes = 64;
constexpr char kSeparator[] = ",";

using Names = SDK::SharePriv::Names;
using tarvel_internal::TextOf;
using ShareRecord = tarvel_internal::PlatformRecord<KESTSHARE, KESTShareFree>;

Names SetOf(const std::string& list) {
  Names names;
  for (const std::string& name : WebUtils::StringExplode(list, kSeparator)) names.insert(name);
  return names;
}

std::string ListOf(const Names& names) {
  return WebUtils::StringImplode(std::vector<std::string>(names.begin(), names.end()), kSeparator);
}

}  // namespace

SDK::SharePriv::SharePriv(const KESTSHARE& record)
    : name(TextOf(record.name)),
      desc(TextOf(record.desc)),
      full_path(TextOf(record.path)),
      loaded_name(name),
      rw_set(SetOf(TextOf(record.rw))),
      ro_set(SetOf(TextOf(record.ro))),
      na_set(SetOf(TextOf(record.na))),
      rw_list(TextOf(record.rw)),
      ro_list(TextOf(record.ro)),
      na_list(TextOf(record.na)),
      status(record.enc),
      ftp_privilege(record.ftp),
      attributes(record.attr),
      browseable(record.browseable != 0) {}

SDK::Share::Share(const std::string& name, const std::string& path, bool browseable)
    : body_(new SharePriv(name, path, browseable)) {}

SDK::Share::Share(KESTSHARE* record) : body_(new SharePriv(*record)) {}

SDK::Share::~Share() = default;

SDK::Share* SDK::Share::ConvertShare(KESTSHARE* record) { return record != nullptr ? new Share(record) : nullptr; }

SDK::Share* SDK::Share::LoadShare(const std::string& name) {
  ShareRecord record;
  // Exactly 0, while IsShareExist() accepts positive answers: deliberately so.
  if (KESTShareGet(name.c_str(), record.Slot()) != 0) return nullptr;
  return new Share(record.get());
}

SDK::Share* SDK::Share::CreateShare(const std::string& name, const std::string& path, bool browseable) {
  return IsShareCreatable(name) < 0 ? nullptr : new Share(name, path, browseable);
}

bool SDK::Share::IsShareExist(const std::string& name) {
  ShareRecord record;
  return KESTShareGet(name.c_str(), record.Slot()) >= 0;
}

void SDK::Share::Release(Share* share) { delete share; }

std::string SDK::Share::GetName() const { return body_->name; }
std::string SDK::Share::GetDesc() const { return body_->desc; }
std::string SDK::Share::GetFullPath() const { return body_->full_path; }
int SDK::Share::GetStatus() const { return body_->status; }
int SDK::Share::GetFTPPrivilege() const { return body_->ftp_privilege; }
bool SDK::Share::GetBrowseable() const { return body_->browseable; }

void SDK::Share::SetDesc(std::string desc) { body_->desc = desc; }
void SDK::Share::SetFTPPrivilege(int privilege) { body_->ftp_privilege = privilege; }
void SDK::Share::SetBrowseable(bool browseable) { body_->browseable = browseable; }

void SDK::Share::SetPath(std::string volumePath, std::string name) { body_->full_path = volumePath + "/" + name; }

void SDK::Share::GetVolumePath(char* buf, int size) const {
  if (buf == nullptr || size <= 0) return;
  std::snprintf(buf, static_cast<size_t>(size), "%s", body_->full_path.c_str());
  // The last "/" of what fits, on purpose.
  char* const slash = std::strrchr(buf, '/');
  if (slash != nullptr) *slash = '\0';
}

void SDK::Share::ChangeName(std::string newName) {
  // Longer paths are cut on purpose, the old name included.
  char volume_path[kVolumePathBytes] = "";
  GetVolumePath(volume_path, kVolumePathBytes);
  body_->name = newName;
  SetPath(volume_path, newName);
}

void SDK::Share::SetMoveArgs(KESTCOPYARGS* args) {
  if (args == nullptr) return;
  auto* const copy = static_cast<KESTCOPYARGS*>(std::calloc(1, sizeof(KESTCOPYARGS)));
  if (copy == nullptr) {
    LogError("%s:%d Failed to calloc for KESTCOPYARGS, errno=%s", std::strerror(errno));
    return;
  }
  *copy = *args;
  body_->move_args.reset(copy);
}

// Neither the stored name nor the move is forgotten, on purpose: each Save() asks for the same.
bool SDK::Share::Save() {
  std::string na = ListOf(body_->na_set);
  std::string rw = ListOf(body_->rw_set);
  std::string ro = ListOf(body_->ro_set);
  KESTSHARE record = {};
  record.name = body_->name.data();
  record.desc = body_->desc.data();
  record.path = body_->full_path.data();
  record.na = na.data();
  record.rw = rw.data();
  record.ro = ro.data();
  record.attr = body_->attributes;
  record.browseable = body_->browseable ? 1 : 0;
  record.ftp = body_->ftp_privilege;
  record.enc = body_->status;
  const std::string& existing = body_->loaded_name;
  if (KESTShareSet(existing.empty() ? nullptr : existing.c_str(), &record, body_->move_args.get()) < 0) {
    LogError("%s:%d KESTShareSet failed[%X]", static_cast<unsigned>(KLIBErrGet()));
    return false;
  }
  body_->na_list.swap(na);
  body_->rw_list.swap(rw);
  body_->ro_list.swap(ro);
  return true;
}
