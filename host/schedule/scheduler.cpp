#include "host/klib/error_code.h"
#include "host/schedule/schedule_module.h"
#include "platform/kestsched.h"

namespace kest {
namespace {

const KestScheduleModule* Schedule() { return KEST_MODULE(KestScheduleModule, "schedule", KestScheduleModuleTable); }

}  // namespace
}  // namespace kest

int KESTScheduleGet(const char* cmd, _tag_KEST_SCHEDULE* job) {
  if (cmd == nullptr || job == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  const KestScheduleModule* const schedule = kest::Schedule();
  return schedule == nullptr ? kest::FailWith(kest::kErrorSystem) : kest::AnswerOf(schedule->find(cmd, job));
}

int KESTScheduleSet(_tag_KEST_SCHEDULE* job) {
  if (job == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  const KestScheduleModule* const schedule = kest::Schedule();
  return schedule == nullptr ? kest::FailWith(kest::kErrorSystem) : kest::AnswerOf(schedule->save(job));
}

int KESTScheduleRemove(const char* cmd) {
  if (cmd == nullptr) return kest::FailWith(kest::kErrorBadParameter);
  const KestScheduleModule* const schedule = kest::Schedule();
  return schedule == nullptr ? kest::FailWith(kest::kErrorSystem) : kest::AnswerOf(schedule->remove(cmd));
}

int KESTLogSet1(int category, int level, int event, const char* text1, const char* text2, const char* text3,
                const char* text4) {
  const auto text = [](const char* given) { return given == nullptr ? "" : given; };
  const char* const texts[] = {text(text1), text(text2), text(text3), text(text4)};
  const KestScheduleModule* const schedule = kest::Schedule();
  if (schedule == nullptr) return kest::FailWith(kest::kErrorSystem);
  return kest::AnswerOf(schedule->log(category, level, event, texts));
}
