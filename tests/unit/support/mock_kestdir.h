#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H

#include "platform/kestdir.h"
#include "support/current_mock.h"
#include "support/mocked_call.h"

namespace tarvel_test {

/// platform/kestdir.h. A record that a slot receives must be freed exactly once, unless a later call has exchanged it;
/// a cursor must be closed.
class MockKestDir : public CurrentMock<MockKestDir> {
 public:
  MockKestDir();

  MOCKED_CALL(int, IsDomainUG, (const char* name));

  MOCKED_CALL(int, KESTUserGet, (const char* name, KESTUSER** slot));
  MOCKED_CALL(int, KESTUserGetByUID, (int uid, KESTUSER** slot));
  MOCKED_CALL(int, KESTUserSet, (const char** existing, KESTUSER** records, int count));
  MOCKED_CALL(int, KESTUserIsExpired, (int day));
  MOCKED_CALL(int, KESTUserExpiredDateGet, (const KESTUSER* user, char* buf, int size));
  MOCKED_CALL(int, KESTUserExpiredDateFill, (KESTUSER * user, const char* date));
  MOCKED_CALL(KESTUSERDB*, KESTUserDBOpen, ());
  MOCKED_CALL(int, KESTUserDBGetByCursor, (KESTUSERDB * db, KESTUSER** slot, AUTH_TYPE type, int zero));
  MOCKED_CALL(int, KESTUserDBDomainRebuild, (int zero));
  MOCKED_CALL(int, KESTUserEnumByPrefix, (PSZLIST * list, AUTH_TYPE type, const char* prefix, int one));
  MOCKED_CALL(int, KESTUserTotalNum, (AUTH_TYPE type));
  MOCKED_CALL(int, KESTUserPrivilegeGet, (const char* name));

  MOCKED_CALL(int, KESTGroupGet, (const char* name, KESTGROUP** slot));
  MOCKED_CALL(int, KESTGroupSet, (const char* existing, KESTGROUP* group));
  MOCKED_CALL(int, KESTGroupDescGet, (const char* name, char** text, int* second));
  MOCKED_CALL(int, KESTGroupDescSet, (const char* name, const char* text_or_null));
  MOCKED_CALL(KESTGROUPDB*, KESTGroupDBOpen, ());
  MOCKED_CALL(int, KESTGroupDBGetByCursor, (KESTGROUPDB * db, KESTGROUP** slot, AUTH_TYPE type, int zero));
  MOCKED_CALL(int, KESTGroupEnumByPrefix, (PSZLIST * list, AUTH_TYPE type, const char* prefix, int one));

  MOCKED_CALL(int, KESTShareGet, (const char* name, KESTSHARE** slot));
  MOCKED_CALL(KESTSHAREDB*, KESTShareDBOpen, ());
  MOCKED_CALL(int, KESTShareDBCursorGet, (KESTSHAREDB * db, KESTSHARE** slot));
  MOCKED_CALL(int, KESTShareEnum, (PSZLIST * list, KEST_SHARE_ENUM type));
  MOCKED_CALL(int, KESTShareEnumByPrefix, (PSZLIST * list, KEST_SHARE_ENUM type, const char* prefix, int one));
  MOCKED_CALL(int, KESTShareEncryptionAction, (int op, _tag_KEST_SHARE_ENC_* request));
  MOCKED_CALL(int, ShareNameCheck, (const char* name));
  MOCKED_CALL(int, BlShareIIsSATASection, (const char* name));
  MOCKED_CALL(int, BlShareIIsUsbSection, (const char* name));
  MOCKED_CALL(int, BlSDKUserIsInList, (const char* user, const char* list_text));
  MOCKED_CALL(int, UserCheckRights, (PSZLIST * na, PSZLIST* rw, PSZLIST* ro));
  MOCKED_CALL(int, ShareDefaultGet, (SHAREDEFAULTREQ * request, KESTSHARE** slot));
  MOCKED_CALL(int, KESTShareSet, (const char* existing, KESTSHARE* share, KESTCOPYARGS* move_or_null));
  MOCKED_CALL(void, KESTShareFree, (KESTSHARE * share));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H
