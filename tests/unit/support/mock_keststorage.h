#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H

#include "platform/keststorage.h"
#include "support/current_mock.h"
#include "support/mocked_call.h"

namespace tarvel_test {

/// platform/keststorage.h. A list that an enumeration returns, and a record of RAIDs, must be freed exactly once.
class MockKestStorage : public CurrentMock<MockKestStorage> {
 public:
  MockKestStorage();

  MOCKED_CALL(KESTMOUNTVOL*, KESTMountVolInfoEnum, (int zero));
  MOCKED_CALL(KESTMOUNTVOL*, KESTMountVolAllEnum, (int zero, int location_mask));
  MOCKED_CALL(void, KESTMountVolInfoFree, (KESTMOUNTVOL * list));
  MOCKED_CALL(int, KESTMountVolInfoGet, (const char* path, KESTMOUNTVOL* info));
  MOCKED_CALL(int, VolumePathParse, (const char* path, _tag_vol_id_* id));
  MOCKED_CALL(int, FSIsMatchSkipFS, (const char* path, int skip_fs_type));
  MOCKED_CALL(int, KESTServiceInfoGet, (_tag_SERVICE_ID_ id, SERVICEINFO* info));
  MOCKED_CALL(int, KESTServiceNewVolumeDecide, (SERVICEINFO * info, char* buf, int size));
  MOCKED_CALL(int, KESTSupportRAID, ());
  MOCKED_CALL(int, SupportEBox, ());
  MOCKED_CALL(int, RAIDSystemGet, (_tag_raid_for_system_ * *slot));
  MOCKED_CALL(void, RAIDSystemFree, (_tag_raid_for_system_ * raid));
  MOCKED_CALL(int, KESTSpaceDiskStatusGet, (const SPACEDISKREQ* request, SPACEDISKREPLY* reply));
  MOCKED_CALL(int, KESTUSBVolInit, (char* dev, int fs));
  MOCKED_CALL(int, KESTSATAVolInit, (char* dev, int fs, int one));
  MOCKED_CALL(int, KESTDiskUSBDevGetVolInfo, (char* dev, EXTVOLINFO* info));
  MOCKED_CALL(int, KESTSATAGetVolInfo, (char* dev, EXTVOLINFO* info));
  MOCKED_CALL(int, KESTQuotaGet, (const char* path, const char* name, _tag_KEST_QUOTA_* quota));
  MOCKED_CALL(int, KESTQuotaSet, (const char* path, const char* name, _tag_KEST_QUOTA_* quota));
  MOCKED_CALL(int, KESTNFSRuleSetAll, (const char* path, int zero));
  MOCKED_CALL(void, ErrServicesHup, ());
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H
