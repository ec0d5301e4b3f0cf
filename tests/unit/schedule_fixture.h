#ifndef TESTS_UNIT_SCHEDULE_FIXTURE_H
#define TESTS_UNIT_SCHEDULE_FIXTURE_H

#include <map>
#include <string>
#include <vector>

#include "schedule.h"
#include "support/mock_kestcgi.h"
#include "support/platform_test.h"

namespace tarvel_test {

/// Jobs of backup tasks, in a language whose texts are their keys in capitals.
class ScheduleTest : public PlatformTest {
 protected:
  using Job = _tag_KEST_SCHEDULE;

  static Job JobOf(int weekdays, int hour, int minute, int freq, int last_hour) {
    Job job = {};
    job.weekdays = weekdays;
    job.hour = hour;
    job.minute = minute;
    job.freq = freq;
    job.lastHour = last_hour;
    return job;
  }

  static std::string NetworkCommand(const std::string& task) { return "/usr/kest/bin/kestnetbkp -a \"" + task + "\""; }
  static std::string LocalCommand(const std::string& task) { return "/usr/kest/bin/kestlocalbkp -a \"" + task + "\""; }

  /// The summaries' texts may be asked for: so many times the sections are loaded.
  void HasTexts(int bundles = 1) {
    using namespace ::testing;
    EXPECT_CALL(cgi(), KestCgiInit(StrEq("/usr/kest/kestman/tarvel"), _)).Times(bundles);
    EXPECT_CALL(cgi(), KestCgiLoadText(_, ElementsAre(StrEq("common"), StrEq("schedule"), StrEq("usbbackup"), IsNull(),
                                                      IsNull(), IsNull(), IsNull())))
        .Times(bundles);
    EXPECT_CALL(cgi(), KestCgiGetText(_, _, StrEq("")))
        .Times(AnyNumber())
        .WillRepeatedly([this](KESTCGI*, const char* key, const char* second) {
          machine().Note(std::string("text ") + key);
          const auto text = texts_.find(key);
          return text != texts_.end() ? text->second.c_str() : second;
        });
  }

  std::map<std::string, std::string> texts_ = {
      {"schedule_daily", "DAILY"},
      {"schedule_sun", "SUN"},
      {"schedule_mon", "MON"},
      {"schedule_tue", "TUE"},
      {"schedule_wed", "WED"},
      {"schedule_thu", "THU"},
      {"schedule_fri", "FRI"},
      {"schedule_sat", "SAT"},
      {"schedule_every_each", "EVERY"},
      {"schedule_hour", "HOUR"},
      {"schedule_time", "TIME"},
      {"schedule_date", "DATE"},
      {"colon", ":"},
  };
};

/// A job of the five numbers, without regard to the command line; the sixth number is 0.
MATCHER_P5(IsJob, weekdays, hour, minute, freq, last_hour, "") {
  *result_listener << "days " << arg.weekdays << " hour " << arg.hour << " minute " << arg.minute << " freq "
                   << arg.freq << " last " << arg.lastHour << " unused " << arg.unused;
  return arg.weekdays == weekdays && arg.hour == hour && arg.minute == minute && arg.freq == freq &&
         arg.lastHour == last_hour && arg.unused == 0;
}

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SCHEDULE_FIXTURE_H
