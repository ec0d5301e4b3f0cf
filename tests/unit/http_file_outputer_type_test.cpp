// Files as replies: the MIME type of a name.

#include <cerrno>
#include <filesystem>

#include "http_file_outputer_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kTable[] = "/usr/kest/etc.defaults/mimetypes.txt";
constexpr char kUnknown[] = "application/octet-stream";

class MimeTypeTest : public HttpFileOutputerTest {
 protected:
  std::string TypeOf(const char* name) { return outputer_.GetMimeType(name); }
};

TEST_F(MimeTypeTest, TheFirstEntryOfTheExtensionCountsAndTheTableIsClosed) {
  WriteFile(kTable, "htm text/html\ntxt text/plain\ntxt text/second\n");
  EXPECT_EQ("text/plain", TypeOf("foo.txt"));
  EXPECT_THAT(Calls(), ElementsAre(std::string("fopen ") + kTable + " r", "fclose"));
}

TEST_F(MimeTypeTest, CaseDoesNotCountOnEitherSide) {
  WriteFile(kTable, "txt text/plain\nJPG image/jpeg\n");
  EXPECT_EQ("text/plain", TypeOf("foo.TXT"));
  EXPECT_EQ("image/jpeg", TypeOf("foo.jpg"));
}

TEST_F(MimeTypeTest, ANameWithoutExtensionIsUnknownAndNothingIsOpened) {
  WriteFile(kTable, "README text/plain\narchive text/plain\n");
  for (const char* name : {"archive.", "README", "", ".", "a.txt."}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(kUnknown, TypeOf(name));
  }
  EXPECT_EQ(kUnknown, TypeOf(nullptr));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(MimeTypeTest, AnExtensionThatIsNotInTheTableIsUnknownAndTheTableIsClosed) {
  WriteFile(kTable, "txt text/plain\n");
  for (const char* name : {"a.tx", "a.txtt", "a.text", "a. txt"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(kUnknown, TypeOf(name));
    EXPECT_THAT(Calls(), ElementsAre(std::string("fopen ") + kTable + " r", "fclose"));
  }
}

TEST_F(MimeTypeTest, TheLastDotOfTheWholePathCounts) {
  WriteFile(kTable, "txt text/plain\nd/README text/odd\n");
  EXPECT_EQ("text/plain", TypeOf("/a.b/c.gz.txt"));
  EXPECT_EQ("text/plain", TypeOf(".txt"));
  EXPECT_EQ(kUnknown, TypeOf("/music.txt/README"));
  EXPECT_EQ("text/odd", TypeOf("/music.d/README"));
}

TEST_F(MimeTypeTest, WithoutATableEveryTypeIsUnknown) {
  EXPECT_EQ(kUnknown, TypeOf("a.txt"));
  WriteFile(kTable, "txt text/plain\n");
  machine().FailNext("fopen", EACCES);
  EXPECT_EQ(kUnknown, TypeOf("a.txt"));
}

TEST_F(MimeTypeTest, ATableThatCannotBeReadEndsAtOnce) {
  std::filesystem::create_directories(machine().RealPath(kTable));
  EXPECT_EQ(kUnknown, TypeOf("a.txt"));
}

TEST_F(MimeTypeTest, WordsArePairedAcrossLinesAndALoneOneShiftsThem) {
  WriteFile(kTable, "gif\timage/gif  txt\n\n\ttext/plain\nlone\npng image/png");
  EXPECT_EQ("image/gif", TypeOf("a.gif"));
  EXPECT_EQ("text/plain", TypeOf("a.txt"));
  EXPECT_EQ("png", TypeOf("a.lone"));
  EXPECT_EQ(kUnknown, TypeOf("a.png")) << "its word is a type now, and the last word has none";
  EXPECT_EQ(kUnknown, TypeOf("a.image/png"));
}

TEST_F(MimeTypeTest, OddTablesAreReadAsWords) {
  std::string line;
  while (line.size() < 1024 * 1024) line += "other type/other ";
  const struct {
    const char* what;
    std::string table;
    const char* type;
  } kRows[] = {
      {"empty", "", kUnknown},
      {"no final newline", "txt text/plain", "text/plain"},
      {"CR LF", "gif image/gif\r\ntxt text/plain\r\n", "text/plain"},
      {"a NUL behind a word", std::string("gif image/gif\0\ntxt\0x text/plain\0y\n", 34), "text/plain"},
      {"one line of 1 MiB", line + "txt text/plain", "text/plain"},
  };
  for (const auto& row : kRows) {
    WriteFile(kTable, row.table);
    EXPECT_EQ(row.type, TypeOf("a.txt")) << row.what;
  }
}

TEST_F(MimeTypeTest, AWordOf4095BytesIsReadWholeAndTheRestOfALongerOneIsTheNextWord) {
  const std::string extension(4095, 'e'), type = "x/" + std::string(4093, 't');
  WriteFile(kTable, extension + " " + type + "\ntxt text/plain\n");
  EXPECT_EQ(type, TypeOf(("a." + extension).c_str()));
  EXPECT_EQ("text/plain", TypeOf("a.txt"));
  WriteFile(kTable, extension + "e " + type + "\ntxt text/plain\n");
  EXPECT_EQ("e", TypeOf(("a." + extension).c_str()));
  EXPECT_EQ("txt", TypeOf(("a." + type).c_str()));
}

}  // namespace
}  // namespace tarvel_test
