#ifndef KEST_HOST_SESSION_SESSION_SWEEP_H_
#define KEST_HOST_SESSION_SESSION_SWEEP_H_

namespace kest {

// Most entries that one sweep looks at: a login must not take longer because many sessions were left behind.
constexpr int kSweptPerLogin = 256;

// Makes the session directory where it is missing. False when it cannot be used: it is no directory, is another id's,
// or others may enter it (logged).
bool PrepareSessionDirectory();

// Removes the files of sessions, and what a killed process left of writing one, that saw no activity for that long.
// A large directory is swept piece by piece, beginning somewhere else every time.
void SweepSessions(int older_than_s);

}  // namespace kest

#endif  // KEST_HOST_SESSION_SESSION_SWEEP_H_
