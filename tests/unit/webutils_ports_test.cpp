// Ports that collide with those of other services.

#include <cerrno>
#include <cstring>
#include <map>
#include <string>

#include "support/mock_kestcgi.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"
#include "webutils.h"

namespace tarvel_test {
namespace {

using ::testing::_;
using ::testing::AnyNumber;
using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::StrEq;

constexpr char kHttpHosts[] = "/usr/kest/etc/httpd-vhost.conf-user";
constexpr char kHttpsHosts[] = "/usr/kest/etc/httpd-ssl-vhost.conf-user";

// A machine whose services have the ports that a test gives them; the others none, far away.
class PortConflictTest : public PlatformTest {
 protected:
  PortConflictTest() {
    EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _)).Times(AnyNumber());
    EXPECT_CALL(cgi(), KestCgiLoadInfo(_)).Times(AnyNumber());
    EXPECT_CALL(cgi(), KestCgiGetInfo(_, _, StrEq("")))
        .Times(AnyNumber())
        .WillRepeatedly([this](KESTCGI*, const char* key, const char* def) {
          keys_ += std::string(key) + " ";
          const auto setting = settings_.find(key);
          return setting != settings_.end() ? setting->second.c_str() : def;
        });
    EXPECT_CALL(klib(), KLIBStrTrimSpace(_, _)).Times(AnyNumber()).WillRepeatedly([](char* in, char*) {
      std::string text = in;
      while (!text.empty() && text.back() == '\n') text.pop_back();
      text.copy(in, text.size());
      in[text.size()] = '\0';
      return 0;
    });
    WriteFile(kHttpHosts, "");
    WriteFile(kHttpsHosts, "");
  }

  void Setting(const char* key, const std::string& value) { settings_[key] = value; }
  void Listens(const char* file, std::initializer_list<int> ports) {
    std::string text;
    for (const int port : ports) text += "Listen " + std::to_string(port) + "\n";
    WriteFile(file, text);
  }
  int Conflict(const char* service, int low, int high) { return WebUtils::IsPortConflict(service, low, high); }
  // The keys that were asked for, in order.
  const std::string& keys() const { return keys_; }
  // Names of the services for which these ports are a conflict.
  std::string ConflictingServices(int low, int high) {
    std::string services;
    for (const char* service : {"adminUI", "ftp", "http", "https", "download", "surveillance", "cfs", "other"}) {
      const int answer = Conflict(service, low, high);
      EXPECT_TRUE(answer == 0 || answer == 1);
      if (answer != 0) services += std::string(service) + " ";
    }
    return services;
  }

 private:
  std::map<std::string, std::string> settings_;
  std::string keys_;
};

TEST_F(PortConflictTest, NoPortIsNoneAndNothingIsRead) {
  EXPECT_EQ(0, Conflict("ftp", 0, 0));
  EXPECT_THAT(Calls(), IsEmpty());
}

struct OwnerRow {
  int line;
  const char* key;
  const char* conflicting;
};

// Each setting as a single port: for whom it is a conflict.
constexpr OwnerRow kOwnerRows[] = {
    {__LINE__, "admin_port", "ftp http https download surveillance cfs other "},
    {__LINE__, "secure_admin_port", "ftp http https download surveillance cfs other "},
    {__LINE__, "ftpport", "adminUI http https download surveillance cfs other "},
    {__LINE__, "ftphighport", "adminUI http https download surveillance cfs other "},
    {__LINE__, "ftplowport", ""},
    {__LINE__, "httpport", "adminUI ftp https download surveillance cfs other "},
    {__LINE__, "download_start_port", ""},
    {__LINE__, "download_end_port", "adminUI ftp http https surveillance cfs other "},
    {__LINE__, "surveillance_low_port", ""},
    {__LINE__, "surveillance_high_port", "adminUI ftp http https download cfs other "},
    {__LINE__, "cfs_httpport", "adminUI ftp http https download surveillance other "},
    {__LINE__, "cfs_httpsport", "adminUI ftp http https download surveillance other "},
    {__LINE__, "FTPPORT", ""},
};

TEST_F(PortConflictTest, EachServiceMayHaveItsOwnPorts) {
  for (const OwnerRow& row : kOwnerRows) {
    SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << row.key);
    Setting(row.key, "2100");
    EXPECT_EQ(row.conflicting, ConflictingServices(2100, 2100));
    EXPECT_EQ(row.conflicting, ConflictingServices(2000, 2100));
    EXPECT_EQ(row.conflicting, ConflictingServices(2050, 2100));
    EXPECT_EQ("", ConflictingServices(2101, 2200));
    // A range without lower end begins at 0 and reaches over every port below.
    const bool ends_a_range = std::strstr(row.key, "high") != nullptr || std::strstr(row.key, "_end_") != nullptr;
    EXPECT_EQ(ends_a_range ? row.conflicting : "", ConflictingServices(2000, 2099));
    Setting(row.key, "0");
  }
}

TEST_F(PortConflictTest, ServicesAreToldByTheirExactNames) {
  Setting("ftpport", "21");
  EXPECT_EQ(0, Conflict("ftp", 21, 21));
  for (const char* service : {"FTP", "ftp ", "", "ft", "http"}) EXPECT_EQ(1, Conflict(service, 21, 21)) << service;
}

struct RangeRow {
  int line;
  const char* first;
  const char* last;
  bool conflict;
};

// Against the new range 55000 to 55100.
constexpr RangeRow kRangeRows[] = {
    {__LINE__, "55050", "55080", true},  {__LINE__, "54000", "56000", true},  {__LINE__, "54000", "55000", true},
    {__LINE__, "55100", "56000", true},  {__LINE__, "55000", "55100", true},  {__LINE__, "54000", "54999", false},
    {__LINE__, "55101", "56000", false}, {__LINE__, "55050", "54000", false}, {__LINE__, "56000", "55050", true},
    {__LINE__, "55050", "60000", true},  {__LINE__, "55101", "55101", false}, {__LINE__, "55101", "55100", true},
    {__LINE__, "55100", "55101", true},  {__LINE__, "", "60000", true},       {__LINE__, "54999", "55101", true},
};

TEST_F(PortConflictTest, ARangeCollidesByItsUpperEndOrByHoldingTheNewOne) {
  const char* const keys[][3] = {{"ftplowport", "ftphighport", "ftp"},
                                 {"download_start_port", "download_end_port", "download"},
                                 {"surveillance_low_port", "surveillance_high_port", "surveillance"}};
  for (const auto& pair : keys) {
    for (const RangeRow& row : kRangeRows) {
      SCOPED_TRACE(::testing::Message() << __FILE__ << ":" << row.line << ": " << pair[2]);
      Setting(pair[0], row.first);
      Setting(pair[1], row.last);
      EXPECT_EQ(row.conflict ? 1 : 0, Conflict("other", 55000, 55100));
      EXPECT_EQ(0, Conflict(pair[2], 55000, 55100));
    }
    Setting(pair[0], "");
    Setting(pair[1], "");
  }
}

TEST_F(PortConflictTest, AMissingSettingIsPortZero) {
  EXPECT_EQ("adminUI ftp http https download surveillance cfs other ", ConflictingServices(0, 100));
  EXPECT_EQ("adminUI ftp http https download surveillance cfs other ", ConflictingServices(-1, 0));
}

TEST_F(PortConflictTest, OfTheVirtualHostsOnlyThePortsThatTheyHaveAreCompared) {
  for (const char* key : {"ftpport", "ftplowport", "ftphighport", "httpport", "download_start_port",
                          "download_end_port", "surveillance_low_port", "surveillance_high_port", "cfs_httpport",
                          "cfs_httpsport", "admin_port", "secure_admin_port"}) {
    Setting(key, "60000");
  }
  EXPECT_EQ("", ConflictingServices(0, 100)) << "a list without ports holds none, not even 0";
  Listens(kHttpHosts, {8080});
  Listens(kHttpsHosts, {8443});
  EXPECT_EQ("", ConflictingServices(0, 100));
  Listens(kHttpsHosts, {8443, 0});
  EXPECT_EQ("adminUI ftp http download surveillance cfs other ", ConflictingServices(0, 100));
}

TEST_F(PortConflictTest, SettingsAreNumbersAsFarAsTheyAreOnes) {
  Setting("httpport", " 80x");
  EXPECT_EQ(1, Conflict("ftp", 80, 80));
  Setting("httpport", "0x50");
  EXPECT_EQ(0, Conflict("ftp", 80, 80));
  Setting("httpport", "99999999999999999999");
  EXPECT_EQ(1, Conflict("ftp", 2147483647, 2147483647));
  Setting("httpport", "4294967376");
  EXPECT_EQ(0, Conflict("ftp", 80, 80));
}

TEST_F(PortConflictTest, ARangeTheWrongWayRoundHoldsNothing) {
  Setting("httpport", "80");
  EXPECT_EQ(0, Conflict("ftp", 90, 70));
  Setting("ftplowport", "60");
  Setting("ftphighport", "70");
  EXPECT_EQ(1, Conflict("other", 90, 70)) << "but a range of another service may hold its upper end";
}

TEST_F(PortConflictTest, PortsOfVirtualHostsCollideExceptWithTheirOwnService) {
  Listens(kHttpHosts, {8080, 8081});
  for (const int port : {8080, 8081}) {
    EXPECT_EQ("adminUI ftp https download surveillance cfs other ", ConflictingServices(port, port));
  }
  EXPECT_EQ("", ConflictingServices(8082, 8090));
  Listens(kHttpHosts, {});
  Listens(kHttpsHosts, {8443, 8444});
  for (const int port : {8443, 8444}) {
    EXPECT_EQ("adminUI ftp http download surveillance cfs other ", ConflictingServices(port, port));
  }
  EXPECT_EQ("", ConflictingServices(8082, 8090));
}

TEST_F(PortConflictTest, TenVirtualHostsArePossibleAndMoreAreAConflict) {
  Listens(kHttpHosts, {1, 2, 3, 4, 5, 6, 7, 8, 9, 8080});
  EXPECT_EQ(1, Conflict("other", 8080, 8080));
  EXPECT_EQ(0, Conflict("other", 8081, 8081));
  Listens(kHttpHosts, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  EXPECT_EQ(1, Conflict("other", 8081, 8081));
  ExpectLogged("vhost:# The number of virtual host port is greater than 10!!");
  ExpectLogged(std::string("webutils:# VHostPortGet() failed!! file[") + kHttpHosts + "]");
  EXPECT_EQ(0, Conflict("http", 8081, 8081));
  Listens(kHttpHosts, {});
  Listens(kHttpsHosts, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  EXPECT_EQ(1, Conflict("http", 8081, 8081));
  ExpectLogged("vhost:# The number of virtual host port is greater than 10!!");
  ExpectLogged(std::string("webutils:# VHostPortGet() failed!! file[") + kHttpsHosts + "]");
  EXPECT_EQ(0, Conflict("https", 8081, 8081));
}

TEST_F(PortConflictTest, ALineThatCannotBeTrimmedIsAConflict) {
  Listens(kHttpHosts, {1});
  EXPECT_CALL(klib(), KLIBStrTrimSpace(_, _)).WillOnce(Return(-1));
  EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(0xD00));
  EXPECT_EQ(1, Conflict("other", 8080, 8080));
  ExpectLoggedForDebugging("vhost:# KLIBStrTrimSpace() failed! szInput[Listen 1\n], errno=[0x0D00]");
  ExpectLogged(std::string("webutils:# VHostPortGet() failed!! file[") + kHttpHosts + "]");
}

TEST_F(PortConflictTest, AnUnreadableHttpFileIsAConflictForEveryServiceButHttpItself) {
  Listens(kHttpHosts, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  for (const char* service : {"adminUI", "ftp", "https", "download", "surveillance", "cfs", "other"}) {
    EXPECT_EQ(1, Conflict(service, 8080, 8080)) << service;
    ExpectLogged("vhost:# The number of virtual host port is greater than 10!!");
    ExpectLogged(std::string("webutils:# VHostPortGet() failed!! file[") + kHttpHosts + "]");
  }
  EXPECT_EQ(0, Conflict("http", 8080, 8080));
  Listens(kHttpsHosts, {8080});
  EXPECT_EQ(1, Conflict("http", 8080, 8080)) << "it goes on to the HTTPS file";
}

TEST_F(PortConflictTest, AnUnreadableHttpsFileIsAConflictForEveryServiceButHttpsItself) {
  Listens(kHttpsHosts, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  for (const char* service : {"adminUI", "ftp", "http", "download", "surveillance", "cfs", "other"}) {
    EXPECT_EQ(1, Conflict(service, 8080, 8080)) << service;
    ExpectLogged("vhost:# The number of virtual host port is greater than 10!!");
    ExpectLogged(std::string("webutils:# VHostPortGet() failed!! file[") + kHttpsHosts + "]");
  }
  EXPECT_EQ(0, Conflict("https", 8080, 8080));
}

TEST_F(PortConflictTest, AnEarlierCheckThatHoldsComesBeforeAnUnreadableFile) {
  Listens(kHttpHosts, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  for (const char* key : {"admin_port", "secure_admin_port", "ftpport", "ftphighport", "httpport"}) {
    Setting(key, "8080");
    EXPECT_EQ(1, Conflict("other", 8080, 8080)) << key;
    Setting(key, "0");
  }
}

TEST_F(PortConflictTest, AFileThatCannotBeOpenedHasNoPorts) {
  machine().FailNext("fopen", EACCES);
  machine().FailNext("fopen", EACCES);
  EXPECT_EQ(0, Conflict("other", 8080, 8080));
  ExpectLogged(std::string("vhost:# Fail to open [") + kHttpHosts + "] file. errno=13/Permission denied");
  ExpectLogged(std::string("vhost:# Fail to open [") + kHttpsHosts + "] file. errno=13/Permission denied");
}

TEST_F(PortConflictTest, PortsOfTheFirstFileAreForgottenBeforeTheSecond) {
  Listens(kHttpHosts, {8080});
  Listens(kHttpsHosts, {9090});
  EXPECT_EQ(0, Conflict("http", 8080, 8080));
  EXPECT_EQ(1, Conflict("https", 8080, 8080));
}

TEST_F(PortConflictTest, WithoutMemoryItIsAConflict) {
  machine().FailNext("malloc", ENOMEM);
  EXPECT_EQ(1, Conflict("other", 8080, 8080));
  ExpectLogged("webutils:# out of memory!!");
}

TEST_F(PortConflictTest, SettingsAreReadInOrderAndEverythingIsGivenBack) {
  Setting("admin_port", "8080");
  EXPECT_EQ(1, Conflict("other", 8080, 8080));
  const auto calls = Calls();
  ASSERT_EQ(17U, calls.size());
  EXPECT_EQ("KestCgiInit", calls[0]);
  EXPECT_EQ("KestCgiLoadInfo", calls[1]);
  EXPECT_EQ(
      "ftpport ftplowport ftphighport httpport download_start_port download_end_port surveillance_low_port "
      "surveillance_high_port cfs_httpport cfs_httpsport admin_port secure_admin_port ",
      keys());
  EXPECT_EQ("KestCgiGetInfo", calls[13]);
  EXPECT_EQ("malloc 40", calls[14]);
  EXPECT_EQ("free", calls[15]);
  EXPECT_EQ("KestCgiFree", calls[16]);
}

TEST_F(PortConflictTest, FilesAreReadOnlyWhenTheChecksReachThem) {
  const auto opened = [this](const char* service) {
    Conflict(service, 8080, 8080);
    std::string files;
    for (const std::string& call : Calls()) {
      if (call.find("fopen ") == 0) files += call.find("ssl") != std::string::npos ? "https " : "http ";
    }
    return files;
  };
  EXPECT_EQ("http https ", opened("other"));
  EXPECT_EQ("https ", opened("http"));
  EXPECT_EQ("http ", opened("https"));
  Setting("ftpport", "8080");
  EXPECT_EQ("", opened("other"));
  Setting("ftpport", "0");
  Listens(kHttpHosts, {8080});
  EXPECT_EQ("http ", opened("other"));
}

}  // namespace
}  // namespace tarvel_test
