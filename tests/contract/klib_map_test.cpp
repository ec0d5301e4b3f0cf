// What a map holds is seen only by the calls that take it; here it must take everything and let go of everything.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "platform/klib.h"

namespace {

TEST(KlibMapTest, TheInitialSizeIsOnlyAHint) {
  for (const int size : {INT_MIN, -1, 0, 1, 512}) {
    PSZHASH map = PshKLIBSzHashAlloc(size);
    ASSERT_NE(nullptr, map) << size;
    EXPECT_EQ(0, KLIBSzHashSetValue(map, "%USER_NAME%", "anna")) << size;
    KLIBSzHashFree(map);
  }
}

TEST(KlibMapTest, KeysAndValuesAreCopied) {
  PSZHASH map = PshKLIBSzHashAlloc(8);
  ASSERT_NE(nullptr, map);
  for (int i = 0; i < 1000; ++i) {
    const std::string key = "key" + std::to_string(i % 300);
    ASSERT_EQ(0, KLIBSzHashSetValue(map, key.c_str(), std::string(static_cast<size_t>(i), 'v').c_str()));
  }
  EXPECT_EQ(0, KLIBSzHashSetValue(map, "", ""));
  KLIBSzHashFree(map);
}

TEST(KlibMapTest, SettingNeedsAMapAKeyAndAValue) {
  PSZHASH map = PshKLIBSzHashAlloc(8);
  ASSERT_NE(nullptr, map);
  EXPECT_LT(KLIBSzHashSetValue(nullptr, "k", "v"), 0);
  EXPECT_LT(KLIBSzHashSetValue(map, nullptr, "v"), 0);
  EXPECT_LT(KLIBSzHashSetValue(map, "k", nullptr), 0);
  KLIBSzHashFree(map);
}

TEST(KlibMapTest, ReleasingNoMapIsAllowed) { KLIBSzHashFree(nullptr); }

}  // namespace
