// Where an account stands, and pages of accounts: as objects, and for the lists of the pages.

#include <climits>
#include <string>
#include <vector>

#include "support/mock_kestnet.h"
#include "support/text_list.h"
#include "user_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

constexpr auto kUnknownSource = static_cast<AUTH_TYPE>(77);

class UserListTest : public UserTest {
 protected:
  ~UserListTest() override { SDK::User::ReleaseUserList(users_); }

  MockKestNet& net() { return net_; }

  // A walk over accounts of these names, as far as it is followed.
  void Walks(const std::vector<std::string>& names, AUTH_TYPE type = AUTH_TYPE_LOCAL, int end = 1) {
    std::vector<KESTUSER*> records;
    for (const auto& name : names) records.push_back(Record(name));
    const auto cursor = reinterpret_cast<KESTUSERDB*>(&cursor_);
    EXPECT_CALL(dir(), KESTUserDBOpen()).WillOnce(Return(cursor)).RetiresOnSaturation();
    EXPECT_CALL(dir(), KESTUserDBGetByCursor(cursor, NotNull(), type, 0))
        .Times(AnyNumber())
        .WillRepeatedly([=, next = std::make_shared<size_t>(0)](KESTUSERDB*, KESTUSER** slot, AUTH_TYPE, int) {
          if (*next == records.size()) return end;
          *slot = records[(*next)++];
          return 0;
        });
  }
  void WalkCannotBegin() { EXPECT_CALL(dir(), KESTUserDBOpen()).WillOnce(Return(nullptr)); }

  // A search that finds these names and, one by one, their records.
  void Searches(const std::string& prefix, const std::vector<std::string>& names, AUTH_TYPE type = AUTH_TYPE_LOCAL) {
    EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillOnce(Return(NewTextList({})));
    EXPECT_CALL(dir(), KESTUserEnumByPrefix(NotNull(), type, StrEq(prefix), 1))
        .WillOnce([=](PSZLIST* list, AUTH_TYPE, const char*, int) {
          *list = NewTextList(names);
          return static_cast<int>(names.size());
        });
    EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).Times(AnyNumber()).WillRepeatedly(TextOf);
  }
  void SearchEndsWith(int result) {
    EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillOnce(Return(NewTextList({})));
    EXPECT_CALL(dir(), KESTUserEnumByPrefix(_, _, _, 1)).WillOnce(Return(result));
  }
  void HasRecordsOf(const std::vector<std::string>& names) {
    for (const auto& name : names) Finds(name, Record(name));
  }
  void DomainIs(const char* name) {
    EXPECT_CALL(net(), WINIQuery1(_, 64, _, IsNull())).WillOnce([=](char* out, int size, int* flag, int*) {
      std::snprintf(out, static_cast<size_t>(size), "%s", name);
      *flag = *name != '\0';
      return 0;
    });
  }
  void DomainIsRefreshed(int result = 0) { EXPECT_CALL(dir(), KESTUserDBDomainRebuild(0)).WillOnce(Return(result)); }

  int EnumAll(int offset, int limit, AUTH_TYPE type = AUTH_TYPE_LOCAL) {
    return SDK::User::EnumAllUsers(offset, limit, type, users_);
  }
  int Enum(int offset, int limit, const char* prefix, AUTH_TYPE type = AUTH_TYPE_LOCAL) {
    return SDK::User::EnumUsers(offset, limit, type, prefix, users_);
  }
  // The names of the page, which is released.
  std::vector<std::string> Page() {
    std::vector<std::string> names;
    for (const SDK::User* user : users_) names.push_back(user->GetName());
    SDK::User::ReleaseUserList(users_);
    return names;
  }

  std::vector<SDK::User*> users_;

 private:
  ::testing::StrictMock<MockKestNet> net_;
  int cursor_ = 0;
};

using Names = std::vector<std::string>;

struct PageRow {
  int line;
  int offset;
  int limit;
  Names page;
};

const PageRow kPageRows[] = {
    {__LINE__, 0, 2, {"a", "b"}},
    {__LINE__, 2, 2, {"c", "d"}},
    {__LINE__, 4, 2, {"e"}},
    {__LINE__, 5, 2, {}},
    {__LINE__, 0, 5, {"a", "b", "c", "d", "e"}},
    {__LINE__, 0, 50, {"a", "b", "c", "d", "e"}},
    {__LINE__, 5, 0, {}},
    {__LINE__, 0, 0, {}},
    {__LINE__, 0, -1, {"a", "b", "c", "d", "e"}},
    {__LINE__, 3, -1, {"d", "e"}},
    {__LINE__, 3, INT_MIN, {"d", "e"}},
    {__LINE__, 3, INT_MAX, {"d", "e"}},
    {__LINE__, INT_MAX, INT_MAX, {}},
    {__LINE__, -1, 2, {"a"}},
    {__LINE__, -2, 2, {}},
    {__LINE__, -1, -1, {"a", "b", "c", "d", "e"}},
    {__LINE__, INT_MIN, INT_MAX, {}},
};

TEST_F(UserListTest, EachPageOfTheWalkHasItsAccountsAndTheNumberOfAll) {
  for (const PageRow& row : kPageRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    Walks({"a", "b", "c", "d", "e"});
    EXPECT_EQ(5, EnumAll(row.offset, row.limit));
    EXPECT_EQ(row.page, Page());
  }
}

TEST_F(UserListTest, EachPageOfASearchHasItsAccountsAndTheNumberOfAllMatches) {
  for (const PageRow& row : kPageRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    Searches("x", {"a", "b", "c", "d", "e"});
    HasRecordsOf(row.page);
    EXPECT_EQ(5, Enum(row.offset, row.limit, "x"));
    EXPECT_EQ(row.page, Page());
  }
}

TEST_F(UserListTest, TheWalkReleasesItsRecordBeforeItCloses) {
  Walks({"anna", "bert"}, kUnknownSource, -1);
  EXPECT_EQ(2, EnumAll(0, -1, kUnknownSource));
  EXPECT_THAT(Calls(), ElementsAre("KESTUserDBOpen", "KESTUserDBGetByCursor", "KESTUserDBGetByCursor",
                                   "KESTUserDBGetByCursor", "KESTUserFree", "KESTUserDBClose"));
  EXPECT_EQ("description of bert", users_.back()->GetDesc());
}

TEST_F(UserListTest, AWalkWithoutAccountsHasNothingToRelease) {
  Walks({});
  EXPECT_EQ(0, EnumAll(0, -1));
  EXPECT_THAT(Calls(), ElementsAre("KESTUserDBOpen", "KESTUserDBGetByCursor", "KESTUserDBClose"));
}

TEST_F(UserListTest, AWalkThatCannotBeginIsLoggedAndEmpty) {
  WalkCannotBegin();
  EXPECT_EQ(0, EnumAll(0, -1));
  ExpectLogged("user:# Failed to open user db");
  EXPECT_THAT(Page(), IsEmpty());
}

TEST_F(UserListTest, PagesAreAppended) {
  Walks({"anna", "bert"});
  EnumAll(0, -1);
  Walks({"carl"});
  EnumAll(0, -1);
  EXPECT_EQ((Names{"anna", "bert", "carl"}), Page());
}

TEST_F(UserListTest, AllAccountsOfADomainAreWalkedWithoutRefreshingIt) {
  Walks({"OFFICE\\anna"}, AUTH_TYPE_DOMAIN);
  EXPECT_EQ(1, EnumAll(0, -1, AUTH_TYPE_DOMAIN));
}

TEST_F(UserListTest, WithoutAPrefixAllAccountsAreWalked) {
  Walks({"anna", "bert"});
  EXPECT_EQ(2, Enum(1, 1, nullptr));
  EXPECT_EQ((Names{"bert"}), Page());
}

TEST_F(UserListTest, WithoutAPrefixADomainIsRefreshedFirst) {
  DomainIsRefreshed();
  Walks({"OFFICE\\anna"}, AUTH_TYPE_DOMAIN);
  EXPECT_EQ(1, Enum(0, -1, nullptr, AUTH_TYPE_DOMAIN));
  EXPECT_EQ("KESTUserDBDomainRebuild", Calls().front());
}

TEST_F(UserListTest, ADomainThatCannotBeRefreshedIsLoggedAndHasNoAccounts) {
  for (const char* prefix : {static_cast<const char*>(nullptr), "a", "OFFICE\\a"}) {
    DomainIsRefreshed(-1);
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0x8a00));
    EXPECT_EQ(0, Enum(0, -1, prefix, AUTH_TYPE_DOMAIN));
    ExpectLogged("user:# [8A00]KESTUserDBDomainRebuild failed");
  }
}

TEST_F(UserListTest, OnlyADomainIsRefreshed) {
  for (const AUTH_TYPE type : {AUTH_TYPE_LOCAL, AUTH_TYPE_DIRECTORY, kUnknownSource}) {
    Searches("a", {}, type);
    EXPECT_EQ(0, Enum(0, -1, "a", type));
    EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTUserEnumByPrefix", "KLIBSzListFree"));
  }
}

TEST_F(UserListTest, ARefreshThatAnswersPositivelyIsOne) {
  DomainIsRefreshed(1);
  Walks({}, AUTH_TYPE_DOMAIN);
  EXPECT_EQ(0, Enum(0, -1, nullptr, AUTH_TYPE_DOMAIN));
}

TEST_F(UserListTest, APrefixInADomainGetsTheDomainsName) {
  for (const std::string prefix : {"a", ""}) {
    DomainIsRefreshed();
    DomainIs("OFFICE");
    Searches("OFFICE\\" + prefix, {"OFFICE\\anna"}, AUTH_TYPE_DOMAIN);
    HasRecordsOf({"OFFICE\\anna"});
    EXPECT_EQ(1, Enum(0, -1, prefix.c_str(), AUTH_TYPE_DOMAIN));
    EXPECT_EQ((Names{"OFFICE\\anna"}), Page());
    EXPECT_THAT(Calls(),
                ElementsAre("KESTUserDBDomainRebuild", "WINIQuery1", "PslKLIBSzListAlloc", "KESTUserEnumByPrefix",
                            "SzKLIBSzListGet", "KESTUserGet", "KESTUserFree", "KLIBSzListFree"));
  }
}

TEST_F(UserListTest, APrefixThatNamesADomainIsUsedAsItIs) {
  for (const char* prefix : {"OTHER\\a", "\\", "a\\"}) {
    DomainIsRefreshed();
    Searches(prefix, {}, AUTH_TYPE_DOMAIN);
    EXPECT_EQ(0, Enum(0, -1, prefix, AUTH_TYPE_DOMAIN));
  }
}

TEST_F(UserListTest, WithoutAJoinedDomainTheBarePrefixIsUsed) {
  DomainIsRefreshed();
  DomainIs("");
  Searches("a", {}, AUTH_TYPE_DOMAIN);
  EXPECT_EQ(0, Enum(0, -1, "a", AUTH_TYPE_DOMAIN));
}

TEST_F(UserListTest, APrefixMayHaveAnyLength) {
  const std::string prefix(10000, 'a');
  Searches(prefix, {});
  EXPECT_EQ(0, Enum(0, -1, prefix.c_str()));
}

TEST_F(UserListTest, WithoutMemoryForTheListNothingIsFoundAndNothingLogged) {
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillOnce(Return(nullptr));
  EXPECT_EQ(0, Enum(0, -1, "a"));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc"));
}

TEST_F(UserListTest, AFailedSearchIsLoggedAndItsResultGivenOn) {
  for (const int result : {-1, -7, INT_MIN}) {
    SearchEndsWith(result);
    EXPECT_EQ(result, Enum(0, -1, "a"));
    ExpectLogged("user:#: Failed to enum users by prefix");
    EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTUserEnumByPrefix", "KLIBSzListFree"));
  }
}

TEST_F(UserListTest, OneSlotServesAllLookUpsOfASearch) {
  Searches("", {"anna", "bert"});
  HasRecordsOf({"anna", "bert"});
  EXPECT_EQ(2, Enum(0, -1, ""));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTUserEnumByPrefix", "SzKLIBSzListGet", "KESTUserGet",
                                   "SzKLIBSzListGet", "KESTUserGet", "KESTUserFree", "KLIBSzListFree"));
}

TEST_F(UserListTest, AnAccountThatCannotBeReadIsLoggedLeftOutAndCounted) {
  Searches("", {"anna", "b%srt", "carl"});
  Finds("anna", Record("anna"));
  Finds("b%srt", nullptr, -1);
  Finds("carl", Record("carl"), 1);
  EXPECT_EQ(3, Enum(0, -1, ""));
  ExpectLogged("user:#: Failed to get user info for b%srt");
  EXPECT_EQ((Names{"anna", "carl"}), Page());
}

TEST_F(UserListTest, ThePageAsADocumentHasTheStatusAsText) {
  Walks({"anna", "bert"});
  EXPECT_CALL(dir(), KESTUserIsExpired(19000)).WillOnce(Return(0)).WillOnce(Return(1));
  Json::Value out;
  EXPECT_EQ(1, SDK::User::EnumUsers(0, 5, AUTH_TYPE_LOCAL, nullptr, out));
  EXPECT_EQ(Doc("{'total': 2, 'items': ["
                "{'name': 'anna', 'descr': 'description of anna', 'email': 'anna@example.org', 'disabled': '2022/1/8'},"
                "{'name': 'bert', 'descr': 'description of bert', 'email': 'bert@example.org', 'disabled': 'Expired'}"
                "]}"),
            out);
  EXPECT_EQ(Json::intValue, out["total"].type());
}

TEST_F(UserListTest, TheDocumentHasOnePageAndTheNumberOfAll) {
  Searches("b", {"bea", "bert", "bob"});
  HasRecordsOf({"bert"});
  EXPECT_CALL(dir(), KESTUserIsExpired(_)).WillOnce(Return(1));
  Json::Value out = Doc("{'total': 'x', 'items': ['x'], 'other': 1}");
  EXPECT_EQ(1, SDK::User::EnumUsers(1, 1, AUTH_TYPE_LOCAL, "b", out));
  EXPECT_EQ(3, out["total"].asInt());
  EXPECT_EQ(1u, out["items"].size());
  EXPECT_EQ("bert", out["items"][0]["name"].asString());
  EXPECT_EQ(1, out["other"].asInt());
}

TEST_F(UserListTest, AnEmptyDocumentHasAnEmptyArray) {
  Searches("x", {});
  Json::Value out;
  EXPECT_EQ(1, SDK::User::EnumUsers(0, 5, AUTH_TYPE_LOCAL, "x", out));
  EXPECT_EQ(Doc("{'total': 0, 'items': []}"), out);
}

TEST_F(UserListTest, AFailedSearchIsADocumentWithANegativeNumber) {
  SearchEndsWith(-3);
  Json::Value out;
  EXPECT_EQ(1, SDK::User::EnumUsers(0, 5, AUTH_TYPE_LOCAL, "x", out));
  ExpectLogged("user:#: Failed to enum users by prefix");
  EXPECT_EQ(Doc("{'total': -3, 'items': []}"), out);
}

TEST_F(UserListTest, AWalkThatCannotBeginIsAnEmptyDocument) {
  WalkCannotBegin();
  Json::Value out;
  EXPECT_EQ(1, SDK::User::EnumUsers(0, 5, AUTH_TYPE_LOCAL, nullptr, out));
  ExpectLogged("user:# Failed to open user db");
  EXPECT_EQ(Doc("{'total': 0, 'items': []}"), out);
}

struct PlaceRow {
  int line;
  const char* name;
  int position;
};

constexpr PlaceRow kPlaceRows[] = {
    {__LINE__, "anna", 0}, {__LINE__, "BERT", 1}, {__LINE__, "carl", 2},
    {__LINE__, "dora", 3}, {__LINE__, "", 3},     {__LINE__, "ann", 3},
};

TEST_F(UserListTest, AnAccountStandsWhereTheWalkMeetsItOrBehindAll) {
  ComparesNames();
  for (const PlaceRow& row : kPlaceRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    Walks({"anna", "Bert", "carl"});
    int position = -7;
    EXPECT_EQ(1, SDK::User::GetUserLocation(row.name, AUTH_TYPE_LOCAL, &position));
    EXPECT_EQ(row.position, position);
  }
}

TEST_F(UserListTest, TheWalkForAPlaceStopsAtTheAccount) {
  Walks({"anna", "bert", "carl"}, AUTH_TYPE_DOMAIN);
  EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(StrEq("anna"), StrEq("BERT"))).WillOnce(Return(-1));
  EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(StrEq("bert"), StrEq("BERT"))).WillOnce(Return(0));
  EXPECT_EQ(1, SDK::User::GetUserLocation("BERT", AUTH_TYPE_DOMAIN, nullptr));
  EXPECT_THAT(Calls(), ElementsAre("KESTUserDBOpen", "KESTUserDBGetByCursor", "KESTUserDBGetByCursor", "KESTUserFree",
                                   "KESTUserDBClose"));
}

TEST_F(UserListTest, WithoutAWalkThePlaceStaysAsItIs) {
  WalkCannotBegin();
  int position = -7;
  EXPECT_EQ(0, SDK::User::GetUserLocation("anna", AUTH_TYPE_LOCAL, &position));
  ExpectLogged("user:# Failed to open user db");
  EXPECT_EQ(-7, position);
}

TEST_F(UserListTest, LackOfMemoryPassesAndLeaksNothing) {
  const std::string name(100, 'n');
  KESTUSER* record = Record(name);
  const auto cursor = reinterpret_cast<KESTUSERDB*>(record);
  int left = 0;
  EXPECT_CALL(dir(), KESTUserDBOpen()).WillRepeatedly([&] {
    left = 2;
    return cursor;
  });
  EXPECT_CALL(dir(), KESTUserDBGetByCursor(cursor, _, _, 0))
      .WillRepeatedly([&](KESTUSERDB*, KESTUSER** slot, AUTH_TYPE, int) {
        *slot = record;
        return left-- > 0 ? 0 : 1;
      });
  EXPECT_CALL(dir(), KESTUserIsExpired(_)).WillRepeatedly(Return(1));
  EXPECT_LT(20, FailuresUntilItSucceeds([] {
              Json::Value out;
              SDK::User::EnumUsers(0, -1, AUTH_TYPE_LOCAL, nullptr, out);
            }));
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(2048)).WillRepeatedly([](int) { return NewTextList({}); });
  EXPECT_CALL(dir(), KESTUserEnumByPrefix(_, _, _, 1)).WillRepeatedly(Return(2));
  char listed[] = "n";
  EXPECT_CALL(klib(), SzKLIBSzListGet(_, _)).WillRepeatedly(Return(listed));
  EXPECT_CALL(dir(), KESTUserGet(_, _)).WillRepeatedly([&](const char*, KESTUSER** slot) {
    *slot = record;
    return 0;
  });
  EXPECT_LT(20, FailuresUntilItSucceeds([] {
              Json::Value out;
              SDK::User::EnumUsers(0, -1, AUTH_TYPE_LOCAL, "a prefix longer than a short text", out);
            }));
}

}  // namespace
}  // namespace tarvel_test
