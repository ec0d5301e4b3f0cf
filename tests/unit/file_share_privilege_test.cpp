// Which shares an account sees, and what it may do in one.

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <list>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "file_share_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::NotNull;
using ::testing::Return;
using ::testing::StrEq;

// The lists of a kept share.
constexpr char kNa[] = "carl,Dora";
constexpr char kRw[] = "bob,anna";
constexpr char kRo[] = "@guests";

// Answers which lists cover an account, and keeps which were asked.
class Lists {
 public:
  explicit Lists(MockKestDir& dir) {
    EXPECT_CALL(dir, BlSDKUserIsInList(_, NotNull()))
        .Times(AnyNumber())
        .WillRepeatedly([this](const char* user, const char* list) {
          asked_.emplace_back(user, list);
          // Any number but 0 says that it is.
          return covering_.count(list) != 0 ? -1 : 0;
        });
  }
  void Cover(const std::vector<std::string>& lists) { covering_ = {lists.begin(), lists.end()}; }
  std::vector<std::pair<std::string, std::string>> TakeAsked() { return std::exchange(asked_, {}); }

 private:
  std::set<std::string> covering_;
  std::vector<std::pair<std::string, std::string>> asked_;
};

class FileSharePrivilegeTest : public FileShareTest {
 protected:
  int Privilege(const char* user, const char* path = "/photo/a", const char* domain = "domain argument") {
    privilege_ = static_cast<WEBFM_SHARE_PRIVILEGE>(-7);
    restrictions_ = -8;
    return files_.WfmLibGetPrivilege(path, user, domain, &privilege_, &restrictions_);
  }
  void IsLocal(const char* user, int answer = 1) {
    EXPECT_CALL(dir(), IsDomainUG(StrEq(user))).WillRepeatedly(Return(answer));
  }
  void AnswersForTheDomain(int result, int privilege) {
    EXPECT_CALL(dir(), IsDomainUG(StrEq("DOM\\anna"))).WillOnce(Return(2)).RetiresOnSaturation();
    EXPECT_CALL(cgi(), KestCgiDomGetPrivilege(StrEq("photo"), StrEq("DOM\\anna"), StrEq("domain argument"), NotNull()))
        .WillOnce([=](const char*, const char*, const char*, int* out) {
          EXPECT_EQ(0, *out);
          *out = privilege;
          return result;
        })
        .RetiresOnSaturation();
  }
  // Nothing was told.
  bool OutputsAreAsBefore() const { return privilege_ == -7 && restrictions_ == -8; }

  WEBFM_SHARE_PRIVILEGE privilege_ = WEBFM_SHARE_NO_ACCESS;
  int restrictions_ = 0;
  Lists lists_{dir()};
};

struct ListRow {
  int line;
  std::vector<std::string> covering;
  int privilege;
  std::vector<std::string> asked;
};

const ListRow kListRows[] = {
    {__LINE__, {}, 0, {kNa, kRw, kRo}},    {__LINE__, {kNa}, 0, {kNa}},           {__LINE__, {kRw}, 2, {kNa, kRw}},
    {__LINE__, {kRo}, 1, {kNa, kRw, kRo}}, {__LINE__, {kNa, kRw}, 0, {kNa}},      {__LINE__, {kNa, kRo}, 0, {kNa}},
    {__LINE__, {kRw, kRo}, 2, {kNa, kRw}}, {__LINE__, {kNa, kRw, kRo}, 0, {kNa}},
};

TEST_F(FileSharePrivilegeTest, NoAccessGoesBeforeWritingAndWritingBeforeReading) {
  IsLocal("anna");
  for (const ListRow& row : kListRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    lists_.Cover(row.covering);
    FindsShare("photo", Share("photo"));
    EXPECT_EQ(0, Privilege("anna"));
    EXPECT_EQ(row.privilege, privilege_);
    EXPECT_EQ(5, restrictions_);
    std::vector<std::string> asked;
    for (const auto& question : lists_.TakeAsked()) {
      EXPECT_EQ("anna", question.first);
      asked.push_back(question.second);
    }
    EXPECT_EQ(row.asked, asked);
    EXPECT_EQ(0, Error());
  }
}

TEST_F(FileSharePrivilegeTest, NullListsAreEmptyOnes) {
  IsLocal("anna");
  KESTSHARE* record = Share("photo");
  record->na = record->rw = record->ro = nullptr;
  FindsShare("photo", record);
  EXPECT_EQ(0, Privilege("anna"));
  EXPECT_EQ(0, privilege_);
  EXPECT_THAT(lists_.TakeAsked(), ElementsAre(std::pair<std::string, std::string>("anna", ""),
                                              std::pair<std::string, std::string>("anna", ""),
                                              std::pair<std::string, std::string>("anna", "")));
}

TEST_F(FileSharePrivilegeTest, AdminInAnyCaseHasNoRestrictionsButNoMorePrivilege) {
  for (const char* user : {"admin", "ADMIN", "Admin"}) {
    IsLocal(user);
    FindsShare("photo", Share("photo"));
    EXPECT_EQ(0, Privilege(user));
    EXPECT_EQ(0, restrictions_);
    EXPECT_EQ(0, privilege_);
  }
  for (const char* user : {"admin2", "admi", ""}) {
    IsLocal(user);
    FindsShare("photo", Share("photo"));
    EXPECT_EQ(0, Privilege(user));
    EXPECT_EQ(5, restrictions_);
  }
}

TEST_F(FileSharePrivilegeTest, OnlyTheAnswer2IsADomainAccount) {
  for (const int answer : {0, 1, 3, -1, -2, 4}) {
    IsLocal("anna", answer);
    lists_.Cover({kRw});
    FindsShare("photo", Share("photo"));
    EXPECT_EQ(0, Privilege("anna"));
    EXPECT_EQ(2, privilege_);
  }
}

TEST_F(FileSharePrivilegeTest, TheDomainAnswersForItsAccountsAndNoListIsAsked) {
  const std::map<int, int> privileges = {{0, 0}, {1, 1}, {2, 2}, {3, 0}, {-1, 0}, {INT_MAX, 0}};
  lists_.Cover({kNa, kRw, kRo});
  for (const auto& [answer, privilege] : privileges) {
    for (const int result : {0, 1}) {
      AnswersForTheDomain(result, answer);
      FindsShare("photo", Share("photo"));
      EXPECT_EQ(0, Privilege("DOM\\anna"));
      EXPECT_EQ(privilege, privilege_);
      EXPECT_EQ(5, restrictions_);
      EXPECT_EQ(0, Error());
    }
  }
  EXPECT_THAT(lists_.TakeAsked(), IsEmpty());
}

TEST_F(FileSharePrivilegeTest, ADomainThatRefusesIsError9AndOneThatCannotBeAskedIs7) {
  const std::map<int, int> errors = {{-2, 9}, {-1, 7}, {-3, 7}, {INT_MIN, 7}};
  for (const auto& [result, error] : errors) {
    AnswersForTheDomain(result, 2);
    FindsShare("photo", Share("photo"));
    EXPECT_EQ(-1, Privilege("DOM\\anna"));
    EXPECT_EQ(error, Error());
    EXPECT_TRUE(OutputsAreAsBefore());
  }
}

TEST_F(FileSharePrivilegeTest, MissingArgumentsAreError2) {
  const auto refuses = [this](int result) {
    EXPECT_EQ(-1, result);
    ExpectLogged("file_share(#): bad parameter!");
    EXPECT_EQ(2, Error());
    ForgetError();
  };
  refuses(Privilege("anna", nullptr));
  refuses(Privilege(nullptr));
  refuses(Privilege("anna", "/photo", nullptr));
  refuses(files_.WfmLibGetPrivilege("/photo", "anna", "", nullptr, &restrictions_));
  EXPECT_TRUE(OutputsAreAsBefore());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileSharePrivilegeTest, TheRestrictionsNeedNotBeAskedFor) {
  IsLocal("anna");
  lists_.Cover({kRo});
  FindsShare("photo", Share("photo"));
  EXPECT_EQ(0, files_.WfmLibGetPrivilege("/photo", "anna", "", &privilege_, nullptr));
  EXPECT_EQ(1, privilege_);
}

TEST_F(FileSharePrivilegeTest, APathWithoutComponentIsError2) {
  EXPECT_EQ(-1, Privilege("anna", "photo"));
  ExpectLogged("file_share(#): bad path name=photo");
  ExpectLogged("file_share(#): WfmLibGetTokOfPath photo fail");
  EXPECT_EQ(2, Error());
  EXPECT_TRUE(OutputsAreAsBefore());
}

TEST_F(FileSharePrivilegeTest, AnythingButZeroIsNoShareAndError6) {
  for (const int result : {-1, 1}) {
    FindsShare("photo", result == 1 ? Share("photo") : nullptr, result);
    EXPECT_EQ(-1, Privilege("anna"));
    ExpectLogged("file_share(#): KESTShareGet photo fail");
    EXPECT_EQ(6, Error());
    EXPECT_TRUE(OutputsAreAsBefore());
  }
}

TEST_F(FileSharePrivilegeTest, HomeIsAShareLikeAnyOther) {
  FindsShare("home", nullptr, -1);
  EXPECT_EQ(-1, Privilege("anna", "/home/docs"));
  ExpectLogged("file_share(#): KESTShareGet home fail");
  EXPECT_EQ(6, Error());
}

TEST_F(FileSharePrivilegeTest, TheCallsOnThePlatformStandInThisOrder) {
  IsLocal("anna");
  FindsShare("photo", Share("photo"));
  EXPECT_EQ(0, Privilege("anna"));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KLIBStrTok", "SzKLIBSzListGet", "strdup photo",
                                   "KLIBSzListFree", "KESTShareGet", "IsDomainUG", "BlSDKUserIsInList",
                                   "BlSDKUserIsInList", "BlSDKUserIsInList", "KESTShareFree", "free"));
}

class FileShareListTest : public FileShareTest {
 protected:
  FileShareListTest() {
    account_.uid = 1026;
    account_.gid = 100;
    home_ = ScratchPath("home_of_anna");
    account_.home = home_.data();
    EXPECT_CALL(klib(), KLIBSzListPush(_, NotNull()))
        .Times(AnyNumber())
        .WillRepeatedly([this](PSZLIST* list, const char* text) {
          std::vector<std::string> texts = TextsOf(*list);
          texts.emplace_back(text);
          *list = NewTextList(texts);
          return push_result_;
        });
  }

  // A share with a folder that is there.
  KESTSHARE* Shown(const std::string& name) {
    KESTSHARE* record = Share(name);
    paths_.push_back(ScratchPath("folder of " + name));
    std::filesystem::create_directories(paths_.back());
    record->path = paths_.back().data();
    record->enc = 0;
    walked_.push_back(record);
    return record;
  }
  // The walk delivers the shares made so far, then ends with this result.
  void IsWalked(int end = 1) {
    next_ = 0;
    EXPECT_CALL(dir(), KESTShareDBOpen()).WillOnce(Return(cursor())).RetiresOnSaturation();
    EXPECT_CALL(dir(), KESTShareDBCursorGet(cursor(), NotNull()))
        .Times(static_cast<int>(walked_.size()) + 1)
        .WillRepeatedly([this, end](KESTSHAREDB*, KESTSHARE** slot) {
          if (next_ == walked_.size()) return end;
          *slot = walked_[next_++];
          return 0;
        })
        .RetiresOnSaturation();
  }
  void HasHomes(const char* value, int result) {
    EXPECT_CALL(klib(), KLIBFileGetKeyValue(StrEq("/etc/kestinfo.conf"), StrEq("userHomeEnable"), NotNull(), 4, 0))
        .WillOnce([=](const char*, const char*, char* buffer, int, int) {
          if (value != nullptr) {
            std::string cut = value;
            cut.resize(std::min<size_t>(cut.size(), 3));
            std::copy_n(cut.c_str(), cut.size() + 1, buffer);
          }
          return result;
        })
        .RetiresOnSaturation();
  }
  void HasHomes(const char* value) { HasHomes(value, static_cast<int>(std::string(value).size())); }

  std::vector<std::string> List(const char* user = "anna", BOOL sort = FALSE, BOOL read_only = TRUE) {
    std::string name = user;
    const PSZLIST list = files_.WfmLibValidShareGen(name.data(), sort, read_only, &account_);
    if (list == nullptr) return {"<null>"};
    std::vector<std::string> texts = TextsOf(list);
    KLIBSzListFree(list);
    return texts;
  }
  // Whether "home" is in the list.
  bool HomeIsListed(const char* value) {
    IsWalked();
    HasHomes(value);
    return List() == std::vector<std::string>{"home"};
  }

  static std::vector<std::string> TextsOf(PSZLIST list) {
    std::vector<std::string> texts;
    for (int i = 0; TextOf(list, i) != nullptr; ++i) texts.emplace_back(TextOf(list, i));
    return texts;
  }
  static KESTSHAREDB* cursor() { return reinterpret_cast<KESTSHAREDB*>(0x5eed); }

  KESTUSER account_ = {};
  std::string home_;
  int push_result_ = 0;
  Lists lists_{dir()};

 private:
  std::list<std::string> paths_;
  std::vector<KESTSHARE*> walked_;
  size_t next_ = 0;
};

TEST_F(FileShareListTest, MissingArgumentsAreError2) {
  EXPECT_EQ(nullptr, files_.WfmLibValidShareGen(nullptr, TRUE, TRUE, &account_));
  ExpectLogged("file_share(#) bad parameter");
  EXPECT_EQ(2, Error());
  ForgetError();
  char user[] = "anna";
  EXPECT_EQ(nullptr, files_.WfmLibValidShareGen(user, TRUE, TRUE, nullptr));
  ExpectLogged("file_share(#) bad parameter");
  EXPECT_EQ(2, Error());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FileShareListTest, WithoutMemoryForTheListNoShareIsAskedFor) {
  EXPECT_CALL(klib(), PslKLIBSzListAlloc(1024)).WillOnce(Return(nullptr));
  EXPECT_THAT(List(), ElementsAre("<null>"));
  ExpectLogged("file_share(#) malloc fail");
  EXPECT_EQ(2, Error());
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc"));
}

TEST_F(FileShareListTest, SharesThatCannotBeListedAreError2) {
  for (const int error : {0x600, 0xbeef}) {
    EXPECT_CALL(dir(), KESTShareDBOpen()).WillOnce(Return(nullptr));
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(error));
    EXPECT_THAT(List(), ElementsAre("<null>"));
    ExpectLogged(std::string("file_share:# KESTShareDBOpenFile Error[") + (error == 0x600 ? "600" : "BEEF") + "]\n");
    EXPECT_EQ(2, Error());
    EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTShareDBOpen", "KLIBErrGet", "KLIBSzListFree"));
    ForgetError();
  }
}

TEST_F(FileShareListTest, SharesAreListedInThePlatformsOrder) {
  lists_.Cover({kRw});
  Shown("zebra");
  Shown("Alpha");
  IsWalked();
  HasHomes("no");
  EXPECT_THAT(List(), ElementsAre("zebra", "Alpha"));
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareListTest, AnyResultButZeroEndsTheWalk) {
  for (const int end : {1, -1}) {
    IsWalked(end);
    HasHomes("no");
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_EQ(0, Error());
  }
}

TEST_F(FileShareListTest, TheLowestBitOfTheEncryptionHidesAShare) {
  lists_.Cover({kRw});
  for (const int state : {0, 1, 2, 3, 4, 5, 6, 7}) Shown("state" + std::to_string(state))->enc = state;
  IsWalked();
  HasHomes("no");
  EXPECT_THAT(List(), ElementsAre("state0", "state2", "state4", "state6"));
}

struct ShownRow {
  int line;
  std::vector<std::string> covering;
  BOOL read_only;
  bool shown;
  std::vector<std::string> asked;
};

const ShownRow kShownRows[] = {
    {__LINE__, {}, TRUE, false, {kNa, kRw, kRo}},   {__LINE__, {}, FALSE, false, {kNa, kRw}},
    {__LINE__, {kRw}, TRUE, true, {kNa, kRw}},      {__LINE__, {kRw}, FALSE, true, {kNa, kRw}},
    {__LINE__, {kRo}, TRUE, true, {kNa, kRw, kRo}}, {__LINE__, {kRo}, -1, true, {kNa, kRw, kRo}},
    {__LINE__, {kRo}, FALSE, false, {kNa, kRw}},    {__LINE__, {kRw, kRo}, FALSE, true, {kNa, kRw}},
    {__LINE__, {kNa}, TRUE, false, {kNa}},          {__LINE__, {kNa, kRw, kRo}, TRUE, false, {kNa}},
};

TEST_F(FileShareListTest, TheListsDecideAndReadersAreAskedForOnlyWhenTheyCount) {
  Shown("photo");
  for (const ShownRow& row : kShownRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    lists_.Cover(row.covering);
    IsWalked();
    HasHomes("no");
    EXPECT_EQ(row.shown, List("anna", FALSE, row.read_only) == std::vector<std::string>{"photo"});
    std::vector<std::string> asked;
    for (const auto& question : lists_.TakeAsked()) {
      EXPECT_EQ("anna", question.first);
      asked.push_back(question.second);
    }
    EXPECT_EQ(row.asked, asked);
  }
}

TEST_F(FileShareListTest, NullTextsOfARecordAreEmptyOnes) {
  lists_.Cover({""});
  KESTSHARE* record = Shown("photo");
  record->na = nullptr;
  IsWalked();
  HasHomes("no");
  EXPECT_THAT(List(), IsEmpty());
  lists_.Cover({kRw});
  record->path = nullptr;
  IsWalked();
  HasHomes("no");
  EXPECT_THAT(List(), IsEmpty());
  EXPECT_THAT(Calls(), Contains("stat "));
  record->path = Shown("other")->path;
  record->name = nullptr;
  IsWalked();
  HasHomes("no");
  EXPECT_THAT(List(), ElementsAre("", "other"));
}

TEST_F(FileShareListTest, AShareWithoutFolderIsLeftOutSilently) {
  lists_.Cover({kRw});
  std::string missing = ScratchPath("missing"), file = ScratchPath("file"), link = ScratchPath("link");
  WriteFile(file, "");
  Shown("missing")->path = missing.data();
  Shown("file")->path = file.data();
  std::filesystem::create_directory_symlink(Shown("folder")->path, link);
  Shown("linked")->path = link.data();
  IsWalked();
  HasHomes("no");
  EXPECT_THAT(List(), ElementsAre("folder", "linked"));
  IsWalked();
  HasHomes("no");
  machine().FailAfter("stat", 2, EACCES);
  EXPECT_THAT(List(), ElementsAre("linked"));
}

TEST_F(FileShareListTest, HomesIsForAdminInLowerCaseAlone) {
  lists_.Cover({kRw});
  Shown("homes");
  Shown("Homes");
  for (const char* user : {"admin", "ADMIN", "anna"}) {
    IsWalked();
    HasHomes("no");
    const bool is_admin = std::string(user) == "admin";
    EXPECT_THAT(List(user), ElementsAreArray(is_admin ? std::vector<std::string>{"homes", "Homes"}
                                                      : std::vector<std::string>{"Homes"}));
  }
}

TEST_F(FileShareListTest, EachRuleIsAskedOnlyWhenTheOnesBeforeItPass) {
  KESTSHARE* record = Shown("photo");
  record->enc = 1;
  IsWalked();
  HasHomes("no");
  List();
  EXPECT_THAT(Calls(),
              ElementsAre("PslKLIBSzListAlloc", "KESTShareDBOpen", "KESTShareDBCursorGet", "KESTShareDBCursorGet",
                          "KLIBFileGetKeyValue", "KESTShareDBClose", "KESTShareFree", "KLIBSzListFree"));
  record->enc = 0;
  lists_.Cover({kNa});
  IsWalked();
  HasHomes("no");
  List();
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTShareDBOpen", "KESTShareDBCursorGet", "BlSDKUserIsInList",
                                   "KESTShareDBCursorGet", "KLIBFileGetKeyValue", "KESTShareDBClose", "KESTShareFree",
                                   "KLIBSzListFree"));
}

TEST_F(FileShareListTest, TheWholeWalkStandsInThisOrder) {
  lists_.Cover({kRo});
  KESTSHARE* record = Shown("photo");
  IsWalked();
  HasHomes("YES");
  std::filesystem::create_directories(home_);
  EXPECT_CALL(klib(), KLIBSzListSortItems(_, 16)).WillOnce([](PSZLIST list, int) {
    EXPECT_THAT(TextsOf(list), ElementsAre("photo", "home"));
    return 0;
  });
  EXPECT_THAT(List("anna", TRUE), ElementsAre("photo", "home"));
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "KESTShareDBOpen", "KESTShareDBCursorGet", "BlSDKUserIsInList",
                                   "BlSDKUserIsInList", "BlSDKUserIsInList", "stat " + std::string(record->path),
                                   "KLIBSzListPush", "KESTShareDBCursorGet", "KLIBFileGetKeyValue", "stat " + home_,
                                   "KLIBSzListPush", "KLIBSzListSortItems", "KESTShareDBClose", "KESTShareFree",
                                   "KLIBSzListFree"));
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareListTest, AnyTruthSorts) {
  IsWalked();
  HasHomes("no");
  EXPECT_CALL(klib(), KLIBSzListSortItems(_, 16)).WillOnce(Return(-1));
  EXPECT_THAT(List("anna", -1), IsEmpty());
}

TEST_F(FileShareListTest, ASettingThatCannotBeReadDiscardsEverything) {
  lists_.Cover({kRw});
  Shown("photo");
  IsWalked();
  HasHomes(nullptr, -1);
  EXPECT_THAT(List("anna", TRUE), ElementsAre("<null>"));
  ExpectLogged("file_share (#) Failed to get EnableHome info.");
  EXPECT_EQ(2, Error());
}

TEST_F(FileShareListTest, OnlyMinusOneIsASettingThatCannotBeRead) {
  std::filesystem::create_directories(home_);
  for (const int result : {0, -2, 3}) {
    IsWalked();
    HasHomes(nullptr, result);
    EXPECT_THAT(List(), IsEmpty());
    IsWalked();
    HasHomes("yes", result);
    EXPECT_THAT(List(), ElementsAre("home"));
  }
}

TEST_F(FileShareListTest, HomesAreOnForYesInAnyCase) {
  std::filesystem::create_directories(home_);
  for (const char* value : {"yes", "YES", "Yes"}) EXPECT_TRUE(HomeIsListed(value)) << value;
  // What does not fit is cut.
  EXPECT_TRUE(HomeIsListed("yesterday"));
  for (const char* value : {"no", "", "ye", "1", "on", " ye"}) EXPECT_FALSE(HomeIsListed(value)) << value;
}

TEST_F(FileShareListTest, SystemAccountsAndTheGuestHaveNoHome) {
  std::filesystem::create_directories(home_);
  const std::map<int, bool> homes = {{0, true},       {1, false},    {100, false},    {1023, false},
                                     {1024, true},    {1025, false}, {1026, true},    {1027, true},
                                     {INT_MAX, true}, {-1, false},   {INT_MIN, false}};
  for (const auto& [uid, has_home] : homes) {
    account_.uid = uid;
    EXPECT_EQ(has_home, HomeIsListed("yes")) << uid;
  }
}

TEST_F(FileShareListTest, AHomeThatIsThereStaysAsItIs) {
  std::filesystem::create_directories(home_);
  EXPECT_TRUE(HomeIsListed("yes"));
  EXPECT_THAT(Calls(), Not(Contains("chown " + home_ + " 1026 100")));
}

TEST_F(FileShareListTest, AMissingHomeIsMadeAndGivenAway) {
  EXPECT_TRUE(HomeIsListed("yes"));
  EXPECT_TRUE(std::filesystem::is_directory(home_));
  const std::vector<std::string> calls = Calls();
  EXPECT_THAT(calls,
              ::testing::IsSupersetOf({"stat " + home_, "mkdir " + home_ + " 0755", "chown " + home_ + " 1026 100"}));
}

TEST_F(FileShareListTest, AHomeThatSomebodyElseMadeIsGivenAwayToo) {
  WriteFile(home_, "a file in its place");
  EXPECT_TRUE(HomeIsListed("yes"));
  EXPECT_THAT(Calls(), Contains("chown " + home_ + " 1026 100"));
}

TEST_F(FileShareListTest, AHomeThatCannotBeMadeEndsTheCall) {
  lists_.Cover({kRw});
  Shown("photo");
  IsWalked();
  HasHomes("yes");
  machine().FailNext("mkdir", EROFS);
  EXPECT_THAT(List("anna", TRUE), ElementsAre("<null>"));
  ExpectLogged("file_share:# mkdir user home folder failed. errno:30, message:Read-only file system");
  EXPECT_EQ(2, Error());
  EXPECT_THAT(Calls(), Not(Contains("chown " + home_ + " 1026 100")));
}

TEST_F(FileShareListTest, AnAccountWithoutHomeFolderEndsTheCall) {
  account_.home = nullptr;
  IsWalked();
  HasHomes("yes");
  EXPECT_THAT(List(), ElementsAre("<null>"));
  ExpectLogged("file_share:# mkdir user home folder failed. errno:2, message:No such file or directory");
}

TEST_F(FileShareListTest, AHomeThatCannotBeGivenAwayIsOnlyLogged) {
  machine().FailNext("chown", EPERM);
  EXPECT_TRUE(HomeIsListed("yes"));
  ExpectLogged("file_share (#) errno:Operation not permitted");
  EXPECT_EQ(0, Error());
}

TEST_F(FileShareListTest, WhetherTheListTakesANameIsNotAsked) {
  std::filesystem::create_directories(home_);
  lists_.Cover({kRw});
  Shown("photo");
  push_result_ = -1;
  IsWalked();
  HasHomes("yes");
  EXPECT_THAT(List(), ElementsAre("photo", "home"));
}

TEST_F(FileShareListTest, TheErrorOfACallBeforeGoesWithASuccessAlone) {
  files_.WfmLibSetErr(WEBFMERR_REFUSED);
  EXPECT_CALL(dir(), KESTShareDBOpen()).WillOnce([this] {
    EXPECT_EQ(9, Error());
    return cursor();
  });
  EXPECT_CALL(dir(), KESTShareDBCursorGet(_, _)).WillOnce(Return(1));
  HasHomes("no");
  EXPECT_THAT(List(), IsEmpty());
  EXPECT_EQ(0, Error());
}

}  // namespace
}  // namespace tarvel_test
