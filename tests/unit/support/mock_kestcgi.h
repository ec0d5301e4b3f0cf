#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTCGI_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTCGI_H

#include <vector>

#include "platform/kestcgi.h"
#include "support/current_mock.h"
#include "support/mocked_call.h"

namespace tarvel_test {

/// platform/kestcgi.h. Contexts are counted: each call but KestCgiInit must name one that is initialised, and each must
/// be freed exactly once.
class MockKestCgi : public CurrentMock<MockKestCgi> {
 public:
  MockKestCgi();

  MOCKED_CALL(int, KestCgiInit, (const char* text_root, KESTCGI* ctx));
  MOCKED_CALL(void, KestCgiFree, (KESTCGI * ctx));
  MOCKED_CALL(int, KestCgiLoadInCookies, (KESTCGI * ctx));
  /// The library gets a copy of the text, which it must release with free.
  MOCKED_CALL(const char*, KestCgiGetParamLine, ());
  MOCKED_CALL(int, KestCgiParseCGIParam, (KESTCGI * ctx, char* line));
  MOCKED_CALL(const char*, KestCgiGetCGIParam, (KESTCGI * ctx, const char* name, const char* def));
  MOCKED_CALL(const char*, KestCgiGetInCookies, (KESTCGI * ctx, const char* name, const char* def));
  MOCKED_CALL(int, KestCgiLoadInfo, (KESTCGI * ctx));
  MOCKED_CALL(const char*, KestCgiGetInfo, (KESTCGI * ctx, const char* key, const char* def));
  MOCKED_CALL(const char*, KestCgiGetDef, (KESTCGI * ctx, const char* key, const char* def));
  /// All seven texts behind the context: six sections and the end mark.
  MOCKED_CALL(int, KestCgiLoadText, (KESTCGI * ctx, const std::vector<const char*>& sections));
  MOCKED_CALL(const char*, KestCgiGetText, (KESTCGI * ctx, const char* key, const char* second));
  MOCKED_CALL(const char*, KestCgiGetEncodeText, (KESTCGI * ctx, const char* key, const char* second));
  MOCKED_CALL(const char*, KestCgiGetLang, (KESTCGI * ctx));
  MOCKED_CALL(int, KestCgiGetSessPath, (KESTCGI * ctx, char* buf, int size));
  MOCKED_CALL(int, KestCgiIsUploadRequest, ());
  MOCKED_CALL(int, KestCgiLoadUploadData, (KESTCGI * ctx, const char* dir, int zero));
  MOCKED_CALL(int, KestCgiSetCookies,
              (KESTCGI * ctx, const char* name, const char* value, const char* expires, const char* path,
               const char* domain, const char* secure));
  MOCKED_CALL(int, KestCgiSetHTTPHeader, (KESTCGI * ctx, const char* name, const char* value));
  MOCKED_CALL(int, KestCgiPrintHTTPHeader, (KESTCGI * ctx));
  MOCKED_CALL(int, KestCgiRedirect, (KESTCGI * ctx, const char* url));
  MOCKED_CALL(int, KestCgiIsAuthorized,
              (KESTCGI * ctx, char* user, int size, CgiAuthRequest* request, _tag_cgi_position position));
  MOCKED_CALL(int, KestCgiLogin, (KESTCGI * ctx, char* buf, int size, _tag_login_params* params));
  MOCKED_CALL(int, KestCgiLoginNoAuth, (KESTCGI * ctx, char* buf, char* unused, _tag_login_params* params));
  MOCKED_CALL(int, KestCgiLogout, (KESTCGI * ctx, const char* user));
  MOCKED_CALL(int, KestCgiDomValidShareWrite, (const char* user, const char* buf));
  MOCKED_CALL(int, KestCgiDomGetPrivilege,
              (const char* share, const char* user, const char* domain_arg, int* privilege));
  MOCKED_CALL(int, KestCgiGIDGet, (const char* sid, const char* user));
  MOCKED_CALL(int, KestCgiGidSet, (const char* sid, const char* user));
  MOCKED_CALL(int, KestCgiUidSet, (const char* sid, const char* user));
  MOCKED_CALL(int, KestCgiURLEncode, (const char* text, char* buf, int size));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTCGI_H
