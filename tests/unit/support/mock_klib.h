#ifndef TESTS_UNIT_SUPPORT_MOCK_KLIB_H
#define TESTS_UNIT_SUPPORT_MOCK_KLIB_H

#include <functional>

#include "platform/klib.h"
#include "support/current_mock.h"
#include "support/mocked_call.h"

namespace tarvel_test {

/// platform/klib.h. A list must be given back exactly once, under the handle that the last call left; a map, too.
class MockKlib : public CurrentMock<MockKlib> {
 public:
  MockKlib();

  MOCKED_CALL(int, KLIBErrGet, ());
  MOCKED_CALL(void, KLIBErrSet, (int code));
  MOCKED_CALL(int, BlKLIBIsIpMask, (const char* text));
  MOCKED_CALL(int, BlKLIBIsShareName, (const char* name));
  MOCKED_CALL(char*, SzKLIBStrCaseLower, (char* text));
  MOCKED_CALL(PSZLIST, PslKLIBSzListAlloc, (int bytes));
  MOCKED_CALL(int, KLIBSzListPush, (PSZLIST * list, const char* text));
  MOCKED_CALL(int, KLIBSzListSortItems, (PSZLIST list, int flags));
  MOCKED_CALL(int, KLIBUnicodeUTF8StrCaseCmp, (const char* a, const char* b));
  MOCKED_CALL(int, KLIBUnicodeUTF8StrCountChar, (const char* text));
  MOCKED_CALL(int, KLIBStrTok, (const char* text, const char* delims, PSZLIST* list));
  MOCKED_CALL(char*, SzKLIBSzListGet, (PSZLIST list, int index));
  MOCKED_CALL(int, KLIBStrTrimSpace, (char* in, char* out));
  MOCKED_CALL(int, KLIBFileGetKeyValue, (const char* file, const char* key, char* buf, int size, int zero));
  MOCKED_CALL(int, KLIBFileSetKeyValue, (const char* file, const char* key, const char* value, const char* format));
  MOCKED_CALL(int, BlKLIBProcAlive, (unsigned pid));
  MOCKED_CALL(PSZHASH, PshKLIBSzHashAlloc, (int size));
  MOCKED_CALL(int, KLIBSzHashSetValue, (PSZHASH hash, const char* key, const char* value));
  MOCKED_CALL(int, KLIBSmbMd4Hash, (const char* text, unsigned char* digest, int size));

  /// A call that may move a list: the old block goes, the new one is to be given back.
  static int Growing(PSZLIST* list, const std::function<int()>& call);
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KLIB_H
