#ifndef TARVEL_TARVEL_H
#define TARVEL_TARVEL_H

#include <json/value.h>

#include <string>

#include "platform/kestcgi.h"
#include "tarvel_export.h"

/// @file
/// The request that a CGI program answers.

/// One request to a CGI program: its parameters, cookies and user coming in, headers and JSON replies going out.
///
/// A program makes exactly one, as the first thing in `main`, and keeps it until it exits:
///
///     int main() {
///       Tarvel request(true);
///       if (!request.IsAuthorized(nullptr, 1, static_cast<_tag_cgi_position>(0))) return 0;  // already answered
///       Json::Value reply;
///       reply["success"] = true;
///       reply["data"]["user"] = request.GetLoginUserName();
///       char type[] = "text/plain; charset=\"UTF-8\"";
///       request.WriteHeader(type);
///       request.WriteBody(reply);
///     }
///
/// The order of use is: construct (with true; with false for a program that receives an upload), IsAuthorized(), read
/// the parameters, work, WriteHeader(), WriteBody(), destroy. There is one object per process and one thread; nothing
/// is locked.
///
/// **Reply shape.** List replies and refusals are objects with these members; the pages look the message text of an
/// error up by section and key, the library never sends the text itself.
///
/// | key     | type    | meaning                                                                                 |
/// |---------|---------|-----------------------------------------------------------------------------------------|
/// | success | boolean | true when the request was carried out                                                   |
/// | total   | integer | number of rows, 0 in an error reply                                                     |
/// | items   | array   | the rows, empty in an error reply                                                       |
/// | errno   | object  | only in an error reply: "section" and "key", the place of the message in the text tables |
///
/// **Errors** are told by the results alone, nothing here throws (memory exhaustion apart). What is logged goes to
/// syslog at LOG_ERR, begins with the source name `tarvel` and the line number, and is named at each operation;
/// operations that name no message log nothing.
class TARVEL_EXPORT Tarvel {
 public:
  /// Begins the request: detaches the process from the web server's session with `setsid`, opens the platform context
  /// without a text root and reads the request's cookies. No result of these calls is looked at.
  ///
  /// @param loadParams  true reads the parameters at once, as LoadIn() does; a program that receives an upload passes
  ///                    false and calls LoadIn(char*) itself
  explicit Tarvel(bool loadParams);

  /// Gives the platform context back. Writes nothing.
  ~Tarvel();

  Tarvel(const Tarvel&) = delete;
  Tarvel& operator=(const Tarvel&) = delete;

  /// @name Parameters
  /// @{

  /// Reads the request's parameters, once per object.
  ///
  /// The parameter line is tried as a JSON document first; only if it is none, it is decoded as a query string or form
  /// body. A JSON body is therefore seen through In(), anything else through In(const char*, const char*). "Is JSON"
  /// is what the JSON reader says, and it is lenient: text behind a complete value is accepted.
  ///
  /// @return true when the parameters have been read now; false when they had been read before (the platform is not
  ///         asked again) or when the request has none (a later call asks again)
  bool LoadIn();

  /// Parses a text into the request's JSON parameters.
  ///
  /// @param text  NUL-terminated JSON, comments allowed, never null; not changed
  /// @return the reader's success; false also for a document nested deeper than the reader's limit of 1000 levels.
  ///         After false the JSON parameters hold whatever the reader left in them
  bool LoadJSONParam(char* text);

  /// The JSON parameters.
  ///
  /// @return the document, owned by this object; null when it has no member and no element: when the request was not
  ///         JSON, and also for an empty object, an empty array and every scalar
  Json::Value* In();

  /// One decoded form parameter. The JSON parameters are never looked into.
  ///
  /// @param name          name of the parameter, never null
  /// @param defaultValue  what to return when it is absent; may be null
  /// @return the value, owned by this object, in the bytes that the browser sent; `defaultValue` itself when the
  ///         parameter is absent. A parameter that is present and empty is ""
  const char* In(const char* name, const char* defaultValue);

  /// Receives a multipart upload. The files of the request are staged in a directory, the fields become parameters.
  ///
  /// @param uploadDir  the staging directory, cut to 127 bytes; null chooses one with FindUploadTmpPath()
  /// @return -9 when no directory was given and none is found (logged: "no path for upload"); a negative result of the
  ///         platform when the upload fails (logged: "failed to upload to path"); otherwise the platform's result, 0 or
  ///         positive. Whether parameters count as read is neither asked nor changed
  int LoadIn(char* uploadDir);

  /// Whether the request is a multipart upload.
  ///
  /// @return true exactly when the platform answers 1
  bool IsUploadRequest();

  /// Finds the staging directory for uploads: "@tmp" on the first volume, in the platform's order, that is mounted and
  /// writable. The directory is neither made nor tested.
  ///
  /// @param buf   receives the path, NUL-terminated and cut to `size`; untouched when the result is false
  /// @param size  bytes in `buf`
  /// @return true when a volume was found; false when none serves, or when `buf` is null or `size` is not positive
  ///         (the volumes are then not enumerated)
  bool FindUploadTmpPath(char* buf, int size);

  /// @}
  /// @name Cookies and session
  /// @{

  /// One cookie of the request.
  ///
  /// @param name          name of the cookie, never null
  /// @param defaultValue  what to return when it is absent; may be null
  /// @return the value, owned by this object, or `defaultValue` itself
  const char* GetCookie(const char* name, const char* defaultValue);

  /// The id of the session, from the cookie "id".
  ///
  /// @return the id, owned by this object, as the browser sent it and not checked; null without a session
  const char* GetSessionID();

  /// The path of the file that keeps the current session.
  ///
  /// @param buf   receives the path
  /// @param size  bytes in `buf`
  /// @return the platform's result
  int GetSessionFilePath(char* buf, int size);

  /// The code of the language in which this request is answered, such as "en".
  ///
  /// @return the code, owned by this object
  const char* GetUILanguage();

  /// Reads the cookies of the request again, after a login has set new ones.
  ///
  /// @return the platform's result
  int UpdateCookiesHash();

  /// Queues a cookie for the reply. Without an expiry it ends with the browser's session.
  ///
  /// @param a  path for which the cookie holds, e.g. "/"
  /// @param b  name
  /// @param c  value
  /// @return true exactly when the platform answers 1
  bool AddCookieToHeader(char* a, char* b, char* c);

  /// The name of the logged-in user.
  ///
  /// @return a copy, at most 492 bytes; empty until IsAuthorized() has allowed the request
  std::string GetLoginUserName() const;

  /// @}
  /// @name Authorization and login
  /// @{

  /// Asks the platform whether the caller is logged in and may do this, and answers the request when not.
  ///
  /// A refused request is answered exactly once, by a redirect or by a JSON reply; the program must then exit without
  /// writing anything. The JSON reply has the header "x-request-error" and the body
  /// `{"success": false, "total": 0, "items": [], "errno": {"section", "key"}}`:
  ///
  /// | platform's answer    | x-request-error | section | key               |
  /// |----------------------|-----------------|---------|-------------------|
  /// | -1                   | timeout         | login   | error_timeout     |
  /// | -2, -5               | unauth          | login   | error_noprivilege |
  /// | -3                   | relogin         | login   | error_interrupt   |
  /// | 0, -4, anything else | system          | common  | error_system      |
  ///
  /// Its content type is the default content type, for an upload always `text/html; charset="UTF-8"` (the reply lands
  /// in a hidden frame of the page).
  ///
  /// @param redirectUrl  where to send a refused caller instead of the JSON reply; null for the JSON reply ("" counts
  ///                     as an address)
  /// @param mode         handed to the platform unchanged
  /// @param position     the page's position, handed to the platform unchanged
  /// @return true when the request may proceed: nothing was written and GetLoginUserName() names the user; false when
  ///         it was refused and answered: the name is empty
  bool IsAuthorized(const char* redirectUrl, int mode, _tag_cgi_position position);

  /// Logs a user in with name and password. A domain user is also registered for share access with the platform; a
  /// failure of that is logged ("KestCgiDomValidShareWrite failed.") and does not fail the login.
  ///
  /// @param params  the platform's login record; its first field is the user name
  /// @return 1 on success, otherwise the platform's result. GetLoginUserName() is not changed
  int Login(_tag_login_params* params);

  /// Opens a session without a password check, for callers that know the user by other means.
  ///
  /// @param params  the platform's login record
  /// @return the platform's result
  int LoginNoAuth(_tag_login_params* params);

  /// Ends the session of the user whom IsAuthorized() found. The name is kept.
  ///
  /// @return true when the platform answers non-zero
  bool Logout();

  /// Whether the logged-in user is the account "admin", without regard to case. Membership of a group of
  /// administrators does not count.
  ///
  /// @return true for that account; false for any other and without a login
  bool IsAdmin() const;

  /// @}
  /// @name Page
  /// @{

  /// The strip of links to the applications, as HTML. An application stands in it when its support setting has the
  /// factory value "yes" and the logged-in user has its privilege; it is hidden (`display:none`) unless its run setting
  /// is "yes" and the caller enables it. Names are not localised.
  ///
  /// | application        | bit | support setting     | run setting      | span id                       |
  /// |--------------------|-----|---------------------|------------------|-------------------------------|
  /// | Management         |     |                     |                  | application-link-management   |
  /// | File Vento         | 2   | supportfilevento    | runfilevento     | application-link-file         |
  /// | Audio Vento        | 4   | support_audio       | runaudiovento    | application-link-audio        |
  /// | Surveillance Vento | 16  | supportsurveillance | runsurveillance  | application-link-surveillance |
  /// | Download Vento     | 8   | support_download    | download_enabled | application-link-download     |
  ///
  /// @param enabledMask     bits of the applications that may be visible
  /// @param withManagement  whether "Management" comes first: always visible, whoever the user is
  /// @param iconOnly        true: each link is the icon, and nothing stands between the entries; false: the icon, then
  ///                        the name as link, and "&nbsp;&nbsp;" between the entries
  /// @return "&nbsp;", a newline and the entries, at most 4095 bytes; without a login, or when the platform does not
  ///         know the user's privileges, no entry but "Management"
  std::string GetAppLinkAsString(int enabledMask, bool withManagement, bool iconOnly);

  /// The style rule by which Internet Explorer 5.5 and 6 draw transparent images.
  ///
  /// @return the rule when the environment's HTTP_USER_AGENT contains "MSIE 6" or "MSIE 5.5"; otherwise ""
  std::string GetIEPNGFixStyle();

  /// @}
  /// @name Reply
  /// @{

  /// Queues a header of the reply.
  ///
  /// @param name   name of the header, e.g. "Cache-Control"
  /// @param value  its value
  /// @return the platform's result; 0 is a failure
  int AddHeader(const char* name, const char* value);

  /// Queues "Content-type" and prints all queued headers and the empty line that ends them to standard output.
  ///
  /// @param contentType  its value, e.g. `text/plain; charset="UTF-8"`
  /// @return true when the platform's queueing and printing both gave non-zero, negative values included; false when
  ///         queueing failed (nothing is printed, what was queued stays queued) or printing did
  bool WriteHeader(char* contentType);

  /// Replaces the content type of IsAuthorized()'s refusal, initially `text/plain; charset="UTF-8"`.
  ///
  /// @param type  the content type, copied; never null
  void SetDefaultContentType(const char* type);

  /// Prints a document to standard output: indented, one member per line, members in the order of their keys, with a
  /// final newline. Prints no header (call WriteHeader() before) and does not flush.
  ///
  /// @param reply  the document; a null value prints "null"
  /// @return true, always
  bool WriteBody(Json::Value& reply);

  /// Answers the request with a redirect instead of headers and body.
  ///
  /// @param url  where to send the browser
  /// @return the platform's result
  int Redirect(const char* url);

  /// @}
  /// @name Files
  /// @{

  /// Reads a whole small file.
  ///
  /// @param path  the file, never null; read with one `read`
  /// @return the content in a new buffer with a NUL behind it, to be released with `free`; "" for a file of size 0.
  ///         Null when the file is missing (not logged), cannot be opened, examined or read, is larger than 1048576
  ///         bytes, or when memory is short (each logged with its own message)
  char* szReadFile(const char* path);

  /// Reads a JSON file of at most 1048576 bytes.
  ///
  /// @param path  the file; may be null
  /// @param out   receives the document, comments included; untouched when the file could not be read, but perhaps
  ///              partly filled when the text is no JSON
  /// @return true when the whole file was read and is JSON; false for a null path, every failure of szReadFile() (which
  ///         logs it), a text that is no JSON or one nested deeper than 1000 levels (not logged)
  bool ReadTmp(const char* path, Json::Value& out);

  /// Writes a JSON file: the text goes to the sibling PATH.tmp, which is then renamed over `path`, so readers see
  /// either the old document or the new one. There is no lock: of two writers at once one may lose its content.
  ///
  /// @param path   the file; with ".tmp" behind it at most 4095 bytes, a longer temporary name is cut and used cut.
  ///               Null writes nothing
  /// @param value  the document
  /// @return true, always: callers cannot learn of a failed write. Only a temporary file that cannot be opened is
  ///         logged ("Failed to fopen"); the target is then untouched
  bool WriteTmp(const char* path, Json::Value& value);

  /// @}
  /// @name Module data
  /// Small JSON records that a module of the user interface keeps between requests: one file per name in
  /// `/tmp/tarvel/modules`, without extension. A name is appended to the directory as it is, it is neither checked nor
  /// escaped: a name with "/" addresses a sub-path. The record "x" is written through "x.tmp", so a module must not be
  /// called that.
  /// @{

  /// Whether a record exists.
  ///
  /// @param name  the record; null gives false
  /// @return true when something of that name is there, a directory too; links are followed
  bool IsModuleDataExist(const char* name);

  /// Reads a record, as ReadTmp() does.
  ///
  /// @param name  the record; null gives false
  /// @param out   see ReadTmp()
  /// @return see ReadTmp(); false without a log line for a record that was never written
  bool ReadModuleData(const char* name, Json::Value& out);

  /// Writes a record, as WriteTmp() does. When the directory is missing it is made with the shell command
  /// `/bin/mkdir -p /tmp/tarvel/modules`, whose result is not looked at.
  ///
  /// @param name   the record; null writes nothing
  /// @param value  the document
  /// @return true, always
  bool WriteModuleData(const char* name, Json::Value& value);

  /// Removes a record, also when it is an empty directory. The directory of the records stays.
  ///
  /// @param name  the record
  /// @return 0 on success; -1 on failure (`errno` says why: ENOENT when there is no such record) and for null
  int RemoveModuleData(const char* name);

  /// @}
  /// @name The library's own settings
  /// One JSON document in `/usr/kest/etc/tarvel.cfg`.
  /// @{

  /// Reads the settings, as ReadTmp() does.
  ///
  /// @param out  see ReadTmp()
  /// @return see ReadTmp()
  bool LoadConfig(Json::Value& out);

  /// Writes the settings, as WriteTmp() does.
  ///
  /// @param value  the document
  /// @return true, always
  bool SaveConfig(Json::Value& value);

  /// @}

 private:
  static constexpr int kUserNameBytes = 493;

  bool params_loaded_ = false;
  KESTCGI context_;
  Json::Value json_params_;
  char login_user_[kUserNameBytes];
  std::string default_content_type_;
};

#endif  // TARVEL_TARVEL_H
