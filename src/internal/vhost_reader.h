#ifndef TARVEL_INTERNAL_VHOST_READER_H
#define TARVEL_INTERNAL_VHOST_READER_H

#include <json/value.h>

namespace tarvel_internal {

/// Files of virtual hosts are read here; the functions of the family say what they read. Log lines bear its name.

/// See VHost::VHostValueGet().
bool ReadValue(char* line, char** value);

/// See VHost::VHostPortGet().
int ReadPorts(const char* file, int* ports, int max);

/// Appends the hosts of one file to a list; see VHost::VHostInfoAllGet().
///
/// @param type  "vhosttype" of its hosts, at most 1
/// @return the number of blocks begun, less the appliance's own, perhaps negative; 0 when the file cannot be opened,
///         and for a null path or another type (logged: "Bad parameters!!")
int ReadHosts(const char* file, int type, Json::Value& list);

}  // namespace tarvel_internal

#endif  // TARVEL_INTERNAL_VHOST_READER_H
