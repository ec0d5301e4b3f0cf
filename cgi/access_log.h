// How many requests the web server has answered in each of the last hours, by its own access log.
#ifndef CGI_ACCESS_LOG_H
#define CGI_ACCESS_LOG_H

#include <array>
#include <cstdint>
#include <ctime>

namespace site {

constexpr int kHoursCounted = 24;

/// What the log says of each hour, the oldest first; the last is the hour that runs now.
struct RequestsPerHour {
  std::array<int64_t, kHoursCounted> count{};
  /// Hours before this one are not, or not wholly, covered by what was read. kHoursCounted: none is.
  int first_known = 0;
};

enum class AccessLog { kRead, kMissing, kUnreadable };

/// Counts the requests in a log and in what a rotation has made of it, the file with ".1" behind its name. A line
/// counts when its second word is a time such as 2026-11-20T18:05:01+0100; whatever else the file holds is passed over.
///
/// However large the files are, only the newest 16 MiB of them are read, in pieces of 64 KiB.
///
/// @param path         the log
/// @param now          the moment up to which hours are counted; later lines are passed over
/// @param zone_offset  seconds by which the hours begin earlier than those of UTC
/// @param requests     filled when the log could be read, else untouched
AccessLog CountRequests(const char* path, time_t now, long zone_offset, RequestsPerHour& requests);

}  // namespace site

#endif  // CGI_ACCESS_LOG_H
