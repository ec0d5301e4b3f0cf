#include "support/mock_kestcgi.h"

#include <cstdarg>
#include <cstring>

#include "support/allocations.h"
#include "support/mocked_call_impl.h"

// Not counted: the line is out as a parameter line.
extern "C" char* RealStrdupForLine(const char* text) __asm__("__real_strdup");

using tarvel_test::Machine;
using tarvel_test::MockKestCgi;
using tarvel_test::SteadyNew;

namespace {

constexpr char kContext[] = "platform context";
constexpr int kSectionsAndEnd = 7;

MockKestCgi& Called(const char* function) { return MockKestCgi::Called(function); }

MockKestCgi& CalledOn(const KESTCGI* ctx, const char* function) {
  MockKestCgi& mock = MockKestCgi::Called(function);
  if (!Machine::Current()->ledger().Holds(kContext, ctx)) {
    ADD_FAILURE() << function << " on a context that is not initialised";
  }
  return mock;
}

}  // namespace

MockKestCgi::MockKestCgi() = default;

int KestCgiInit(const char* textRoot, KESTCGI* ctx) {
  const SteadyNew steady;
  MockKestCgi& mock = Called("KestCgiInit");
  Machine::Current()->ledger().Take(kContext, ctx);
  return mock.KestCgiInit(textRoot, ctx);
}

void KestCgiFree(KESTCGI* ctx) {
  const SteadyNew steady;
  CalledOn(ctx, "KestCgiFree").KestCgiFree(ctx);
  Machine::Current()->ledger().Give(kContext, ctx);
}

int KestCgiLoadInCookies(KESTCGI* ctx) { return CalledOn(ctx, "KestCgiLoadInCookies").KestCgiLoadInCookies(ctx); }

char* KestCgiGetParamLine(void) {
  const char* line = Called("KestCgiGetParamLine").KestCgiGetParamLine();
  if (line == nullptr) return nullptr;
  char* copy = RealStrdupForLine(line);
  Machine::Current()->ledger().Take("parameter line", copy);
  return copy;
}

int KestCgiParseCGIParam(KESTCGI* ctx, char* line) {
  return CalledOn(ctx, "KestCgiParseCGIParam").KestCgiParseCGIParam(ctx, line);
}

const char* KestCgiGetCGIParam(KESTCGI* ctx, const char* name, const char* def) {
  return CalledOn(ctx, "KestCgiGetCGIParam").KestCgiGetCGIParam(ctx, name, def);
}

const char* KestCgiGetInCookies(KESTCGI* ctx, const char* name, const char* def) {
  return CalledOn(ctx, "KestCgiGetInCookies").KestCgiGetInCookies(ctx, name, def);
}

int KestCgiLoadInfo(KESTCGI* ctx) {
  const SteadyNew steady;
  return CalledOn(ctx, "KestCgiLoadInfo").KestCgiLoadInfo(ctx);
}

const char* KestCgiGetInfo(KESTCGI* ctx, const char* key, const char* def) {
  const SteadyNew steady;
  return CalledOn(ctx, "KestCgiGetInfo").KestCgiGetInfo(ctx, key, def);
}

const char* KestCgiGetDef(KESTCGI* ctx, const char* key, const char* def) {
  return CalledOn(ctx, "KestCgiGetDef").KestCgiGetDef(ctx, key, def);
}

int KestCgiLoadText(KESTCGI* ctx, ...) {
  std::vector<const char*> sections;
  va_list arguments;
  va_start(arguments, ctx);
  for (int i = 0; i < kSectionsAndEnd; ++i) sections.push_back(va_arg(arguments, const char*));
  va_end(arguments);
  return CalledOn(ctx, "KestCgiLoadText").KestCgiLoadText(ctx, sections);
}

const char* KestCgiGetText(KESTCGI* ctx, const char* key, const char* second) {
  return CalledOn(ctx, "KestCgiGetText").KestCgiGetText(ctx, key, second);
}

const char* KestCgiGetEncodeText(KESTCGI* ctx, const char* key, const char* second) {
  return CalledOn(ctx, "KestCgiGetEncodeText").KestCgiGetEncodeText(ctx, key, second);
}

const char* KestCgiGetLang(KESTCGI* ctx) { return CalledOn(ctx, "KestCgiGetLang").KestCgiGetLang(ctx); }

int KestCgiGetSessPath(KESTCGI* ctx, char* buf, int size) {
  return CalledOn(ctx, "KestCgiGetSessPath").KestCgiGetSessPath(ctx, buf, size);
}

int KestCgiIsUploadRequest(void) { return Called("KestCgiIsUploadRequest").KestCgiIsUploadRequest(); }

int KestCgiLoadUploadData(KESTCGI* ctx, const char* dir, int zero) {
  return CalledOn(ctx, "KestCgiLoadUploadData").KestCgiLoadUploadData(ctx, dir, zero);
}

int KestCgiSetCookies(KESTCGI* ctx, const char* name, const char* value, const char* expires, const char* path,
                      const char* domain, const char* secure) {
  return CalledOn(ctx, "KestCgiSetCookies").KestCgiSetCookies(ctx, name, value, expires, path, domain, secure);
}

int KestCgiSetHTTPHeader(KESTCGI* ctx, const char* name, const char* value) {
  return CalledOn(ctx, "KestCgiSetHTTPHeader").KestCgiSetHTTPHeader(ctx, name, value);
}

int KestCgiPrintHTTPHeader(KESTCGI* ctx) { return CalledOn(ctx, "KestCgiPrintHTTPHeader").KestCgiPrintHTTPHeader(ctx); }

int KestCgiRedirect(KESTCGI* ctx, const char* url) {
  return CalledOn(ctx, "KestCgiRedirect").KestCgiRedirect(ctx, url);
}

int KestCgiIsAuthorized(KESTCGI* ctx, char* user, int size, CgiAuthRequest* req, _tag_cgi_position pos) {
  return CalledOn(ctx, "KestCgiIsAuthorized").KestCgiIsAuthorized(ctx, user, size, req, pos);
}

int KestCgiLogin(KESTCGI* ctx, char* buf, int size, _tag_login_params* params) {
  return CalledOn(ctx, "KestCgiLogin").KestCgiLogin(ctx, buf, size, params);
}

int KestCgiLoginNoAuth(KESTCGI* ctx, char* buf, char* unused, _tag_login_params* params) {
  return CalledOn(ctx, "KestCgiLoginNoAuth").KestCgiLoginNoAuth(ctx, buf, unused, params);
}

int KestCgiLogout(KESTCGI* ctx, const char* user) { return CalledOn(ctx, "KestCgiLogout").KestCgiLogout(ctx, user); }

int KestCgiDomValidShareWrite(const char* user, const char* buf) {
  return Called("KestCgiDomValidShareWrite").KestCgiDomValidShareWrite(user, buf);
}

int KestCgiDomGetPrivilege(const char* share, const char* user, const char* domainArg, int* privilege) {
  const tarvel_test::UncountedNew memory;
  return Called("KestCgiDomGetPrivilege").KestCgiDomGetPrivilege(share, user, domainArg, privilege);
}

int KestCgiGIDGet(const char* sid, const char* user) { return Called("KestCgiGIDGet").KestCgiGIDGet(sid, user); }

int KestCgiGidSet(const char* sid, const char* user) { return Called("KestCgiGidSet").KestCgiGidSet(sid, user); }

int KestCgiUidSet(const char* sid, const char* user) { return Called("KestCgiUidSet").KestCgiUidSet(sid, user); }

int KestCgiURLEncode(const char* text, char* buf, int size) {
  return Called("KestCgiURLEncode").KestCgiURLEncode(text, buf, size);
}
