// Access lists of a share, and its encryption.

#include <climits>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "share_fixture.h"
#include "support/text_list.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrEq;

class ShareAccessTest : public ShareTest {
 protected:
  // The user is covered by these lists and by no other.
  void IsIn(const std::vector<std::string>& lists) {
    EXPECT_CALL(dir(), BlSDKUserIsInList(StrEq("anna"), _)).WillRepeatedly([=](const char*, const char* list) {
      machine().Note(list);
      for (const auto& one : lists) {
        if (one == list) return -1;
      }
      return 0;
    });
  }
  // Lists of the platform, which a push lets move; those of a mask cannot be made.
  void ListsAreMade(int failing = 0) {
    auto made = EXPECT_CALL(klib(), PslKLIBSzListAlloc(512));
    for (int i = 0; i < 3; ++i) made.WillOnce(Return((failing >> i & 1) == 0 ? NewTextList({}) : nullptr));
    EXPECT_CALL(klib(), KLIBSzListPush(_, _))
        .Times(::testing::AnyNumber())
        .WillRepeatedly([this](PSZLIST* list, const char* text) {
          machine().Note(std::string("push ") + text);
          std::vector<std::string> texts = TextsOf(*list);
          texts.emplace_back(text);
          *list = NewTextList(texts);
          return 0;
        });
  }
  static std::vector<std::string> TextsOf(PSZLIST list) {
    std::vector<std::string> texts;
    for (int i = 0; TextOf(list, i) != nullptr; ++i) texts.emplace_back(TextOf(list, i));
    return texts;
  }
};

TEST_F(ShareAccessTest, EachListIsEditedByItself) {
  SDK::Share share("photo", "/volume1/photo", true);
  share.AddToRW("alice");
  EXPECT_TRUE(share.InRW("ALICE") && !share.InRO("alice") && !share.InNA("alice"));
  share.AddToRO("alice");
  share.AddToNA("alice");
  share.RemoveFromRW("Alice");
  EXPECT_TRUE(!share.InRW("alice") && share.InRO("alice") && share.InNA("alice"));
  share.RemoveFromRO("ALICE");
  EXPECT_TRUE(!share.InRO("alice") && share.InNA("alice"));
  share.RemoveFromNA("alice");
  share.RemoveFromNA("alice");
  EXPECT_FALSE(share.InRW("alice") || share.InRO("alice") || share.InNA("alice"));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareAccessTest, AnEntryInAnotherCaseIsTheSameAndKeepsItsSpelling) {
  SDK::Share share("photo", "/volume1/photo", true);
  share.AddToRW("alice");
  share.AddToRW("Alice");
  EXPECT_CALL(dir(), KESTShareSet(_, _, _)).WillOnce([](const char*, KESTSHARE* record, KESTCOPYARGS*) {
    EXPECT_STREQ("alice", record->rw);
    return 0;
  });
  EXPECT_TRUE(share.Save());
}

struct RightRow {
  int line;
  std::vector<std::string> lists;
  int right;
  std::vector<std::string> asked;
};

// The lists of a kept share.
constexpr char kNa[] = "carl,Dora";
constexpr char kRw[] = "bob,anna";
constexpr char kRo[] = "@guests";

const RightRow kRightRows[] = {
    {__LINE__, {}, 4, {kNa, kRw, kRo}},    {__LINE__, {kNa}, 4, {kNa}},           {__LINE__, {kRw}, 2, {kNa, kRw}},
    {__LINE__, {kRo}, 1, {kNa, kRw, kRo}}, {__LINE__, {kNa, kRw}, 4, {kNa}},      {__LINE__, {kNa, kRo}, 4, {kNa}},
    {__LINE__, {kRw, kRo}, 2, {kNa, kRw}}, {__LINE__, {kNa, kRw, kRo}, 4, {kNa}},
};

TEST_F(ShareAccessTest, NoAccessGoesBeforeWritingAndWritingBeforeReading) {
  const OwnedShare share = Loaded(Record("photo"));
  for (const RightRow& row : kRightRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line);
    IsIn(row.lists);
    EXPECT_EQ(row.right, share->GetAccessRight("anna"));
    std::vector<std::string> asked;
    for (const auto& call : Calls()) {
      if (call != "BlSDKUserIsInList") asked.push_back(call);
    }
    EXPECT_EQ(row.asked, asked);
  }
}

TEST_F(ShareAccessTest, AnEmptyNameIsInNoList) {
  const OwnedShare share = Loaded(Record("photo"));
  EXPECT_CALL(dir(), BlSDKUserIsInList(StrEq(""), _)).Times(3).WillRepeatedly(Return(0));
  EXPECT_EQ(4, share->GetAccessRight(""));
}

TEST_F(ShareAccessTest, EditedListsCountWhenTheyAreSaved) {
  const OwnedShare share = Loaded(Record("photo"));
  share->AddToRW("Emil");
  share->RemoveFromNA("carl");
  share->AddToRO("fred");
  EXPECT_TRUE(share->InRW("emil"));
  for (const bool stored : {false, true}) {
    EXPECT_CALL(dir(), KESTShareSet(_, _, _)).WillOnce(Return(stored ? 0 : -1));
    if (!stored) EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0));
    EXPECT_EQ(stored, share->Save());
    if (!stored) ExpectLogged("share:# KESTShareSet failed[0]");
    EXPECT_CALL(dir(), BlSDKUserIsInList(_, StrEq(stored ? "Dora" : kNa))).WillOnce(Return(0));
    EXPECT_CALL(dir(), BlSDKUserIsInList(_, StrEq(stored ? "anna,bob,Emil" : kRw))).WillOnce(Return(0));
    EXPECT_CALL(dir(), BlSDKUserIsInList(_, StrEq(stored ? "@guests,fred" : kRo))).WillOnce(Return(1));
    EXPECT_EQ(1, share->GetAccessRight("anna"));
  }
}

TEST_F(ShareAccessTest, OnlyAPositiveAnswerIsAConflict) {
  for (const int answer : {1, 2, 0, -1, INT_MIN}) {
    SDK::Share share(Record("photo"));
    ListsAreMade();
    EXPECT_CALL(dir(), UserCheckRights(_, _, _)).WillOnce([=](PSZLIST* na, PSZLIST* rw, PSZLIST* ro) {
      EXPECT_THAT(TextsOf(*na), ElementsAre("carl", "Dora"));
      EXPECT_THAT(TextsOf(*rw), ElementsAre("anna", "bob"));
      EXPECT_THAT(TextsOf(*ro), ElementsAre("@guests"));
      return answer;
    });
    EXPECT_EQ(answer > 0, share.isAccessRightConflict());
  }
}

TEST_F(ShareAccessTest, TheListsForTheConflictAreFilledWritersFirst) {
  SDK::Share share("photo", "/volume1/photo", true);
  share.AddToNA("n");
  share.AddToRO("r");
  share.AddToRW("w");
  ListsAreMade();
  EXPECT_CALL(dir(), UserCheckRights(_, _, _)).WillOnce(Return(0));
  EXPECT_FALSE(share.isAccessRightConflict());
  EXPECT_THAT(Calls(), ElementsAre("PslKLIBSzListAlloc", "PslKLIBSzListAlloc", "PslKLIBSzListAlloc", "KLIBSzListPush",
                                   "push w", "KLIBSzListPush", "push r", "KLIBSzListPush", "push n", "UserCheckRights",
                                   "KLIBSzListFree", "KLIBSzListFree", "KLIBSzListFree"));
}

TEST_F(ShareAccessTest, WithoutMemoryForAListThereIsNoConflict) {
  SDK::Share share(Record("photo"));
  for (int failing = 1; failing < 8; ++failing) {
    ListsAreMade(failing);
    EXPECT_FALSE(share.isAccessRightConflict());
  }
}

class ShareEncryptionTest : public ShareTest {
 protected:
  using Request = _tag_KEST_SHARE_ENC_;

  SDK::Share& InState(int status) {
    share_.CreateEncryption(status, "the passphrase of its making");
    return share_;
  }
  // One step, in order; the block has nothing but these fields.
  void ExpectStep(int operation, int step, const std::string& passphrase, int result = 0) {
    EXPECT_CALL(dir(), KESTShareEncryptionAction(operation, _)).InSequence(steps_).WillOnce([=](int, Request* request) {
      Request expected;
      std::memset(&expected, 0, sizeof expected);
      std::memcpy(expected.name, "photo", 5);
      std::memcpy(expected.pass, passphrase.data(), passphrase.size());
      expected.step = step;
      EXPECT_EQ(0, std::memcmp(&expected, request, sizeof expected));
      return result;
    });
  }
  void ExpectBegun(const std::string& what) { ExpectLoggedForDebugging("share:# " + what + ", name=photo"); }

  ::testing::Sequence steps_;
  SDK::Share share_{"photo", "/volume1/photo", true};
};

constexpr char kToEncrypted[] = "Change clear normal share to encrypted share";
constexpr char kToClear[] = "Change encrypted share to clear normal share";
constexpr char kToAuto[] = "Change from manual to auto";
constexpr char kToManual[] = "Change from auto to manual";
constexpr char kEncryptFailed[] = "share:# Key encrypt failed.";
constexpr char kVerifyFailed[] = "share:# Key verify failed.";

static_assert(sizeof(_tag_KEST_SHARE_ENC_) == 8756 && offsetof(_tag_KEST_SHARE_ENC_, name) == 0 &&
              offsetof(_tag_KEST_SHARE_ENC_, pass) == 8682 && offsetof(_tag_KEST_SHARE_ENC_, step) == 8748);

TEST_F(ShareEncryptionTest, AShareThatIsBeingCreatedJustGetsItsState) {
  EXPECT_EQ(6, InState(6).GetStatus());
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareEncryptionTest, TheSameStateIsNoChange) {
  for (const int status : {0, 1, 2, 3, 4, 6, 7}) {
    EXPECT_EQ(1, InState(status).SetEncryption(status, "p", "v"));
    EXPECT_EQ(status, share_.GetStatus());
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareEncryptionTest, AStateWithBothLowValuesIsNeverLeft) {
  for (const int before : {3, 7}) {
    for (const int status : {0, 1, 2, 3, 6, 7}) {
      EXPECT_EQ(1, InState(before).SetEncryption(status, "p", "v"));
      EXPECT_EQ(before, share_.GetStatus());
    }
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareEncryptionTest, AClearShareIsEncryptedInTwoStepsWhateverTheNewState) {
  for (const int status : {2, 6, 1, 3, 4, 8}) {
    ExpectStep(3, 2, "secret");
    ExpectStep(3, 5, "secret");
    EXPECT_EQ(1, InState(0).SetEncryption(status, "secret", "other"));
    ExpectBegun(kToEncrypted);
    EXPECT_EQ(status, share_.GetStatus());
  }
}

TEST_F(ShareEncryptionTest, AnEncryptedShareBecomesClearWithoutThePlatform) {
  for (const int before : {2, 6, 1, 4, 5}) {
    EXPECT_EQ(1, InState(before).SetEncryption(0, "secret", "other"));
    ExpectBegun(kToClear);
    EXPECT_EQ(0, share_.GetStatus());
  }
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ShareEncryptionTest, AutomaticMountingVerifiesAndStoresTheOtherPassphrase) {
  for (const int before : {2, 1, 4}) {
    ExpectStep(4, 3, "other");
    ExpectStep(3, 2, "other");
    EXPECT_EQ(1, InState(before).SetEncryption(6, "secret", "other"));
    ExpectBegun(kToAuto);
    EXPECT_EQ(6, share_.GetStatus());
  }
}

TEST_F(ShareEncryptionTest, MountingByHandRemovesTheStoredKeyAndSendsNoPassphrase) {
  ExpectStep(3, 4, "");
  EXPECT_EQ(1, InState(6).SetEncryption(2, "secret", "other"));
  ExpectBegun(kToManual);
  EXPECT_EQ(2, share_.GetStatus());
  ExpectStep(3, 4, "");
  EXPECT_EQ(1, InState(6).SetEncryption(3, "secret", "other"));
  ExpectBegun(kToManual);
  EXPECT_EQ(3, share_.GetStatus());
}

TEST_F(ShareEncryptionTest, AFailedStepLeavesTheStateAndIsLogged) {
  for (const int failure : {1, -1}) {
    ExpectStep(3, 2, "secret", failure);
    EXPECT_EQ(0, InState(0).SetEncryption(2, "secret", "other"));
    ExpectBegun(kToEncrypted);
    ExpectLogged(kEncryptFailed);
    EXPECT_EQ(0, share_.GetStatus());

    ExpectStep(3, 2, "secret");
    ExpectStep(3, 5, "secret", failure);
    EXPECT_EQ(0, share_.SetEncryption(2, "secret", "other"));
    ExpectBegun(kToEncrypted);
    ExpectLogged(kEncryptFailed);
    EXPECT_EQ(0, share_.GetStatus());

    ExpectStep(4, 3, "other", failure);
    EXPECT_EQ(0, InState(2).SetEncryption(6, "secret", "other"));
    ExpectBegun(kToAuto);
    ExpectLogged(kVerifyFailed);
    EXPECT_EQ(2, share_.GetStatus());

    ExpectStep(4, 3, "other");
    ExpectStep(3, 2, "other", failure);
    EXPECT_EQ(0, share_.SetEncryption(6, "secret", "other"));
    ExpectBegun(kToAuto);
    ExpectLogged(kEncryptFailed);
    EXPECT_EQ(2, share_.GetStatus());

    ExpectStep(3, 4, "", failure);
    EXPECT_EQ(0, InState(6).SetEncryption(2, "secret", "other"));
    ExpectBegun(kToManual);
    ExpectLogged(kEncryptFailed);
    EXPECT_EQ(6, share_.GetStatus());
  }
}

TEST_F(ShareEncryptionTest, TheRequestHas491BytesOfTheNameAnd63OfThePassphrase) {
  const std::string name(600, 'n'), passphrase(64, 'p');
  SDK::Share share(name, "/volume1/" + name, true);
  EXPECT_CALL(dir(), KESTShareEncryptionAction(3, _)).Times(2).WillRepeatedly([](int, Request* request) {
    EXPECT_EQ(std::string(491, 'n'), std::string(request->name));
    EXPECT_EQ(std::string(63, 'p'), std::string(request->pass));
    EXPECT_EQ('\0', request->reserved1[0]);
    EXPECT_EQ('\0', request->reserved2[0]);
    return 0;
  });
  EXPECT_EQ(1, share.SetEncryption(2, passphrase, ""));
  ExpectLoggedForDebugging("share:# " + std::string(kToEncrypted) + ", name=" + name);
}

struct CrossingRow {
  int line;
  int from;
  int to;
  bool crosses;
};

constexpr CrossingRow kCrossingRows[] = {
    {__LINE__, 0, 0, false}, {__LINE__, 0, 1, false}, {__LINE__, 0, 2, true},  {__LINE__, 0, 3, false},
    {__LINE__, 0, 4, false}, {__LINE__, 0, 6, true},  {__LINE__, 0, 7, false}, {__LINE__, 2, 0, true},
    {__LINE__, 2, 2, false}, {__LINE__, 2, 3, false}, {__LINE__, 2, 6, false}, {__LINE__, 6, 0, true},
    {__LINE__, 6, 2, false}, {__LINE__, 6, 4, false}, {__LINE__, 1, 0, false}, {__LINE__, 1, 2, false},
    {__LINE__, 3, 0, false}, {__LINE__, 4, 0, false}, {__LINE__, 7, 0, false},
};

TEST_F(ShareEncryptionTest, OnlyBetweenClearAndEncryptedIsItAChange) {
  for (const CrossingRow& row : kCrossingRows) {
    EXPECT_EQ(row.crosses, InState(row.from).IsEncryptionChanged(row.to)) << __FILE__ << ":" << row.line;
  }
}

}  // namespace
}  // namespace tarvel_test
