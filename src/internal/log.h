#ifndef TARVEL_INTERNAL_LOG_H
#define TARVEL_INTERNAL_LOG_H

#include <syslog.h>

/// Logs one failure. The caller's file defines kLogSource, its family's bare name; source name and line number become
/// the first two arguments, so every format begins with a %s and a %d. A macro, because the format stays a literal that
/// the compiler checks against its arguments, because __LINE__ must be the caller's, and because nothing may run
/// between the failing call and syslog that could change errno.
#define LogError(format, ...) syslog(LOG_ERR, format, kLogSource, __LINE__, ##__VA_ARGS__)

/// The same for what only a developer asks for.
#define LogDebug(format, ...) syslog(LOG_DEBUG, format, kLogSource, __LINE__, ##__VA_ARGS__)

#endif  // TARVEL_INTERNAL_LOG_H
