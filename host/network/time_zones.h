#ifndef KEST_HOST_NETWORK_TIME_ZONES_H_
#define KEST_HOST_NETWORK_TIME_ZONES_H_

#include <string>
#include <vector>

namespace kest {

// The time zones of an installed tz database, by name: "UTC", then those that are named by a region and a place
// ("Europe/Oslo"), other names of a zone included. Old abbreviations and offsets ("EST", "Etc/GMT+1") are left out, and
// so are names whose file is not there.
// @param folder  the database, with its index tzdata.zi
// @return false with errno when the index cannot be read; `out` is then untouched
bool ReadTimeZones(const char* folder, std::vector<std::string>* out);

}  // namespace kest

#endif  // KEST_HOST_NETWORK_TIME_ZONES_H_
