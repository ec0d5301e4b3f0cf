// Request context: where an upload goes, and receiving it.

#include <cstring>
#include <string>

#include "support/mock_kestcgi.h"
#include "support/mock_keststorage.h"
#include "tarvel.h"
#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrEq;

class TarvelUploadTest : public TarvelTest {
 protected:
  void AddVolume(const char* path, int mounted, int writable) {
    KESTMOUNTVOL& volume = volumes_[count_];
    volume.mounted = mounted;
    volume.writable = writable;
    std::strcpy(volume.path, path);
    if (count_ > 0) volumes_[count_ - 1].next = &volume;
    ++count_;
  }
  void ExpectEnumeration() {
    EXPECT_CALL(storage(), KESTMountVolInfoEnum(0)).WillOnce(Return(count_ > 0 ? volumes_ : nullptr));
  }

  KESTMOUNTVOL volumes_[5] = {};
  int count_ = 0;
  char buffer_[128] = "before";
};

TEST_F(TarvelUploadTest, NoBufferIsRefusedWithoutEnumeratingVolumes) {
  EXPECT_FALSE(Request().FindUploadTmpPath(nullptr, 128));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TarvelUploadTest, NoRoomIsRefusedWithoutEnumeratingVolumes) {
  EXPECT_FALSE(Request().FindUploadTmpPath(buffer_, 0));
  EXPECT_FALSE(Request().FindUploadTmpPath(buffer_, -1));
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_STREQ("before", buffer_);
}

TEST_F(TarvelUploadTest, TheFirstVolumeThatIsMountedAndWritableServes) {
  AddVolume("/volume3", 0, 1);
  AddVolume("/volume2", 1, 0);
  AddVolume("/volume4", 0, 0);
  AddVolume("/volume9", -1, 2);
  AddVolume("/volume1", 1, 1);
  ExpectEnumeration();
  EXPECT_TRUE(Request().FindUploadTmpPath(buffer_, sizeof buffer_));
  EXPECT_STREQ("/volume9/@tmp", buffer_);
  EXPECT_THAT(Calls(), ElementsAre("KESTMountVolInfoEnum", "KESTMountVolInfoFree")) << "nothing is made or tested";
}

TEST_F(TarvelUploadTest, WithoutAnEligibleVolumeTheListIsFreedAndTheBufferKept) {
  AddVolume("/volume1", 1, 0);
  ExpectEnumeration();
  EXPECT_FALSE(Request().FindUploadTmpPath(buffer_, sizeof buffer_));
  EXPECT_STREQ("before", buffer_);
  EXPECT_THAT(Calls(), ElementsAre("KESTMountVolInfoEnum", "KESTMountVolInfoFree"));
}

TEST_F(TarvelUploadTest, AnEmptyListIsFreedToo) {
  ExpectEnumeration();
  EXPECT_CALL(storage(), KESTMountVolInfoFree(nullptr));
  EXPECT_FALSE(Request().FindUploadTmpPath(buffer_, sizeof buffer_));
  EXPECT_THAT(Calls(), ElementsAre("KESTMountVolInfoEnum", "KESTMountVolInfoFree"));
}

TEST_F(TarvelUploadTest, TheStagingPathIsCutToTheBuffer) {
  AddVolume("/volume1", 1, 1);
  ExpectEnumeration();
  EXPECT_TRUE(Request().FindUploadTmpPath(buffer_, 10));
  EXPECT_STREQ("/volume1/", buffer_);
}

TEST_F(TarvelUploadTest, AnUploadGoesToTheGivenDirectory) {
  char dir[] = "/volume1/staging";
  EXPECT_CALL(cgi(), KestCgiLoadUploadData(_, StrEq("/volume1/staging"), 0)).WillOnce(Return(0));
  EXPECT_EQ(0, Request().LoadIn(dir));
  EXPECT_THAT(Calls(), ElementsAre("KestCgiLoadUploadData"));
}

TEST_F(TarvelUploadTest, APositiveResultIsPassedOn) {
  char dir[] = "/d";
  EXPECT_CALL(cgi(), KestCgiLoadUploadData(_, _, 0)).WillOnce(Return(3));
  EXPECT_EQ(3, Request().LoadIn(dir));
}

TEST_F(TarvelUploadTest, AGivenDirectoryIsCutTo127CharactersAlsoInTheLog) {
  const std::string kept = "/" + std::string(126, 'd');
  std::string dir = kept + "lost";
  EXPECT_CALL(cgi(), KestCgiLoadUploadData(_, StrEq(kept), 0)).WillOnce(Return(-1));
  EXPECT_EQ(-1, Request().LoadIn(dir.data()));
  ExpectLogged("tarvel(#)failed to upload to path " + kept);
}

TEST_F(TarvelUploadTest, WithoutADirectoryAVolumeIsSearchedForOne) {
  AddVolume("/volume2", 1, 1);
  ExpectEnumeration();
  EXPECT_CALL(cgi(), KestCgiLoadUploadData(_, StrEq("/volume2/@tmp"), 0)).WillOnce(Return(1));
  EXPECT_EQ(1, Request().LoadIn(nullptr));
}

TEST_F(TarvelUploadTest, WithoutAnyDirectoryTheUploadIsRefusedAndLogged) {
  ExpectEnumeration();
  EXPECT_EQ(-9, Request().LoadIn(nullptr));
  ExpectLogged("tarvel(#)no path for upload");
}

TEST_F(TarvelUploadTest, AFailedUploadIsLoggedAndItsResultPassedOn) {
  char dir[] = "/volume1/staging";
  EXPECT_CALL(cgi(), KestCgiLoadUploadData(_, _, 0)).WillOnce(Return(-5));
  EXPECT_EQ(-5, Request().LoadIn(dir));
  ExpectLogged("tarvel(#)failed to upload to path /volume1/staging");
}

TEST_F(TarvelUploadTest, AnUploadNeitherAsksNorSetsWhetherParametersAreRead) {
  char dir[] = "/d";
  EXPECT_CALL(cgi(), KestCgiLoadUploadData(_, _, 0)).Times(2).WillRepeatedly(Return(0));
  EXPECT_CALL(cgi(), KestCgiGetParamLine()).WillOnce(Return("{}"));
  EXPECT_EQ(0, Request().LoadIn(dir));
  EXPECT_TRUE(Request().LoadIn());
  EXPECT_EQ(0, Request().LoadIn(dir));
}

}  // namespace
}  // namespace tarvel_test
