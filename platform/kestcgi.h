/// @file kestcgi.h
/// CGI core of the platform: what a CGI program knows of its request, and how it answers.
///
/// Covers the request's parameters, cookies and uploads, the header queue, settings and localised texts, sessions,
/// login and authorization, and the switch to the session account's identity. Everything kept for a request hangs on a
/// KESTCGI context that the caller holds by value. All texts are NUL-terminated UTF-8; texts handed out belong to the
/// context and stay valid until KestCgiFree(). A context and its calls belong to one thread.
///
/// A request that the core refuses while reading it (body too large, broken length, NUL byte in a value, ...) is
/// remembered for the process: KestCgiIsAuthorized() and KestCgiLogin() then answer 0, and KestCgiPrintHTTPHeader()
/// puts a "Status" line (400, 413, ...) and "x-request-refused" with the reason into the header block.
#ifndef PLATFORM_KESTCGI_H_
#define PLATFORM_KESTCGI_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Context of one request, or of one set of settings or texts. Opaque, but complete, so that objects can hold it by
/// value. Its members belong to the core; never copy one that is initialised.
typedef struct KESTCGI {
  struct KestCgiCore* core; /**< everything that the core keeps; NULL after KestCgiFree() */
  void* reserved[3];        /**< room for other platforms */
} KESTCGI;

/// Position of a page: who may use it. Any other value may be cast into it and is judged by the platform.
typedef enum _tag_cgi_position {
  KEST_CGI_POSITION_ACCOUNT = 0,         ///< every logged-in account
  KEST_CGI_POSITION_ADMINISTRATION = 1,  ///< administrators
  KEST_CGI_POSITION_FILLER_ = 0x7fffffff
} _tag_cgi_position;

/// What KestCgiIsAuthorized() is asked, and what it adds to its answer.
typedef struct CgiAuthRequest {
  int32_t mode;         ///< 1: the request counts as activity and renews the idle timer; 0: a poll that does not
  int32_t uid;          ///< 0 on entry; out: user id of the account when the session is valid
  int32_t secondsLeft;  ///< 0 on entry; out: seconds until the session ends without further activity
} CgiAuthRequest;

/// A login. The texts belong to the caller.
typedef struct _tag_login_params {
  const char* user;    ///< account name
  const char* passwd;  ///< password in clear; not read by KestCgiLoginNoAuth()
  const char* remote;  ///< client address as text; NULL: the environment's REMOTE_ADDR
  int stay;            ///< unused, 0
  int delay_s;         ///< out: seconds to wait before the next attempt, set with the result -3, else 0
} _tag_login_params;

/// Initialises a context. To be called first, once per context.
/// @param textRoot  directory of a UI module below which its localised texts are found; "" when no texts will be read
/// @param ctx       the context, in any state but an initialised one
/// @return 0 when ready; negative when `ctx` is NULL or memory ran out. After a failure every other call on the context
///         still has an outcome (it fails, or gives its default), and KestCgiFree() is still to be called
int KestCgiInit(const char* textRoot, KESTCGI* ctx);

/// Releases everything that a context holds, and removes the staged files of its uploads that are still in place.
/// Prints nothing: headers still queued are dropped.
/// @param ctx  the context; NULL is accepted
void KestCgiFree(KESTCGI* ctx);

/// Reads the request's cookies (HTTP_COOKIE) into the context, replacing those read before. Those that the process
/// itself has queued since (after a login, for one) stand in front of them; one whose removal is queued is unknown.
/// @param ctx  the context
/// @return number of cookies known, 0 or more; negative when `ctx` is unusable or memory ran out
int KestCgiLoadInCookies(KESTCGI* ctx);

/// The request's parameters as one undecoded line: for GET and HEAD the query string, for POST and PUT the body by
/// CONTENT_LENGTH, "" when there is none. The body is read once; a second call gives the same text again. Not for
/// uploads.
/// @return the line, to be released with free(); NULL for another method, for an upload, or when the request was
///         refused or memory ran out
char* KestCgiGetParamLine(void);

/// Decodes a line of urlencoded parameters ("name=value&...", "+" a blank, %XX a byte, once only; a broken escape stays
/// as it is) into the context, behind those already there. In a request with a body the parameters of its URL follow,
/// so those of the body win.
/// @param ctx   the context
/// @param line  the line; copied, so it may be freed at once; not changed
/// @return number of parameters added; negative when an argument is NULL, the line exceeds a limit or holds a NUL byte
///         in a name or value (the request then is refused, and none is added), or memory ran out
int KestCgiParseCGIParam(KESTCGI* ctx, char* line);

/// A decoded parameter of the request.
/// @param ctx   the context
/// @param name  compared byte for byte; of several parameters of one name the first counts
/// @param def   result for an absent parameter; may be NULL
/// @return the value, owned by the context; `def` itself when there is none
const char* KestCgiGetCGIParam(KESTCGI* ctx, const char* name, const char* def);

/// A cookie of the request.
/// @param ctx   the context
/// @param name  compared byte for byte; of several cookies of one name the first counts
/// @param def   result for an absent cookie; may be NULL
/// @return the value as sent, surrounding quotes removed, owned by the context; `def` itself when there is none
const char* KestCgiGetInCookies(KESTCGI* ctx, const char* name, const char* def);

/// Reads the system settings, current values and factory defaults, into the context. A settings file that is missing or
/// unreadable counts as an empty one.
/// @param ctx  the context
/// @return 0 when both files were read; negative when one could not be (the other is still used) or memory ran out
int KestCgiLoadInfo(KESTCGI* ctx);

/// Current value of a system setting. The factory default is not consulted.
/// @param ctx  the context, after KestCgiLoadInfo()
/// @param key  the setting
/// @param def  result for an absent key; may be NULL
/// @return the value, owned by the context; `def` itself when there is none
const char* KestCgiGetInfo(KESTCGI* ctx, const char* key, const char* def);

/// Factory default of a system setting.
/// @param ctx  the context, after KestCgiLoadInfo()
/// @param key  the setting
/// @param def  result for an absent key; may be NULL
/// @return the value, owned by the context; `def` itself when there is none
const char* KestCgiGetDef(KESTCGI* ctx, const char* key, const char* def);

/// Reads sections of the localised texts below the context's text root, in the request's language (KestCgiGetLang());
/// keys that it lacks come from the fallback language, English.
/// @param ctx  the context
/// @param ...  section names (const char *), ended by (char *)NULL; the first null ends the list
/// @return number of sections found, 0 or more; negative when `ctx` is unusable or memory ran out
int KestCgiLoadText(KESTCGI* ctx, ...);

/// A localised text out of the sections loaded, searched in the order in which they were named.
/// @param ctx     the context
/// @param key     the text's key, unique within its section
/// @param second  result for an unknown key; may be NULL
/// @return the text, owned by the context; `second` itself when the key is unknown
const char* KestCgiGetText(KESTCGI* ctx, const char* key, const char* second);

/// As KestCgiGetText(), encoded to stand between quotes in a script inside an HTML page: quotes, backslashes, control
/// characters, "<", ">", "&" and the line separators U+2028 and U+2029 are escaped.
/// @param ctx     the context
/// @param key     the text's key
/// @param second  result for an unknown key, handed out unencoded; may be NULL
/// @return the encoded text, owned by the context; `second` itself when the key is unknown
const char* KestCgiGetEncodeText(KESTCGI* ctx, const char* key, const char* second);

/// Language of the request: the cookie "lang" when that language is shipped, else the setting "language" unless it is
/// "auto", else the best of Accept-Language, else "en".
/// @param ctx  the context
/// @return language code, for example "en"; owned by the context; never NULL
const char* KestCgiGetLang(KESTCGI* ctx);

/// Path of the current session's file.
/// @param ctx   the context, cookies read
/// @param buf   receives the path; "" when there is no session
/// @param size  bytes of `buf`
/// @return length of the path; 0 when the request has no session with a well-formed id; negative when an argument is
///         NULL or the path does not fit
int KestCgiGetSessPath(KESTCGI* ctx, char* buf, int size);

/// Tells whether the request is an upload (a POST with a multipart/form-data body).
/// @return 1 for an upload, else 0
int KestCgiIsUploadRequest(void);

/// Receives an upload: files are spooled to a staging directory, ordinary fields become parameters; parameters of the
/// URL follow behind. A file field NAME gives the parameters NAME (the client's file name, without directories),
/// NAME.path (the staged file) and NAME.size (its bytes); when no file was chosen only NAME, empty. Names that end in
/// .path or .size are refused from clients. Staged files that nobody moved away are removed by KestCgiFree().
/// @param ctx   the context
/// @param dir   an existing writable directory
/// @param zero  reserved, 0
/// @return 0 or more when received; negative on failure: an argument is NULL, no upload or one already received, a
///         malformed or cut-off body, a limit exceeded, the directory missing or its disk full. After a failure nothing
///         is staged and no parameter was added
int KestCgiLoadUploadData(KESTCGI* ctx, const char* dir, int zero);

/// Queues a Set-Cookie header.
/// @param ctx      the context
/// @param name     cookie name, a token of RFC 6265
/// @param value    cookie value, octets that RFC 6265 allows there; "" is one
/// @param expires  date text of the Expires attribute; NULL for a cookie of the browser's session
/// @param path     Path attribute; NULL for none
/// @param domain   Domain attribute; NULL for none
/// @param secure   not NULL: the Secure attribute is set
/// @return 1 when queued; 0 when an argument is missing or holds a byte that could break the header (control
///         characters, ";", ...), the line would be longer than web servers take, or memory ran out
int KestCgiSetCookies(KESTCGI* ctx, const char* name, const char* value, const char* expires, const char* path,
                      const char* domain, const char* secure);

/// Queues a response header; headers of one name are all sent, except that a later "Status" replaces an earlier one.
/// @param ctx    the context
/// @param name   header name, a token of RFC 9110
/// @param value  header value, without control characters other than a tab
/// @return 1 when queued; 0 when an argument is NULL or breaks a rule above, the line would be longer than web servers
///         take, or memory ran out
int KestCgiSetHTTPHeader(KESTCGI* ctx, const char* name, const char* value);

/// Prints the queued headers, the status first, and the empty line that ends the block, through stdio (the body follows
/// by printf), and empties the queue. Does not flush. For a refused request the block says so, whatever status was
/// queued.
/// @param ctx  the context
/// @return non-zero when printed; 0 when `ctx` is unusable or standard output failed
int KestCgiPrintHTTPHeader(KESTCGI* ctx);

/// Answers the request with a redirect: "Status: 302 Found", "Location", the queued headers and the empty line. A
/// refused request is not sent elsewhere, since the client would never learn why: it gets its refusal as a plain text.
/// @param ctx  the context
/// @param url  absolute URL or absolute path without control characters; "" is the site's root. Blanks and bytes above
///             ASCII are percent-encoded
/// @return 1 when printed; 0 when an argument is NULL or `url` breaks the rule above (nothing is printed then), or
///         standard output failed
int KestCgiRedirect(KESTCGI* ctx, const char* url);

/// Decides whether the request may use a page. The account's state is the one of this moment, not of the login.
/// @param ctx   the context, cookies read
/// @param user  receives the account's name when the session is valid, also with the result -2
/// @param size  bytes of `user`
/// @param req   the question; its uid and secondsLeft are filled when the session is valid
/// @param pos   position of the page
/// @return 1 allowed, an ordinary account; 2 allowed, an administrator;
///         0 bad arguments (an unknown position, a buffer that the name does not fit), or the request itself was
///         refused; -1 no session, an unknown one, or one that ran out; -2 the position needs an administrator and the
///         account is none; -3 the session was ended by something else: password changed, client address changed, newer
///         login of an account that may have one session only; -4 the session store cannot be read; -5 the account was
///         disabled, expired or removed since the login
int KestCgiIsAuthorized(KESTCGI* ctx, char* user, int size, CgiAuthRequest* req, _tag_cgi_position pos);

/// Checks name and password and opens a new session, whose cookie is queued. A session that the request brought along
/// ends; its id is never used again. An unknown user and a wrong password give the same answer in the same time.
/// @param ctx     the context
/// @param buf     receives the new session's id; untouched on failure
/// @param size    bytes of `buf`, at least 33; callers give 64
/// @param params  the login; delay_s is set
/// @return 1 logged in; 0 bad arguments; -1 wrong name or password; -2 account disabled or expired (told only after the
///         right password); -3 too many failures, try again after delay_s seconds; -4 account database or session store
///         failed
int KestCgiLogin(KESTCGI* ctx, char* buf, int size, _tag_login_params* params);

/// Opens a new session for an account that the caller has authenticated by other means.
/// @param ctx     the context
/// @param buf     NULL
/// @param unused  NULL
/// @param params  the login; the password is not read
/// @return as KestCgiLogin(), without -3
int KestCgiLoginNoAuth(KESTCGI* ctx, char* buf, char* unused, _tag_login_params* params);

/// Ends the request's session and queues the cookie's removal.
/// @param ctx   the context
/// @param user  name of the account; "" for whoever owns the session. A session of another account is left alone
/// @return non-zero when there is no such session any more, also when there was none before; 0 when `ctx` is unusable,
///         the session belongs to another account or cannot be removed
int KestCgiLogout(KESTCGI* ctx, const char* user);

/// Records for a domain account that its share rights were checked at this login.
/// @param user  account name
/// @param buf   the session's id as KestCgiLogin() filled it
/// @return 0 when recorded; negative on failure, also on a platform without domain accounts
int KestCgiDomValidShareWrite(const char* user, const char* buf);

/// Right of a domain account on a share.
/// @param share      share name
/// @param user       account name
/// @param domainArg  the platform's domain argument, carried through by the callers
/// @param privilege  out: 1 read-only, 2 read and write, anything else none; untouched on failure
/// @return 0 when known; -2 when the domain refused to tell; another negative value on any other failure, also on a
///         platform without domain accounts
int KestCgiDomGetPrivilege(const char* share, const char* user, const char* domainArg, int* privilege);

/// Primary group of a session's account.
/// @param sid   session id
/// @param user  account name; must be the session's
/// @return the group id; negative when the session is unknown or another account's, or the account is unknown
int KestCgiGIDGet(const char* sid, const char* user);

/// Switches the process to the primary group of a session's account.
/// @param sid   session id
/// @param user  account name; must be the session's
/// @return the group id; negative on failure (as KestCgiGIDGet(), or the process may not switch): nothing changed then
int KestCgiGidSet(const char* sid, const char* user);

/// Switches the process to the user of a session's account. To be called after KestCgiGidSet().
/// @param sid   session id
/// @param user  account name; must be the session's
/// @return the account's primary group id; negative on failure: nothing changed then
int KestCgiUidSet(const char* sid, const char* user);

/// Percent-encodes a text for use in a URL: letters, digits, "-", "_", "." and "~" stay, every other byte becomes "%"
/// and two upper-case hexadecimal digits (RFC 3986 section 2.1).
/// @param text  the text, any bytes
/// @param buf   receives the encoded text without a terminator; the caller provides one zeroed byte more than `size`
/// @param size  bytes of `buf` that may be written; three times the text's length always suffices
/// @return bytes written; negative when an argument is NULL or the result does not fit (nothing is written then)
int KestCgiURLEncode(const char* text, char* buf, int size);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_KESTCGI_H_
