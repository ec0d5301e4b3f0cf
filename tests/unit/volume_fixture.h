#ifndef TESTS_UNIT_VOLUME_FIXTURE_H
#define TESTS_UNIT_VOLUME_FIXTURE_H

#include <cstdio>
#include <cstring>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "support/mock_kestcgi.h"
#include "support/mock_keststorage.h"
#include "support/platform_test.h"
#include "volume.h"

namespace tarvel_test {

/// One volume of a mounted list, writable unless said otherwise.
inline KESTMOUNTVOL Mounted(int number, _tag_vol_location_ location, const std::string& path, uint64_t free_bytes = 0,
                            uint64_t total_bytes = 0) {
  KESTMOUNTVOL volume = {};
  volume.number = number;
  volume.location = location;
  volume.mounted = 1;
  std::snprintf(volume.path, sizeof volume.path, "%s", path.c_str());
  volume.writable = 1;
  volume.freeBytes = free_bytes;
  volume.totalBytes = total_bytes;
  return volume;
}

inline KESTMOUNTVOL Internal(int number) {
  return Mounted(number, KEST_VOL_INTERNAL, "/volume" + std::to_string(number));
}
inline KESTMOUNTVOL Expansion(int number) {
  return Mounted(number, KEST_VOL_EXPANSION, "/volumeX" + std::to_string(number));
}
inline KESTMOUNTVOL Usb(int number) {
  return Mounted(number, KEST_VOL_USB, "/volumeUSB" + std::to_string(number) + "/usbshare");
}
inline KESTMOUNTVOL Sata() { return Mounted(0, KEST_VOL_SATA, "/volumeSATA/satashare"); }

inline KESTMOUNTVOL ReadOnly(KESTMOUNTVOL volume) {
  volume.writable = 0;
  return volume;
}

/// A machine with volumes, services and texts.
class VolumeTest : public PlatformTest {
 protected:
  /// The platform's list, which the next Volume gets.
  void HasVolumes(std::initializer_list<KESTMOUNTVOL> volumes) {
    mounted_.emplace_back(volumes);
    KESTMOUNTVOL* before = nullptr;
    for (KESTMOUNTVOL& volume : mounted_.back()) {
      if (before != nullptr) before->next = &volume;
      before = &volume;
    }
  }
  KESTMOUNTVOL* MountedList() {
    return mounted_.empty() || mounted_.back().empty() ? nullptr : &mounted_.back().front();
  }

  /// A Volume for no service.
  Volume& AnyVolumes() {
    EndVolumes();
    EXPECT_CALL(storage(), KESTMountVolAllEnum(0, 3)).WillOnce(::testing::Return(MountedList()));
    volumes_ = std::make_unique<Volume>();
    Calls();
    return *volumes_;
  }

  /// A Volume for a service with this record.
  Volume& VolumesOf(const SERVICEINFO& service) {
    using ::testing::_;
    EndVolumes();
    const int locations = service.locationMask == 0 ? 1 : static_cast<int>(service.locationMask);
    EXPECT_CALL(storage(), KESTServiceInfoGet(KEST_SERVICE_BACKUP, _))
        .WillOnce(::testing::DoAll(::testing::SetArgPointee<1>(service), ::testing::Return(0)));
    EXPECT_CALL(storage(), KESTMountVolAllEnum(0, locations)).WillOnce(::testing::Return(MountedList()));
    volumes_ = std::make_unique<Volume>(KEST_SERVICE_BACKUP);
    Calls();
    return *volumes_;
  }
  /// Ends the object that the two above made.
  void EndVolumes() { volumes_.reset(); }

  /// File systems: none is skipped, any number of questions.
  void SkipsNothing() {
    EXPECT_CALL(storage(), FSIsMatchSkipFS(::testing::_, ::testing::_))
        .Times(::testing::AnyNumber())
        .WillRepeatedly(::testing::Return(0));
  }
  void Skips(const std::string& path, int type, int answer) {
    EXPECT_CALL(storage(), FSIsMatchSkipFS(::testing::StrEq(path), type))
        .Times(::testing::AnyNumber())
        .WillRepeatedly(::testing::Return(answer));
  }

  /// The platform parses this path so.
  void Parses(const std::string& path, int result, _tag_vol_id_ id) {
    EXPECT_CALL(storage(), VolumePathParse(::testing::StrEq(path), ::testing::_))
        .WillOnce([result, id](const char*, _tag_vol_id_* out) {
          if (result > 0) *out = id;
          return result;
        });
  }

  /// The next bundle is opened on these sections of the administration's texts.
  void ExpectTextsOpened(const char* first, const char* second = nullptr) {
    using namespace ::testing;
    EXPECT_CALL(cgi(), KestCgiInit(StrEq("/usr/kest/kestman/tarvel"), _)).RetiresOnSaturation();
    const Matcher<const char*> other = second == nullptr ? Matcher<const char*>(IsNull()) : StrEq(second);
    EXPECT_CALL(cgi(),
                KestCgiLoadText(_, ElementsAre(StrEq(first), other, IsNull(), IsNull(), IsNull(), IsNull(), IsNull())))
        .RetiresOnSaturation();
  }
  /// Any number of look-ups; a key without text gives the second argument, which must be "".
  void HasTexts(std::map<std::string, std::string> texts) {
    using namespace ::testing;
    texts_ = std::move(texts);
    EXPECT_CALL(cgi(), KestCgiGetText(_, _, StrEq("")))
        .Times(AnyNumber())
        .WillRepeatedly([this](KESTCGI*, const char* key, const char* second) {
          const auto text = texts_.find(key);
          return text != texts_.end() ? text->second.c_str() : second;
        });
  }

 private:
  std::list<std::vector<KESTMOUNTVOL>> mounted_;
  std::map<std::string, std::string> texts_;
  std::unique_ptr<Volume> volumes_;
};

/// A service that may use both kinds of external volumes.
inline SERVICEINFO Service(const std::string& path, uint32_t locations = 15) {
  SERVICEINFO service = {};
  service.hasVolume = 1;
  service.decided = 1;
  std::snprintf(service.path, sizeof service.path, "%s", path.c_str());
  service.locationMask = locations;
  service.skipFsType = 7;
  service.externalAllowed = 1;
  return service;
}

}  // namespace tarvel_test

#endif  // TESTS_UNIT_VOLUME_FIXTURE_H
