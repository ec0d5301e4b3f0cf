#include <gtest/gtest.h>

#include <climits>

#include "platform/klib.h"

namespace {

TEST(KlibErrorCodeTest, TheCodeRecordedLastIsTheOneRead) {
  for (const int code : {0xD00, 0x8100, 0, -1, INT_MAX, INT_MIN}) {
    KLIBErrSet(code);
    EXPECT_EQ(code, KLIBErrGet());
    EXPECT_EQ(code, KLIBErrGet()) << "reading does not clear it";
  }
}

TEST(KlibErrorCodeTest, ASuccessDoesNotClearTheCode) {
  KLIBErrSet(0x600);
  unsigned char digest[16];
  ASSERT_EQ(0, KLIBSmbMd4Hash("x", digest, 16));
  char text[] = " x ";
  ASSERT_EQ(0, KLIBStrTrimSpace(text, nullptr));
  EXPECT_EQ(0x600, KLIBErrGet());
}

TEST(KlibErrorCodeTest, AFailedCallRecordsACode) {
  KLIBErrSet(0);
  char buffer[8];
  ASSERT_EQ(-1, KLIBFileGetKeyValue("/nowhere/at/all", "key", buffer, sizeof(buffer), 0));
  EXPECT_NE(0, KLIBErrGet());
}

}  // namespace
