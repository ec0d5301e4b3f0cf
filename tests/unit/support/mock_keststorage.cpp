#include "support/mock_keststorage.h"

#include "support/mocked_call_impl.h"

using tarvel_test::Machine;
using tarvel_test::MockKestStorage;

namespace {

constexpr char kVolumes[] = "list of mounted volumes";
constexpr char kRaids[] = "record of RAIDs";

MockKestStorage& Called(const char* function) { return MockKestStorage::Called(function); }

}  // namespace

MockKestStorage::MockKestStorage() = default;

KESTMOUNTVOL* KESTMountVolInfoEnum(int zero) {
  KESTMOUNTVOL* list = Called("KESTMountVolInfoEnum").KESTMountVolInfoEnum(zero);
  if (list != nullptr) Machine::Current()->ledger().Take(kVolumes, list);
  return list;
}

KESTMOUNTVOL* KESTMountVolAllEnum(int zero, int locationMask) {
  KESTMOUNTVOL* list = Called("KESTMountVolAllEnum").KESTMountVolAllEnum(zero, locationMask);
  if (list != nullptr) Machine::Current()->ledger().Take(kVolumes, list);
  return list;
}

void KESTMountVolInfoFree(KESTMOUNTVOL* list) {
  Called("KESTMountVolInfoFree").KESTMountVolInfoFree(list);
  if (list != nullptr) Machine::Current()->ledger().Give(kVolumes, list);
}

int KESTMountVolInfoGet(const char* path, KESTMOUNTVOL* info) {
  return Called("KESTMountVolInfoGet").KESTMountVolInfoGet(path, info);
}

int VolumePathParse(const char* path, _tag_vol_id_* id) { return Called("VolumePathParse").VolumePathParse(path, id); }

int FSIsMatchSkipFS(const char* path, int skipFsType) {
  return Called("FSIsMatchSkipFS").FSIsMatchSkipFS(path, skipFsType);
}

int KESTServiceInfoGet(_tag_SERVICE_ID_ id, SERVICEINFO* info) {
  return Called("KESTServiceInfoGet").KESTServiceInfoGet(id, info);
}

int KESTServiceNewVolumeDecide(SERVICEINFO* info, char* buf, int size) {
  return Called("KESTServiceNewVolumeDecide").KESTServiceNewVolumeDecide(info, buf, size);
}

int KESTSupportRAID(void) { return Called("KESTSupportRAID").KESTSupportRAID(); }

int SupportEBox(void) { return Called("SupportEBox").SupportEBox(); }

int RAIDSystemGet(_tag_raid_for_system_** slot) {
  const int result = Called("RAIDSystemGet").RAIDSystemGet(slot);
  if (*slot != nullptr) Machine::Current()->ledger().Take(kRaids, *slot);
  return result;
}

void RAIDSystemFree(_tag_raid_for_system_* raid) {
  Called("RAIDSystemFree").RAIDSystemFree(raid);
  if (raid != nullptr) Machine::Current()->ledger().Give(kRaids, raid);
}

int KESTSpaceDiskStatusGet(const SPACEDISKREQ* request, SPACEDISKREPLY* reply) {
  return Called("KESTSpaceDiskStatusGet").KESTSpaceDiskStatusGet(request, reply);
}

int KESTUSBVolInit(char* dev, int fs) { return Called("KESTUSBVolInit").KESTUSBVolInit(dev, fs); }

int KESTSATAVolInit(char* dev, int fs, int one) { return Called("KESTSATAVolInit").KESTSATAVolInit(dev, fs, one); }

int KESTDiskUSBDevGetVolInfo(char* dev, EXTVOLINFO* info) {
  return Called("KESTDiskUSBDevGetVolInfo").KESTDiskUSBDevGetVolInfo(dev, info);
}

int KESTSATAGetVolInfo(char* dev, EXTVOLINFO* info) {
  return Called("KESTSATAGetVolInfo").KESTSATAGetVolInfo(dev, info);
}

int KESTQuotaGet(const char* path, const char* name, _tag_KEST_QUOTA_* quota) {
  return Called("KESTQuotaGet").KESTQuotaGet(path, name, quota);
}

int KESTQuotaSet(const char* path, const char* name, _tag_KEST_QUOTA_* quota) {
  return Called("KESTQuotaSet").KESTQuotaSet(path, name, quota);
}

int KESTNFSRuleSetAll(const char* path, int zero) { return Called("KESTNFSRuleSetAll").KESTNFSRuleSetAll(path, zero); }

void ErrServicesHup(void) { Called("ErrServicesHup").ErrServicesHup(); }
