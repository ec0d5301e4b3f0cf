// Which names a share may have, what it may be renamed to, and how many there may be.

#include <climits>
#include <string>

#include "share_fixture.h"
#include "support/text_list.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

class ShareNameTest : public ShareTest {
 protected:
  void IsName(const std::string& name, int answer = 1) {
    EXPECT_CALL(klib(), BlKLIBIsShareName(StrEq(name))).WillOnce(Return(answer)).RetiresOnSaturation();
  }
};

TEST_F(ShareNameTest, ThePlatformSaysWhatIsAName) {
  for (const int answer : {0, 1, -1, 2}) {
    IsName("photo", answer);
    EXPECT_EQ(answer != 0, SDK::Share::IsShareName("photo"));
  }
}

TEST_F(ShareNameTest, ThePlatformSaysWhatIsAServices) {
  const struct {
    int mask;
    bool answer;
  } rows[] = {{0, false}, {1, true}, {2, false}, {3, true}, {-2, false}, {-1, true}, {INT_MIN, false}};
  for (const auto& row : rows) {
    EXPECT_CALL(dir(), ShareNameCheck(StrEq("web"))).WillOnce(Return(row.mask));
    EXPECT_EQ(row.answer, SDK::Share::IsServiceShare("web")) << row.mask;
  }
}

TEST_F(ShareNameTest, ThePlatformSaysWhatIsOnAnExternalDisk) {
  char name[] = "disk";
  for (const int answer : {0, 1, -1}) {
    EXPECT_CALL(dir(), BlShareIIsSATASection(name)).WillOnce(Return(answer));
    EXPECT_EQ(answer != 0, SDK::Share::IsSATAShare(name));
    EXPECT_CALL(dir(), BlShareIIsUsbSection(name)).WillOnce(Return(answer));
    EXPECT_EQ(answer != 0, SDK::Share::IsUSBShare(name));
  }
}

TEST_F(ShareNameTest, ADescriptionHas64CharactersAtMost) {
  const struct {
    int characters;
    bool answer;
  } rows[] = {{0, true}, {64, true}, {65, false}, {INT_MAX, false}};
  std::string desc;
  for (int i = 0; i < 64; ++i) desc += "\xc3\xa4";
  for (const auto& row : rows) {
    EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCountChar(StrEq(desc))).WillOnce(Return(row.characters));
    EXPECT_EQ(row.answer, SDK::Share::IsShareDescription(desc)) << row.characters;
  }
}

TEST_F(ShareNameTest, SurveillanceAndTheExternalBackupsHaveNoRightsToSet) {
  for (const char* name : {"surveillance", "Surveillance", "SURVEILLANCE"}) {
    EXPECT_TRUE(SDK::Share::UsedBySurveillance(name));
    EXPECT_FALSE(SDK::Share::IsShareForExternalBackup(name));
    EXPECT_FALSE(SDK::Share::IsSharePermissionSetable(name));
  }
  for (const char* name : {"usbbackup", "USBBackup", "satabackup", "SATABACKUP"}) {
    EXPECT_FALSE(SDK::Share::UsedBySurveillance(name));
    EXPECT_TRUE(SDK::Share::IsShareForExternalBackup(name));
    EXPECT_FALSE(SDK::Share::IsSharePermissionSetable(name));
  }
  for (const char* name : {"", "photo", "surveillance2", "usbbackup1", "surveillanc", "homes"}) {
    EXPECT_FALSE(SDK::Share::UsedBySurveillance(name));
    EXPECT_FALSE(SDK::Share::IsShareForExternalBackup(name));
    EXPECT_TRUE(SDK::Share::IsSharePermissionSetable(name));
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

struct ReservedRow {
  int line;
  const char* name;
  bool with_homes;
  bool without_homes;
};

constexpr ReservedRow kReservedRows[] = {
    {__LINE__, "global", true, true},
    {__LINE__, "GLOBAL", true, true},
    {__LINE__, "homes", true, false},
    {__LINE__, "Homes", true, false},
    {__LINE__, "home", true, true},
    {__LINE__, "HOME", true, true},
    {__LINE__, "Printers", true, true},
    {__LINE__, ".", true, true},
    {__LINE__, "..", true, true},
    {__LINE__, "...", false, false},
    {__LINE__, "usbbackup", true, true},
    {__LINE__, "SataBackup", true, true},
    {__LINE__, "usbbackup2", false, false},
    {__LINE__, "usbshare", true, true},
    {__LINE__, "usbshare2", true, true},
    {__LINE__, "USBShare-x", true, true},
    {__LINE__, "satashare", true, true},
    {__LINE__, "SataShareA", true, true},
    {__LINE__, "usbshar", false, false},
    {__LINE__, "my usbshare", false, false},
    {__LINE__, "homes2", false, false},
    {__LINE__, "photo", false, false},
    {__LINE__, "surveillance", false, false},
    {__LINE__, "", false, false},
};

TEST_F(ShareNameTest, TheReservedNamesDependOnUsersHavingHomes) {
  for (const ReservedRow& row : kReservedRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    HasUserHomes("yes");
    EXPECT_EQ(row.with_homes, SDK::Share::IsShareNameReserved(row.name));
    for (const char* off : {"no", "", "Yes", "YES", "yes ", static_cast<const char*>(nullptr)}) {
      HasUserHomes(off);
      EXPECT_EQ(row.without_homes, SDK::Share::IsShareNameReserved(row.name));
    }
  }
}

TEST_F(ShareNameTest, ANewShareMayHaveAnyFreeName) {
  IsName("photo");
  Finds("photo", nullptr, -1);
  HasUserHomes("yes");
  EXPECT_EQ(1, SDK::Share::IsShareCreatable("photo"));
  EXPECT_THAT(Calls(), ElementsAre("BlKLIBIsShareName", "KESTShareGet", "KestCgiInit", "KestCgiLoadInfo",
                                   "KestCgiGetInfo", "KestCgiFree"));
}

TEST_F(ShareNameTest, AnInvalidNameIsRefusedBeforeAnythingElse) {
  IsName("homes", 0);
  EXPECT_EQ(-2, SDK::Share::IsShareCreatable("homes"));
  EXPECT_THAT(Calls(), ElementsAre("BlKLIBIsShareName"));
}

TEST_F(ShareNameTest, AnExistingReservedNameIsRefusedAsExisting) {
  IsName("homes");
  Finds("homes", Record("homes"));
  EXPECT_EQ(-1, SDK::Share::IsShareCreatable("homes"));
  EXPECT_THAT(Calls(), ElementsAre("BlKLIBIsShareName", "KESTShareGet", "KESTShareFree"));
}

TEST_F(ShareNameTest, AReservedNameAndTheSurveillancesAreRefused) {
  for (const char* name : {"homes", "usbshare9", "Surveillance"}) {
    IsName(name);
    Finds(name, nullptr, -1);
    HasUserHomes("yes");
    EXPECT_EQ(-3, SDK::Share::IsShareCreatable(name)) << name;
  }
}

TEST_F(ShareNameTest, TheSameNameIsRefusedBeforeItsValidity) {
  EXPECT_EQ(-4, SDK::Share::IsShareRenameTo("photo", "photo"));
  EXPECT_EQ(-4, SDK::Share::IsShareRenameTo("", ""));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareNameTest, AnInvalidNewNameIsRefusedBeforeReservedOnes) {
  IsName("a/b", 0);
  EXPECT_EQ(-2, SDK::Share::IsShareRenameTo("homes", "a/b"));
  EXPECT_THAT(Calls(), ElementsAre("BlKLIBIsShareName"));
}

TEST_F(ShareNameTest, AReservedShareIsNotRenamedNotEvenInCase) {
  for (const char* from : {"usbshare1", "home"}) {
    IsName("HOME");
    HasUserHomes("yes");
    EXPECT_EQ(-3, SDK::Share::IsShareRenameTo(from, "HOME"));
  }
  // Without a look at the settings.
  Calls();
  IsName("Surveillance");
  EXPECT_EQ(-3, SDK::Share::IsShareRenameTo("surveillance", "Surveillance"));
  EXPECT_THAT(Calls(), ElementsAre("BlKLIBIsShareName"));
}

TEST_F(ShareNameTest, NothingIsRenamedToAReservedNameOrTheSurveillances) {
  IsName("Surveillance");
  HasUserHomes("yes");
  EXPECT_EQ(-3, SDK::Share::IsShareRenameTo("photo", "Surveillance"));
  IsName("homes");
  HasUserHomes("yes", 2);
  EXPECT_EQ(-3, SDK::Share::IsShareRenameTo("photo", "homes"));
}

TEST_F(ShareNameTest, AChangeOfCaseIsAllowedAndExistenceIsNotAsked) {
  IsName("Photo");
  HasUserHomes("no", 2);
  EXPECT_EQ(1, SDK::Share::IsShareRenameTo("photo", "Photo"));
}

TEST_F(ShareNameTest, AFreeNewNameIsAllowedAndAnotherSharesIsNot) {
  // Before and behind it in the order of names.
  for (const char* from : {"photo", "web"}) {
    IsName("pictures");
    HasUserHomes("no", 2);
    Finds("pictures", nullptr, -1);
    EXPECT_EQ(1, SDK::Share::IsShareRenameTo(from, "pictures"));
    IsName("pictures");
    HasUserHomes("no", 2);
    Finds("pictures", Record("pictures"));
    EXPECT_EQ(-1, SDK::Share::IsShareRenameTo(from, "pictures"));
  }
}

class ShareLimitTest : public ShareNameTest {
 protected:
  bool IsReached(const char* limit, int shares) {
    HasSetting("maxshares", "16", limit, 1, true);
    EXPECT_CALL(klib(), PslKLIBSzListAlloc(512)).WillOnce(Return(NewTextList({})));
    EXPECT_CALL(dir(), KESTShareEnum(NotNull(), static_cast<KEST_SHARE_ENUM>(769))).WillOnce(Return(shares));
    return SDK::Share::IsReachMaxShareCount();
  }
};

TEST_F(ShareLimitTest, TheLimitIsTheFactorysOr16) {
  const struct {
    const char* limit;
    int shares;
    bool reached;
  } rows[] = {{nullptr, 15, false},
              {nullptr, 16, true},
              {nullptr, 17, true},
              {"3", 2, false},
              {"3", 3, true},
              {"0", 0, true},
              {"", 0, true},
              {"-1", 0, true},
              {"010", 9, false},
              {"0x10", 0, true},
              {" 12 of 99", 12, true},
              {"99999999999999999999", 1000, false},
              {"99999999999999999999", INT_MAX, true}};
  for (const auto& row : rows) {
    EXPECT_EQ(row.reached, IsReached(row.limit, row.shares)) << row.shares;
  }
}

TEST_F(ShareLimitTest, SharesThatCannotBeCountedAreNotTooMany) { EXPECT_FALSE(IsReached(nullptr, -1)); }

TEST_F(ShareLimitTest, TheFactorysValueIsAskedBeforeTheSharesAreCounted) {
  IsReached("16", 0);
  EXPECT_THAT(Calls(), ElementsAre("KestCgiInit", "KestCgiLoadInfo", "KestCgiGetDef", "PslKLIBSzListAlloc",
                                   "KESTShareEnum", "KLIBSzListFree", "KestCgiFree"));
}

TEST_F(ShareLimitTest, WithoutMemoryForTheListTheLimitIsNotReachedAndThatIsLogged) {
  HasSetting("maxshares", "16", "0", 1, true);
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(512)).WillOnce(Return(nullptr));
  EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x20a));
  EXPECT_FALSE(SDK::Share::IsReachMaxShareCount());
  ExpectLogged("share:# PslKLIBSzListAlloc failed [20A]");
}

}  // namespace
}  // namespace tarvel_test
