/// @file kestsched.h
/// Scheduler and event log of the platform.
///
/// All texts are NUL-terminated UTF-8. A failure records its reason for KLIBErrGet().
#ifndef PLATFORM_KESTSCHED_H_
#define PLATFORM_KESTSCHED_H_

#ifdef __cplusplus
extern "C" {
#endif

/// One scheduled job. Times are the appliance's local time.
typedef struct _tag_KEST_SCHEDULE {
  int weekdays;  ///< bit 0 Sunday to bit 6 Saturday; 127 is daily
  int hour;      ///< 0 to 23, first run of the day
  int freq;      ///< 0 to 23 hours between two runs of a day; 0: one run a day
  int lastHour;  ///< 0 to 23, last hour in which a repeated run starts: not before `hour`. Not looked at with `freq` 0
  int minute;    ///< 0 to 59, minute of every run
  int unused;    ///< 0
  char cmd[1024];  ///< the command line, which is also the job's key
} _tag_KEST_SCHEDULE;

/// Reads a job.
/// @param cmd  its command line, compared byte for byte
/// @param job  filled when there is one, else untouched
/// @return 1 when filled; 0 when no job has that command line; negative on failure
int KESTScheduleGet(const char* cmd, _tag_KEST_SCHEDULE* job);

/// Stores a job; one with the same command line is replaced. From then on the appliance runs it.
///
/// A command line is the whole path of a program and its arguments, between blanks; in double quotes an argument may
/// hold blanks, and every other character but a quote as it is. It is never given to a shell: `$`, `;`, `%` and the
/// like are characters like others. A control character (so a newline) and a quote anywhere else make it no command
/// line.
/// @param job  the job
/// @return 0 when stored; negative on failure, with everything as before: a field out of range or no command line (bad
///         parameter, 0x0D00), no room, or the store cannot be written
int KESTScheduleSet(_tag_KEST_SCHEDULE* job);

/// Removes a job. That there is none is a success.
/// @param cmd  its command line, compared byte for byte
/// @return 0 when no job has that command line any more; negative on failure
int KESTScheduleRemove(const char* cmd);

/// Writes one entry of the event log. The texts fill the placeholders of the event's message; NULL counts as "".
/// @param category  part of the system, of the platform
/// @param level     1 information, 2 warning, 3 error
/// @param event     identifier of the message
/// @param text1     first text
/// @param text2     second text
/// @param text3     third text
/// @param text4     fourth text
/// @return 0 when written; negative on failure (an unknown level is a bad parameter, 0x0D00); callers ignore it
int KESTLogSet1(int category, int level, int event, const char* text1, const char* text2, const char* text3,
                const char* text4);

#ifdef __cplusplus
}
#endif

#endif  // PLATFORM_KESTSCHED_H_
