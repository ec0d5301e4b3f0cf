#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/klib.h"
#include "text_list.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

TEST(KlibListTest, ANewListIsEmpty) {
  TextList list;
  ASSERT_NE(nullptr, list.get());
  EXPECT_THAT(list.Texts(), IsEmpty());
}

TEST(KlibListTest, TheInitialSizeIsOnlyAHint) {
  for (const int bytes : {INT_MIN, -1, 0, 1, 2, 7, 1024}) {
    TextList list(bytes, {"one", "", "a text that is longer than any of the smaller hints"});
    EXPECT_THAT(list.Texts(), ElementsAre("one", "", "a text that is longer than any of the smaller hints"))
        << "made with " << bytes;
  }
}

TEST(KlibListTest, TextsKeepTheirOrderWhileTheListGrows) {
  TextList list(1);
  Texts expected;
  for (int i = 0; i < 3000; ++i) {
    expected.push_back(std::string(static_cast<size_t>(i % 37), static_cast<char>('a' + i % 26)) + std::to_string(i));
    ASSERT_EQ(0, KLIBSzListPush(list.Slot(), expected.back().c_str()));
  }
  EXPECT_EQ(expected, list.Texts());
}

TEST(KlibListTest, AListTakesATextOfAMegabyte) {
  const std::string large(1 << 20, 'x');
  TextList list(16);
  ASSERT_EQ(0, KLIBSzListPush(list.Slot(), large.c_str()));
  ASSERT_EQ(0, KLIBSzListPush(list.Slot(), "next"));
  EXPECT_EQ((Texts{large, "next"}), list.Texts());
}

TEST(KlibListTest, BytesComeBackAsTheyWentIn) {
  std::string every_byte;
  for (int byte = 1; byte < 256; ++byte) every_byte += static_cast<char>(byte);
  TextList list(8, {every_byte});
  EXPECT_THAT(list.Texts(), ElementsAre(every_byte));
}

TEST(KlibListTest, ATextOfTheListItselfCanBePushed) {
  TextList list(1, {"first of all"});
  for (int i = 0; i < 200; ++i) ASSERT_EQ(0, KLIBSzListPush(list.Slot(), SzKLIBSzListGet(list.get(), 0)));
  EXPECT_EQ(Texts(201, "first of all"), list.Texts());
}

TEST(KlibListTest, PushNeedsAListAndAText) {
  TextList list(8, {"kept"});
  PSZLIST none = nullptr;
  EXPECT_LT(KLIBSzListPush(nullptr, "x"), 0);
  EXPECT_LT(KLIBSzListPush(&none, "x"), 0);
  EXPECT_LT(KLIBSzListPush(list.Slot(), nullptr), 0);
  EXPECT_EQ(nullptr, none);
  EXPECT_THAT(list.Texts(), ElementsAre("kept"));
}

TEST(KlibListTest, AnIndexOutOfRangeHasNoText) {
  TextList list(8, {"a", "b"});
  EXPECT_EQ(nullptr, SzKLIBSzListGet(list.get(), -1));
  EXPECT_EQ(nullptr, SzKLIBSzListGet(list.get(), 2));
  EXPECT_EQ(nullptr, SzKLIBSzListGet(list.get(), INT_MAX));
  EXPECT_EQ(nullptr, SzKLIBSzListGet(list.get(), INT_MIN));
  EXPECT_EQ(nullptr, SzKLIBSzListGet(nullptr, 0));
}

TEST(KlibListTest, ATextCanBeChangedInPlaceWithoutTouchingItsNeighbours) {
  TextList list(8, {"left", " 1-2 ", "right"});
  ASSERT_EQ(0, KLIBStrTrimSpace(SzKLIBSzListGet(list.get(), 1), nullptr));
  EXPECT_THAT(list.Texts(), ElementsAre("left", "1-2", "right"));
}

// Callers that got a list handed out release it with free(): a second block behind it would show as a leak.
TEST(KlibListTest, PlainFreeReleasesTheWholeList) {
  PSZLIST list = PslKLIBSzListAlloc(4);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(0, KLIBSzListPush(&list, "a text of some length"));
  free(list);
}

TEST(KlibListTest, ReleasingNoListIsAllowed) { KLIBSzListFree(nullptr); }

TEST(KlibListTest, SortingIgnoresCase) {
  TextList list(8, {"photo", "Music", "video", "ANNA", "bernd", "Homes"});
  ASSERT_EQ(0, KLIBSzListSortItems(list.get(), KLIB_SZLIST_SORT_NO_CASE));
  EXPECT_THAT(list.Texts(), ElementsAre("ANNA", "bernd", "Homes", "Music", "photo", "video"));
}

TEST(KlibListTest, SortingKeepsTheOrderOfEqualTexts) {
  TextList list(8, {"b", "Ä", "a", "B", "ä", "A", "b"});
  ASSERT_EQ(0, KLIBSzListSortItems(list.get(), KLIB_SZLIST_SORT_NO_CASE));
  EXPECT_THAT(list.Texts(), ElementsAre("a", "A", "b", "B", "b", "Ä", "ä"));
}

TEST(KlibListTest, AnEmptyListAndOneOfOneTextAreSorted) {
  TextList empty;
  TextList one(8, {"only"});
  EXPECT_EQ(0, KLIBSzListSortItems(empty.get(), KLIB_SZLIST_SORT_NO_CASE));
  EXPECT_EQ(0, KLIBSzListSortItems(one.get(), KLIB_SZLIST_SORT_NO_CASE));
  EXPECT_THAT(one.Texts(), ElementsAre("only"));
}

TEST(KlibListTest, ASortedListStillGrows) {
  TextList list(1, {"c", "a", "b"});
  ASSERT_EQ(0, KLIBSzListSortItems(list.get(), KLIB_SZLIST_SORT_NO_CASE));
  ASSERT_EQ(0, KLIBSzListPush(list.Slot(), "aa"));
  EXPECT_THAT(list.Texts(), ElementsAre("a", "b", "c", "aa"));
  ASSERT_EQ(0, KLIBSzListSortItems(list.get(), KLIB_SZLIST_SORT_NO_CASE));
  EXPECT_THAT(list.Texts(), ElementsAre("a", "aa", "b", "c"));
}

TEST(KlibListTest, AnUnknownOrderLeavesTheListAlone) {
  TextList list(8, {"b", "a"});
  for (const int flags : {0, 1, 15, 17, -1}) EXPECT_LT(KLIBSzListSortItems(list.get(), flags), 0) << flags;
  EXPECT_LT(KLIBSzListSortItems(nullptr, KLIB_SZLIST_SORT_NO_CASE), 0);
  EXPECT_THAT(list.Texts(), ElementsAre("b", "a"));
}

}  // namespace
