#ifndef TARVEL_VHOST_H
#define TARVEL_VHOST_H

#include <json/value.h>

#include "tarvel_export.h"

/// @file
/// The web server's virtual hosts.

/// The virtual hosts that an administrator has made, in the two files that the web server includes:
/// "/usr/kest/etc/httpd-vhost.conf-user" for HTTP and "/usr/kest/etc/httpd-ssl-vhost.conf-user" for HTTPS.
///
/// A list of virtual hosts is an array of objects:
///
/// | member      | type   | meaning                                                             |
/// |-------------|--------|---------------------------------------------------------------------|
/// | "vhosttype" | int    | 0: an HTTP host, in the first file; 1: an HTTPS host, in the second |
/// | "port"      | int    | TCP port                                                            |
/// | "host"      | string | server name                                                         |
/// | "folder"    | string | name of the site's folder below "/var/services/web/"                |
///
///     Json::Value list;
///     VHost::VHostInfoAllGet(list);   // the number of hosts
///     Json::Value host;
///     host["vhosttype"] = 0;
///     host["port"] = 8080;
///     host["host"] = "shop.example";
///     host["folder"] = "shop";
///     list.append(host);
///     VHost::VHostInfoAllSet(list);   // true: both files are new
///
/// Texts stand in the files as they are. What the format cannot carry must not be handed in: line breaks, a folder with
/// "/" or with quotation marks inside, and a host that is empty, has blanks or ":" or begins with "*" are not read back
/// as they were written.
///
/// Failures are told by the results. What is logged goes to syslog at LOG_ERR unless LOG_DEBUG is said, begins with the
/// source name `vhost` and the line number, and is named at each function; "0x%04X" is KLIBErrGet(). Two processes must
/// not write at once.
namespace TARVEL_EXPORT VHost {

/// The value of a line: what stands behind its last blank or, in a line without blanks, behind its last tab.
///
/// @param line   the line; null is a failure (logged: "Bad parameters!!")
/// @param value  receives the value, a piece of `line`; null is a failure (logged: "Bad parameters!!")
/// @return true when there is a value, also an empty one; false on a failure, also for a line with neither blank nor
///         tab (logged: "The line format is wrong!! szLine=%s."): `value` is then as before
bool VHostValueGet(char* line, char** value);

/// The ports of a virtual-host file: the values of its lines that begin with "Listen", as `strtol` reads them, so that
/// one without digits is 0. A line without value is passed over (logged: as VHostValueGet(), and "Failed to parse value
/// in the virtual host file [%s], szBuf=[%s]").
///
/// @param file   path of the file
/// @param ports  receives the ports, in the file's order
/// @param max    how many it can take, at least 1
/// @return the number of ports; 0 when the file cannot be opened (logged: "Fail to open [%s] file. errno=%d/%m"); -1
///         when an argument is null or `max` below 1 (logged: "Bad parameter!!"), when there are more than `max`
///         (logged: "The number of virtual host port is greater than %d!!"), and when the platform cannot trim a line
///         (logged at LOG_DEBUG: "KLIBStrTrimSpace() failed! szInput[%s], errno=[0x%04X]"); `ports` then holds those
///         before
int VHostPortGet(const char* file, int* ports, int max);

/// Reads the hosts of both files, HTTP first, each in the file's order. The appliance's own hosts, whose server name
/// begins with "*", are left out.
///
/// A block that never ends is left out, and the last block of a file also when it has no name or no folder. What cannot
/// be understood is passed over: other lines silently; "ServerName" without a value (logged: as VHostPortGet()); a
/// "DocumentRoot" without "/" (logged: "The format of virtual host configure file[%s] is wrong!! szBuf=%s"). A file
/// that cannot be opened has no hosts (logged: "Fail to open [%s] file. errno=%d/%m"). Where the platform cannot trim a
/// line the file ends (logged at LOG_DEBUG: "KLIBStrTrimSpace() failed! szInput[%s], errno=[0x%04X]").
///
/// @param list  an array, or null, to which the hosts are appended; null stays null when there are none
/// @return the number of blocks that were begun, less the appliance's own; 0 also when the HTTP file begins with a
///         server name "*" outside of any block: the HTTPS file is then not read
int VHostInfoAllGet(Json::Value& list);

/// Writes both files anew. A site's folder that does not exist is made, with mode 0777 and owner 1024, group 0; one
/// that exists is left as it is. A folder's path is cut to 63 bytes for that, but not in the file.
///
/// The HTTP file begins with the ports: "Listen" and "NameVirtualHost", once for each port, nothing for 0, 80 and the
/// port of the setting "httpport", no "Listen" for 443. The appliance's own hosts follow, on port 80 and on that of the
/// setting, then the hosts of the list. The HTTPS file has the ports and the hosts. An empty list makes both files
/// empty.
///
/// Both files are written as ".tmp" beside the old ones and take their place when everything is written, HTTPS first.
/// After a failure the old files stand, and what has been written stays in the ".tmp" files.
///
/// @param list  the hosts; null is an empty list; a missing member counts as 0 or "". It is not changed
/// @return true when both files are new; false on a failure: memory is short (logged: "Out of memory!!"), a file cannot
///         be opened (logged: "Fail to fopen file [%s], errno=[%d]"), a type is neither 0 nor 1 (logged: "The type [%d]
///         of virtual host is wrong!!"), a port is negative (logged: "Bad parameters!!" and "AppendPort() failed!
///         port=[%d]") or its lines cannot be written (logged: the second of them), a folder cannot be looked up or
///         made (logged: "stat[%s] failed! error_code=%d/%m", "mkdir[%s] failed! error_code=%d/%m"), a block cannot be
///         written (logged: "VHostConfWrite() failed!!"), the files cannot be written to their end (not logged), or the
///         list or a member is of another type (not logged)
bool VHostInfoAllSet(Json::Value& list);

/// Writes the host of the web file manager, right into its file.
///
/// @param file  path of the file
/// @param port  its port, as text
/// @param ssl   0 for HTTP, anything else for HTTPS with the appliance's certificate
/// @return 0 when written; -1 when an argument is null (logged: "Bad parameters!!"), the file cannot be opened (logged:
///         "Fail to fopen file [%s], errno=[%d]") or not be written to its end (not logged)
int VHostFileVentoSet(const char* file, const char* port, int ssl);

}  // namespace VHost

#endif  // TARVEL_VHOST_H
