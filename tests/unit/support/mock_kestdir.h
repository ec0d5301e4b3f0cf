#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H

#include <gmock/gmock.h>

#include "platform/kestdir.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/kestdir.h. A record that a slot receives must be freed exactly once, unless a later call has exchanged it;
/// a cursor must be closed.
class MockKestDir : public CurrentMock<MockKestDir> {
 public:
  MOCK_METHOD(int, IsDomainUG, (const char* name));

  MOCK_METHOD(int, KESTUserGet, (const char* name, KESTUSER** slot));
  MOCK_METHOD(int, KESTUserGetByUID, (int uid, KESTUSER** slot));
  MOCK_METHOD(int, KESTUserSet, (const char** existing, KESTUSER** records, int count));
  MOCK_METHOD(int, KESTUserIsExpired, (int day));
  MOCK_METHOD(int, KESTUserExpiredDateGet, (const KESTUSER* user, char* buf, int size));
  MOCK_METHOD(int, KESTUserExpiredDateFill, (KESTUSER * user, const char* date));
  MOCK_METHOD(KESTUSERDB*, KESTUserDBOpen, ());
  MOCK_METHOD(int, KESTUserDBGetByCursor, (KESTUSERDB * db, KESTUSER** slot, AUTH_TYPE type, int zero));
  MOCK_METHOD(int, KESTUserDBDomainRebuild, (int zero));
  MOCK_METHOD(int, KESTUserEnumByPrefix, (PSZLIST * list, AUTH_TYPE type, const char* prefix, int one));
  MOCK_METHOD(int, KESTUserTotalNum, (AUTH_TYPE type));
  MOCK_METHOD(int, KESTUserPrivilegeGet, (const char* name));

  MOCK_METHOD(int, KESTGroupGet, (const char* name, KESTGROUP** slot));
  MOCK_METHOD(int, KESTGroupSet, (const char* existing, KESTGROUP* group));
  MOCK_METHOD(int, KESTGroupDescGet, (const char* name, char** text, int* second));
  MOCK_METHOD(int, KESTGroupDescSet, (const char* name, const char* text_or_null));
  MOCK_METHOD(KESTGROUPDB*, KESTGroupDBOpen, ());
  MOCK_METHOD(int, KESTGroupDBGetByCursor, (KESTGROUPDB * db, KESTGROUP** slot, AUTH_TYPE type, int zero));
  MOCK_METHOD(int, KESTGroupEnumByPrefix, (PSZLIST * list, AUTH_TYPE type, const char* prefix, int one));

  MOCK_METHOD(int, KESTShareGet, (const char* name, KESTSHARE** slot));
  MOCK_METHOD(KESTSHAREDB*, KESTShareDBOpen, ());
  MOCK_METHOD(int, KESTShareDBCursorGet, (KESTSHAREDB * db, KESTSHARE** slot));
  MOCK_METHOD(int, KESTShareEnum, (PSZLIST * list, KEST_SHARE_ENUM type));
  MOCK_METHOD(int, KESTShareEnumByPrefix, (PSZLIST * list, KEST_SHARE_ENUM type, const char* prefix, int one));
  MOCK_METHOD(int, KESTShareEncryptionAction, (int op, _tag_KEST_SHARE_ENC_* request));
  MOCK_METHOD(int, ShareNameCheck, (const char* name));
  MOCK_METHOD(int, BlShareIIsSATASection, (const char* name));
  MOCK_METHOD(int, BlShareIIsUsbSection, (const char* name));
  MOCK_METHOD(int, BlSDKUserIsInList, (const char* user, const char* list_text));
  MOCK_METHOD(int, UserCheckRights, (PSZLIST * na, PSZLIST* rw, PSZLIST* ro));
  MOCK_METHOD(int, ShareDefaultGet, (SHAREDEFAULTREQ * request, KESTSHARE** slot));
  MOCK_METHOD(int, KESTShareSet, (const char* existing, KESTSHARE* share, KESTCOPYARGS* move_or_null));
  MOCK_METHOD(void, KESTShareFree, (KESTSHARE * share));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H
