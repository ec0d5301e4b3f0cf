// Whose ids are taken on, with the session and the directory answering as no real ones do.
#include <gtest/gtest.h>
#include <strings.h>

#include <string>
#include <vector>

#include "fake_directory.h"
#include "host/identity/capabilities.h"
#include "host/identity/kernel_identity.h"
#include "host/identity/one_id.h"
#include "host/session/judge_session.h"
#include "host/session/session_settings.h"
#include "platform/kestcgi.h"
#include "platform/klib.h"

namespace {

constexpr char kSid[] = "0123456789abcdef0123456789abcdef";
std::vector<std::string> calls;
int session_uid = 0;
bool group_can_be_taken = true, has_group = true;

class SessionIdentityHost : public ::testing::Test {
 protected:
  // A process asks for the group of an account once, so each test has another one.
  void SetUp() override {
    static int next = 1026;
    TheDirectory() = FakeDirectory();
    TheDirectory().uid = session_uid = ++next;
    calls.clear();
    group_can_be_taken = has_group = true;
    KLIBErrSet(0);
  }

  static void IsDenied(int (*call)(const char*, const char*)) {
    EXPECT_EQ(-1, call(kSid, "anna"));
    EXPECT_EQ(0x300, KLIBErrGet());
    KLIBErrSet(0);
  }
};

TEST_F(SessionIdentityHost, RootsIdsAreNobodys) {
  TheDirectory().gid = 0;
  IsDenied(KestCgiGIDGet);
  IsDenied(KestCgiGidSet);
  IsDenied(KestCgiUidSet);
  TheDirectory().gid = 100;
  TheDirectory().uid = session_uid = 0;
  IsDenied(KestCgiUidSet);
  EXPECT_TRUE(calls.empty());
}

TEST_F(SessionIdentityHost, TheIdsAreTakenOnGroupFirst) {
  EXPECT_EQ(100, KestCgiGIDGet(kSid, "anna"));
  EXPECT_EQ(100, KestCgiGidSet(kSid, "anna"));
  EXPECT_EQ(100, KestCgiUidSet(kSid, "anna"));
  const std::vector<std::string> wanted = {"group 100", "groups of anna", "user " + std::to_string(session_uid)};
  EXPECT_EQ(wanted, calls);
}

TEST_F(SessionIdentityHost, ADirectoryThatFailsIsAFailure) {
  TheDirectory().broken = true;
  EXPECT_EQ(-1, KestCgiGIDGet(kSid, "anna"));
  EXPECT_EQ(0x600, KLIBErrGet());
  EXPECT_TRUE(calls.empty());
}

TEST_F(SessionIdentityHost, AGroupThatCannotBeTakenIsAFailure) {
  group_can_be_taken = false;
  IsDenied(KestCgiGidSet);
  has_group = false;
  IsDenied(KestCgiUidSet);
  EXPECT_EQ(std::vector<std::string>{"group 100"}, calls);
}

}  // namespace

namespace kest {

bool IsSessionId(const char* text) { return text != nullptr && *text != '\0'; }
int SessionTimeoutSeconds() { return 900; }
int JudgeSession(const char*, int, Session* session) {
  session->uid = session_uid;
  strcpy(session->user, "anna");
  return kSessionStands;
}

bool EverybodyHasOneId() { return false; }
bool KeepOnlyGroupsOf(const char* user, gid_t) {
  calls.push_back(std::string("groups of ") + user);
  return true;
}
bool TakeGroup(gid_t gid) {
  calls.push_back("group " + std::to_string(gid));
  return group_can_be_taken;
}
bool HasGroup(gid_t) { return has_group; }
bool TakeUser(uid_t uid) {
  calls.push_back("user " + std::to_string(uid));
  return true;
}
void DropCapabilities() {}

}  // namespace kest

int KLIBUnicodeUTF8StrCaseCmp(const char* a, const char* b) { return strcasecmp(a, b); }
