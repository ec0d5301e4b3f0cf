// What libkest.so asks of libkest_schedule.so.
#ifndef KEST_HOST_SCHEDULE_SCHEDULE_MODULE_H_
#define KEST_HOST_SCHEDULE_SCHEDULE_MODULE_H_

#include "host/module/module.h"
#include "platform/kestsched.h"

// Results: negative is an ErrorCode with its sign turned (logged where the machine is to blame).
struct KestScheduleModule {
  int (*find)(const char* command, _tag_KEST_SCHEDULE* out);  // 1 found, 0 no such job
  int (*save)(const _tag_KEST_SCHEDULE* job);
  int (*remove)(const char* command);
  int (*log)(int category, int level, int event, const char* const (&texts)[4]);
};

KEST_MODULE_TABLE(KestScheduleModule, KestScheduleModuleTable);

#endif  // KEST_HOST_SCHEDULE_SCHEDULE_MODULE_H_
