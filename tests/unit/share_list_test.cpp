// Lists of shares: their names, and documents for the lists of the pages.

#include <climits>
#include <string>
#include <vector>

#include "share_fixture.h"
#include "support/text_list.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

constexpr auto kSelector = static_cast<KEST_SHARE_ENUM>(12345);

using Names = std::vector<std::string>;

class ShareListTest : public ShareTest {
 protected:
  void ListIsMade(int bytes) { EXPECT_CALL(klib(), PslKLIBSzListAlloc(bytes)).WillOnce(Return(NewTextList({}))); }
  void HasTexts() { EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).Times(AnyNumber()).WillRepeatedly(TextOf); }

  void Enumerates(const Names& names, int result) {
    EXPECT_CALL(dir(), KESTShareEnum(NotNull(), kSelector)).WillOnce([=](PSZLIST* list, KEST_SHARE_ENUM) {
      *list = NewTextList(names);
      return result;
    });
    HasTexts();
  }
  // A document's list of these names, sorted or not.
  void Lists(const Names& names, const char* prefix = nullptr, int sorted = 0) {
    ListIsMade(2048);
    if (prefix == nullptr) {
      Enumerates(names, static_cast<int>(names.size()));
    } else {
      EXPECT_CALL(dir(), KESTShareEnumByPrefix(NotNull(), kSelector, StrEq(prefix), 1))
          .WillOnce([=](PSZLIST* list, KEST_SHARE_ENUM, const char*, int) {
            *list = NewTextList(names);
            return static_cast<int>(names.size());
          });
      HasTexts();
    }
    EXPECT_CALL(klib(), KLIBSzListSortItems(NotNull(), 16)).WillOnce(Return(sorted));
  }
  int Enum(const char* prefix = nullptr) { return SDK::Share::EnumShares(kSelector, prefix, out_); }

  Json::Value out_;
};

TEST_F(ShareListTest, TheNamesComeInThePlatformsOrder) {
  ListIsMade(512);
  Enumerates({"b", "a", "C"}, 3);
  EXPECT_THAT(SDK::Share::EnumShares(kSelector), ElementsAre("b", "a", "C"));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTShareEnum", "SzKLIBSzListGet", "SzKLIBSzListGet",
                                   "SzKLIBSzListGet", "KLIBSzListFree"));
}

TEST_F(ShareListTest, WithoutMemoryOrSharesThereAreNoNames) {
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(512)).WillOnce(Return(nullptr));
  EXPECT_THAT(SDK::Share::EnumShares(kSelector), IsEmpty());
  for (const int result : {0, -1, INT_MIN}) {
    ListIsMade(512);
    Enumerates({}, result);
    EXPECT_THAT(SDK::Share::EnumShares(kSelector), IsEmpty());
  }
}

TEST_F(ShareListTest, AShareIsShownWithAllItsFields) {
  Lists({"Photo"});
  Finds("Photo", Record("photo"));
  EXPECT_EQ(1, Enum());
  EXPECT_EQ(Doc("{'total': 1, 'items': [{'name': 'Photo', 'descr': 'description of photo', 'hidden': false,"
                "'disable_list': true, 'disable_modify': false, 'disable_download': true, 'enc_auto_mount': true,"
                "'encryption': 2}]}"),
            out_);
  EXPECT_EQ(Json::intValue, out_["total"].type());
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTShareEnum", "KLIBSzListSortItems", "SzKLIBSzListGet",
                                   "KESTShareGet", "KESTShareFree", "KLIBSzListFree"));
}

TEST_F(ShareListTest, APrefixIsSearchedForAndAnEmptyOneIsAPrefix) {
  for (const char* prefix : {"ph", ""}) {
    Lists({"photo"}, prefix, -1);
    Finds("photo", Record("photo"));
    EXPECT_EQ(1, Enum(prefix));
    EXPECT_EQ("photo", out_["items"][0]["name"].asString());
  }
}

TEST_F(ShareListTest, AHiddenShareIsOneThatIsNotBrowseable) {
  const struct {
    int browseable;
    bool hidden;
  } rows[] = {{0, true}, {1, false}, {-1, false}, {2, false}};
  for (const auto& row : rows) {
    Lists({"photo"});
    KESTSHARE* record = Record("photo");
    record->browseable = row.browseable;
    record->desc = nullptr;
    Finds("photo", record);
    EXPECT_EQ(1, Enum());
    EXPECT_EQ(row.hidden, out_["items"][0]["hidden"].asBool());
    EXPECT_EQ("", out_["items"][0]["descr"].asString());
  }
}

TEST_F(ShareListTest, EachRestrictionIsToldByItself) {
  for (int ftp = 0; ftp < 16; ++ftp) {
    Lists({"photo"});
    KESTSHARE* record = Record("photo");
    record->ftp = ftp;
    Finds("photo", record);
    EXPECT_EQ(1, Enum());
    const Json::Value& item = out_["items"][0];
    EXPECT_EQ((ftp & 1) != 0, item["disable_list"].asBool());
    EXPECT_EQ((ftp & 2) != 0, item["disable_modify"].asBool());
    EXPECT_EQ((ftp & 4) != 0, item["disable_download"].asBool());
  }
}

TEST_F(ShareListTest, EachEncryptionStateHasItsNumber) {
  const struct {
    int state;
    int shown;
    bool automatic;
  } rows[] = {{0, 0, false}, {1, 0, false}, {2, 2, false}, {3, 1, false}, {4, 0, true},
              {5, 0, true},  {6, 2, true},  {7, 1, true},  {8, 0, false}};
  for (const auto& row : rows) {
    Lists({"photo"});
    KESTSHARE* record = Record("photo");
    record->enc = row.state;
    Finds("photo", record);
    EXPECT_EQ(1, Enum());
    EXPECT_EQ(row.shown, out_["items"][0]["encryption"].asInt()) << row.state;
    EXPECT_EQ(row.automatic, out_["items"][0]["enc_auto_mount"].asBool()) << row.state;
  }
}

TEST_F(ShareListTest, AShareThatCannotBeReadIsLoggedLeftOutAndCounted) {
  Lists({"a", "b%s", "c", "d"});
  Finds("a", Record("a"));
  Finds("b%s", nullptr, -1);
  Finds("c", Record("c"), 1);
  Finds("d", Record("d"));
  EXPECT_EQ(1, Enum());
  ExpectLogged("share:#: Failed to get share info for b%s");
  ExpectLogged("share:#: Failed to get share info for c");
  EXPECT_EQ(4, out_["total"].asInt());
  EXPECT_EQ(2u, out_["items"].size());
  EXPECT_EQ("d", out_["items"][1]["name"].asString());
}

TEST_F(ShareListTest, WithoutSharesTheArrayIsEmptyAndOtherMembersStay) {
  out_ = Doc("{'total': 'x', 'items': ['x'], 'other': 1}");
  Lists({}, "x");
  EXPECT_EQ(1, Enum("x"));
  EXPECT_EQ(Doc("{'total': 0, 'items': [], 'other': 1}"), out_);
}

TEST_F(ShareListTest, AFailedSearchHasTheWordsOfTheGroupsAndTouchesNothing) {
  for (const int result : {-1, INT_MIN}) {
    ListIsMade(2048);
    EXPECT_CALL(dir(), KESTShareEnumByPrefix(_, kSelector, StrEq("x"), 1)).WillOnce(Return(result));
    EXPECT_EQ(0, Enum("x"));
    ExpectLogged("share:#: Failed to enum groups by prefix");
    EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTShareEnumByPrefix", "KLIBSzListFree"));
  }
  EXPECT_TRUE(out_.isNull());
}

TEST_F(ShareListTest, SharesThatCannotBeListedAreLoggedAndTouchNothing) {
  for (const int result : {-1, INT_MIN}) {
    ListIsMade(2048);
    EXPECT_CALL(dir(), KESTShareEnum(_, kSelector)).WillOnce(Return(result));
    EXPECT_EQ(0, Enum());
    ExpectLogged("share:#: Failed to enum shares");
  }
  EXPECT_TRUE(out_.isNull());
}

TEST_F(ShareListTest, WithoutMemoryForTheListNothingIsTouched) {
  for (const char* prefix : {"x", static_cast<const char*>(nullptr)}) {
    EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillOnce(Return(nullptr));
    EXPECT_EQ(0, Enum(prefix));
  }
  EXPECT_TRUE(out_.isNull());
}

TEST_F(ShareListTest, LackOfMemoryPassesAndLeaksNothing) {
  KESTSHARE* record = Record("a name that is longer than a short text");
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(_)).WillRepeatedly([](int) { return NewTextList({}); });
  EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).WillRepeatedly(Return(record->name));
  EXPECT_CALL(klib(), KLIBSzListSortItems(_, _)).WillRepeatedly(Return(0));
  EXPECT_CALL(dir(), KESTShareEnum(_, _)).WillRepeatedly(Return(2));
  EXPECT_CALL(dir(), KESTShareGet(_, _)).WillRepeatedly([=](const char*, KESTSHARE** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_LT(20, FailuresUntilItSucceeds([] {
              Json::Value out;
              SDK::Share::EnumShares(kSelector, nullptr, out);
            }));
  EXPECT_LE(3, FailuresUntilItSucceeds([] { SDK::Share::EnumShares(kSelector); }));
}

}  // namespace
}  // namespace tarvel_test
