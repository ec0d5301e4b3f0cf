// Encrypted shares: the steps in which a share becomes one, what is on the volume then, and the way back. Needs what
// mounts FUSE.
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstring>
#include <fstream>

#include "access_list_of.h"
#include "share_fixture.h"

namespace fs = std::filesystem;

namespace {

constexpr char kRight[] = "horse battery \"staple\" $(x)";
constexpr char kSecret[] = "what nobody else may read";

class ShareVault : public ShareTest {
 protected:
  void SetUp() override {
    ShareTest::SetUp();
    ASSERT_EQ(0, Make(Named("photo")));
    fs::create_directory("/volume1/photo/deep");
    std::ofstream("/volume1/photo/deep/a") << kSecret;
  }
  void TearDown() override {
    Close();
    fs::remove_all("/usr/kest/etc/share_keys");
    ShareTest::TearDown();
  }

  static int Act(int op, int step, const std::string& passphrase, const char* name = "photo") {
    _tag_KEST_SHARE_ENC_ request = {};
    snprintf(request.name, sizeof(request.name), "%s", name);
    snprintf(request.pass, sizeof(request.pass), "%s", passphrase.c_str());
    request.step = step;
    return KESTShareEncryptionAction(op, &request);
  }
  static int Store(const std::string& passphrase) { return Act(3, KEST_SHARE_ENC_STORE, passphrase); }
  static int Verify(const std::string& passphrase) { return Act(4, KEST_SHARE_ENC_VERIFY, passphrase); }
  static int RemoveKey() { return Act(3, KEST_SHARE_ENC_REMOVE, ""); }
  static int Start(const std::string& passphrase) { return Act(3, KEST_SHARE_ENC_START, passphrase); }

  static int SaveState(int enc) {
    ShareText share = Get("photo");
    share.enc = enc;
    return Set("photo", share);
  }

  /// As a restart of the machine does.
  static void Close(const char* folder = "/volume1/photo") {
    const char* const command[] = {"/usr/bin/fusermount3", "-u", "-q", "--", folder, nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, command[0], nullptr, nullptr, const_cast<char* const*>(command), environ) == 0) {
      waitpid(pid, nullptr, 0);
    }
  }

  static std::string Read(const std::string& path) {
    std::ifstream file(path);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "(missing)";
  }

  /// Whether a text stands in any file below a folder, mounts left out.
  static bool IsAnywhere(const std::string& folder, const std::string& text) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.is_regular_file() && Read(entry.path()).find(text) != std::string::npos) return true;
    }
    return false;
  }
};

TEST_F(ShareVault, AShareIsEncryptedOpenedByItsKeyAndMadeClearAgain) {
  ASSERT_EQ(0, Store(kRight));
  ASSERT_EQ(0, Start(kRight));
  EXPECT_EQ(6, Get("photo").enc) << "encrypted, its key stored, and open";
  EXPECT_EQ(kSecret, Read("/volume1/photo/deep/a"));
  EXPECT_EQ("g:100:rwx", AccessListOf("/volume1/photo"));
  ASSERT_EQ(0, SaveState(6));

  Close();
  EXPECT_EQ(7, Get("photo").enc);
  EXPECT_TRUE(fs::is_empty("/volume1/photo"));
  EXPECT_FALSE(IsAnywhere("/volume1", kSecret)) << "nothing on the volume is in clear";
  EXPECT_FALSE(IsAnywhere("/usr/kest/etc", "staple")) << "neither is the passphrase";
  EXPECT_EQ(0x1600, Code(SaveState(0))) << "nobody can make clear what is closed";

  ASSERT_EQ(0, Start("")) << "with the stored key";
  EXPECT_EQ(kSecret, Read("/volume1/photo/deep/a"));
  std::ofstream("/volume1/photo/new") << "later";
  ASSERT_EQ(0, SaveState(0));
  EXPECT_EQ(0, Get("photo").enc);
  EXPECT_EQ(kSecret, Read("/volume1/photo/deep/a"));
  EXPECT_EQ("later", Read("/volume1/photo/new"));
  EXPECT_TRUE(fs::is_empty("/volume1/@vaults"));
  EXPECT_TRUE(fs::is_empty("/usr/kest/etc/share_keys"));
}

TEST_F(ShareVault, TheKeyIsCheckedStoredAndForgotten) {
  ASSERT_EQ(0, Start(kRight));
  EXPECT_EQ(2, Get("photo").enc) << "nobody has stored a key";
  EXPECT_EQ(0, Verify(kRight));
  EXPECT_EQ(0x2D00, Code(Verify("horse")));
  EXPECT_EQ(0x2D00, Code(Store("horse"))) << "a key that does not fit is not stored";
  EXPECT_EQ(2, Get("photo").enc);
  EXPECT_EQ(0, Store(kRight));
  EXPECT_EQ(6, Get("photo").enc);
  EXPECT_EQ(0, RemoveKey());
  EXPECT_EQ(2, Get("photo").enc);
  Close();
  EXPECT_EQ(0x600, Code(Start(""))) << "there is no key";
  EXPECT_EQ(0x2D00, Code(Start("horse")));
  EXPECT_EQ(3, Get("photo").enc);
  EXPECT_EQ(0, Start(kRight));
  EXPECT_EQ(0, Start(kRight)) << "what is open stays open";
  EXPECT_EQ(kSecret, Read("/volume1/photo/deep/a"));
}

TEST_F(ShareVault, AClosedShareIsRenamedAndLetsNobodyIn) {
  ASSERT_EQ(0, Start(kRight));
  ShareText renamed = Named("pictures");
  renamed.enc = 2;
  EXPECT_EQ(0x1600, Code(Set("photo", renamed))) << "not while it is open";
  EXPECT_EQ("photo", Get("photo").name);
  Close();
  renamed.rw = "anna";
  ASSERT_EQ(0, Set("photo", renamed));
  EXPECT_EQ("none", AccessListOf("/volume1/pictures"));
  ASSERT_EQ(0, Act(3, KEST_SHARE_ENC_START, kRight, "pictures"));
  EXPECT_EQ(kSecret, Read("/volume1/pictures/deep/a"));
  EXPECT_NE("g:100:rwx", AccessListOf("/volume1/pictures")) << "what was changed meanwhile holds now";
  Close("/volume1/pictures");
  renamed.path = "/volume3/pictures";
  EXPECT_EQ(0x3000, Code(Set("pictures", renamed, true))) << "a vault stays on its volume";
}

TEST_F(ShareVault, WhatMakesNoSenseChangesNothing) {
  const std::string state = Get("photo").Fields();
  EXPECT_EQ(0xD00, Code(KESTShareEncryptionAction(3, nullptr)));
  EXPECT_EQ(0xD00, Code(Act(4, KEST_SHARE_ENC_START, kRight)));
  EXPECT_EQ(0xD00, Code(Act(3, KEST_SHARE_ENC_VERIFY, kRight)));
  EXPECT_EQ(0xD00, Code(Act(3, 1, kRight)));
  EXPECT_EQ(0xD00, Code(Act(5, KEST_SHARE_ENC_START, kRight)));
  EXPECT_EQ(0xD00, Code(Verify(kRight))) << "there is nothing to be verified against";
  EXPECT_EQ(0xD00, Code(Start("")));
  EXPECT_EQ(0xD00, Code(Store("")));
  EXPECT_EQ(0xD00, Code(Start("two\nlines")));
  EXPECT_EQ(0x600, Code(Act(3, KEST_SHARE_ENC_START, kRight, "nothing")));
  EXPECT_EQ(0xD00, Code(SaveState(2))) << "a save has no passphrase";
  ShareText born = Named("born");
  born.enc = 2;
  EXPECT_EQ(0xD00, Code(Make(born)));
  EXPECT_EQ(0, RemoveKey()) << "one that is not there is removed already";
  EXPECT_EQ(state, Get("photo").Fields());
  EXPECT_EQ(kSecret, Read("/volume1/photo/deep/a"));
}

TEST_F(ShareVault, WhatRootLocksTheApplianceCanLockToo) {
  constexpr uid_t kAppliance = 33;
  constexpr char kLocks[] = "/usr/kest/etc/shares.lock";
  fs::remove(kLocks);
  ASSERT_EQ(0, chown(kAccounts, kAppliance, kAppliance));
  ASSERT_EQ(0, Make(Named("music")));
  struct stat locks;
  ASSERT_EQ(0, stat(kLocks, &locks));
  EXPECT_EQ(kAppliance, locks.st_uid);
}

}  // namespace
