// Lists of shares.
#include "internal/log.h"
#include "internal/platform_record.h"
#include "internal/text_of.h"
#include "platform/klib.h"
#include "share.h"
#include "share_priv.h"

namespace {

constexpr char kLogSource[] = "share";

constexpr int kVectorBytes = 512;
constexpr int kDocumentBytes = 2048;

enum Restriction { kNoListing = 1, kNoModification = 2, kNoDownload = 4 };

using SDK::SharePriv;
using tarvel_internal::TextList;
using ShareRecord = tarvel_internal::PlatformRecord<KESTSHARE, KESTShareFree>;

// The number of names, negative after a failure.
int Enumerate(TextList& names, KEST_SHARE_ENUM type, const char* prefix) {
  const int count =
      prefix != nullptr ? KESTShareEnumByPrefix(names.Slot(), type, prefix, 1) : KESTShareEnum(names.Slot(), type);
  if (count >= 0) return count;
  if (prefix != nullptr) {
    // The words of the groups, on purpose.
    LogError("%s:%d: Failed to enum groups by prefix");
  } else {
    LogError("%s:%d: Failed to enum shares");
  }
  return count;
}

int EncryptionShown(int state) {
  if ((state & SharePriv::kEncrypted) == 0) return 0;
  // Against intuition on purpose: both values together are shown as 1.
  return (state & SharePriv::kSecondState) != 0 ? 1 : 2;
}

Json::Value Item(const char* name, const KESTSHARE& share) {
  Json::Value item;
  item["name"] = name;
  item["descr"] = tarvel_internal::TextOf(share.desc);
  item["hidden"] = share.browseable == 0;
  item["disable_list"] = (share.ftp & kNoListing) != 0;
  item["disable_modify"] = (share.ftp & kNoModification) != 0;
  item["disable_download"] = (share.ftp & kNoDownload) != 0;
  item["enc_auto_mount"] = (share.enc & SharePriv::kAutoMount) != 0;
  item["encryption"] = EncryptionShown(share.enc);
  return item;
}

}  // namespace

std::vector<std::string> SDK::Share::EnumShares(KEST_SHARE_ENUM type) {
  std::vector<std::string> shares;
  TextList names(kVectorBytes);
  if (!names) return shares;
  const int count = KESTShareEnum(names.Slot(), type);
  for (int i = 0; i < count; ++i) shares.emplace_back(names.At(i));
  return shares;
}

int SDK::Share::EnumShares(KEST_SHARE_ENUM type, const char* prefix, Json::Value& out) {
  Json::Value items(Json::arrayValue);
  TextList names(kDocumentBytes);
  if (!names) return 0;
  ShareRecord record;
  const int count = Enumerate(names, type, prefix);
  if (count < 0) return 0;
  KLIBSzListSortItems(names.get(), KLIB_SZLIST_SORT_NO_CASE);
  for (int i = 0; i < count; ++i) {
    const char* const name = names.At(i);
    if (KESTShareGet(name, record.Slot()) != 0) {
      LogError("%s:%d: Failed to get share info for %s", name);
    } else {
      items.append(Item(name, *record.get()));
    }
  }
  out["total"] = count;
  out["items"] = items;
  return 1;
}
