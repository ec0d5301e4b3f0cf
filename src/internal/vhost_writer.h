#ifndef TARVEL_INTERNAL_VHOST_WRITER_H
#define TARVEL_INTERNAL_VHOST_WRITER_H

#include <json/value.h>

#include <cstdio>

namespace tarvel_internal {

/// The lines of files of virtual hosts are written here; log lines bear that family's name.

/// The HTTP port of the administration's pages, which the web server listens on anyway: one value for the process, 0
/// until it is set.
void SetHttpPort(int port);

/// Writes the lines that make the web server listen on a port, unless it does so anyway (port 0, 80 and the HTTP port)
/// or has been told before. Port 443 needs no "Listen".
///
/// @param ports  the ports written before, ended by 0; the new one is stored in the first slot that is 0, behind which
///               another 0 must stand
/// @return 0 for a port that needs no lines; 1 when the file has its lines; -1 when an argument is null or the port is
///         negative (logged: "Bad parameters!!"), and when the lines cannot be written
int AppendPort(std::FILE* file, int* ports, int port);

/// Writes the "NameVirtualHost" lines and the blocks of the appliance's own hosts, on port 80 and on the HTTP port.
/// @return true when written
bool AppendDefaultHosts(std::FILE* file);

/// Writes the block of one host.
///
/// @param item  an object, or null; a member of another type is an exception of jsoncpp
/// @return true when written; false when `file` is null (logged: "Bad parameters!!") or cannot be written
bool VHostConfWrite(std::FILE* file, const Json::Value& item);

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_VHOST_WRITER_H
