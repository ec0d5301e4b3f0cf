#include "host/network/samba_membership.h"

#include <sys/stat.h>

#include "folder.h"
#include "host/klib/error_code.h"
#include "platform/klib.h"

namespace kest {
namespace {

// As Samba 4.17 prints them among some hundred others.
std::string Printed(const std::string& workgroup, const std::string& realm, const std::string& security,
                    const std::string& role = "auto") {
  return "# Global parameters\n[global]\n\tabort shutdown script = \n\trealm = " + realm +
         "\n\tsecurity = " + security + "\n\tserver role = " + role + "\n\tworkgroup = " + workgroup +
         "\n\tidmap config * : backend = tdb\n";
}

TEST(SambaMembershipTest, TheKindOfDomainFollowsFromSecurityAndRole) {
  const struct {
    const char* security;
    const char* role;
    DomainKind kind;
  } rows[] = {
      {"ADS", "auto", DomainKind::kActiveDirectory},
      {"ADS", "member server", DomainKind::kActiveDirectory},
      {"AUTO", "member server", DomainKind::kActiveDirectory},
      {"DOMAIN", "auto", DomainKind::kWindowsNt},
      {"DOMAIN", "member server", DomainKind::kWindowsNt},
      {"USER", "auto", DomainKind::kNone},
      {"AUTO", "auto", DomainKind::kNone},
      {"AUTO", "standalone server", DomainKind::kNone},
      {"AUTO", "active directory domain controller", DomainKind::kNone},
  };
  for (const auto& row : rows) {
    Membership found;
    ASSERT_TRUE(ParseMembership(Printed("EXAMPLE", "", row.security, row.role), &found));
    EXPECT_EQ(row.kind, found.kind) << row.security << ", " << row.role;
  }
}

TEST(SambaMembershipTest, NamesComeWithoutTheirQuotes) {
  Membership found;
  ASSERT_TRUE(ParseMembership(Printed("\"EXAMPLE\"", "EXAMPLE.ORG", "ADS"), &found));
  EXPECT_EQ("EXAMPLE", found.workgroup);
  EXPECT_EQ("EXAMPLE.ORG", found.realm);
}

TEST(SambaMembershipTest, WhatIsNoConfigurationLeavesTheRecord) {
  Membership found = {"as before", "", DomainKind::kNone};
  for (const char* printed :
       {"", "\n", "garbage", "workgroup = X\n", "security = ADS\n", "workgroup = \nsecurity = ADS\n"}) {
    EXPECT_FALSE(ParseMembership(printed, &found)) << printed;
  }
  EXPECT_EQ("as before", found.workgroup);
}

class SambaProgramsTest : public testing::Test {
 protected:
  // A program in the place of Samba's: notes its arguments, prints and ends.
  std::string Install(const std::string& name, const std::string& prints, int status) {
    folder_.Put(name + ".out", prints);
    folder_.Put(name, "#!/bin/sh\necho \"$@\" >>'" + folder_.File(name + ".called") + "'\ncat '" +
                          folder_.File(name + ".out") + "'\nexit " + std::to_string(status) + "\n");
    chmod(folder_.File(name).c_str(), 0755);
    return folder_.File(name);
  }
  int Read(const std::string& printed, int status) {
    const std::string testparm = Install("testparm", printed, status);
    const std::string configuration = folder_.Put("smb.conf", "");
    KLIBErrSet(0);
    return ReadMembership({testparm.c_str(), "", configuration.c_str()}, &found_);
  }
  int Join(DomainKind kind, int status) {
    const std::string net = Install("net", "", status);
    return TestJoin({"", net.c_str(), ""}, kind);
  }

  const Folder folder_;
  Membership found_ = {"as before", "", DomainKind::kNone};
};

TEST_F(SambaProgramsTest, TheConfigurationIsReadBySambaItself) {
  ASSERT_EQ(0, Read(Printed("EXAMPLE", "EXAMPLE.ORG", "ADS"), 0));
  EXPECT_EQ("EXAMPLE", found_.workgroup);
  EXPECT_EQ("-s -v --section-name=global " + folder_.File("smb.conf") + "\n", Content(folder_.File("testparm.called")));
}

TEST_F(SambaProgramsTest, AWarningIsNoFailure) {
  EXPECT_EQ(0, Read(Printed("OLD", "", "AUTO", "member server"), 1));
  EXPECT_EQ("OLD", found_.workgroup);
}

TEST_F(SambaProgramsTest, AConfigurationThatSambaRefusesIsAFailure) {
  EXPECT_GT(0, Read("", 1));
  EXPECT_EQ(kErrorSystem, KLIBErrGet());
  EXPECT_EQ("as before", found_.workgroup);
}

TEST_F(SambaProgramsTest, EndlessOutputIsAFailure) {
  EXPECT_GT(0, Read(Printed("EXAMPLE", "", "ADS") + std::string(1024 * 1024, '\n'), 0));
  EXPECT_EQ("as before", found_.workgroup);
}

TEST_F(SambaProgramsTest, WithoutSambaThereIsNoDomain) {
  const std::string configuration = folder_.Put("smb.conf", ""), missing = folder_.File("missing");
  EXPECT_GT(0, ReadMembership({missing.c_str(), "", configuration.c_str()}, &found_));
  EXPECT_EQ(kErrorNoSuchObject, KLIBErrGet());
  KLIBErrSet(0);
  const std::string testparm = Install("testparm", Printed("EXAMPLE", "", "ADS"), 0);
  EXPECT_GT(0, ReadMembership({testparm.c_str(), "", missing.c_str()}, &found_)) << "without its configuration";
  EXPECT_EQ(kErrorNoSuchObject, KLIBErrGet());
  EXPECT_GT(0, TestJoin({"", missing.c_str(), ""}, DomainKind::kActiveDirectory));
  EXPECT_EQ("as before", found_.workgroup);
}

TEST_F(SambaProgramsTest, TheDomainIsAskedInItsOwnProtocol) {
  EXPECT_EQ(0, Join(DomainKind::kActiveDirectory, 0));
  EXPECT_EQ(0, Join(DomainKind::kWindowsNt, 0));
  EXPECT_EQ(1, Join(DomainKind::kActiveDirectory, 255));
  EXPECT_EQ("ads testjoin\nrpc testjoin\nads testjoin\n", Content(folder_.File("net.called")));
}

TEST_F(SambaProgramsTest, WhereTheSettingsNameNoDomainNobodyIsAsked) {
  for (const int kind : {0, 3, -1}) EXPECT_GT(0, Join(static_cast<DomainKind>(kind), 0)) << kind;
  EXPECT_EQ("", Content(folder_.File("net.called")));
}

}  // namespace
}  // namespace kest
