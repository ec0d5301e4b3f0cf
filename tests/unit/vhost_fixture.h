#ifndef TESTS_UNIT_VHOST_FIXTURE_H
#define TESTS_UNIT_VHOST_FIXTURE_H

#include <string>
#include <vector>

#include "support/mock_klib.h"
#include "support/platform_test.h"
#include "support/text_list.h"
#include "vhost.h"

namespace tarvel_test {

/// The two files of virtual hosts.
class VHostTest : public PlatformTest {
 protected:
  static constexpr char kHttpFile[] = "/usr/kest/etc/httpd-vhost.conf-user";
  static constexpr char kHttpsFile[] = "/usr/kest/etc/httpd-ssl-vhost.conf-user";

  /// Lines are trimmed as the platform promises it, in place; so many times, or as often as need be.
  void TrimsLines(::testing::Cardinality times = ::testing::AnyNumber()) {
    using namespace ::testing;
    EXPECT_CALL(klib(), KLIBStrTrimSpace(NotNull(), IsNull())).Times(times).WillRepeatedly([](char* text, char*) {
      TrimInPlace(text);
      return 0;
    });
  }

  /// So many lines are trimmed, then the platform fails once with this error code.
  void TrimsLinesAndFails(int lines, int code) {
    using namespace ::testing;
    EXPECT_CALL(klib(), KLIBStrTrimSpace(NotNull(), IsNull())).WillOnce(Return(-1)).RetiresOnSaturation();
    if (lines > 0) {
      EXPECT_CALL(klib(), KLIBStrTrimSpace(NotNull(), IsNull()))
          .Times(lines)
          .WillRepeatedly([](char* text, char*) {
            TrimInPlace(text);
            return 0;
          })
          .RetiresOnSaturation();
    }
    EXPECT_CALL(klib(), KLIBErrGet()).WillOnce(Return(code));
  }

  /// The calls but those that trim a line.
  std::vector<std::string> CallsButTrimming() {
    std::vector<std::string> calls;
    for (const std::string& call : Calls()) {
      if (call != "KLIBStrTrimSpace") calls.push_back(call);
    }
    return calls;
  }
};

/// One host as a list of hosts holds it.
inline Json::Value HostOf(int type, int port, const std::string& host, const std::string& folder) {
  Json::Value item;
  item["vhosttype"] = type;
  item["port"] = port;
  item["host"] = host;
  item["folder"] = folder;
  return item;
}

}  // namespace tarvel_test

#endif  // TESTS_UNIT_VHOST_FIXTURE_H
