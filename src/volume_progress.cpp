// Progress of a volume's building, as the worker records it.
#include <cstdio>
#include <utility>

#include "internal/log.h"
#include "platform/klib.h"
#include "tarvel.h"
#include "volume.h"

namespace {

constexpr char kLogSource[] = "volume";

constexpr char kModule[] = "volume";
constexpr const char* kRequired[] = {"pid", "vol_path", "step", "action", "status"};
enum BuildStatus { kInProgress = 1, kFailed = 3 };

bool HasRequired(const Json::Value& record) {
  if (!record.isObject()) return false;
  for (const char* key : kRequired) {
    if (!record.isMember(key)) return false;
  }
  return true;
}

template <size_t kBytes>
void CopyText(const Json::Value& text, char (&buffer)[kBytes]) {
  std::snprintf(buffer, kBytes, "%s", text.asString().c_str());
}

// False when a member cannot be converted; `action` is then half-filled.
bool Fill(const Json::Value& record, _tag_cgi_volume_action_& action) try {
  action.pid = record["pid"].asUInt();
  CopyText(record["vol_path"], action.volPath);
  action.action = record["action"].asInt();
  action.step = record["step"].asInt();
  action.status = record["status"].asInt();
  if (record.isMember("in_progress_devpath")) CopyText(record["in_progress_devpath"], action.inProgressDevPath);
  if (action.status != kFailed || !record.isMember("errno")) return true;
  const Json::Value& error = record["errno"];
  action.errSection = error["section"].asString();
  action.errKey = error["key"].asString();
  action.errLine = error["line"].asInt();
  return true;
} catch (const Json::Exception&) {
  // Whoever writes the record may put anything there.
  return false;
}

}  // namespace

bool Volume::ReadActionFile(Tarvel& ctx, _tag_cgi_volume_action_& action) {
  Json::Value record;
  if (!ctx.ReadModuleData(kModule, record)) return false;
  _tag_cgi_volume_action_ filled = action;
  if (!HasRequired(record) || !Fill(record, filled)) {
    LogError("%s:%d Failed to read 'volume' progress files, some member is lost");
    return false;
  }
  action = std::move(filled);
  return true;
}

bool Volume::IsVolBuilding(Tarvel& ctx, _tag_cgi_volume_action_& action) {
  return ReadActionFile(ctx, action) && action.status == kInProgress && BlKLIBProcAlive(action.pid) != 0;
}

bool Volume::IsVolBuilding(Tarvel& ctx) {
  _tag_cgi_volume_action_ ignored;
  return IsVolBuilding(ctx, ignored);
}
