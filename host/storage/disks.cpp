// This platform has no services' volumes, RAID, expansion units, external disks, quotas or NFS exports: every call
// fails or says no, as the interface documents.

#include "host/klib/error_code.h"
#include "platform/keststorage.h"

int KESTServiceInfoGet(_tag_SERVICE_ID_, SERVICEINFO*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTServiceNewVolumeDecide(SERVICEINFO*, char*, int) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTSupportRAID(void) { return 0; }

int SupportEBox(void) { return 0; }

int RAIDSystemGet(_tag_raid_for_system_**) { return kest::FailWith(kest::kErrorNoSuchObject); }

// Nothing was handed out.
void RAIDSystemFree(_tag_raid_for_system_*) {}

int KESTSpaceDiskStatusGet(const SPACEDISKREQ*, SPACEDISKREPLY*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTUSBVolInit(char*, int) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTSATAVolInit(char*, int, int) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTDiskUSBDevGetVolInfo(char*, EXTVOLINFO*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTSATAGetVolInfo(char*, EXTVOLINFO*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTQuotaGet(const char*, const char*, _tag_KEST_QUOTA_*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTQuotaSet(const char*, const char*, _tag_KEST_QUOTA_*) { return kest::FailWith(kest::kErrorNoSuchObject); }

int KESTNFSRuleSetAll(const char*, int) { return kest::FailWith(kest::kErrorNoSuchObject); }

// Nobody has read a configuration.
void ErrServicesHup(void) {}
