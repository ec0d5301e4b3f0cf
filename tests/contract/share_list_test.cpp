// Questions about lists and names of shares.
#include "share_fixture.h"

namespace {

class ShareLists : public ShareTest {};

TEST_F(ShareLists, AnAccountIsCoveredByItsName) {
  EXPECT_NE(0, BlSDKUserIsInList("anna", "bernd,ANNA"));
  EXPECT_NE(0, BlSDKUserIsInList("ANNA", "anna"));
  EXPECT_NE(0, BlSDKUserIsInList("\xC3\x84rger", "\xC3\xA4RGER"));
  EXPECT_EQ(0, BlSDKUserIsInList("ann", "anna"));
  EXPECT_EQ(0, BlSDKUserIsInList("anna", "annabel,xanna, anna"));
}

TEST_F(ShareLists, AnAccountIsCoveredByItsGroups) {
  EXPECT_NE(0, BlSDKUserIsInList("admin", "bernd,@administrators"));
  EXPECT_NE(0, BlSDKUserIsInList("ADMIN", "@Administrators"));
  EXPECT_EQ(0, BlSDKUserIsInList("anna", "@administrators"));
  EXPECT_EQ(0, BlSDKUserIsInList("admin", "@nothing"));
  EXPECT_EQ(0, BlSDKUserIsInList("admin", "administrators")) << "a name without @ is an account's";
  EXPECT_EQ(0, BlSDKUserIsInList("@administrators", "administrators"));
}

TEST_F(ShareLists, EverybodyIsAUser) {
  EXPECT_NE(0, BlSDKUserIsInList("anna", "@users"));
  EXPECT_NE(0, BlSDKUserIsInList("anna", "@USERS"));
  EXPECT_EQ(0, BlSDKUserIsInList("DOMAIN\\anna", "@users")) << "but nobody of a domain";
  EXPECT_NE(0, BlSDKUserIsInList("DOMAIN\\anna", "domain\\Anna"));
}

TEST_F(ShareLists, AChangeOfMembersIsSeenAtOnce) {
  EXPECT_EQ(0, BlSDKUserIsInList("anna", "@administrators"));
  ASSERT_EQ(0, Account({"admin", "anna", "on"}));
  EXPECT_NE(0, BlSDKUserIsInList("anna", "@administrators"));
}

TEST_F(ShareLists, NobodyIsInNoList) {
  EXPECT_EQ(0, BlSDKUserIsInList("anna", nullptr));
  EXPECT_EQ(0, BlSDKUserIsInList(nullptr, "anna"));
  for (const char* list : {"", ",", ",,,", "@", "@,@"}) {
    EXPECT_EQ(0, BlSDKUserIsInList("anna", list)) << list;
    EXPECT_EQ(0, BlSDKUserIsInList("", list)) << list;
  }
  EXPECT_EQ(0, BlSDKUserIsInList("", "@users"));
  EXPECT_NE(0, BlSDKUserIsInList("anna", ",,anna,"));
}

int Conflict(const Strings& na, const Strings& rw, const Strings& ro) {
  TextList no_access(64, na), write(64, rw), read(64, ro);
  return UserCheckRights(no_access.Slot(), write.Slot(), read.Slot());
}

TEST_F(ShareLists, ANameInTwoListsIsAConflict) {
  EXPECT_LT(0, Conflict({"anna"}, {"ANNA"}, {}));
  EXPECT_LT(0, Conflict({"x", "anna"}, {}, {"y", "Anna"}));
  EXPECT_LT(0, Conflict({}, {"@staff"}, {"@STAFF"}));
  EXPECT_EQ(0, Conflict({"anna"}, {"bernd"}, {"@anna"})) << "an account and a group of one name are two";
  EXPECT_EQ(0, Conflict({}, {}, {}));
  EXPECT_EQ(0, Conflict({"anna", "anna"}, {}, {})) << "twice in one list is no contradiction";
  TextList list;
  EXPECT_GT(0, UserCheckRights(nullptr, list.Slot(), list.Slot()));
  EXPECT_GT(0, UserCheckRights(list.Slot(), nullptr, list.Slot()));
  EXPECT_GT(0, UserCheckRights(list.Slot(), list.Slot(), nullptr));
}

TEST_F(ShareLists, ThousandsOfNamesAreComparedInTheTimeOfSorting) {
  // Each with each would be hundreds of millions of comparisons: minutes.
  Strings na, rw, ro;
  for (int i = 0; i < 10000; ++i) {
    na.push_back("none " + std::to_string(i));
    rw.push_back("write " + std::to_string(i));
    ro.push_back("read " + std::to_string(i));
  }
  EXPECT_EQ(0, Conflict(na, rw, ro));
  ro.push_back("NONE 4711");
  EXPECT_LT(0, Conflict(na, rw, ro));
}

TEST_F(ShareLists, NamesOfServicesAndOfExternalDisks) {
  for (const char* name : {"homes", "HOMES", "home", "surveillance", "usbbackup", "satabackup"}) {
    EXPECT_EQ(1, ShareNameCheck(name) & 1) << name;
  }
  for (const char* name : {"photo", "homes2", "", "usbshare1"}) EXPECT_EQ(0, ShareNameCheck(name) & 1) << name;
  EXPECT_EQ(0, ShareNameCheck(nullptr));
  for (const char* name : {"usbshare", "usbshare1", "USBshare12"}) {
    EXPECT_NE(0, BlShareIIsUsbSection(name)) << name;
    EXPECT_EQ(0, BlShareIIsSATASection(name)) << name;
  }
  for (const char* name : {"satashare", "SATAshare2"}) {
    EXPECT_NE(0, BlShareIIsSATASection(name)) << name;
    EXPECT_EQ(0, BlShareIIsUsbSection(name)) << name;
  }
  for (const char* name : {"usbshar", "usbshareX", "usbshare1x", "xusbshare1", "", "photo"}) {
    EXPECT_EQ(0, BlShareIIsUsbSection(name)) << name;
    EXPECT_EQ(0, BlShareIIsSATASection(name)) << name;
  }
  EXPECT_EQ(0, BlShareIIsUsbSection(nullptr));
  EXPECT_EQ(0, BlShareIIsSATASection(nullptr));
}

TEST_F(ShareLists, ANewShareOfADiskIsForTheAdministrators) {
  char device[] = "sdx1";
  SHAREDEFAULTREQ request = {"usbshare1", "/volumeUSB1/usbshare", device};
  KESTSHARE* slot = nullptr;
  ASSERT_EQ(0, ShareDefaultGet(&request, &slot));
  EXPECT_STREQ("usbshare1", slot->name);
  EXPECT_STREQ("/volumeUSB1/usbshare", slot->path);
  EXPECT_STREQ("@administrators", slot->rw);
  EXPECT_STREQ("", slot->na);
  EXPECT_STREQ("", slot->ro);
  EXPECT_STREQ("", slot->desc);
  EXPECT_EQ(1, slot->browseable);
  EXPECT_EQ(0, slot->ftp);
  EXPECT_EQ(0, slot->enc);
  KESTShareFree(slot);
  slot = nullptr;
  EXPECT_EQ(0xD00, Code(ShareDefaultGet(nullptr, &slot)));
  EXPECT_EQ(0xD00, Code(ShareDefaultGet(&request, nullptr)));
  request.name = nullptr;
  EXPECT_EQ(0xD00, Code(ShareDefaultGet(&request, &slot)));
  EXPECT_EQ(nullptr, slot);
}

}  // namespace
