#include "host/accounts/expiry.h"

#include <string.h>
#include <time.h>

namespace kest {
namespace {

constexpr int kSecondsPerDay = 86400;
constexpr size_t kDateBytes = sizeof("2026/11/20");

}  // namespace

bool IsExpiredDay(int day) { return day >= 0 && time(nullptr) / kSecondsPerDay > day; }

bool DateOfDay(int day, char* buf, size_t size) {
  if (size == 0 || (day >= 0 && day < kFirstRealDay)) return false;
  char text[kDateBytes] = "";
  if (day >= 0) {
    const time_t seconds = static_cast<time_t>(day) * kSecondsPerDay;
    tm date;
    // A year of five digits does not fit, and is no date that could be read back.
    if (gmtime_r(&seconds, &date) == nullptr || strftime(text, sizeof(text), "%Y/%m/%d", &date) == 0) return false;
  }
  if (strlen(text) >= size) return false;
  strcpy(buf, text);
  return true;
}

bool DayOfDate(const char* date, int* day) {
  if (date[0] == '\0') {
    *day = kNeverExpires;
    return true;
  }
  tm parts = {};
  const char* end = strptime(date, "%Y/%m/%d", &parts);
  if (end == nullptr || *end != '\0') return false;
  const time_t seconds = timegm(&parts);
  const time_t found = seconds / kSecondsPerDay;
  // strptime takes "2026/2/30": only what is written back the same is a date.
  char again[kDateBytes];
  if (seconds < kFirstRealDay * kSecondsPerDay || !DateOfDay(static_cast<int>(found), again, sizeof(again)))
    return false;
  if (strcmp(date, again) != 0) return false;
  *day = static_cast<int>(found);
  return true;
}

}  // namespace kest
