#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H

#include <gmock/gmock.h>

#include "platform/keststorage.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/keststorage.h. A list that an enumeration returns, and a record of RAIDs, must be freed exactly once.
class MockKestStorage : public CurrentMock<MockKestStorage> {
 public:
  MOCK_METHOD(KESTMOUNTVOL*, KESTMountVolInfoEnum, (int zero));
  MOCK_METHOD(KESTMOUNTVOL*, KESTMountVolAllEnum, (int zero, int location_mask));
  MOCK_METHOD(void, KESTMountVolInfoFree, (KESTMOUNTVOL * list));
  MOCK_METHOD(int, KESTMountVolInfoGet, (const char* path, KESTMOUNTVOL* info));
  MOCK_METHOD(int, VolumePathParse, (const char* path, _tag_vol_id_* id));
  MOCK_METHOD(int, FSIsMatchSkipFS, (const char* path, int skip_fs_type));
  MOCK_METHOD(int, KESTServiceInfoGet, (_tag_SERVICE_ID_ id, SERVICEINFO* info));
  MOCK_METHOD(int, KESTServiceNewVolumeDecide, (SERVICEINFO * info, char* buf, int size));
  MOCK_METHOD(int, KESTSupportRAID, ());
  MOCK_METHOD(int, SupportEBox, ());
  MOCK_METHOD(int, RAIDSystemGet, (_tag_raid_for_system_ * *slot));
  MOCK_METHOD(void, RAIDSystemFree, (_tag_raid_for_system_ * raid));
  MOCK_METHOD(int, KESTSpaceDiskStatusGet, (const SPACEDISKREQ* request, SPACEDISKREPLY* reply));
  MOCK_METHOD(int, KESTUSBVolInit, (char* dev, int fs));
  MOCK_METHOD(int, KESTSATAVolInit, (char* dev, int fs, int one));
  MOCK_METHOD(int, KESTDiskUSBDevGetVolInfo, (char* dev, EXTVOLINFO* info));
  MOCK_METHOD(int, KESTSATAGetVolInfo, (char* dev, EXTVOLINFO* info));
  MOCK_METHOD(int, KESTQuotaGet, (const char* path, const char* name, _tag_KEST_QUOTA_* quota));
  MOCK_METHOD(int, KESTQuotaSet, (const char* path, const char* name, _tag_KEST_QUOTA_* quota));
  MOCK_METHOD(int, KESTNFSRuleSetAll, (const char* path, int zero));
  MOCK_METHOD(void, ErrServicesHup, ());
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H
