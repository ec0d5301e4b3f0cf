#include "host/cgi/settings.h"

#include <algorithm>

#include "host/cgi/context.h"
#include "host/cgi/decimal.h"
#include "host/cgi/multipart_reader.h"

namespace kest {
namespace {

struct LimitRow {
  const char* key;
  uint64_t usual;
  uint64_t most;  // what is held in memory has to have a size that can be counted, on 32 bits too
};

constexpr uint64_t kMostInMemory = 1024 * 1024 * 1024;

// In the order of Limit.
constexpr LimitRow kLimits[] = {
    {"cgi_body_max", 1024 * 1024, kMostInMemory},
    {"cgi_pairs_max", 1000, 1000 * 1000},
    {"cgi_name_max", 256, kMostInMemory},
    {"cgi_upload_max", UINT64_C(8) * 1024 * 1024 * 1024, INT64_MAX},
    {"cgi_upload_parts_max", 100, 1000 * 1000},
    {"cgi_part_header_max", 8192, MultipartReader::kHeaderMost},
    {"cgi_part_header_lines_max", 32, MultipartReader::kHeaderMost},
};

}  // namespace

const char* ProcessSetting(const char* key, const char* def) {
  static const KeyValueFile* settings = nullptr;
  if (settings == nullptr) {
    auto file = std::make_unique<KeyValueFile>();
    file->Load(kSettingsFile);  // an unreadable file is an empty one
    settings = file.release();
  }
  const char* const value = settings->Find(key);
  return value != nullptr ? value : def;
}

uint64_t LimitOf(Limit limit) {
  const LimitRow& row = kLimits[static_cast<size_t>(limit)];
  uint64_t value = 0;
  const bool given = ParseDecimal(ProcessSetting(row.key, ""), &value) == Decimal::kNumber && value > 0;
  return given ? std::min(value, row.most) : row.usual;
}

}  // namespace kest

int KestCgiLoadInfo(KESTCGI* ctx) {
  KestCgiCore* const core = kest::CoreOf(ctx);
  if (core == nullptr) return -1;
  return kest::Guarded(-1, [&] {
    const bool current = core->settings.Load(kest::kSettingsFile);
    const bool factory = core->factory_settings.Load(kest::kFactorySettingsFile);
    return current && factory ? 0 : -1;
  });
}

const char* KestCgiGetInfo(KESTCGI* ctx, const char* key, const char* def) {
  const KestCgiCore* const core = kest::CoreOf(ctx);
  const char* const value = core == nullptr || key == nullptr ? nullptr : core->settings.Find(key);
  return value != nullptr ? value : def;
}

const char* KestCgiGetDef(KESTCGI* ctx, const char* key, const char* def) {
  const KestCgiCore* const core = kest::CoreOf(ctx);
  const char* const value = core == nullptr || key == nullptr ? nullptr : core->factory_settings.Find(key);
  return value != nullptr ? value : def;
}
