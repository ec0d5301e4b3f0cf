#ifndef TARVEL_WEBUTILS_H
#define TARVEL_WEBUTILS_H

#include <string>
#include <vector>

#include "tarvel_export.h"

/// @file
/// Texts for pages, URLs and lists; what a program asks of the server that it runs on.

/// Small helpers of the programs that build pages. They hold no state: each may be called from anywhere.
///
///     WebUtils::EncodeHtml("a<b & c", false);               // "a&lt;b &amp; c"
///     WebUtils::StringExplode(",a,,b,", ",");               // {"a", "b"}
///     WebUtils::IsValidExtension("photo.JPG", ".jpg");      // true
///
/// **Errors** are told by the results alone: an empty text, an empty list, false. Nothing here throws (memory
/// exhaustion apart). What is logged goes to syslog at LOG_ERR, begins with the source name `webutils` and the line
/// number, and is named at each function; functions that name no message log nothing.
namespace TARVEL_EXPORT WebUtils {

/// A text for use between the tags of a page: "&", "<" and ">" become the entities amp, lt and gt. Quotation marks stay
/// as they are, so the result must not stand inside an attribute's value. What is encoded already is encoded once more.
///
/// @param text  any bytes, NUL included
/// @param nbsp  true makes every blank the entity nbsp
/// @return the encoded copy; every other byte is as it was
std::string EncodeHtml(const std::string& text, bool nbsp);

/// A text for use in a URL, as the platform encodes it (KestCgiURLEncode()): usually everything but letters, digits and
/// a few marks becomes "%" and two hexadecimal digits.
///
/// @param text  NUL-terminated, any bytes
/// @return the encoded copy; "" for null, when memory is short, when the platform cannot encode the text, and for one
///         whose encoded length may exceed an `int`
std::string EncodeURL(const char* text);

/// The pieces of a text between delimiters, in their order. Runs of delimiters count as one, those at the ends as none,
/// so no piece is empty; blanks are kept.
///
/// @param text        the text; what stands behind a NUL byte is not looked at
/// @param delimiters  the set of delimiters up to a NUL byte: each byte is one by itself; "" for none, which gives one
///                    piece
/// @return the pieces; none for a text that is empty or holds delimiters only
std::vector<std::string> StringExplode(const std::string& text, const std::string& delimiters);

/// Texts joined into one, the counterpart of StringExplode(). Glue inside an item is not marked: it separates later.
///
/// @param items  the texts, in their order, empty ones too
/// @param glue   what stands between neighbours, not at the ends; null counts as ""
/// @return the joined text; "" for an empty list
std::string StringImplode(const std::vector<std::string>& items, const char* glue);

/// A text without the blanks, tabs and line feeds at its beginning. Carriage returns and other white space stay, and so
/// does everything at the end.
///
/// @param text  the text; null counts as ""
/// @return the rest, perhaps ""
std::string StringLeftStrip(const char* text);

/// Whether a file's name ends with an extension, without regard to the case of ASCII letters. The dot is not implied: a
/// caller who means ".jpg" passes it, "jpg" alone is also the end of "xjpg".
///
/// @param fileName   the name; null or "" gives false
/// @param extension  the extension; null or "" gives false
/// @return true when the name ends with the extension and is longer than it
bool IsValidExtension(const char* fileName, const char* extension);

/// @name The server
/// @{

/// The host name.
///
/// @return the name; "" when the system does not tell it (logged: "getting hostname error.")
std::string GetServerName();

/// The name of the Windows domain or workgroup.
///
/// @return the name, "" unless the settings say that the server is in a domain
std::string GetDomainName();

/// Whether the server is joined to a Windows domain: the settings say so, and the domain confirms it.
///
/// @param domain  receives the name of domain or workgroup, also when the result is false; untouched when the settings
///                cannot be read
/// @return true when it is joined
bool IsJoinDomain(std::string& domain);

/// Whether the name of a user or group is that of a domain account: domain, backslash, name.
///
/// @param name  the name
/// @return true when it holds a backslash
bool IsDomainObject(const std::string& name);

/// A URL of the host that the browser has asked, on another protocol or port.
///
///     char port[] = "5001";
///     std::string url;
///     WebUtils::GetURLByProtocol(url, true, port);  // "https://nas:5001" for a request of http://nas:5000/
///
/// @param url    receives the URL, without a path
/// @param https  protocol of the URL
/// @param port   port number as text, taken as it is; never null
/// @return false when the environment has no HTTP_HOST (logged: "Can't find HTTP_HOST in env"), and `url` is then
///         untouched. The host ends at its first colon, so bracketed IPv6 addresses are cut
bool GetURLByProtocol(std::string& url, bool https, char* port);

/// Whether ports that a service is to get belong to another service.
///
/// | service          | its own ports, which are not compared                            |
/// |------------------|------------------------------------------------------------------|
/// | `"adminUI"`      | the settings admin_port, secure_admin_port                       |
/// | `"ftp"`          | ftpport; ftplowport to ftphighport                               |
/// | `"http"`         | httpport, and the ports of the HTTP virtual hosts                |
/// | `"https"`        | the ports of the HTTPS virtual hosts                             |
/// | `"download"`     | download_start_port to download_end_port                         |
/// | `"surveillance"` | surveillance_low_port to surveillance_high_port                  |
/// | `"cfs"`          | cfs_httpport, cfs_httpsport                                      |
///
/// A range of another service collides when its upper end lies among the ports or when it holds `high`; only of a range
/// whose ends are in order this tells every overlap. A setting that is missing is port 0.
///
/// @param service    name of the service, case-sensitive; any other name is compared with all
/// @param low, high  first and last port; both 0 is no port
/// @return 1 when there is a conflict, also when that cannot be found out: memory is short (logged: "out of memory!!"),
///         or the virtual hosts have more than ten ports or cannot be read (logged: "VHostPortGet() failed!!").
///         Otherwise 0
int IsPortConflict(const char* service, int low, int high);

/// An entity tag for what the program answers to this address: the same for the same SCRIPT_NAME and QUERY_STRING.
/// Of both together 255 bytes count.
///
///     const std::string tag = WebUtils::CreateCGIETag();
///     if (WebUtils::OutputNotModifiedIfMatch(tag)) return 0;
///     request.AddHeader("ETag", tag.c_str());
///
/// @return four groups of hexadecimal numbers without leading zeros, 19 to 35 characters; "" without SCRIPT_NAME and
///         when the platform cannot compute it
std::string CreateCGIETag();

/// Answers the request with status 304 when the browser's copy has this tag: HTTP_IF_NONE_MATCH is the tag, byte for
/// byte; lists, quotation marks and weak tags are not understood. The reply goes to standard output at once, headers
/// and cookies that are queued are not sent.
///
/// @param etag  the tag; "" is none
/// @return true when the reply is complete and the program must write nothing more
bool OutputNotModifiedIfMatch(const std::string& etag);

/// Mails an account's name and password, with the platform's text for an event. Failures are not told.
///
/// @param userName   for the placeholder "%USER_NAME%"
/// @param password   for "%PASSWD%", cut to 254 bytes; "" stands for the text "no_pw" of the section "common"
/// @param recipient  mail address; "" sends nothing
/// @param event      name of the event
void SendUserInfoMail(const std::string& userName, const std::string& password, const std::string& recipient,
                      const std::string& event);

/// The names of the time zones, in the platform's order; none when they cannot be read.
std::vector<std::string> EnumTimeZones();

/// The name of the current AppleTalk zone; "" when there is none.
std::string GetCurrentAppleZone();

/// @}

}  // namespace WebUtils

#endif  // TARVEL_WEBUTILS_H
