#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTCGI_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTCGI_H

#include <gmock/gmock.h>

#include <vector>

#include "platform/kestcgi.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/kestcgi.h. Contexts are counted: each call but KestCgiInit must name one that is initialised, and each must
/// be freed exactly once.
class MockKestCgi : public CurrentMock<MockKestCgi> {
 public:
  MOCK_METHOD(int, KestCgiInit, (const char* text_root, KESTCGI* ctx));
  MOCK_METHOD(void, KestCgiFree, (KESTCGI * ctx));
  MOCK_METHOD(int, KestCgiLoadInCookies, (KESTCGI * ctx));
  /// The library gets a copy of the text, which it must release with free.
  MOCK_METHOD(const char*, KestCgiGetParamLine, ());
  MOCK_METHOD(int, KestCgiParseCGIParam, (KESTCGI * ctx, char* line));
  MOCK_METHOD(const char*, KestCgiGetCGIParam, (KESTCGI * ctx, const char* name, const char* def));
  MOCK_METHOD(const char*, KestCgiGetInCookies, (KESTCGI * ctx, const char* name, const char* def));
  MOCK_METHOD(int, KestCgiLoadInfo, (KESTCGI * ctx));
  MOCK_METHOD(const char*, KestCgiGetInfo, (KESTCGI * ctx, const char* key, const char* def));
  MOCK_METHOD(const char*, KestCgiGetDef, (KESTCGI * ctx, const char* key, const char* def));
  /// All seven texts behind the context: six sections and the end mark.
  MOCK_METHOD(int, KestCgiLoadText, (KESTCGI * ctx, const std::vector<const char*>& sections));
  MOCK_METHOD(const char*, KestCgiGetText, (KESTCGI * ctx, const char* key, const char* second));
  MOCK_METHOD(const char*, KestCgiGetEncodeText, (KESTCGI * ctx, const char* key, const char* second));
  MOCK_METHOD(const char*, KestCgiGetLang, (KESTCGI * ctx));
  MOCK_METHOD(int, KestCgiGetSessPath, (KESTCGI * ctx, char* buf, int size));
  MOCK_METHOD(int, KestCgiIsUploadRequest, ());
  MOCK_METHOD(int, KestCgiLoadUploadData, (KESTCGI * ctx, const char* dir, int zero));
  MOCK_METHOD(int, KestCgiSetCookies,
              (KESTCGI * ctx, const char* name, const char* value, const char* expires, const char* path,
               const char* domain, const char* secure));
  MOCK_METHOD(int, KestCgiSetHTTPHeader, (KESTCGI * ctx, const char* name, const char* value));
  MOCK_METHOD(int, KestCgiPrintHTTPHeader, (KESTCGI * ctx));
  MOCK_METHOD(int, KestCgiRedirect, (KESTCGI * ctx, const char* url));
  MOCK_METHOD(int, KestCgiIsAuthorized,
              (KESTCGI * ctx, char* user, int size, CgiAuthRequest* request, _tag_cgi_position position));
  MOCK_METHOD(int, KestCgiLogin, (KESTCGI * ctx, char* buf, int size, _tag_login_params* params));
  MOCK_METHOD(int, KestCgiLoginNoAuth, (KESTCGI * ctx, char* buf, char* unused, _tag_login_params* params));
  MOCK_METHOD(int, KestCgiLogout, (KESTCGI * ctx, const char* user));
  MOCK_METHOD(int, KestCgiDomValidShareWrite, (const char* user, const char* buf));
  MOCK_METHOD(int, KestCgiDomGetPrivilege,
              (const char* share, const char* user, const char* domain_arg, int* privilege));
  MOCK_METHOD(int, KestCgiGIDGet, (const char* sid, const char* user));
  MOCK_METHOD(int, KestCgiGidSet, (const char* sid, const char* user));
  MOCK_METHOD(int, KestCgiUidSet, (const char* sid, const char* user));
  MOCK_METHOD(int, KestCgiURLEncode, (const char* text, char* buf, int size));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTCGI_H
