// What this platform does not have fails, says why and writes nothing: nobody is told that an account was stored or a
// share made.

#include <gtest/gtest.h>

#include <climits>

#include "platform/kestdir.h"
#include "platform/kestnet.h"
#include "platform/klib.h"

namespace {

class AbsentTest : public ::testing::Test {
 protected:
  // A failure that says that there is no such thing.
  static void IsRefused(int result) {
    EXPECT_GT(0, result);
    EXPECT_EQ(0x600, KLIBErrGet());
    KLIBErrSet(0);
  }
};

TEST_F(AbsentTest, NoListsOfAccountsAndNoneIsSaved) {
  KESTUSER user = {};
  KESTUSER* record = &user;
  KESTUSER* slot = nullptr;
  const char* existing = nullptr;
  IsRefused(KESTUserSet(&existing, &record, 1));
  EXPECT_EQ(nullptr, KESTUserDBOpen());
  IsRefused(KESTUserDBGetByCursor(nullptr, &slot, AUTH_TYPE_LOCAL, 0));
  EXPECT_EQ(0, KESTUserDBClose(nullptr));
  IsRefused(KESTUserDBDomainRebuild(0));
  PSZLIST list = nullptr;
  IsRefused(KESTUserEnumByPrefix(&list, AUTH_TYPE_LOCAL, "", 1));
  EXPECT_EQ(0, KESTUserTotalNum(AUTH_TYPE_LOCAL));
  EXPECT_EQ(nullptr, slot);
}

TEST_F(AbsentTest, NoGroups) {
  KESTGROUP group = {};
  KESTGROUP* slot = nullptr;
  char* text = nullptr;
  int second = 7;
  IsRefused(KESTGroupGet("users", &slot));
  IsRefused(KESTGroupSet(nullptr, &group));
  IsRefused(KESTGroupDescGet("users", &text, &second));
  IsRefused(KESTGroupDescSet("users", "everybody"));
  EXPECT_EQ(nullptr, KESTGroupDBOpen());
  IsRefused(KESTGroupDBGetByCursor(nullptr, &slot, AUTH_TYPE_LOCAL, 0));
  EXPECT_EQ(0, KESTGroupDBClose(nullptr));
  PSZLIST list = nullptr;
  IsRefused(KESTGroupEnumByPrefix(&list, AUTH_TYPE_LOCAL, "", 1));
  EXPECT_EQ(nullptr, slot);
  EXPECT_EQ(nullptr, text);
  KESTGroupFree(slot);
}

TEST_F(AbsentTest, NoAppleTalk) {
  KESTAPPLEZONE* zones = nullptr;
  IsRefused(KESTAppleZoneGet(nullptr, &zones));
  EXPECT_EQ(nullptr, zones);
  KESTAppleZoneFree(zones);
}

}  // namespace
