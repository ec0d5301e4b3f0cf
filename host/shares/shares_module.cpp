#include "host/shares/shares_module.h"

#include <stdlib.h>
#include <string.h>

#include "host/accounts/directory.h"
#include "host/database/database_error.h"
#include "host/klib/error_code.h"
#include "host/shares/share_database.h"
#include "host/shares/share_encryption.h"
#include "host/shares/share_recovery.h"
#include "host/shares/share_save.h"

namespace kest {
namespace {

// The shares through this process's connection, with the questions that pages ask again and again kept prepared;
// nullptr when the database cannot be opened.
ShareDatabase* Opened() {
  const std::shared_ptr<Database> directory = Directory();
  static std::unique_ptr<ShareDatabase> shares;
  if (directory == nullptr) {
    shares.reset();
  } else if (shares == nullptr || &shares->database() != directory.get()) {
    shares = std::make_unique<ShareDatabase>(directory);
  }
  return shares.get();
}

int ToResult(Lookup found) {
  if (found == Lookup::kFailed) return DatabaseFailure();
  return found == Lookup::kFound ? 0 : -kErrorNoSuchObject;
}

// The record and its texts in one block.
KESTSHARE* NewRecord(const Share& share) {
  const std::string* const texts[] = {&share.name,
                                      &share.description,
                                      &share.path,
                                      &share.lists[kNoAccess],
                                      &share.lists[kReadWrite],
                                      &share.lists[kReadOnly]};
  size_t size = sizeof(KESTSHARE);
  for (const std::string* text : texts) size += text->size() + 1;
  auto* const record = static_cast<KESTSHARE*>(calloc(1, size));
  if (record == nullptr) return nullptr;
  char** const fields[] = {&record->name, &record->desc, &record->path, &record->na, &record->rw, &record->ro};
  char* at = reinterpret_cast<char*>(record + 1);
  for (size_t i = 0; i < sizeof(fields) / sizeof(fields[0]); ++i) {
    *fields[i] = static_cast<char*>(memcpy(at, texts[i]->c_str(), texts[i]->size() + 1));
    at += texts[i]->size() + 1;
  }
  record->attr = share.attributes;
  record->browseable = share.browseable;
  record->ftp = share.restrictions;
  record->enc = share.encryption;
  return record;
}

int Record(const char* name, KESTSHARE** out) {
  ShareDatabase* const shares = Opened();
  if (shares == nullptr) return DatabaseFailure();
  Share share;
  if (int failure = ToResult(shares->Find(name, &share))) return failure;
  *out = NewRecord(share);
  return *out == nullptr ? -kErrorNoMemory : 0;
}

void FreeRecords(KESTSHARE** records) {
  for (KESTSHARE** at = records; *at != nullptr; ++at) free(*at);
  free(records);
}

int Records(KESTSHARE*** out) {
  ShareDatabase* const shares = Opened();
  std::vector<Share> all;
  if (shares == nullptr || !shares->List(&all)) return DatabaseFailure();
  auto** const records = static_cast<KESTSHARE**>(calloc(all.size() + 1, sizeof(KESTSHARE*)));
  if (records == nullptr) return -kErrorNoMemory;
  for (size_t i = 0; i < all.size(); ++i) {
    records[i] = NewRecord(all[i]);
    if (records[i] != nullptr) continue;
    FreeRecords(records);
    return -kErrorNoMemory;
  }
  *out = records;
  return 0;
}

int Visit(const char* prefix, void (*visit)(const KestShareLine* line, void* data), void* data) {
  ShareDatabase* const shares = Opened();
  const auto pass = [&](const char* name, const char* path, int encryption) {
    const KestShareLine line = {name, path, encryption};
    visit(&line, data);
  };
  return shares != nullptr && shares->Visit(prefix, pass) ? 0 : DatabaseFailure();
}

int Set(const KestShareChange* change, const KestFoldersModule* folders) {
  ShareDatabase* const shares = Opened();
  return shares == nullptr ? DatabaseFailure() : SaveShare(*shares, *folders, *change);
}

int Encrypt(const char* name, int step, const char* passphrase, const char* volume, const KestFoldersModule* folders) {
  ShareDatabase* const shares = Opened();
  if (shares == nullptr) return DatabaseFailure();
  return EncryptionStep(*shares, *folders, {name, step, passphrase, volume});
}

int IsMember(const char* user, const char* group) {
  ShareDatabase* const shares = Opened();
  bool answer = false;
  if (shares == nullptr || !shares->IsMember(user, group, &answer)) return DatabaseFailure();
  return answer ? 1 : 0;
}

int MembersChanged(const KestFoldersModule* folders) {
  // As long as a save of a share takes as a rule; one that is copied now is rendered by whoever comes next.
  constexpr int kWait_s = 1;
  ShareDatabase* const shares = Opened();
  return shares == nullptr ? DatabaseFailure() : RenderChanged(*shares, *folders, kWait_s);
}

int IsInterrupted() {
  ShareDatabase* const shares = Opened();
  bool answer = false;
  if (shares == nullptr || !shares->IsInterrupted(&answer)) return DatabaseFailure();
  return answer ? 1 : 0;
}

int Recover(const KestFoldersModule* folders) {
  ShareDatabase* const shares = Opened();
  if (shares == nullptr) return DatabaseFailure();
  const int recovered = RecoverShares(*shares, *folders);
  const int rendered = RenderChanged(*shares, *folders, 0);
  return recovered != 0 ? recovered : rendered;
}

}  // namespace
}  // namespace kest

const KestSharesModule* KestSharesModuleTable(void) {
  static constexpr KestSharesModule kTable = {kest::Record,  kest::Records,  kest::Visit,          kest::Set,
                                              kest::Encrypt, kest::IsMember, kest::MembersChanged, kest::IsInterrupted,
                                              kest::Recover};
  return &kTable;
}
