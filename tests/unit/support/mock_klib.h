#ifndef TESTS_UNIT_SUPPORT_MOCK_KLIB_H
#define TESTS_UNIT_SUPPORT_MOCK_KLIB_H

#include <gmock/gmock.h>

#include <functional>

#include "platform/klib.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/klib.h. A list must be given back exactly once, under the handle that the last call left; a map, too.
class MockKlib : public CurrentMock<MockKlib> {
 public:
  MOCK_METHOD(int, KLIBErrGet, ());
  MOCK_METHOD(void, KLIBErrSet, (int code));
  MOCK_METHOD(int, BlKLIBIsIpMask, (const char* text));
  MOCK_METHOD(int, BlKLIBIsShareName, (const char* name));
  MOCK_METHOD(char*, SzKLIBStrCaseLower, (char* text));
  MOCK_METHOD(PSZLIST, PslKLIBSzListAlloc, (int bytes));
  MOCK_METHOD(int, KLIBSzListPush, (PSZLIST * list, const char* text));
  MOCK_METHOD(int, KLIBSzListSortItems, (PSZLIST list, int flags));
  MOCK_METHOD(int, KLIBUnicodeUTF8StrCaseCmp, (const char* a, const char* b));
  MOCK_METHOD(int, KLIBUnicodeUTF8StrCountChar, (const char* text));
  MOCK_METHOD(int, KLIBStrTok, (const char* text, const char* delims, PSZLIST* list));
  MOCK_METHOD(char*, SzKLIBSzListGet, (PSZLIST list, int index));
  MOCK_METHOD(int, KLIBStrTrimSpace, (char* in, char* out));
  MOCK_METHOD(int, KLIBFileGetKeyValue, (const char* file, const char* key, char* buf, int size, int zero));
  MOCK_METHOD(int, KLIBFileSetKeyValue, (const char* file, const char* key, const char* value, const char* format));
  MOCK_METHOD(int, BlKLIBProcAlive, (unsigned pid));
  MOCK_METHOD(PSZHASH, PshKLIBSzHashAlloc, (int size));
  MOCK_METHOD(int, KLIBSzHashSetValue, (PSZHASH hash, const char* key, const char* value));
  MOCK_METHOD(int, KLIBSmbMd4Hash, (const char* text, unsigned char* digest, int size));

  /// A call that may move a list: the old block goes, the new one is to be given back.
  static int Growing(PSZLIST* list, const std::function<int()>& call);
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KLIB_H
