// Request context: small files and JSON files of any path.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "tarvel.h"
#include "tarvel_fixture.h"

namespace tarvel_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr size_t kLimit = 1048576;

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

class TarvelReadFileTest : public TarvelTest {
 protected:
  Text Read() { return Text(Request().szReadFile(path_.c_str())); }

  const std::string path_ = ScratchPath("file");
};

TEST_F(TarvelReadFileTest, AFileIsReadWholeWithANulBehindIt) {
  WriteFile(path_, "hello");
  const Text text = Read();
  ASSERT_TRUE(text);
  EXPECT_STREQ("hello", text.get());
  EXPECT_THAT(Calls(), ElementsAre("open " + path_, "fstat", "malloc 6", "read 5", "close"));
}

TEST_F(TarvelReadFileTest, BytesBehindANulAreReadToo) {
  WriteFile(path_, std::string("a\0b", 3));
  const Text text = Read();
  ASSERT_TRUE(text);
  EXPECT_EQ(std::string("a\0b\0", 4), std::string(text.get(), 4));
}

TEST_F(TarvelReadFileTest, AnEmptyFileIsAnEmptyText) {
  WriteFile(path_, "");
  const Text text = Read();
  ASSERT_TRUE(text);
  EXPECT_STREQ("", text.get());
}

TEST_F(TarvelReadFileTest, AFileOfUnknownSizeIsAnEmptyText) {
  const Text text(Request().szReadFile("/proc/self/status"));
  ASSERT_TRUE(text);
  EXPECT_STREQ("", text.get());
}

TEST_F(TarvelReadFileTest, ExactlyOneMegabyteIsRead) {
  WriteFile(path_, std::string(kLimit, 'x'));
  const Text text = Read();
  ASSERT_TRUE(text);
  EXPECT_EQ(kLimit, std::strlen(text.get()));
}

TEST_F(TarvelReadFileTest, OneByteMoreThanAMegabyteIsRefused) {
  WriteFile(path_, std::string(kLimit + 1, 'x'));
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) Can't read file > 1MB.");
  EXPECT_THAT(Calls(), ElementsAre("open " + path_, "fstat", "close"));
}

TEST_F(TarvelReadFileTest, TheLimitHoldsForSizesBeyond32Bits) {
  WriteFile(path_, "");
  ASSERT_EQ(0, truncate(path_.c_str(), (off_t{1} << 32) + 5));
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) Can't read file > 1MB.");
}

TEST_F(TarvelReadFileTest, AMissingFileIsSilent) {
  EXPECT_FALSE(Read());
  EXPECT_THAT(Calls(), ElementsAre("open " + path_));
}

TEST_F(TarvelReadFileTest, AFileWithoutReadPermissionLogsTheFailureToOpen) {
  WriteFile(path_, "secret");
  machine().FailNext("open", EACCES);
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) Failed to open " + path_ + ". (Permission denied)");
}

TEST_F(TarvelReadFileTest, APathThroughAFileLogsTheFailureToOpen) {
  WriteFile(path_, "");
  const std::string below = path_ + "/x";
  EXPECT_EQ(nullptr, Request().szReadFile(below.c_str()));
  ExpectLogged("tarvel (#) Failed to open " + below + ". (Not a directory)");
}

TEST_F(TarvelReadFileTest, AFailedStatIsLoggedAndTheFileClosed) {
  WriteFile(path_, "hello");
  machine().FailNext("fstat", EIO);
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) Failed to stat file. (Input/output error)");
  EXPECT_THAT(Calls(), ElementsAre("open " + path_, "fstat", "close"));
}

TEST_F(TarvelReadFileTest, ShortMemoryIsLoggedWithTheSizeOfTheFile) {
  WriteFile(path_, "hello");
  machine().FailNext("malloc", ENOMEM);
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) Failed to malloc(5).");
  EXPECT_THAT(Calls(), ElementsAre("open " + path_, "fstat", "malloc 6", "close"));
}

TEST_F(TarvelReadFileTest, AFailedReadIsLoggedAndEverythingGivenBack) {
  WriteFile(path_, "hello");
  machine().FailNext("read", EIO);
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) read file failed. (-1) != (5), errno=Input/output error");
  EXPECT_THAT(Calls(), ElementsAre("open " + path_, "fstat", "malloc 6", "read 5", "free", "close"));
}

TEST_F(TarvelReadFileTest, AnInterruptedReadIsNotRepeated) {
  WriteFile(path_, "hello");
  machine().FailNext("read", EINTR);
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) read file failed. (-1) != (5), errno=Interrupted system call");
}

TEST_F(TarvelReadFileTest, AShortReadIsAFailure) {
  WriteFile(path_, "hello");
  machine().ShortenNextRead(3);
  Request();
  errno = 0;
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) read file failed. (3) != (5), errno=Success");
}

TEST_F(TarvelReadFileTest, ADirectoryOpensAndFailsAtTheRead) {
  std::filesystem::create_directory(path_);
  struct stat info;
  ASSERT_EQ(0, stat(path_.c_str(), &info));
  EXPECT_FALSE(Read());
  ExpectLogged("tarvel (#) read file failed. (-1) != (" + std::to_string(info.st_size) + "), errno=Is a directory");
}

class TarvelJsonFileTest : public TarvelTest {
 protected:
  bool Read(Json::Value& out) { return Request().ReadTmp(path_.c_str(), out); }
  bool Write(Json::Value value) { return Request().WriteTmp(path_.c_str(), value); }

  const std::string path_ = ScratchPath("record");
};

TEST_F(TarvelJsonFileTest, ADocumentIsReadAndTheTextGivenBack) {
  WriteFile(path_, "{\"a\": [1, true]}");
  Json::Value out;
  EXPECT_TRUE(Read(out));
  EXPECT_EQ(Doc("{'a': [1, true]}"), out);
  EXPECT_THAT(Calls(), ElementsAre("open " + path_, "fstat", "malloc 17", "read 16", "close", "free"));
}

TEST_F(TarvelJsonFileTest, WithoutAPathNothingIsRead) {
  Json::Value out = 5;
  EXPECT_FALSE(Request().ReadTmp(nullptr, out));
  EXPECT_EQ(Json::Value(5), out);
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TarvelJsonFileTest, AMissingFileReadsFalseSilentlyAndLeavesTheDocument) {
  Json::Value out = 5;
  EXPECT_FALSE(Read(out));
  EXPECT_EQ(Json::Value(5), out);
}

TEST_F(TarvelJsonFileTest, TextThatIsNoJsonReadsFalseSilently) {
  for (const char* text : {"", "  ", "a=1", "{", "{\"a\": }"}) {
    SCOPED_TRACE(text);
    WriteFile(path_, text);
    Json::Value out;
    EXPECT_FALSE(Read(out));
  }
}

TEST_F(TarvelJsonFileTest, AFailedParseMayFillTheDocumentInPart) {
  WriteFile(path_, "{\"a\": 1, b");
  Json::Value out;
  EXPECT_FALSE(Read(out));
  EXPECT_TRUE(out.isMember("a"));
}

TEST_F(TarvelJsonFileTest, ADocumentBeyondTheReadersDepthReadsFalse) {
  WriteFile(path_, std::string(1500, '['));
  Json::Value out;
  EXPECT_FALSE(Read(out));
}

TEST_F(TarvelJsonFileTest, ADocumentOfAMegabyteAndAByteReadsFalseAndIsLogged) {
  WriteFile(path_, "[" + std::string(kLimit - 1, ' ') + "]");
  Json::Value out;
  EXPECT_FALSE(Read(out));
  ExpectLogged("tarvel (#) Can't read file > 1MB.");
}

TEST_F(TarvelJsonFileTest, ADocumentIsWrittenBesideItsTargetAndRenamedOverIt) {
  WriteFile(path_, "old");
  EXPECT_TRUE(Write(Doc("{'b': 1, 'a': 'x'}")));
  EXPECT_EQ("{\n   \"a\" : \"x\",\n   \"b\" : 1\n}\n", FileContent(path_));
  EXPECT_FALSE(FileExists(path_ + ".tmp"));
  EXPECT_THAT(Calls(),
              ElementsAre("fopen " + path_ + ".tmp w+", "fputs", "fclose", "rename " + path_ + ".tmp " + path_));
}

TEST_F(TarvelJsonFileTest, FilesGetTheProcessesDefaultMode) {
  const mode_t before = umask(027);
  EXPECT_TRUE(Write(1));
  umask(before);
  struct stat info;
  ASSERT_EQ(0, stat(path_.c_str(), &info));
  EXPECT_EQ(0640u, info.st_mode & 0777u);
}

TEST_F(TarvelJsonFileTest, ALeftOverTemporaryFileIsOverwrittenAndNeverRead) {
  WriteFile(path_ + ".tmp", "{\"half\": ");
  Json::Value out;
  EXPECT_FALSE(Read(out));
  EXPECT_TRUE(Write(Doc("[]")));
  EXPECT_EQ("[]\n", FileContent(path_));
}

TEST_F(TarvelJsonFileTest, CommentsSurviveReadingAndWriting) {
  WriteFile(path_, "// note\n{ \"a\" : 1 }\n");
  Json::Value document;
  ASSERT_TRUE(Read(document));
  EXPECT_TRUE(Write(document));
  EXPECT_THAT(FileContent(path_), HasSubstr("// note\n"));
}

TEST_F(TarvelJsonFileTest, WritingIntoAMissingDirectoryIsLoggedAndTrue) {
  const std::string path = ScratchPath("missing/record");
  Json::Value value;
  EXPECT_TRUE(Request().WriteTmp(path.c_str(), value));
  ExpectLogged("tarvel(#) Failed to fopen " + path + ".tmp, reason=No such file or directory.\n");
  EXPECT_FALSE(FileExists(path));
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path + ".tmp w+")) << "nothing is renamed";
}

TEST_F(TarvelJsonFileTest, AFailedWriteOrRenameIsNotNoticed) {
  for (const char* call : {"fputs", "fclose", "rename"}) {
    SCOPED_TRACE(call);
    machine().FailNext(call, ENOSPC);
    EXPECT_TRUE(Write(1));
    EXPECT_THAT(Calls(),
                ElementsAre("fopen " + path_ + ".tmp w+", "fputs", "fclose", "rename " + path_ + ".tmp " + path_));
  }
}

TEST_F(TarvelJsonFileTest, AFailedRenameLeavesTheOldDocument) {
  WriteFile(path_, "old");
  machine().FailNext("rename", EIO);
  EXPECT_TRUE(Write(1));
  EXPECT_EQ("old", FileContent(path_));
}

TEST_F(TarvelJsonFileTest, WithoutAPathNothingIsWrittenAndTheResultIsTrue) {
  Json::Value value;
  EXPECT_TRUE(Request().WriteTmp(nullptr, value));
  EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TarvelJsonFileTest, ATemporaryNameIsCutTo4095CharactersItsEndingIncluded) {
  std::string path = ScratchPath("");
  while (path.size() < 3900) path += std::string(150, 'd') + "/";
  std::filesystem::create_directories(path.substr(0, path.size() - 1));
  path.append(4092 - path.size(), 'f');
  ASSERT_EQ(4092u, path.size());
  Json::Value value = 7;
  EXPECT_TRUE(Request().WriteTmp(path.c_str(), value));
  EXPECT_THAT(Calls(), ElementsAre("fopen " + path + ".tm w+", "fputs", "fclose", "rename " + path + ".tm " + path));
  EXPECT_EQ("7\n", FileContent(path));
}

TEST_F(TarvelJsonFileTest, TheLogShowsTheTemporaryNameAsCut) {
  const std::string path = ScratchPath("missing/" + std::string(5000, 'f'));
  Json::Value value;
  machine().FailNext("fopen", ENAMETOOLONG);
  EXPECT_TRUE(Request().WriteTmp(path.c_str(), value));
  ExpectLogged("tarvel(#) Failed to fopen " + path.substr(0, 4095) + ", reason=File name too long.\n");
}

}  // namespace
}  // namespace tarvel_test
