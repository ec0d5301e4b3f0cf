// Accounts as the directory interface gives them out. What needs the database asks the accounts module.
#include <stdlib.h>

#include "host/accounts/accounts_module.h"
#include "host/accounts/expiry.h"
#include "host/cgi/context.h"
#include "host/klib/error_code.h"
#include "host/session/authorized_account.h"
#include "platform/kestdir.h"

namespace kest {
namespace {

// Asks the accounts module for a record and hands it over in place of what the slot held.
template <typename Ask>
int Deliver(KESTUSER** slot, Ask ask) {
  const KestAccountsModule* accounts = Accounts();
  KESTUSER* record = nullptr;
  const int found =
      accounts == nullptr ? -kErrorSystem : Guarded(-kErrorNoMemory, [&] { return ask(*accounts, &record); });
  if (found != 1) return AnswerOf(found == 0 ? -kErrorNoSuchObject : found);
  KESTUserFree(*slot);
  *slot = record;
  return 0;
}

}  // namespace
}  // namespace kest

int KESTUserGet(const char* name, KESTUSER** slot) {
  if (name == nullptr || slot == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Deliver(slot, [&](const auto& accounts, KESTUSER** record) { return accounts.record(name, record); });
}

int KESTUserGetByUID(int uid, KESTUSER** slot) {
  if (slot == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  return kest::Deliver(slot,
                       [&](const auto& accounts, KESTUSER** record) { return accounts.record_by_uid(uid, record); });
}

void KESTUserFree(KESTUSER* user) { free(user); }

int KESTUserPrivilegeGet(const char* name) {
  // Asked for the caller's own account by every page: its session knows the answer.
  int known = 0;
  if (kest::AuthorizedPrivilege(name, &known)) return known;
  KESTUSER* user = nullptr;
  if (KESTUserGet(name, &user) < 0) return -1;
  const int privilege = user->privilege;
  KESTUserFree(user);
  return privilege;
}

int KESTUserIsExpired(int day) {
  if (day < kest::kNeverExpires) return kest::FailWith(kest::kErrorBadParameter);
  return kest::IsExpiredDay(day) ? 1 : 0;
}

int KESTUserExpiredDateGet(const KESTUSER* user, char* buf, int size) {
  if (user == nullptr || buf == nullptr || size < 1) return kest::FailWith(kest::kErrorBadParameter);
  // Below -1 is no day at all.
  const bool given =
      user->expire >= kest::kNeverExpires && kest::DateOfDay(user->expire, buf, static_cast<size_t>(size));
  return given ? 0 : kest::FailWith(kest::kErrorBadParameter);
}

int KESTUserExpiredDateFill(KESTUSER* user, const char* date) {
  if (user == nullptr || date == nullptr || !kest::DayOfDate(date, &user->expire)) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  return 0;
}

int IsDomainUG(const char* name) {
  if (name == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  // A login asks this for every account: without a prefix the answer needs no module.
  bool prefixed = false;
  for (const char* at = name; *at != '\0' && !prefixed; ++at) prefixed = *at == '\\';
  if (!prefixed) return 1;
  const KestAccountsModule* accounts = kest::Accounts();
  return accounts == nullptr ? -1 : kest::Guarded(-1, [&] { return accounts->name_source(name); });
}
