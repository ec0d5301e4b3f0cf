#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "platform/klib.h"
#include "scratch_directory.h"

namespace {

class KlibKeyValueReadTest : public testing::Test {
 protected:
  // What the call gives for a file of these bytes: the result, a colon, the value.
  std::string Get(const std::string& bytes, const char* key, int size = 256) {
    return GetFrom(scratch_.Write("settings.conf", bytes), key, size);
  }

  std::string GetFrom(const std::string& path, const char* key, int size = 256) {
    std::string buffer(512, '#');
    const int result = KLIBFileGetKeyValue(path.c_str(), key, &buffer[0], size, 0);
    EXPECT_EQ('#', buffer[static_cast<size_t>(size)]) << "written behind the buffer";
    return std::to_string(result) + ":" + buffer.c_str();
  }

  ScratchDirectory scratch_;
};

TEST_F(KlibKeyValueReadTest, ValuesOfEveryFormAreRead) {
  const char text[] =
      "# system settings\n"
      "\n"
      "admin_port=\"5000\"\n"
      "language=de\n"
      "  blanks\t =  plain text here \t\n"
      "inside=\" kept \"\n"
      "quotes=\"the \"big\" one\"\n"
      "behind=\"value\" # not part of it\n"
      "equals=\"a=b\"\n"
      "plain_equals=a=b\n"
      "escape=\"\\n\\\"\n"
      "lone=it's\n"
      "late=a\"b\"\n"
      "utf8=\"Müller 写真\"\n"
      "stray=\"\xFF\xC3\"\n"
      "empty=\"\"\n"
      "nothing=\n"
      "Case=\"upper\"\n"
      "case=\"lower\"\n"
      "last=\"no newline\"";
  const struct {
    const char* key;
    const char* expected;
  } rows[] = {
      {"admin_port", "4:5000"},
      {"language", "2:de"},
      {"blanks", "15:plain text here"},
      {"inside", "6: kept "},
      {"quotes", "13:the \"big\" one"},
      {"behind", "5:value"},
      {"equals", "3:a=b"},
      {"plain_equals", "3:a=b"},
      {"escape", "3:\\n\\"},
      {"lone", "4:it's"},
      {"late", "4:a\"b\""},
      {"utf8", "14:Müller 写真"},
      {"stray", "2:\xFF\xC3"},
      {"empty", "0:"},
      {"nothing", "0:"},
      {"Case", "5:upper"},
      {"case", "5:lower"},
      {"last", "10:no newline"},
      {"absent", "0:"},
      {"admin", "0:"},
      {"admin_port2", "0:"},
      {"ADMIN_PORT", "0:"},
      {"# system settings", "0:"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.expected, Get(text, row.key)) << row.key;
}

TEST_F(KlibKeyValueReadTest, LinesMayEndAsOnOtherSystems) {
  EXPECT_EQ("1:1", Get("a=\"1\"\r\nb=\"2\"\r\n", "a"));
  EXPECT_EQ("1:2", Get("a=\"1\"\r\nb=\"2\"\r\n", "b"));
  EXPECT_EQ("1:2", Get("a=1\r\nb=2\r\n", "b"));
  EXPECT_EQ("1:2", Get("a=1\r\nb=2\r", "b"));
}

TEST_F(KlibKeyValueReadTest, AByteOrderMarkIsPassedOver) {
  EXPECT_EQ("1:1", Get("\xEF\xBB\xBF"
                       "a=\"1\"\n",
                       "a"));
}

TEST_F(KlibKeyValueReadTest, OfSeveralLinesWithOneKeyTheFirstCounts) {
  EXPECT_EQ("1:1", Get("a=\"1\"\na=\"2\"\na=\"3\"\n", "a"));
  EXPECT_EQ("0:", Get("a=\"\"\na=\"2\"\n", "a"));
}

TEST_F(KlibKeyValueReadTest, ALineThatSaysNothingDoesNotHideTheOthers) {
  const std::string lines[] = {
      "",
      "   ",
      "#a=\"9\"",
      " # a=9",
      "no separator",
      "=\"9\"",
      " = ",
      "a=\"9",
      "a=\"",
      std::string("a=\"9\"\0", 6),
      std::string("\0a=9", 4),
      std::string("a\0=9", 4),
  };
  for (const std::string& line : lines) {
    EXPECT_EQ("1:1", Get(line + "\na=\"1\"\n", "a")) << line;
    EXPECT_EQ("1:1", Get("a=\"1\"\n" + line + "\n", "a")) << line;
  }
}

TEST_F(KlibKeyValueReadTest, AnEmptyFileHasNoKeys) {
  EXPECT_EQ("0:", Get("", "a"));
  EXPECT_EQ("0:", Get("\n\n\r\n", "a"));
  EXPECT_EQ("0:", Get(std::string(100, '\0'), "a"));
}

TEST_F(KlibKeyValueReadTest, AValueIsCutToTheBuffer) {
  EXPECT_EQ("3:yes", Get("k=\"yes\"\n", "k", 4));
  EXPECT_EQ("3:yes", Get("k=\"yesterday\"\n", "k", 4));
  EXPECT_EQ("1:y", Get("k=\"yes\"\n", "k", 2));
  EXPECT_EQ("0:", Get("k=\"yes\"\n", "k", 1));
}

TEST_F(KlibKeyValueReadTest, ALineMayBeAlmostAMegabyteLong) {
  const std::string huge(1000000, 'x');
  const std::string text = "first=\"1\"\nhuge=\"" + huge + "\"\nlast=\"2\"\n";
  EXPECT_EQ("1:1", Get(text, "first"));
  EXPECT_EQ("1:2", Get(text, "last"));
  EXPECT_EQ("255:" + std::string(255, 'x'), Get(text, "huge"));
}

TEST_F(KlibKeyValueReadTest, AMegabyteIsReadAndOneByteMoreIsNot) {
  std::string text = "k=\"v\"\n";
  text.resize(1 << 20, '#');
  EXPECT_EQ("1:v", Get(text, "k"));
  EXPECT_EQ("-1:", Get(text + "#", "k"));
}

TEST_F(KlibKeyValueReadTest, WhatIsNoReadableFileFails) {
  EXPECT_EQ("-1:", GetFrom(scratch_.Path("missing"), "k"));
  EXPECT_EQ("-1:", GetFrom(scratch_.Path(), "k")) << "a directory";
  EXPECT_EQ("-1:", GetFrom(scratch_.Write("file", "k=v\n") + "/below", "k"));
  EXPECT_EQ("-1:", GetFrom("/dev/zero", "k")) << "no regular file, and without end";
}

TEST_F(KlibKeyValueReadTest, APipeInTheFilesPlaceDoesNotHoldTheCallerUp) {
  ASSERT_EQ(0, mkfifo(scratch_.Path("pipe").c_str(), 0644));
  alarm(20);
  EXPECT_EQ("-1:", GetFrom(scratch_.Path("pipe"), "k"));
  alarm(0);
}

TEST_F(KlibKeyValueReadTest, AFileWithoutReadPermissionFails) {
  const std::string path = scratch_.Write("secret.conf", "k=\"v\"\n");
  ASSERT_EQ(0, chmod(path.c_str(), 0));
  // Root may read everything, so root asks as somebody else.
  const uid_t before = geteuid();
  if (before == 0) {
    ASSERT_EQ(0, seteuid(65534));
  }
  EXPECT_EQ("-1:", GetFrom(path, "k"));
  ASSERT_EQ(0, seteuid(before));
}

TEST_F(KlibKeyValueReadTest, ALinkIsFollowed) {
  scratch_.Write("real", "k=\"v\"\n");
  ASSERT_EQ(0, symlink("real", scratch_.Path("link").c_str()));
  ASSERT_EQ(0, symlink("nowhere", scratch_.Path("dangling").c_str()));
  EXPECT_EQ("1:v", GetFrom(scratch_.Path("link"), "k"));
  EXPECT_EQ("-1:", GetFrom(scratch_.Path("dangling"), "k"));
}

TEST_F(KlibKeyValueReadTest, BadArgumentsFail) {
  const std::string path = scratch_.Write("settings.conf", "k=\"v\"\n");
  char buffer[] = "before";
  EXPECT_EQ(-1, KLIBFileGetKeyValue(path.c_str(), "k", nullptr, 8, 0));
  EXPECT_EQ(-1, KLIBFileGetKeyValue(path.c_str(), "k", buffer, 0, 0));
  EXPECT_EQ(-1, KLIBFileGetKeyValue(path.c_str(), "k", buffer, INT_MIN, 0));
  EXPECT_STREQ("before", buffer);
  const struct {
    const char* file;
    const char* key;
  } rows[] = {{nullptr, "k"}, {"", "k"}, {path.c_str(), nullptr}, {path.c_str(), ""}};
  for (const auto& row : rows) {
    std::strcpy(buffer, "before");
    EXPECT_EQ(-1, KLIBFileGetKeyValue(row.file, row.key, buffer, sizeof(buffer), 0));
    EXPECT_STREQ("", buffer);
  }
}

}  // namespace
