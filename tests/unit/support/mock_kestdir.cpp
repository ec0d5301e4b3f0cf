#include "support/mock_kestdir.h"

#include "support/mock_klib.h"
#include "support/mocked_call_impl.h"

using tarvel_test::Machine;
using tarvel_test::MockKestDir;
using tarvel_test::MockKlib;

namespace {

constexpr char kUser[] = "record of an account";
constexpr char kUserCursor[] = "cursor over the accounts";
constexpr char kGroup[] = "record of a group";
constexpr char kGroupCursor[] = "cursor over the groups";
constexpr char kShare[] = "record of a share";
constexpr char kShareCursor[] = "cursor over the shares";

using Called = MockKestDir::Uncounted;

tarvel_test::Ledger& Ledger() { return Machine::Current()->ledger(); }

// A call that may exchange what a slot holds.
template <typename Record, typename Call>
int Delivered(const char* kind, Record** slot, Call call) {
  const tarvel_test::UncountedNew memory;
  const Record* const before = *slot;
  const int result = call();
  if (*slot == before) return result;
  if (before != nullptr) Ledger().Give(kind, before);
  if (*slot != nullptr) Ledger().Take(kind, *slot);
  return result;
}

template <typename Cursor>
Cursor* Opened(const char* kind, Cursor* cursor) {
  const tarvel_test::UncountedNew memory;
  if (cursor != nullptr) Ledger().Take(kind, cursor);
  return cursor;
}

}  // namespace

MockKestDir::MockKestDir() = default;

int IsDomainUG(const char* name) { return Called("IsDomainUG")->IsDomainUG(name); }

int KESTUserGet(const char* name, KESTUSER** slot) {
  return Delivered(kUser, slot, [&] { return Called("KESTUserGet")->KESTUserGet(name, slot); });
}

int KESTUserGetByUID(int uid, KESTUSER** slot) {
  return Delivered(kUser, slot, [&] { return Called("KESTUserGetByUID")->KESTUserGetByUID(uid, slot); });
}

void KESTUserFree(KESTUSER* user) {
  const tarvel_test::UncountedNew memory;
  MockKestDir::Called("KESTUserFree");
  Ledger().Give(kUser, user);
}

int KESTUserSet(const char** existing, KESTUSER** records, int count) {
  return Called("KESTUserSet")->KESTUserSet(existing, records, count);
}

int KESTUserIsExpired(int day) { return Called("KESTUserIsExpired")->KESTUserIsExpired(day); }

int KESTUserExpiredDateGet(const KESTUSER* user, char* buf, int size) {
  return Called("KESTUserExpiredDateGet")->KESTUserExpiredDateGet(user, buf, size);
}

int KESTUserExpiredDateFill(KESTUSER* user, const char* date) {
  return Called("KESTUserExpiredDateFill")->KESTUserExpiredDateFill(user, date);
}

KESTUSERDB* KESTUserDBOpen(void) { return Opened(kUserCursor, Called("KESTUserDBOpen")->KESTUserDBOpen()); }

int KESTUserDBGetByCursor(KESTUSERDB* db, KESTUSER** slot, AUTH_TYPE type, int zero) {
  return Delivered(kUser, slot,
                   [&] { return Called("KESTUserDBGetByCursor")->KESTUserDBGetByCursor(db, slot, type, zero); });
}

int KESTUserDBClose(KESTUSERDB* db) {
  const tarvel_test::UncountedNew memory;
  MockKestDir::Called("KESTUserDBClose");
  Ledger().Give(kUserCursor, db);
  return 0;
}

int KESTUserDBDomainRebuild(int zero) { return Called("KESTUserDBDomainRebuild")->KESTUserDBDomainRebuild(zero); }

int KESTUserEnumByPrefix(PSZLIST* list, AUTH_TYPE type, const char* prefix, int one) {
  return MockKlib::Growing(
      list, [&] { return Called("KESTUserEnumByPrefix")->KESTUserEnumByPrefix(list, type, prefix, one); });
}

int KESTUserTotalNum(AUTH_TYPE type) { return Called("KESTUserTotalNum")->KESTUserTotalNum(type); }

int KESTUserPrivilegeGet(const char* name) { return Called("KESTUserPrivilegeGet")->KESTUserPrivilegeGet(name); }

int KESTGroupGet(const char* name, KESTGROUP** slot) {
  return Delivered(kGroup, slot, [&] { return Called("KESTGroupGet")->KESTGroupGet(name, slot); });
}

void KESTGroupFree(KESTGROUP* group) {
  const tarvel_test::UncountedNew memory;
  MockKestDir::Called("KESTGroupFree");
  Ledger().Give(kGroup, group);
}

int KESTGroupSet(const char* existing, KESTGROUP* group) {
  return Called("KESTGroupSet")->KESTGroupSet(existing, group);
}

int KESTGroupDescGet(const char* name, char** text, int* second) {
  return Called("KESTGroupDescGet")->KESTGroupDescGet(name, text, second);
}

int KESTGroupDescSet(const char* name, const char* textOrNull) {
  return Called("KESTGroupDescSet")->KESTGroupDescSet(name, textOrNull);
}

KESTGROUPDB* KESTGroupDBOpen(void) { return Opened(kGroupCursor, Called("KESTGroupDBOpen")->KESTGroupDBOpen()); }

int KESTGroupDBGetByCursor(KESTGROUPDB* db, KESTGROUP** slot, AUTH_TYPE type, int zero) {
  return Delivered(kGroup, slot,
                   [&] { return Called("KESTGroupDBGetByCursor")->KESTGroupDBGetByCursor(db, slot, type, zero); });
}

int KESTGroupDBClose(KESTGROUPDB* db) {
  const tarvel_test::UncountedNew memory;
  MockKestDir::Called("KESTGroupDBClose");
  Ledger().Give(kGroupCursor, db);
  return 0;
}

int KESTGroupEnumByPrefix(PSZLIST* list, AUTH_TYPE type, const char* prefix, int one) {
  return MockKlib::Growing(
      list, [&] { return Called("KESTGroupEnumByPrefix")->KESTGroupEnumByPrefix(list, type, prefix, one); });
}

int KESTShareGet(const char* name, KESTSHARE** slot) {
  return Delivered(kShare, slot, [&] { return Called("KESTShareGet")->KESTShareGet(name, slot); });
}

KESTSHAREDB* KESTShareDBOpen(void) { return Opened(kShareCursor, Called("KESTShareDBOpen")->KESTShareDBOpen()); }

int KESTShareDBCursorGet(KESTSHAREDB* db, KESTSHARE** slot) {
  return Delivered(kShare, slot, [&] { return Called("KESTShareDBCursorGet")->KESTShareDBCursorGet(db, slot); });
}

int KESTShareDBClose(KESTSHAREDB* db) {
  const tarvel_test::UncountedNew memory;
  MockKestDir::Called("KESTShareDBClose");
  Ledger().Give(kShareCursor, db);
  return 0;
}

int KESTShareEnum(PSZLIST* list, KEST_SHARE_ENUM type) {
  return MockKlib::Growing(list, [&] { return Called("KESTShareEnum")->KESTShareEnum(list, type); });
}

int KESTShareEnumByPrefix(PSZLIST* list, KEST_SHARE_ENUM type, const char* prefix, int one) {
  return MockKlib::Growing(
      list, [&] { return Called("KESTShareEnumByPrefix")->KESTShareEnumByPrefix(list, type, prefix, one); });
}

int KESTShareEncryptionAction(int op, _tag_KEST_SHARE_ENC_* request) {
  return Called("KESTShareEncryptionAction")->KESTShareEncryptionAction(op, request);
}

int ShareNameCheck(const char* name) { return Called("ShareNameCheck")->ShareNameCheck(name); }

int BlShareIIsSATASection(const char* name) { return Called("BlShareIIsSATASection")->BlShareIIsSATASection(name); }

int BlShareIIsUsbSection(const char* name) { return Called("BlShareIIsUsbSection")->BlShareIIsUsbSection(name); }

int BlSDKUserIsInList(const char* user, const char* listText) {
  return Called("BlSDKUserIsInList")->BlSDKUserIsInList(user, listText);
}

int UserCheckRights(PSZLIST* na, PSZLIST* rw, PSZLIST* ro) {
  return Called("UserCheckRights")->UserCheckRights(na, rw, ro);
}

int ShareDefaultGet(SHAREDEFAULTREQ* request, KESTSHARE** slot) {
  return Delivered(kShare, slot, [&] { return Called("ShareDefaultGet")->ShareDefaultGet(request, slot); });
}

int KESTShareSet(const char* existing, KESTSHARE* share, KESTCOPYARGS* moveOrNull) {
  return Called("KESTShareSet")->KESTShareSet(existing, share, moveOrNull);
}

void KESTShareFree(KESTSHARE* share) {
  const tarvel_test::UncountedNew memory;
  Called("KESTShareFree")->KESTShareFree(share);
  if (share != nullptr) Ledger().Give(kShare, share);
}
