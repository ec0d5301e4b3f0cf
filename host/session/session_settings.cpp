#include "host/session/session_settings.h"

#include <string.h>

#include "host/cgi/decimal.h"
#include "host/cgi/settings.h"

namespace kest {

int SessionTimeoutSeconds() {
  constexpr uint64_t kMostMinutes = 7 * 24 * 60;
  constexpr uint64_t kUsualMinutes = 15;
  uint64_t minutes = 0;
  const bool given = ParseDecimal(ProcessSetting("session_timeout", ""), &minutes) == Decimal::kNumber;
  if (!given || minutes == 0 || minutes > kMostMinutes) minutes = kUsualMinutes;
  return static_cast<int>(minutes) * 60;
}

bool OneSessionPerAccount() { return strcmp(ProcessSetting("session_single", ""), "yes") == 0; }

}  // namespace kest
