// The settings form's answer to "load", for the programs that do its work another way.
#ifndef BENCH_SETTINGS_H
#define BENCH_SETTINGS_H

#include <json/value.h>

#include "platform/kestcgi.h"

inline Json::Value Settings() {
  static constexpr const char* kFields[] = {
      "description",     "language",     "timezone", "session_timeout", "maintenance_date",
      "allowed_address", "allowed_mask", "notify",   "log_level",
  };
  KESTCGI settings;
  KestCgiInit("", &settings);
  KestCgiLoadInfo(&settings);
  Json::Value data;
  for (const char* field : kFields) {
    data[field] = KestCgiGetInfo(&settings, field, KestCgiGetDef(&settings, field, ""));
  }
  KestCgiFree(&settings);
  return data;
}

#endif  // BENCH_SETTINGS_H
