#include "kest_conf.h"

#include "support/mock_kestcgi.h"
#include "support/platform_test.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::InSequence;
using ::testing::IsNull;
using ::testing::Return;
using ::testing::StrEq;

class KestConfTest : public PlatformTest {
 protected:
  void ExpectOpened() {
    EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _));
    EXPECT_CALL(cgi(), KestCgiLoadInfo(_));
  }
};

TEST_F(KestConfTest, OpensWithoutATextRootLoadsTheSettingsAndFreesAtTheEnd) {
  ExpectOpened();
  { KestConf conf; }
  EXPECT_THAT(Calls(), ElementsAre("KestCgiInit", "KestCgiLoadInfo", "KestCgiFree"));
}

TEST_F(KestConfTest, IsItsContextAndNothingMore) {
  static_assert(sizeof(KestConf) == sizeof(KESTCGI));
  KESTCGI* context = nullptr;
  EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _)).WillOnce([&](const char*, KESTCGI* ctx) {
    context = ctx;
    return 0;
  });
  EXPECT_CALL(cgi(), KestCgiLoadInfo(_));
  KestConf conf;
  EXPECT_EQ(static_cast<void*>(&conf), context);
}

TEST_F(KestConfTest, AFailedInitialisationDoesNotStopTheFollowingCalls) {
  EXPECT_CALL(cgi(), KestCgiInit(_, _)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiLoadInfo(_)).WillOnce(Return(-1));
  EXPECT_CALL(cgi(), KestCgiGetInfo(_, _, _)).WillOnce(Return(nullptr));
  KestConf conf;
  char key[] = "port";
  EXPECT_EQ(nullptr, conf.Info(key, nullptr));
}

TEST_F(KestConfTest, InfoIsTheCurrentValue) {
  ExpectOpened();
  char key[] = "port", fallback[] = "1";
  EXPECT_CALL(cgi(), KestCgiGetInfo(_, key, fallback)).WillOnce(Return("5000"));
  KestConf conf;
  EXPECT_STREQ("5000", conf.Info(key, fallback));
}

TEST_F(KestConfTest, DefIsTheFactoryDefault) {
  ExpectOpened();
  char key[] = "port", fallback[] = "1";
  EXPECT_CALL(cgi(), KestCgiGetDef(_, key, fallback)).WillOnce(Return("80"));
  KestConf conf;
  EXPECT_STREQ("80", conf.Def(key, fallback));
}

TEST_F(KestConfTest, AbsentKeysGiveTheCallersOwnDefault) {
  ExpectOpened();
  EXPECT_CALL(cgi(), KestCgiGetInfo(_, StrEq("none"), IsNull())).WillOnce(Return(nullptr));
  char key[] = "none", fallback[] = "x";
  EXPECT_CALL(cgi(), KestCgiGetDef(_, key, fallback)).WillOnce(Return(fallback));
  KestConf conf;
  EXPECT_EQ(nullptr, conf.Info(key, nullptr));
  EXPECT_EQ(fallback, conf.Def(key, fallback));
}

TEST_F(KestConfTest, EachObjectReadsTheSettingsAnew) {
  EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _)).Times(2);
  EXPECT_CALL(cgi(), KestCgiLoadInfo(_)).Times(2);
  KestConf first;
  KestConf second;
}

}  // namespace
}  // namespace tarvel_test
