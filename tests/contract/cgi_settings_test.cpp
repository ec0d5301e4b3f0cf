// System settings and their factory defaults, whatever somebody wrote into the files.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "cgi_request.h"
#include "system_file.h"

namespace {

class CgiSettings : public testing::Test {
 protected:
  // "[current][factory]" of a key and the result of reading.
  std::string Look(const char* key) {
    CgiContext context;
    const int result = KestCgiLoadInfo(context.get());
    return std::string(result == 0 ? "good " : "failed ") + "[" + KestCgiGetInfo(context.get(), key, "-") + "][" +
           KestCgiGetDef(context.get(), key, "-") + "]";
  }

  // Current value of "a" in a file of these bytes.
  std::string Current(const std::string& bytes) {
    current_.Write(bytes);
    CgiContext context;
    KestCgiLoadInfo(context.get());
    return KestCgiGetInfo(context.get(), "a", "-");
  }

  SystemFile current_{"/etc/kestinfo.conf"};
  SystemFile factory_{"/etc.defaults/kestinfo.conf"};
};

TEST_F(CgiSettings, CurrentValuesAndFactoryDefaultsAreKeptApart) {
  current_.Write("a=\"current\"\nonly_current=\"1\"\n");
  factory_.Write("a=\"factory\"\nonly_factory=\"2\"\n");
  EXPECT_EQ("good [current][factory]", Look("a"));
  EXPECT_EQ("good [1][-]", Look("only_current"));
  EXPECT_EQ("good [-][2]", Look("only_factory"));
  EXPECT_EQ("good [-][-]", Look("none"));
}

TEST_F(CgiSettings, NothingIsKnownBeforeReading) {
  current_.Write("a=\"1\"\n");
  CgiContext context;
  EXPECT_EQ(nullptr, KestCgiGetInfo(context.get(), "a", nullptr));
  EXPECT_EQ(nullptr, KestCgiGetDef(context.get(), "a", nullptr));
}

TEST_F(CgiSettings, EveryContextReadsAnew) {
  EXPECT_EQ("1", Current("a=\"1\"\n"));
  EXPECT_EQ("2", Current("a=\"2\"\n"));
}

TEST_F(CgiSettings, AChangeIsNotSeenByAContextThatHasRead) {
  current_.Write("a=\"1\"\n");
  CgiContext context;
  KestCgiLoadInfo(context.get());
  current_.Write("a=\"2\"\n");
  EXPECT_STREQ("1", KestCgiGetInfo(context.get(), "a", "-"));
}

TEST_F(CgiSettings, AMissingFileIsAnEmptyOne) {
  current_.Write("a=\"1\"\n");
  EXPECT_EQ("failed [1][-]", Look("a"));
  current_.Remove();
  factory_.Write("a=\"2\"\n");
  EXPECT_EQ("failed [-][2]", Look("a"));
}

TEST_F(CgiSettings, WhatIsNoReadableFileIsAnEmptyOne) {
  factory_.Write("a=\"2\"\n");
  current_.MakeDirectory();
  EXPECT_EQ("failed [-][2]", Look("a"));
  if (geteuid() != 0) {
    current_.Write("a=\"1\"\n").MakeUnreadable();
    EXPECT_EQ("failed [-][2]", Look("a"));
  }
  current_.Write("");
  EXPECT_EQ("good [-][2]", Look("a"));
}

TEST_F(CgiSettings, OneMebibyteIsReadAndOneByteMoreIsNot) {
  const std::string line = "a=\"1\"\n";
  const std::string filler(1024 * 1024 - line.size(), '#');
  EXPECT_EQ("1", Current(line + filler));
  EXPECT_EQ("-", Current(line + filler + "#"));
}

TEST_F(CgiSettings, ALineOfOneMebibyteDoesNotHideTheOthers) {
  const std::string tail = "\na=\"1\"\n";
  EXPECT_EQ("1", Current("b=\"" + std::string(1024 * 1024 - tail.size() - 4, 'x') + "\"" + tail));
}

TEST_F(CgiSettings, OddLinesAreTakenAsTheyAreMeant) {
  EXPECT_EQ("1", Current("a=\"1\""));
  EXPECT_EQ("1", Current("a=\"1\"\r\nb=\"2\"\r\n"));
  EXPECT_EQ("1", Current("a=1\n"));
  EXPECT_EQ("1", Current("\xEF\xBB\xBF"
                         "a=\"1\"\n"));
  EXPECT_EQ("1", Current("  a = \"1\"  \n"));
  EXPECT_EQ("first", Current("a=\"first\"\na=\"second\"\n"));
  EXPECT_EQ("", Current("a=\"\"\n"));
  EXPECT_EQ("x=y", Current("a=\"x=y\"\n"));
  EXPECT_EQ("\xC3\xA4", Current("a=\"\xC3\xA4\"\n"));
}

TEST_F(CgiSettings, LinesThatSayNothingArePassedOver) {
  EXPECT_EQ("-", Current("#a=\"1\"\n"));
  EXPECT_EQ("-", Current("a\n"));
  EXPECT_EQ("-", Current("=\"1\"\n"));
  EXPECT_EQ("-", Current("a=\"half a rec"));
  EXPECT_EQ("2", Current("a=\"half\na=\"2\"\n"));
  EXPECT_EQ("2", Current(std::string("a=\"x\0y\"\n", 8) + "a=\"2\"\n"));
  EXPECT_EQ("-", Current(std::string(100, '\0')));
}

TEST_F(CgiSettings, NullArgumentsGiveTheDefault) {
  CgiContext context;
  EXPECT_LT(KestCgiLoadInfo(nullptr), 0);
  EXPECT_STREQ("d", KestCgiGetInfo(nullptr, "a", "d"));
  EXPECT_STREQ("d", KestCgiGetInfo(context.get(), nullptr, "d"));
  EXPECT_STREQ("d", KestCgiGetDef(nullptr, "a", "d"));
  EXPECT_STREQ("d", KestCgiGetDef(context.get(), nullptr, "d"));
}

}  // namespace
