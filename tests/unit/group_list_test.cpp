// Where a group stands, and pages of groups for the lists of the pages.

#include <climits>
#include <string>
#include <vector>

#include "group_fixture.h"
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

using Names = std::vector<std::string>;

class GroupListTest : public GroupTest {
 protected:
  // A walk over groups of these names, as far as it is followed.
  void Walks(const Names& names, AUTH_TYPE type = AUTH_TYPE_LOCAL, int end = 1) {
    std::vector<KESTGROUP*> records;
    for (const auto& name : names) records.push_back(GroupRecord(name));
    const auto cursor = reinterpret_cast<KESTGROUPDB*>(&cursor_);
    EXPECT_CALL(dir(), KESTGroupDBOpen()).WillOnce(Return(cursor)).RetiresOnSaturation();
    EXPECT_CALL(dir(), KESTGroupDBGetByCursor(cursor, NotNull(), type, 0))
        .Times(AnyNumber())
        .WillRepeatedly([=, next = std::make_shared<size_t>(0)](KESTGROUPDB*, KESTGROUP** slot, AUTH_TYPE, int) {
          if (*next == records.size()) return end;
          *slot = records[(*next)++];
          return 0;
        });
  }
  void ListIsMade() { EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillOnce(Return(NewTextList({}))); }

  // A search that finds these names.
  void Searches(const std::string& prefix, const Names& names, AUTH_TYPE type = AUTH_TYPE_LOCAL) {
    ListIsMade();
    EXPECT_CALL(dir(), KESTGroupEnumByPrefix(NotNull(), type, StrEq(prefix), 1))
        .WillOnce([=](PSZLIST* list, AUTH_TYPE, const char*, int) {
          *list = NewTextList(names);
          return static_cast<int>(names.size());
        });
    EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).Times(AnyNumber()).WillRepeatedly(TextOf);
  }

  int Enum(int offset, int limit, const char* prefix, const char* user = nullptr, AUTH_TYPE type = AUTH_TYPE_LOCAL) {
    return SDK::Group::EnumGroups(offset, limit, type, prefix, user, out_);
  }
  Names Shown() const {
    Names names;
    for (const Json::Value& item : out_["items"]) names.push_back(item["name"].asString());
    return names;
  }

  Json::Value out_;

 private:
  int cursor_ = 0;
};

struct PageRow {
  int line;
  int offset;
  int limit;
  Names page;
};

const PageRow kPageRows[] = {
    {__LINE__, 0, 2, {"a", "b"}},
    {__LINE__, 1, 2, {"b", "c"}},
    {__LINE__, 3, 2, {}},
    {__LINE__, 2, 50, {"c"}},
    {__LINE__, 1, 0, {}},
    {__LINE__, 1, -1, {"b", "c"}},
    {__LINE__, 0, INT_MAX, {"a", "b", "c"}},
    {__LINE__, -1, 2, {"a"}},
};

TEST_F(GroupListTest, EachPageHasItsGroupsAndTheNumberOfAll) {
  for (const PageRow& row : kPageRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    for (const char* prefix : {"x", static_cast<const char*>(nullptr)}) {
      if (prefix != nullptr) {
        Searches("x", {"a", "b", "c"});
      } else {
        ListIsMade();
        Walks({"a", "b", "c"});
      }
      for (const auto& name : row.page) Describes(name, "");
      EXPECT_EQ(1, Enum(row.offset, row.limit, prefix));
      EXPECT_EQ(row.page, Shown());
      EXPECT_EQ(3, out_["total"].asInt());
    }
  }
}

TEST_F(GroupListTest, AWalkGivesADocumentWithoutMarks) {
  ListIsMade();
  Walks({"authors", "editors"}, AUTH_TYPE_DOMAIN, -1);
  Describes("authors", "who write");
  Describes("editors", nullptr, 1);
  out_ = Doc("{'total': 'x', 'items': ['x'], 'other': 1}");
  EXPECT_EQ(1, Enum(0, -1, nullptr, nullptr, AUTH_TYPE_DOMAIN));
  EXPECT_EQ(Doc("{'other': 1, 'total': 2, 'items': [{'name': 'authors', 'descr': 'who write'},"
                "{'name': 'editors', 'descr': ''}]}"),
            out_);
  EXPECT_EQ(Json::intValue, out_["total"].type());
  EXPECT_THAT(Calls(),
              ElementsAre("PslKLIBSzListAlloc", "KESTGroupDBOpen", "KESTGroupDBGetByCursor", "KESTGroupDescGet",
                          "strdup who write", "free", "KESTGroupDBGetByCursor", "KESTGroupDescGet",
                          "KESTGroupDBGetByCursor", "KESTGroupFree", "KESTGroupDBClose", "KLIBSzListFree"));
}

TEST_F(GroupListTest, ASearchGivesADocumentWithoutMarks) {
  Searches("", {"authors"}, AUTH_TYPE_DIRECTORY);
  Describes("authors", "who write");
  EXPECT_EQ(1, Enum(0, -1, "", nullptr, AUTH_TYPE_DIRECTORY));
  EXPECT_EQ(Doc("{'total': 1, 'items': [{'name': 'authors', 'descr': 'who write'}]}"), out_);
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTGroupEnumByPrefix", "SzKLIBSzListGet", "KESTGroupDescGet",
                                   "strdup who write", "free", "KLIBSzListFree"));
}

TEST_F(GroupListTest, WithAUserEachGroupIsMarked) {
  for (const char* prefix : {"x", static_cast<const char*>(nullptr)}) {
    if (prefix != nullptr) {
      Searches("x", {"authors", "editors", "gone"});
    } else {
      ListIsMade();
      Walks({"authors", "editors", "gone"});
    }
    Describes("authors", "who write", 0, 2);
    FindsGroup("authors", GroupRecord("authors", {"Anna"}));
    Describes("editors", "who edit", 0, 2);
    FindsGroup("editors", GroupRecord("editors", {"bob"}));
    Describes("gone", "");
    FindsGroup("gone", nullptr, -1);
    EXPECT_EQ(1, Enum(0, -1, prefix, "anna"));
    EXPECT_EQ(Doc("{'total': 3, 'items': [{'join': true, 'name': 'authors', 'descr': 'who write'},"
                  "{'join': false, 'name': 'editors', 'descr': 'who edit'},"
                  "{'join': false, 'name': 'gone', 'descr': ''}]}"),
              out_);
  }
}

TEST_F(GroupListTest, TheDescriptionIsReadBeforeTheGroupIsLoadedForTheMark) {
  Searches("x", {"authors"});
  Describes("authors", nullptr, 0, 2);
  FindsGroup("authors", GroupRecord("authors"));
  EXPECT_EQ(1, Enum(0, -1, "x", "anna"));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTGroupEnumByPrefix", "SzKLIBSzListGet", "KESTGroupDescGet",
                                   "KESTGroupGet", "KESTGroupDescGet", "KESTGroupFree", "KLIBSzListFree"));
}

TEST_F(GroupListTest, AGroupIsOnlyLoadedByAnAnswerOfZero) {
  Searches("x", {"authors"});
  Describes("authors", nullptr);
  FindsGroup("authors", GroupRecord("authors", {"anna"}), 1);
  EXPECT_EQ(1, Enum(0, -1, "x", "anna"));
  EXPECT_FALSE(out_["items"][0]["join"].asBool());
}

TEST_F(GroupListTest, EveryAccountIsMarkedInUsers) {
  Searches("u", {"users"});
  Describes("users", nullptr, 0, 2);
  FindsGroup("users", GroupRecord("users"));
  Finds("anna", Record("anna"));
  EXPECT_EQ(1, Enum(0, -1, "u", "anna"));
  EXPECT_TRUE(out_["items"][0]["join"].asBool());
}

TEST_F(GroupListTest, AGroupWhoseDescriptionCannotBeReadIsLeftOutAndCounted) {
  Searches("x", {"a", "b", "c"});
  Describes("a", "");
  Describes("b", nullptr, -1);
  Describes("c", "");
  EXPECT_EQ(1, Enum(0, -1, "x"));
  ExpectLogged("group:#: Failed to get group info for b");
  EXPECT_EQ((Names{"a", "c"}), Shown());
  EXPECT_EQ(3, out_["total"].asInt());
}

TEST_F(GroupListTest, TheWalkHasWordsOfItsOwnForADescriptionThatCannotBeRead) {
  ListIsMade();
  Walks({"a", "b"});
  Describes("a", nullptr, -1);
  Describes("b", "");
  EXPECT_EQ(1, Enum(0, -1, nullptr, nullptr));
  ExpectLogged("group:# Failed to get group descr for a");
  EXPECT_EQ((Names{"b"}), Shown());
  EXPECT_EQ(2, out_["total"].asInt());
}

TEST_F(GroupListTest, APrefixThatMatchesNothingGivesAnEmptyArray) {
  Searches("x", {});
  EXPECT_EQ(1, Enum(0, 5, "x"));
  EXPECT_EQ(Doc("{'total': 0, 'items': []}"), out_);
}

TEST_F(GroupListTest, WithoutMemoryForTheListNothingIsTouched) {
  out_ = Doc("{'other': 1}");
  for (const char* prefix : {"x", static_cast<const char*>(nullptr)}) {
    EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillOnce(Return(nullptr));
    EXPECT_EQ(0, Enum(0, -1, prefix));
  }
  EXPECT_EQ(Doc("{'other': 1}"), out_);
}

TEST_F(GroupListTest, AFailedSearchIsLoggedAndTouchesNothing) {
  for (const int result : {-1, INT_MIN}) {
    ListIsMade();
    EXPECT_CALL(dir(), KESTGroupEnumByPrefix(_, _, _, 1)).WillOnce(Return(result));
    EXPECT_EQ(0, Enum(0, -1, "x"));
    ExpectLogged("group:#: Failed to enum groups by prefix");
  }
  EXPECT_TRUE(out_.isNull());
}

TEST_F(GroupListTest, AWalkThatCannotBeginIsLoggedAndTouchesNothing) {
  ListIsMade();
  EXPECT_CALL(dir(), KESTGroupDBOpen()).WillOnce(Return(nullptr));
  EXPECT_EQ(0, Enum(0, -1, nullptr));
  ExpectLogged("group:# Failed to open group db");
  EXPECT_TRUE(out_.isNull());
}

TEST_F(GroupListTest, AGroupStandsWhereTheWalkMeetsItOrBehindAll) {
  const struct {
    const char* name;
    int position;
  } rows[] = {{"authors", 0}, {"EDITORS", 1}, {"readers", 2}, {"", 2}};
  for (const auto& row : rows) {
    Walks({"authors", "Editors"});
    int position = -7;
    EXPECT_EQ(1, SDK::Group::GetGroupLocation(row.name, AUTH_TYPE_LOCAL, &position));
    EXPECT_EQ(row.position, position) << row.name;
  }
}

TEST_F(GroupListTest, TheWalkForAPlaceStopsAtTheGroup) {
  Walks({"authors", "editors"}, AUTH_TYPE_DOMAIN);
  EXPECT_EQ(1, SDK::Group::GetGroupLocation("AUTHORS", AUTH_TYPE_DOMAIN, nullptr));
  EXPECT_THAT(Calls(), ElementsAre("KESTGroupDBOpen", "KESTGroupDBGetByCursor", "KESTGroupFree", "KESTGroupDBClose"));
}

TEST_F(GroupListTest, WithoutAWalkThePlaceStaysAndTheWordsAreTheAccounts) {
  EXPECT_CALL(dir(), KESTGroupDBOpen()).WillOnce(Return(nullptr));
  int position = -7;
  EXPECT_EQ(0, SDK::Group::GetGroupLocation("editors", AUTH_TYPE_LOCAL, &position));
  ExpectLogged("group:# Failed to open user db");
  EXPECT_EQ(-7, position);
}

TEST_F(GroupListTest, LackOfMemoryPassesAndLeaksNothing) {
  KESTGROUP* record = GroupRecord("a name that is longer than a short text", {"anna"});
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillRepeatedly([](int) { return NewTextList({}); });
  EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).WillRepeatedly(Return(record->name));
  EXPECT_CALL(dir(), KESTGroupEnumByPrefix(_, _, _, 1)).WillRepeatedly(Return(2));
  EXPECT_CALL(dir(), KESTGroupGet(_, _)).WillRepeatedly([=](const char*, KESTGROUP** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_CALL(dir(), KESTGroupDescGet(_, _, _)).WillRepeatedly([](const char*, char** text, int*) {
    *text = strdup("a description that is longer than a short text");
    return 0;
  });
  EXPECT_LT(20, FailuresUntilItSucceeds([] {
              Json::Value out;
              SDK::Group::EnumGroups(0, -1, AUTH_TYPE_LOCAL, "a", "anna", out);
            }));
  KESTGROUP* walked = GroupRecord(record->name);
  const auto cursor = reinterpret_cast<KESTGROUPDB*>(walked);
  int left = 0;
  EXPECT_CALL(dir(), KESTGroupDBOpen()).WillRepeatedly([&] {
    left = 2;
    return cursor;
  });
  EXPECT_CALL(dir(), KESTGroupDBGetByCursor(cursor, _, _, 0))
      .WillRepeatedly([&](KESTGROUPDB*, KESTGROUP** slot, AUTH_TYPE, int) {
        *slot = walked;
        return left-- > 0 ? 0 : 1;
      });
  EXPECT_LT(20, FailuresUntilItSucceeds([] {
              Json::Value out;
              SDK::Group::EnumGroups(0, -1, AUTH_TYPE_LOCAL, nullptr, "anna", out);
            }));
}

}  // namespace
}  // namespace tarvel_test
