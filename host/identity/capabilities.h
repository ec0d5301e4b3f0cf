// Capabilities of this process.
#ifndef KEST_HOST_IDENTITY_CAPABILITIES_H_
#define KEST_HOST_IDENTITY_CAPABILITIES_H_

namespace kest {

// Whether any is effective, permitted or inheritable; also when the kernel does not tell.
bool HasCapabilities();

// Programs that this process starts do not get its capabilities; it keeps them itself.
void KeepCapabilitiesFromChildren();

// All of them, for good: none is left, and no program that is started later gains any.
void DropCapabilities();

}  // namespace kest

#endif  // KEST_HOST_IDENTITY_CAPABILITIES_H_
