#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "guarded_text.h"
#include "platform/klib.h"

namespace {

std::string DigestOf(const std::string& text) {
  const GuardedText guarded(text);
  unsigned char digest[16];
  if (KLIBSmbMd4Hash(guarded.get(), digest, 16) != 0) return "failed";
  std::string hex;
  for (const unsigned byte : digest) {
    char two[3];
    snprintf(two, sizeof(two), "%02x", byte);
    hex += two;
  }
  return hex;
}

// RFC 1320, appendix A.5.
TEST(KlibDigestTest, TheVectorsOfTheStandardHold) {
  EXPECT_EQ("31d6cfe0d16ae931b73c59d7e0c089c0", DigestOf(""));
  EXPECT_EQ("bde52cb31de33e46245e05fbdbd6fb24", DigestOf("a"));
  EXPECT_EQ("a448017aaf21d8525fc10ae87aa6729d", DigestOf("abc"));
  EXPECT_EQ("d9130a8164549fe818874806e1c7014b", DigestOf("message digest"));
  EXPECT_EQ("d79e1c308aa5bbcdeea8ed63df412da9", DigestOf("abcdefghijklmnopqrstuvwxyz"));
  EXPECT_EQ("043f8582f241db351ce627e153e7f0e4",
            DigestOf("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"));
  EXPECT_EQ("e33b4ddc9c38f2199c3e7b164fcc0536",
            DigestOf("12345678901234567890123456789012345678901234567890123456789012345678901234567890"));
}

// Around the edges of the padding each length has its own digest, and the same one every time.
TEST(KlibDigestTest, EveryLengthAroundABlockHasItsOwnDigest) {
  std::string before;
  for (size_t length = 54; length <= 66; ++length) {
    const std::string digest = DigestOf(std::string(length, 'x'));
    EXPECT_EQ(digest, DigestOf(std::string(length, 'x'))) << length;
    EXPECT_NE(before, digest) << length;
    before = digest;
  }
}

TEST(KlibDigestTest, BytesAboveAsciiCountAsTheyAre) {
  EXPECT_NE(DigestOf("\xC3\xA4"), DigestOf("\xE4"));
  EXPECT_NE(DigestOf("a"), DigestOf("A"));
}

TEST(KlibDigestTest, ALargerBufferIsOnlyFilledWithTheDigest) {
  unsigned char buffer[20];
  std::memset(buffer, '#', sizeof(buffer));
  ASSERT_EQ(0, KLIBSmbMd4Hash("", buffer, sizeof(buffer)));
  EXPECT_EQ(0x31, buffer[0]);
  EXPECT_EQ(0xc0, buffer[15]);
  for (int i = 16; i < 20; ++i) EXPECT_EQ('#', buffer[i]) << i;
}

TEST(KlibDigestTest, ABadArgumentLeavesTheBufferAlone) {
  unsigned char buffer[16];
  std::memset(buffer, '#', sizeof(buffer));
  EXPECT_NE(0, KLIBSmbMd4Hash(nullptr, buffer, 16));
  EXPECT_NE(0, KLIBSmbMd4Hash("a", nullptr, 16));
  for (const int size : {15, 0, -1}) EXPECT_NE(0, KLIBSmbMd4Hash("a", buffer, size)) << size;
  for (const unsigned char byte : buffer) EXPECT_EQ('#', byte);
}

}  // namespace
