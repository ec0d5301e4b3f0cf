#ifndef KEST_HOST_IDENTITY_ONE_ID_H_
#define KEST_HOST_IDENTITY_ONE_ID_H_

namespace kest {

// Whether everybody's requests are served under one id here: the setting account_ids is "one", and the kernel has no
// other id to offer. Where it has, the setting is passed over, so that a forgotten line opens nothing.
bool EverybodyHasOneId();

// The second half of it: whether a map of a user namespace ("/proc/self/uid_map") holds a single id.
bool MapsOneId(const char* path);

}  // namespace kest

#endif  // KEST_HOST_IDENTITY_ONE_ID_H_
