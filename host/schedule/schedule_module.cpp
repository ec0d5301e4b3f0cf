#include "host/schedule/schedule_module.h"

#include "host/module/contained.h"
#include "host/schedule/event_log.h"
#include "host/schedule/job_store.h"

namespace kest {
namespace {

int Find(const char* command, _tag_KEST_SCHEDULE* out) {
  return Contained([=] { return FindJob({}, command, out); });
}

int Save(const _tag_KEST_SCHEDULE* job) {
  return Contained([=] { return SaveJob({}, *job); });
}

int Remove(const char* command) {
  return Contained([=] { return RemoveJob({}, command); });
}

int Log(int category, int level, int event, const char* const (&texts)[4]) {
  return Contained([&] {
    return AddEvent(kEventsPath, {category, level, event, {texts[0], texts[1], texts[2], texts[3]}});
  });
}

}  // namespace
}  // namespace kest

const KestScheduleModule* KestScheduleModuleTable(void) {
  static constexpr KestScheduleModule kTable = {kest::Find, kest::Save, kest::Remove, kest::Log};
  return &kTable;
}
