#ifndef KEST_HOST_CGI_SETTINGS_H_
#define KEST_HOST_CGI_SETTINGS_H_

#include <stdint.h>

namespace kest {

// Key/value files of the system settings, current values and factory defaults.
constexpr char kSettingsFile[] = "/etc/kestinfo.conf";
constexpr char kFactorySettingsFile[] = "/etc.defaults/kestinfo.conf";

// A setting that the core itself goes by. The file is read once per process; a context that a program fills with
// KestCgiLoadInfo() reads it anew.
// @return the current value, "" included; `def` when the key is absent
const char* ProcessSetting(const char* key, const char* def);

// Bounds of what the core takes from a request. Each is a setting of the name given, a decimal number above 0; anything
// else there counts as absent, and a number above what the core can hold (1 GiB in memory, 32 KiB of part header)
// counts as that.
enum class Limit {
  kBodyBytes,        // cgi_body_max, 1 MiB: a body that is not an upload; also all ordinary fields of an upload
  kPairs,            // cgi_pairs_max, 1000: parameters of a request
  kNameBytes,        // cgi_name_max, 256: a parameter's name, decoded
  kUploadBytes,      // cgi_upload_max, 8 GiB: the whole body of an upload
  kUploadParts,      // cgi_upload_parts_max, 100
  kPartHeaderBytes,  // cgi_part_header_max, 8192: all header lines of one part
  kPartHeaderLines,  // cgi_part_header_lines_max, 32
};
uint64_t LimitOf(Limit limit);

}  // namespace kest

#endif  // KEST_HOST_CGI_SETTINGS_H_
