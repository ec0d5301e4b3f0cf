// Time zones and AppleTalk zones.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "platform/kestnet.h"
#include "platform/klib.h"

namespace {

int Needed() {
  int bytes = 0;
  EXPECT_GE(0, KESTZoneEnum(nullptr, 0, &bytes));
  return bytes;
}

TEST(NetZone, NamesStandInTheCallersBufferBehindTheirPointers) {
  const int needed = Needed();
  ASSERT_LT(0, needed);
  const std::unique_ptr<char, void (*)(void*)> buffer(static_cast<char*>(malloc(static_cast<size_t>(needed) + 1)),
                                                      free);
  buffer.get()[needed] = 'Z';
  int again = 0;
  const int count = KESTZoneEnum(buffer.get(), needed, &again);
  ASSERT_LT(100, count);
  EXPECT_EQ(needed, again);
  EXPECT_EQ('Z', buffer.get()[needed]) << "one byte too many was written";
  std::set<std::string> names;
  char** const list = reinterpret_cast<char**>(buffer.get());
  for (int i = 0; i < count; ++i) {
    ASSERT_LE(buffer.get() + static_cast<size_t>(count) * sizeof(char*), list[i]);
    ASSERT_GT(buffer.get() + needed, list[i] + strlen(list[i]));
    EXPECT_TRUE(names.insert(list[i]).second) << list[i] << " twice";
  }
  for (const char* name : {"UTC", "Europe/Berlin", "America/New_York", "Asia/Tokyo"})
    EXPECT_EQ(1u, names.count(name)) << name;
}

TEST(NetZone, EachNameIsAZoneOfTheSystem) {
  int needed = Needed();
  const std::unique_ptr<char, void (*)(void*)> buffer(static_cast<char*>(malloc(static_cast<size_t>(needed))), free);
  const int count = KESTZoneEnum(buffer.get(), needed, &needed);
  for (int i = 0; i < count; ++i) {
    const std::string path = std::string("/usr/share/zoneinfo/") + reinterpret_cast<char**>(buffer.get())[i];
    EXPECT_EQ(0, access(path.c_str(), R_OK)) << path;
  }
}

TEST(NetZone, ABufferThatIsTooSmallStaysEmpty) {
  int needed = Needed();
  char small[64] = "untouched";
  EXPECT_GE(0, KESTZoneEnum(small, sizeof(small), &needed));
  EXPECT_STREQ("untouched", small);
  EXPECT_LT(static_cast<int>(sizeof(small)), needed);
  const std::unique_ptr<char, void (*)(void*)> buffer(static_cast<char*>(malloc(static_cast<size_t>(needed))), free);
  EXPECT_GE(0, KESTZoneEnum(buffer.get(), needed - 1, &needed));
  EXPECT_GE(0, KESTZoneEnum(buffer.get(), -1, &needed));
  EXPECT_GT(0, KESTZoneEnum(nullptr, 0, nullptr));
}

TEST(NetZone, AppleTalkIsListedOrAFailure) {
  KESTAPPLEZONE* zones = nullptr;
  KLIBErrSet(0);
  if (KESTAppleZoneGet(nullptr, &zones) != 0) {
    EXPECT_NE(0, KLIBErrGet());
  }
  KESTAppleZoneFree(zones);
  KESTAppleZoneFree(nullptr);
}

}  // namespace
