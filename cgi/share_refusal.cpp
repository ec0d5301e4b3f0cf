#include "share_refusal.h"

#include <tarvel/share.h>

#include "failure_code.h"
#include "name_text.h"
#include "platform/klib.h"

namespace site {

namespace {

struct Failure {
  int code;
  const char* key;
};

constexpr Failure kFailures[] = {
    {kDenied, "error_share_denied"},
    {kNoSuchObject, "error_share_gone"},
    {kTaken, "error_share_name_taken"},
    {kBusy, "error_share_busy"},
    {kNoSpace, "error_share_no_room"},
    {kWrongPassphrase, "error_passphrase_wrong"},
    {kImpossible, "error_share_no_encryption"},
};

bool IsKept(const std::string& name) {
  return SDK::Share::IsShareNameReserved(name) || SDK::Share::UsedBySurveillance(name);
}

// Of a name that IsKept().
const char* KeeperOf(const std::string& name) {
  std::string text = name;
  if (SDK::Share::UsedBySurveillance(name)) return "error_share_name_recordings";
  if (SDK::Share::IsShareForExternalBackup(name)) return "error_share_name_backup";
  const bool is_disk = SDK::Share::IsUSBShare(text.data()) || SDK::Share::IsSATAShare(text.data());
  return is_disk ? "error_share_name_disk" : "error_share_name_reserved";
}

}  // namespace

const char* RefusalOfNewName(const std::string& name) {
  switch (SDK::Share::IsShareCreatable(name)) {
    case -1:
      return "error_share_name_taken";
    case -2:
      return "error_share_name";
    case -3:
      return KeeperOf(name);
    default:
      return SDK::Share::IsServiceShare(name) ? "error_share_name_service" : nullptr;
  }
}

const char* RefusalOfRename(const std::string& from, const std::string& to) {
  switch (SDK::Share::IsShareRenameTo(from, to)) {
    case -1:
      return "error_share_name_taken";
    case -2:
      return "error_share_name";
    case -3:
      return IsKept(from) ? "error_share_name_stays" : KeeperOf(to);
    case -4:
      return "error_share_name_same";
    default:
      if (SDK::Share::IsServiceShare(from)) return "error_share_name_stays";
      return SDK::Share::IsServiceShare(to) ? "error_share_name_service" : nullptr;
  }
}

const char* RefusalOfDescription(std::string text) {
  if (!IsPlainText(text)) return "error_field_characters";
  return SDK::Share::IsShareDescription(text) ? nullptr : "error_share_description";
}

const char* WhyNotSaved() {
  for (const Failure& failure : kFailures) {
    if (failure.code == KLIBErrGet()) return failure.key;
  }
  return "error_share_not_saved";
}

const char* WhyNotLoaded() { return KLIBErrGet() == kNoSuchObject ? "error_share_gone" : "error_shares_not_read"; }

}  // namespace site
