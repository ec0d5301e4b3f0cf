// The event log: what happened on the appliance, for its administrator. One SQLite file that holds the newest entries.
#ifndef KEST_HOST_SCHEDULE_EVENT_LOG_H_
#define KEST_HOST_SCHEDULE_EVENT_LOG_H_

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace kest {

constexpr char kEventsPath[] = "/usr/kest/var/events.db";
// Older entries go when newer ones come.
constexpr int kEventsKept = 10000;
// A longer text is cut, at the end of a character.
constexpr size_t kEventTextMax = 1024;

struct Event {
  int category = 0;
  int level = 0;  // 1 information, 2 warning, 3 error
  int event = 0;
  std::string texts[4];
  int64_t time = 0;  // seconds since the epoch; set by AddEvent()
};

// Results: 0; negative is an ErrorCode with its sign turned (logged where the machine is to blame).

// Adds an entry with the time of now, and makes the file where there is none.
int AddEvent(const char* path, const Event& event, int kept = kEventsKept);

// The newest entries, oldest of them first. Without the file there are none.
int ListEvents(const char* path, int most, std::vector<Event>* out);

}  // namespace kest

#endif  // KEST_HOST_SCHEDULE_EVENT_LOG_H_
