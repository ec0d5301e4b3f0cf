// The folders of shares: where they are, what becomes of them, and whom the kernel lets in.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "access_list_of.h"
#include "share_fixture.h"

namespace fs = std::filesystem;

namespace {

class ShareFolder : public ShareTest {
 protected:
  void TearDown() override {
    for (const std::string& name : Entries("/volume3")) fs::remove_all("/volume3/" + name);
    fs::remove("/volume1/homes/somebody");
    ShareTest::TearDown();
  }

  static void Write(const std::string& path, const std::string& text = "content") { std::ofstream(path) << text; }
  static std::string Read(const std::string& path) {
    std::ifstream file(path);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(missing)";
  }

  static ShareText At(const std::string& name, const std::string& path) {
    ShareText share = Named(name);
    share.path = path;
    return share;
  }

  /// The number of an account, as an entry of an access list begins.
  static std::string User(const char* name) {
    KESTUSER* slot = nullptr;
    EXPECT_EQ(0, KESTUserGet(name, &slot));
    const std::string text = "u:" + std::to_string(slot->uid) + ":";
    KESTUserFree(slot);
    return text;
  }
};

TEST_F(ShareFolder, IsMadeWithTheShare) {
  ASSERT_EQ(0, Make(Named("photo")));
  struct stat folder;
  ASSERT_EQ(0, stat("/volume1/photo", &folder));
  EXPECT_TRUE(S_ISDIR(folder.st_mode));
  EXPECT_EQ(geteuid(), folder.st_uid);
  EXPECT_EQ(0u, folder.st_mode & 07u) << "nobody but those in the lists";
}

TEST_F(ShareFolder, OneThatIsThereIsTakenAsItIs) {
  fs::create_directory("/volume1/photo");
  Write("/volume1/photo/a");
  ASSERT_EQ(0, Make(Named("photo")));
  EXPECT_EQ("content", Read("/volume1/photo/a"));
  EXPECT_EQ("g:100:rw-", AccessListOf("/volume1/photo/a")) << "what is in it is let in to as well";
}

TEST_F(ShareFolder, PathsOutsideOfAVolumeAreRefused) {
  for (const char* path : {"", "photo", "/", "/volume1", "/volume1/", "/volume1/photo/", "/volume1//photo",
                           "/volume1/../etc", "/volume1/a/../photo", "/volume1/./photo", "/volume1/.", "/etc/photo",
                           "/volume1x/photo", "/volume1/@tmp", "/volume1/@tmp/photo", "/volume1/@photo",
                           "/volume1/lost+found", "/volume1/pho\nto", "/volumeUSB1/usbshare/../x"}) {
    EXPECT_EQ(0xD00, Code(Make(At("photo", path)))) << path;
  }
  EXPECT_EQ(0xD00, Code(Make(At("photo", "/volume1/" + std::string(4090, 'x')))));
  EXPECT_EQ(0x600, Code(Make(At("photo", "/volume7/photo")))) << "a volume that is not mounted";
  EXPECT_EQ(0x600, Code(Make(At("photo", "/volume1/missing/photo")))) << "only the last folder is made";
  EXPECT_EQ(Strings{}, Names());
}

TEST_F(ShareFolder, LinksAreNotFollowed) {
  fs::create_directory_symlink("/etc", "/volume1/link");
  EXPECT_EQ(0x600, Code(Make(At("photo", "/volume1/link"))));
  EXPECT_EQ(0x600, Code(Make(At("photo", "/volume1/link/photo"))));
  Write("/volume1/file");
  EXPECT_EQ(0x600, Code(Make(At("photo", "/volume1/file"))));
  EXPECT_FALSE(fs::exists("/etc/photo"));
  EXPECT_EQ(Strings{}, Names());
}

TEST_F(ShareFolder, AFolderBelongsToOneShare) {
  ASSERT_EQ(0, Make(Named("photo")));
  fs::create_directory("/volume1/photo/sub");
  EXPECT_EQ(0x700, Code(Make(At("other", "/volume1/photo"))));
  EXPECT_EQ(0x700, Code(Make(At("inner", "/volume1/photo/sub"))));
  fs::create_directory("/volume1/outer");
  ASSERT_EQ(0, Make(At("deep", "/volume1/outer/deep")));
  EXPECT_EQ(0x700, Code(Make(At("outer", "/volume1/outer"))));
  EXPECT_EQ(0, Make(At("photo2", "/volume1/photo2"))) << "a name that begins alike is another folder";
}

TEST_F(ShareFolder, AVolumeThatCannotBeWrittenSaysSo) {
  EXPECT_EQ(0x300, Code(Make(At("photo", "/volumeUSB2/photo"))));
  EXPECT_EQ(Strings{}, Names());
}

TEST_F(ShareFolder, ARenameTakesTheFolderAlong) {
  ASSERT_EQ(0, Make(Named("photo")));
  Write("/volume1/photo/a");
  ASSERT_EQ(0, Set("photo", Named("pictures")));
  EXPECT_EQ("content", Read("/volume1/pictures/a"));
  EXPECT_FALSE(fs::exists("/volume1/photo"));
  EXPECT_EQ("", Get("photo").name);
  EXPECT_EQ("/volume1/pictures", Get("pictures").path);
  EXPECT_EQ(0x600, Code(Set("photo", Named("again"))));
}

TEST_F(ShareFolder, OnlyTheCaseOfANameMayChange) {
  ASSERT_EQ(0, Make(Named("photo")));
  Write("/volume1/photo/a");
  ASSERT_EQ(0, Set("PHOTO", Named("Photo")));
  EXPECT_EQ("content", Read("/volume1/Photo/a"));
  EXPECT_EQ(Strings{"Photo"}, Names());
}

TEST_F(ShareFolder, ANameOrAPlaceThatIsTakenChangesNothing) {
  ASSERT_EQ(0, Make(Named("photo")));
  ASSERT_EQ(0, Make(Named("music")));
  Write("/volume1/photo/a");
  EXPECT_EQ(0x700, Code(Set("photo", Named("Music"))));
  fs::create_directory("/volume1/free");
  Write("/volume1/free/b");
  EXPECT_EQ(0x700, Code(Set("photo", Named("free"))));
  EXPECT_EQ("content", Read("/volume1/photo/a"));
  EXPECT_EQ("content", Read("/volume1/free/b"));
  EXPECT_EQ((Strings{"music", "photo"}), Names());
}

TEST_F(ShareFolder, IsMovedToAnotherVolumeWhole) {
  ASSERT_EQ(0, Make(Named("photo")));
  fs::create_directories("/volume1/photo/deep/er");
  Write("/volume1/photo/deep/er/a");
  fs::create_symlink("../a", "/volume1/photo/deep/link");
  chmod("/volume1/photo/deep/er/a", 0750);
  ASSERT_EQ(0, Set("photo", At("photo", "/volume3/photo"), true));
  EXPECT_EQ("content", Read("/volume3/photo/deep/er/a"));
  EXPECT_EQ("../a", fs::read_symlink("/volume3/photo/deep/link"));
  EXPECT_EQ("g:100:rwx", AccessListOf("/volume3/photo"));
  EXPECT_EQ("g:100:rwx", AccessListOf("/volume3/photo", "default"));
  EXPECT_FALSE(fs::exists("/volume1/photo"));
  EXPECT_EQ(Strings{"photo"}, Entries("/volume3")) << "nothing of the way is left";
  EXPECT_EQ("/volume3/photo", Get("photo").path);
}

TEST_F(ShareFolder, AMoveForWhichThereIsNoRoomChangesNothing) {
  ASSERT_EQ(0, Make(Named("photo")));
  Write("/volume1/photo/a", std::string(2 << 20, 'x'));
  EXPECT_EQ(0x2900, Code(Set("photo", At("pictures", "/volume3/pictures"), true)));
  EXPECT_EQ(2u << 20, fs::file_size("/volume1/photo/a"));
  EXPECT_EQ(Strings{}, Entries("/volume3"));
  EXPECT_EQ("/volume1/photo", Get("photo").path);
  ASSERT_EQ(0, Set("photo", Named("pictures"))) << "and nothing stands in the way of the next change";
}

TEST_F(ShareFolder, WithoutInstructionsToMoveAShareGetsAnotherFolder) {
  ASSERT_EQ(0, Make(Named("photo")));
  Write("/volume1/photo/a");
  ASSERT_EQ(0, Set("photo", At("photo", "/volume3/photo")));
  EXPECT_EQ("content", Read("/volume1/photo/a"));
  EXPECT_TRUE(fs::is_empty("/volume3/photo"));
}

TEST_F(ShareFolder, AChangeOfTheDescriptionAloneNeedsNoVolume) {
  ASSERT_EQ(0, Make(Named("photo")));
  fs::remove("/volume1/photo");
  ShareText share = Named("photo");
  share.desc = "away";
  ASSERT_EQ(0, Set("photo", share));
  EXPECT_EQ("away", Get("photo").desc);
  share.ro = "anna";
  EXPECT_EQ(0x600, Code(Set("photo", share))) << "who is let in is a matter of the folder";
  EXPECT_EQ("", Get("photo").ro);
}

TEST_F(ShareFolder, ADiskIsPublishedWhetherItsShareWasThereOrNot) {
  const ShareText disk = At("usbshare3", "/volume3/usbshare3");
  ASSERT_EQ(0, Set("usbshare3", disk));
  ASSERT_EQ(0, Set("usbshare3", disk));
  EXPECT_EQ("usbshare3", Get("usbshare3").name);
}

TEST_F(ShareFolder, WhereNothingCanBeMountedEncryptingChangesNothing) {
  if (access("/dev/fuse", R_OK | W_OK) == 0) GTEST_SKIP() << "there is FUSE";
  ASSERT_EQ(0, Make(Named("photo")));
  Write("/volume1/photo/a");
  _tag_KEST_SHARE_ENC_ request = {};
  snprintf(request.name, sizeof(request.name), "photo");
  snprintf(request.pass, sizeof(request.pass), "horse battery");
  request.step = KEST_SHARE_ENC_START;
  EXPECT_EQ(0x3000, Code(KESTShareEncryptionAction(3, &request)));
  EXPECT_EQ(0, Get("photo").enc);
  EXPECT_EQ("content", Read("/volume1/photo/a"));
  EXPECT_TRUE(!fs::exists("/volume1/@vaults") || fs::is_empty("/volume1/@vaults")) << "no vault is left";
  EXPECT_EQ(0, Set("photo", Named("pictures"))) << "and nothing stands in the way";
}

TEST_F(ShareFolder, TheListsAreTheKernels) {
  ShareText share = Named("photo");
  share.rw = "anna";
  share.ro = "bernd,@users";
  ASSERT_EQ(0, Make(share));
  EXPECT_EQ(User("anna") + "rwx " + User("bernd") + "r-x g:100:r-x", AccessListOf("/volume1/photo"));
  EXPECT_EQ(AccessListOf("/volume1/photo"), AccessListOf("/volume1/photo", "default"));
  fs::create_directory("/volume1/photo/new");
  EXPECT_EQ(AccessListOf("/volume1/photo"), AccessListOf("/volume1/photo/new")) << "what is made in it inherits it";
}

TEST_F(ShareFolder, NoAccessComesFirstThenWriting) {
  struct Row {
    const char *na, *rw, *ro;
    std::string entries;
  };
  const std::string anna = User("anna"), admin = User("admin");
  const Row rows[] = {
      {"anna", "anna,@users", "", anna + "--- g:100:rwx"},
      {"anna", "anna", "", anna + "---"},
      {"@administrators", "@users", "", admin + "--- g:100:rwx"},
      {"@administrators", "anna", "", anna + "rwx"},
      {"@administrators", "admin", "", admin + "---"},
      {"", "anna", "anna", anna + "rwx"},
      {"", "@administrators", "admin", admin + "rwx g:101:rwx"},
      {"", "@users", "@users", "g:100:rwx"},
      {"", "", "@administrators,@users", "g:100:r-x g:101:r-x"},
      {"@users", "anna,@administrators", "@users", ""},
      {"", "", "", ""},
  };
  ASSERT_EQ(0, Make(Named("photo")));
  for (const Row& row : rows) {
    ShareText share = Named("photo");
    share.na = row.na;
    share.rw = row.rw;
    share.ro = row.ro;
    ASSERT_EQ(0, Set("photo", share));
    EXPECT_EQ(row.entries, AccessListOf("/volume1/photo")) << row.na << " | " << row.rw << " | " << row.ro;
  }
}

TEST_F(ShareFolder, ANewListReachesWhatIsThereAlready) {
  ASSERT_EQ(0, Make(Named("photo")));
  fs::create_directory("/volume1/photo/deep");
  Write("/volume1/photo/deep/a");
  Write("/volume1/outside");
  fs::create_symlink("/volume1/outside", "/volume1/photo/link");
  ShareText share = Named("photo");
  share.rw = "";
  share.ro = "bernd";
  ASSERT_EQ(0, Set("photo", share));
  EXPECT_EQ(User("bernd") + "r-x", AccessListOf("/volume1/photo/deep"));
  EXPECT_EQ(User("bernd") + "r--", AccessListOf("/volume1/photo/deep/a"));
  EXPECT_EQ("none", AccessListOf("/volume1/outside")) << "links are not followed";
}

TEST_F(ShareFolder, WhoJoinsAGroupThatIsShutOutIsShutOutAtOnce) {
  ASSERT_EQ(0, Account({"groupadd", "team"}));
  ShareText share = Named("photo");
  share.na = "@team";
  ASSERT_EQ(0, Make(share));
  Write("/volume1/photo/a");
  const std::string anna = User("anna");
  char name[] = "team", member[] = "anna";
  char* members[] = {member, nullptr};
  KESTGROUP group = {name, -1, members, 0, 0};
  ASSERT_EQ(0, KESTGroupSet("team", &group));
  EXPECT_EQ(anna + "--- g:100:rwx", AccessListOf("/volume1/photo"));
  EXPECT_EQ(anna + "--- g:100:rw-", AccessListOf("/volume1/photo/a"));
  members[0] = nullptr;
  ASSERT_EQ(0, KESTGroupSet("team", &group));
  EXPECT_EQ("g:100:rwx", AccessListOf("/volume1/photo"));
  EXPECT_EQ("g:100:rw-", AccessListOf("/volume1/photo/a"));
}

TEST_F(ShareFolder, AChangeByTheToolReachesTheFoldersAsWell) {
  const std::string anna = User("anna"), admin = User("admin");
  const std::string open = "g:100:rwx", but_anna = anna + "--- g:100:rwx";
  ASSERT_EQ(0, Account({"groupadd", "team"}));
  ShareText share = Named("photo");
  share.na = "@team";
  ASSERT_EQ(0, Make(share));
  Write("/volume1/photo/a");
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {{{"join", "anna", "team"}, but_anna},
                                                                              {{"leave", "anna", "team"}, open},
                                                                              {{"join", "anna", "team"}, but_anna},
                                                                              {{"groupdel", "team"}, open}};
  for (const auto& [words, entries] : rows) {
    ASSERT_EQ(0, Account(words));
    EXPECT_EQ(entries, AccessListOf("/volume1/photo")) << words[0];
    EXPECT_EQ(entries, AccessListOf("/volume1/photo", "default")) << words[0];
    EXPECT_EQ(entries == open ? "g:100:rw-" : anna + "--- g:100:rw-", AccessListOf("/volume1/photo/a")) << words[0];
  }
  share.na = "@administrators";
  ASSERT_EQ(0, Set("photo", share));
  ASSERT_EQ(0, Account({"admin", "anna", "on"}));
  EXPECT_EQ(admin + "--- " + anna + "--- g:100:rwx", AccessListOf("/volume1/photo"));
  ASSERT_EQ(0, Account({"admin", "anna", "off"}));
  EXPECT_EQ(admin + "--- g:100:rwx", AccessListOf("/volume1/photo"));
  ASSERT_EQ(0, Account({"add", "dora", "admin"}, "pw"));
  EXPECT_EQ(admin + "--- " + User("dora") + "--- g:100:rwx", AccessListOf("/volume1/photo"));
}

TEST_F(ShareFolder, HomesArePassedThroughByEverybody) {
  ShareText homes = Named("homes");
  homes.rw = "anna";
  ASSERT_EQ(0, Make(homes));
  struct stat folder;
  ASSERT_EQ(0, stat("/volume1/homes", &folder));
  EXPECT_EQ(01u, folder.st_mode & 07u);
  EXPECT_EQ(User("anna") + "r-x", AccessListOf("/volume1/homes"));
  EXPECT_EQ("", AccessListOf("/volume1/homes", "default")) << "a home is its account's alone";
  ASSERT_EQ(0, mkdir("/volume1/homes/somebody", 0755));
  ASSERT_EQ(0, stat("/volume1/homes/somebody", &folder));
  EXPECT_EQ(0u, folder.st_mode & 07u);
}

TEST_F(ShareFolder, AFolderThatHoldsHomesNoMoreIsLetIntoAsOthersAre) {
  ShareText homes = At("homes", "/volume1/houses"), family = At("family", "/volume1/houses");
  ASSERT_EQ(0, Make(homes));
  EXPECT_EQ("g:100:r-x", AccessListOf("/volume1/houses"));
  ASSERT_EQ(0, Set("homes", family));
  EXPECT_EQ("g:100:rwx", AccessListOf("/volume1/houses"));
  EXPECT_EQ("g:100:rwx", AccessListOf("/volume1/houses", "default"));
  ASSERT_EQ(0, Set("family", homes));
  EXPECT_EQ("g:100:r-x", AccessListOf("/volume1/houses"));
  EXPECT_EQ("", AccessListOf("/volume1/houses", "default"));
}

}  // namespace
