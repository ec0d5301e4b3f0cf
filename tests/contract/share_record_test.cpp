// Shares as they are stored, found and listed.
#include <fstream>

#include "share_fixture.h"
#include "started_program.h"

namespace {

constexpr char kTool[] = "/usr/kest/bin/kestshare";

class ShareRecord : public ShareTest {};

TEST_F(ShareRecord, WhatIsStoredIsFoundAgain) {
  ShareText share = Named("photo");
  share.desc = "Pictures of the \"family\"; it's 100 %";
  share.na = "bernd";
  share.rw = "anna,@administrators";
  share.ro = "@users";
  share.attr = 7;
  share.browseable = 0;
  share.ftp = 5;
  ASSERT_EQ(0, Make(share));
  EXPECT_EQ(share, Get("photo"));
}

TEST_F(ShareRecord, NamesAreFoundWithoutRegardToCaseAndKeptAsGiven) {
  ASSERT_EQ(0, Make(Named("Fotos \xC3\x84rger")));
  EXPECT_EQ("Fotos \xC3\x84rger", Get("FOTOS \xC3\xA4rger").name);
  EXPECT_EQ(0x700, Code(Make(Named("fotos \xC3\xA4RGER"))));
}

TEST_F(ShareRecord, AnAbsentShareIsAFailureThatSaysSo) {
  KESTSHARE* slot = nullptr;
  EXPECT_EQ(0x600, Code(KESTShareGet("photo", &slot)));
  EXPECT_EQ(nullptr, slot);
  EXPECT_EQ(0x600, Code(Set("photo", Named("photo"))));
  EXPECT_EQ(Strings{}, Names());
}

TEST_F(ShareRecord, MissingArgumentsAreRefused) {
  KESTSHARE* slot = nullptr;
  TextList list;
  PSZLIST none = nullptr;
  EXPECT_EQ(0xD00, Code(KESTShareGet(nullptr, &slot)));
  EXPECT_EQ(0xD00, Code(KESTShareGet("photo", nullptr)));
  EXPECT_EQ(0xD00, Code(KESTShareSet(nullptr, nullptr, nullptr)));
  EXPECT_EQ(0xD00, Code(KESTShareEnum(nullptr, KEST_SHARE_ENUM_COUNTED)));
  EXPECT_EQ(0xD00, Code(KESTShareEnum(&none, KEST_SHARE_ENUM_COUNTED)));
  EXPECT_EQ(0xD00, Code(KESTShareEnumByPrefix(list.Slot(), KEST_SHARE_ENUM_COUNTED, nullptr, 1)));
  EXPECT_EQ(0xD00, Code(KESTShareDBCursorGet(nullptr, &slot)));
  EXPECT_EQ(0, KESTShareDBClose(nullptr));
  KESTShareFree(nullptr);
}

TEST_F(ShareRecord, TextsOfARecordMayBeNull) {
  char name[] = "photo", path[] = "/volume1/photo";
  KESTSHARE record = {};
  record.name = name;
  record.path = path;
  ASSERT_EQ(0, KESTShareSet(nullptr, &record, nullptr));
  const ShareText stored = Get("photo");
  EXPECT_EQ("", stored.desc + stored.na + stored.rw + stored.ro);
}

TEST_F(ShareRecord, ARecordOutlivesItsSlotAndTheNextReplacesIt) {
  ASSERT_EQ(0, Make(Named("photo")));
  ASSERT_EQ(0, Make(Named("music")));
  KESTSHARE* slot = nullptr;
  ASSERT_EQ(0, KESTShareGet("photo", &slot));
  ASSERT_EQ(0, KESTShareGet("music", &slot));
  EXPECT_STREQ("music", slot->name);
  EXPECT_GT(0, KESTShareGet("nothing", &slot));
  EXPECT_STREQ("music", slot->name) << "a failure leaves the slot to be freed";
  KESTShareFree(slot);
}

TEST_F(ShareRecord, ListTextsAndNamesAreDataWhateverTheyHold) {
  const char* const texts[] = {"'; DROP TABLE shares; --", "%s%n", "a' OR '1'='1", "$(touch x)`id`", "../../etc"};
  for (const char* text : texts) {
    ShareText share = Named("photo");
    share.desc = text;
    ASSERT_EQ(0, Names().empty() ? Make(share) : Set("photo", share)) << text;
    EXPECT_EQ(text, Get("photo").desc);
    ShareText hostile = Named("music");
    hostile.rw = text;
    EXPECT_EQ(0x600, Code(Make(hostile))) << text;
    EXPECT_EQ("", Get(text).name) << text;
    EXPECT_EQ(Strings{}, Names(KEST_SHARE_ENUM_COUNTED, text)) << text;
  }
  EXPECT_EQ(Strings{"photo"}, Names());
}

TEST_F(ShareRecord, NamesThatNoShareMayHaveAreRefused) {
  for (const char* name : {"", ".hidden", "-x", " x", "x ", "a/b", "a\\b", "a,b", "@x", "a\nb", "a%b", "a'\"b",
                           "\xFF\xFE", "123456789012345678901234567890123"}) {
    ShareText share = Named("photo");
    share.name = name;
    EXPECT_EQ(0xD00, Code(Make(share))) << name;
  }
  ASSERT_EQ(0, Make(Named("photo")));
  EXPECT_EQ(0xD00, Code(Set("", Named("photo"))));
  ShareText renamed = Named("photo");
  renamed.name = "a/b";
  EXPECT_EQ(0xD00, Code(Set("photo", renamed)));
}

TEST_F(ShareRecord, ADescriptionIsUtf8OfABoundedLength) {
  ShareText share = Named("photo");
  for (const std::string& text : {std::string("\xFF\xFE"), std::string("cut \xC3"), std::string(4097, 'x')}) {
    share.desc = text;
    EXPECT_EQ(0xD00, Code(Make(share)));
  }
  EXPECT_FALSE(std::filesystem::exists("/volume1/photo"));
  share.desc = std::string(4096, 'x');
  ASSERT_EQ(0, Make(share));
  share.desc = "\xFF";
  EXPECT_EQ(0xD00, Code(Set("photo", share)));
  EXPECT_EQ(std::string(4096, 'x'), Get("photo").desc);
  share = Named("other");
  share.path = "/volume1/\xFF";
  EXPECT_EQ(0xD00, Code(Make(share)));
}

TEST_F(ShareRecord, WhoIsInNoListOfTheMachineCannotBeNamed) {
  ShareText share = Named("photo");
  share.ro = "anna,nobody";
  EXPECT_EQ(0x600, Code(Make(share)));
  share.ro = "anna,@nobody";
  EXPECT_EQ(0x600, Code(Make(share)));
  EXPECT_EQ("", Get("photo").name);
  EXPECT_FALSE(std::filesystem::exists("/volume1/photo")) << "what could not be stored leaves no folder";
  share.ro = "DOMAIN\\guest,@DOMAIN\\staff";
  ASSERT_EQ(0, Make(share)) << "a domain's accounts are known to the domain";
  EXPECT_EQ("DOMAIN\\guest,@DOMAIN\\staff", Get("photo").ro);
}

TEST_F(ShareRecord, ListsFollowTheAccountsTheyName) {
  ShareText share = Named("photo");
  share.rw = "ANNA,bernd,@Users";
  ASSERT_EQ(0, Make(share));
  EXPECT_EQ("anna,bernd,@users", Get("photo").rw) << "by number: as the accounts are spelt";
  ASSERT_EQ(0, Account({"remove", "anna"}));
  EXPECT_EQ("bernd,@users", Get("photo").rw);
}

TEST_F(ShareRecord, NamesComeInOrderAndByPrefix) {
  for (const char* name : {"photo", "Music", "phone",
                           "\xC3\x9C"
                           "bung",
                           "backup"})
    ASSERT_EQ(0, Make(Named(name)));
  EXPECT_EQ((Strings{"backup", "Music", "phone", "photo",
                     "\xC3\x9C"
                     "bung"}),
            Names());
  EXPECT_EQ((Strings{"phone", "photo"}), Names(KEST_SHARE_ENUM_COUNTED, "PHO"));
  EXPECT_EQ((Strings{"\xC3\x9C"
                     "bung"}),
            Names(KEST_SHARE_ENUM_COUNTED, "\xC3\xBC"));
  EXPECT_EQ(Strings{}, Names(KEST_SHARE_ENUM_COUNTED, "photos"));
  EXPECT_EQ(Strings{}, Names(KEST_SHARE_ENUM_COUNTED, "%"));
  EXPECT_EQ(Strings{}, Names(KEST_SHARE_ENUM_COUNTED, "_"));
  EXPECT_EQ(5u, Names(KEST_SHARE_ENUM_COUNTED, "").size());
  EXPECT_EQ(Strings{}, Names(KEST_SHARE_ENUM_COUNTED, "\xC3")) << "no half of a character";
}

TEST_F(ShareRecord, AnEnumerationAppends) {
  ASSERT_EQ(0, Make(Named("photo")));
  TextList list(64, {"before"});
  EXPECT_EQ(1, KESTShareEnum(list.Slot(), KEST_SHARE_ENUM_COUNTED));
  EXPECT_EQ((Strings{"before", "photo"}), list.Texts());
}

TEST_F(ShareRecord, PlacesAndStatesSelect) {
  ASSERT_EQ(0, Make(Named("photo")));
  ASSERT_EQ(0, Make(Named("homes")));
  ShareText away = Named("away");
  away.path = "/volume3/away";
  ASSERT_EQ(0, Make(away));
  EXPECT_EQ((Strings{"away", "photo"}), Names(KEST_SHARE_ENUM_LOCAL)) << "both volumes are mounted";
  EXPECT_EQ((Strings{"away", "photo"}), Names(KEST_SHARE_ENUM_COUNTED));
  EXPECT_EQ(Strings{"homes"}, Names(KEST_SHARE_ENUM_SERVICE));
  EXPECT_EQ(Strings{}, Names(KEST_SHARE_ENUM_EXTERNAL));
  EXPECT_EQ((Strings{"away", "homes", "photo"}), Names(KEST_SHARE_ENUM_COUNTED | KEST_SHARE_ENUM_SERVICE));
  EXPECT_EQ(Strings{}, Names(0));
}

TEST_F(ShareRecord, AWalkShowsTheSharesAsTheyWereWhenItBegan) {
  for (const char* name : {"c", "a", "b"}) ASSERT_EQ(0, Make(Named(name)));
  KESTSHAREDB* const walk = KESTShareDBOpen();
  ASSERT_NE(nullptr, walk);
  KESTSHARE* slot = nullptr;
  Strings names;
  while (KESTShareDBCursorGet(walk, &slot) == 0) {
    names.push_back(slot->name);
    EXPECT_STREQ("@users", slot->rw);
    if (names.size() == 1) {
      ASSERT_EQ(0, Make(Named("bb")));
      ASSERT_EQ(0, Set("c", Named("cc")));
    }
  }
  EXPECT_EQ((Strings{"a", "b", "c"}), names);
  EXPECT_EQ(1, KESTShareDBCursorGet(walk, &slot)) << "the end stays the end";
  EXPECT_EQ(0, KESTShareDBClose(walk));
  EXPECT_STREQ("c", slot->name) << "a record outlives its walk";
  KESTShareFree(slot);
}

TEST_F(ShareRecord, AWalkLeftEarlyIsClosedAsWell) {
  for (const char* name : {"a", "b"}) ASSERT_EQ(0, Make(Named(name)));
  KESTSHAREDB* const walk = KESTShareDBOpen();
  KESTSHARE* slot = nullptr;
  EXPECT_EQ(0, KESTShareDBCursorGet(walk, &slot));
  EXPECT_EQ(0, KESTShareDBClose(walk));
  KESTShareFree(slot);
}

TEST_F(ShareRecord, TheToolTakesRestrictionsForWhatTheyAre) {
  for (const char* restrictions : {"many", "8", "-1", "", "1x", "07"}) {
    EXPECT_EQ(2, Started({kTool, "add", "photo", "/volume1/photo", "restrictions", restrictions}).status)
        << restrictions;
  }
  EXPECT_EQ("", Get("photo").name);
  ASSERT_EQ(0, Started({kTool, "add", "photo", "/volume1/photo", "restrictions", "7"}).status);
  EXPECT_EQ(2, Started({kTool, "set", "photo", "restrictions", "no"}).status);
  EXPECT_EQ(7, Get("photo").ftp);
}

TEST_F(ShareRecord, WithoutADatabaseEverythingFails) {
  ASSERT_EQ(0, Make(Named("photo")));
  std::filesystem::remove(kAccounts);
  for (const char* suffix : {"-wal", "-shm"}) std::filesystem::remove(std::string(kAccounts) + suffix);
  std::ofstream(kAccounts) << "no database at all, but nine hundred bytes of something else" << std::string(900, 'x');
  KESTSHARE* slot = nullptr;
  TextList list;
  EXPECT_NE(0x600, Code(KESTShareGet("photo", &slot)));
  EXPECT_NE(0x600, Code(KESTShareEnum(list.Slot(), KEST_SHARE_ENUM_COUNTED)));
  EXPECT_EQ(nullptr, KESTShareDBOpen());
  EXPECT_NE(0x600, Code(Make(Named("music"))));
  EXPECT_FALSE(std::filesystem::exists("/volume1/music"));
  EXPECT_EQ(0, BlSDKUserIsInList("anna", "@administrators"));
  EXPECT_EQ(960u, std::filesystem::file_size(kAccounts)) << "nothing is overwritten";
}

}  // namespace
