#include "host/klib/key_value_line.h"

#include <cerrno>

#include "folder.h"
#include "host/klib/file_read.h"
#include "host/klib/key_value_file.h"

namespace kest {
namespace {

// All lines of a text that say something, as key=[value];
std::string Read(const std::string& text) {
  KeyValueFile file;
  file.Parse(text);
  std::string out;
  for (const KeyValueFile::Entry& entry : file.Entries()) out += std::string(entry.key) + "=[" + entry.value + "];";
  return out;
}

struct Row {
  const char* name;
  std::string text;
  const char* read;
};

const Row kLines[] = {
    {"plain", "a=\"1\"\n", "a=[1];"},
    {"no quotes", "a=1\n", "a=[1];"},
    {"blanks around all", " \ta \t= \t\"1\" \t\n", "a=[1];"},
    {"blanks inside quotes stay", "a=\" 1 \"\n", "a=[ 1 ];"},
    {"CR LF", "a=\"1\"\r\nb=2\r\n", "a=[1];b=[2];"},
    {"no final newline", "a=\"1\"\nb=\"2\"", "a=[1];b=[2];"},
    {"no final newline, no quotes", "b=2", "b=[2];"},
    {"empty values", "a=\"\"\nb=\n", "a=[];b=[];"},
    {"quotes inside", "a=\"My \"big\" one\"\n", "a=[My \"big\" one];"},
    {"nothing is escaped", "a=\"C:\\new\\\"\n", "a=[C:\\new\\];"},
    {"text behind the closing quote", "a=\"1\" # one\n", "a=[1];"},
    {"equals sign in the value", "a=b=c\n", "a=[b=c];"},
    {"comments and empty lines", "# a=\"1\"\n\n  # b=2\n \n", ""},
    {"no equals sign", "nonsense\na=1\n", "a=[1];"},
    {"no key", "=1\n =\"2\"\n", ""},
    {"half a record", "a=\"1\"\nb=\"2", "a=[1];"},
    {"a quote alone", "a=\"\nb=2\n", "b=[2];"},
    {"NUL in the value", std::string("a=\"1\0x\"\nb=2\n", 12), "b=[2];"},
    {"NUL in the key", std::string("a\0=1\nb=2\n", 9), "b=[2];"},
    {"only NUL bytes", std::string(100, '\0'), ""},
    {"byte-order mark",
     "\xEF\xBB\xBF"
     "a=1\n",
     "a=[1];"},
    {"invalid UTF-8 is carried", "a=\"\xFF\xC0\"\n", "a=[\xFF\xC0];"},
    {"duplicates", "a=1\na=2\n", "a=[1];a=[2];"},
    {"empty file", "", ""},
    {"only a newline", "\n", ""},
};

TEST(KeyValueLineTest, EveryKindOfLine) {
  for (const Row& row : kLines) EXPECT_EQ(row.read, Read(row.text)) << row.name;
}

TEST(KeyValueLineTest, OfSeveralLinesWithOneKeyTheFirstCounts) {
  KeyValueFile file;
  file.Parse("a=1\na=2\n");
  EXPECT_STREQ("1", file.Find("a"));
  EXPECT_EQ(nullptr, file.Find("A"));
}

TEST(KeyValueLineTest, ALineOfNearlyTheWholeFileIsRead) {
  const std::string value(kTextFileMax - 5, 'x');
  const Folder folder;
  const std::string path = folder.Put("settings", "a=\"" + value + "\"\n");
  ASSERT_EQ(kTextFileMax + 0u, Content(path).size());
  KeyValueFile file;
  ASSERT_TRUE(file.Load(path.c_str()));
  EXPECT_EQ(value, file.Find("a"));
}

TEST(KeyValueLineTest, AFileOfOneByteMoreThanTheLimitIsNotRead) {
  const Folder folder;
  const std::string path = folder.Put("settings", "a=1\n" + std::string(kTextFileMax - 3, '#'));
  KeyValueFile file;
  file.Parse("old=1\n");
  EXPECT_FALSE(file.Load(path.c_str()));
  EXPECT_EQ(EFBIG, errno);
  EXPECT_TRUE(file.Entries().empty());
}

TEST(KeyValueLineTest, ADirectoryAPipeAndAMissingFileAreNotRead) {
  const Folder folder;
  KeyValueFile file;
  ASSERT_EQ(0, mkfifo(folder.File("pipe").c_str(), 0644));
  EXPECT_FALSE(file.Load(folder.File("").c_str()));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_FALSE(file.Load(folder.File("pipe").c_str()));
  EXPECT_EQ(EINVAL, errno);
  EXPECT_FALSE(file.Load(folder.File("none").c_str()));
  EXPECT_EQ(ENOENT, errno);
}

// What stands in the file after a key was set in the given text; "-" when setting failed.
std::string After(const std::string& text, const char* key, const char* value,
                  std::string_view format = kKeyValueFormat) {
  const Folder folder;
  const std::string path = folder.Put("settings", text);
  const bool written = SetKeyValue(path.c_str(), key, value, format);
  if (!written) {
    EXPECT_EQ(text, Content(path));
  }
  return written ? Content(path) : "-";
}

TEST(SetKeyValueTest, OneLineChangesAndTheOthersStand) {
  EXPECT_EQ("# c\nb=\"3\"\nbroken\nc = 4\n", After("# c\nb=2\nbroken\nc = 4\n", "b", "3"));
  EXPECT_EQ("x=1\r\nb=\"3\"\n", After("x=1\r\nb=2\r\n", "b", "3"));
}

TEST(SetKeyValueTest, AnAbsentKeyIsAppendedOnALineOfItsOwn) {
  EXPECT_EQ("b=\"3\"\n", After("", "b", "3"));
  EXPECT_EQ("a=1\nb=\"3\"\n", After("a=1", "b", "3"));
  EXPECT_EQ("a=1\nb=\"3\"\n", After("a=1\n", "b", "3"));
}

TEST(SetKeyValueTest, FurtherLinesOfTheKeyGo) { EXPECT_EQ("b=\"3\"\na=1\n", After("b=1\na=1\nb=2\n", "b", "3")); }

TEST(SetKeyValueTest, AByteOrderMarkStays) {
  EXPECT_EQ(
      "\xEF\xBB\xBF"
      "b=\"3\"\n",
      After("\xEF\xBB\xBF"
            "b=2\n",
            "b", "3"));
}

TEST(SetKeyValueTest, AnyValueOfOneLineComesBack) {
  for (const char* value :
       {"", " ", "\"", "\"\"", "a\"b", "\\", "a\\n", "# no comment", "=", "%s", "%", "\xFF", "'", "\t"}) {
    KeyValueFile file;
    file.Parse(After("", "key", value));
    EXPECT_STREQ(value, file.Find("key"));
  }
}

TEST(SetKeyValueTest, AValueCannotSmuggleALineIn) {
  for (const char* value : {"x\nadmin=\"yes", "x\r", "\n", "x\"\n"})
    EXPECT_EQ("-", After("a=1\n", "key", value)) << value;
}

TEST(SetKeyValueTest, KeysThatCouldNotBeReadBackAreRefused) {
  for (const char* key : {"", " ", "a b", "a=b", "#a", "a\n", "\"a", "a\t", "a\x7f", "\x01",
                          "\xEF\xBB\xBF"
                          "a"}) {
    EXPECT_EQ("-", After("a=1\n", key, "1")) << key;
  }
}

TEST(SetKeyValueTest, FormatsAreTextsAndNotInstructions) {
  EXPECT_EQ("b: 5%=3\n", After("", "b: 5%", "3", "%s=%s\n") == "-" ? "b: 5%=3\n" : "accepted");
  EXPECT_EQ("b=3\n", After("", "b", "3", "%s=%s\n"));
  EXPECT_EQ("b = \"3\" # 100%\n", After("", "b", "3", "%s = \"%s\" # 100%%\n"));
  for (const char* format : {"", "\n", "%s\n", "%s=%s", "%s=%s\n\n", "\n%s=%s\n", "%s=%n\n", "%s=%s%s\n", "%s=%d\n",
                             "%s=%s%", "%s=%5s\n", "%s=%s\r\n", "#%s=%s\n", "%s:%s\n"}) {
    EXPECT_EQ("-", After("a=1\n", "b", "3", format)) << format;
  }
}

TEST(SetKeyValueTest, WithoutQuotesAValueWithBlanksAtItsEndsIsRefused) {
  EXPECT_EQ("-", After("", "b", " 3", "%s=%s\n"));
  EXPECT_EQ("-", After("", "b", "\"3\"", "%s=%s\n"));
}

TEST(SetKeyValueTest, AFileMayGrowUpToTheLimitAndNotBeyond) {
  const std::string filler = "#" + std::string(kTextFileMax - 10, 'x') + "\n";
  EXPECT_EQ(kTextFileMax, After(filler, "b", "333").size());
  EXPECT_EQ("-", After(filler, "b", "4444"));
}

TEST(SetKeyValueTest, AFileAboveTheLimitIsLeftAlone) {
  EXPECT_EQ("-", After("b=1\n" + std::string(kTextFileMax, '#'), "b", "2"));
}

}  // namespace
}  // namespace kest
