// The fields of the settings form, for the programs that do its work another way.
#ifndef BENCH_SETTINGS_FIELDS_H
#define BENCH_SETTINGS_FIELDS_H

inline constexpr const char* kSettingsFields[] = {
    "description",      "language",        "timezone",     "admin_port_http", "admin_port_https",
    "maintenance_date", "allowed_address", "allowed_mask", "notify",          "log_level",
};

#endif  // BENCH_SETTINGS_FIELDS_H
