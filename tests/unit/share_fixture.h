#ifndef TESTS_UNIT_SHARE_FIXTURE_H
#define TESTS_UNIT_SHARE_FIXTURE_H

#include <strings.h>

#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "share.h"
#include "support/mock_kestcgi.h"
#include "support/mock_kestdir.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"

namespace tarvel_test {

/// A share as the platform keeps it; the texts are borrowed from the object.
struct KeptShare {
  explicit KeptShare(const std::string& given_name)
      : name(given_name), desc("description of " + name), path("/volume1/" + name) {
    record.name = name.data();
    record.desc = desc.data();
    record.path = path.data();
    record.na = na.data();
    record.rw = rw.data();
    record.ro = ro.data();
    record.attr = 77;
    record.browseable = 3;
    record.ftp = 5;
    record.enc = 6;
    record.zero1 = 8;
    record.zero2 = 9;
  }
  KeptShare(const KeptShare&) = delete;
  KeptShare& operator=(const KeptShare&) = delete;

  std::string name, desc, path;
  std::string na = "carl,Dora", rw = "bob,anna", ro = "@guests";
  KESTSHARE record = {};
};

/// A platform with shares, whose names compare without regard to case.
class ShareTest : public PlatformTest {
 protected:
  struct GivesBack {
    void operator()(SDK::Share* share) const { SDK::Share::Release(share); }
  };
  using OwnedShare = std::unique_ptr<SDK::Share, GivesBack>;

  ShareTest() {
    EXPECT_CALL(klib(), KLIBUnicodeUTF8StrCaseCmp(::testing::_, ::testing::_))
        .Times(::testing::AnyNumber())
        .WillRepeatedly([](const char* a, const char* b) { return strcasecmp(a, b); });
  }

  /// A record that lives as long as the test.
  KESTSHARE* Record(const std::string& name) {
    shares_.emplace_back(name);
    return &shares_.back().record;
  }

  /// The next look-up of a name finds this record, or nothing, with this result.
  void Finds(const std::string& name, KESTSHARE* record, int result = 0) {
    EXPECT_CALL(dir(), KESTShareGet(::testing::StrEq(name), ::testing::NotNull()))
        .WillOnce([=](const char*, KESTSHARE** slot) {
          if (record != nullptr) *slot = record;
          return result;
        })
        .RetiresOnSaturation();
  }

  /// A share as it is loaded.
  OwnedShare Loaded(KESTSHARE* record) {
    Finds(record->name, record);
    OwnedShare share(SDK::Share::LoadShare(record->name));
    Calls();
    return share;
  }

  /// So many times the settings are opened and the setting asked for: the current value, or the factory's.
  void HasSetting(const char* key, const char* def, const char* value, int times = 1, bool factory = false) {
    using namespace ::testing;
    EXPECT_CALL(cgi(), KestCgiInit(StrEq(""), _)).Times(times).RetiresOnSaturation();
    EXPECT_CALL(cgi(), KestCgiLoadInfo(_)).Times(times).RetiresOnSaturation();
    const auto answer = [value](KESTCGI*, const char*, const char* second) {
      return value != nullptr ? value : second;
    };
    if (factory) {
      EXPECT_CALL(cgi(), KestCgiGetDef(_, StrEq(key), StrEq(def)))
          .Times(times)
          .WillRepeatedly(answer)
          .RetiresOnSaturation();
    } else {
      EXPECT_CALL(cgi(), KestCgiGetInfo(_, StrEq(key), StrEq(def)))
          .Times(times)
          .WillRepeatedly(answer)
          .RetiresOnSaturation();
    }
  }
  void HasUserHomes(const char* value, int times = 1) { HasSetting("userHomeEnable", "", value, times); }

 private:
  std::list<KeptShare> shares_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SHARE_FIXTURE_H
