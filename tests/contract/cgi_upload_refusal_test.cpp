// Uploads that are refused: the result is negative, no parameter is added, nothing is left in the staging directory.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <string>

#include "cgi_request.h"
#include "scratch_directory.h"
#include "upload_body.h"

namespace {

std::string Refused(const std::string& status, const std::string& reason) {
  return "-2" + RefusalBlock(status, reason);
}
const char kBad[] = "400 Bad Request";
const char kLarge[] = "413 Content Too Large";

std::string UploadOfPart(const std::string& header_lines) {
  return Upload(UploadRequest(UploadBody().Field("a", "1").Part(header_lines, "x").End()), {"a", "f"});
}

TEST(CgiUploadRefusal, ABodyCutOffAtAnyByteLeavesNothing) {
  const std::string body = UploadBody().Field("a", "1").File("f", "x", "content").File("g", "y", "more\r\n").End();
  for (size_t length = 0; length < body.size() - 2; ++length) {
    const std::string cut = body.substr(0, length);
    // The client goes away: less arrives than was announced.
    CgiRequest gone = UploadRequest(cut);
    gone.Set("CONTENT_LENGTH", std::to_string(body.size()));
    ASSERT_EQ(Refused(kBad, "body_short"), Upload(gone, {"a", "f", "g"})) << length;
    // The body is whole by its length, but its last delimiter is missing.
    ASSERT_EQ(Refused(kBad, "upload_malformed"), Upload(UploadRequest(cut), {"a", "f", "g"})) << length;
  }
}

TEST(CgiUploadRefusal, ABodyCutOffBehindTheLastDelimiterIsNoticedToo) {
  const std::string body = UploadBody().File("f", "x", "content").End() + std::string(1000, 'e');
  CgiRequest request = UploadRequest(body.substr(0, body.size() - 1));
  request.Set("CONTENT_LENGTH", std::to_string(body.size()));
  EXPECT_EQ(Refused(kBad, "body_short"), Upload(request, {"f"}));
}

TEST(CgiUploadRefusal, LineEndsWithoutCarriageReturnAreNone) {
  EXPECT_EQ(Refused(kBad, "upload_malformed"),
            Upload(UploadRequest("--bound\nContent-Disposition: form-data; name=\"a\"\n\n1\n--bound--\n"), {"a"}));
}

TEST(CgiUploadRefusal, ABoundaryMustBeThereAndBeOne) {
  const std::string body = UploadBody().Field("a", "1").End();
  const std::string too_long(71, 'b');
  for (const std::string& type :
       {std::string("multipart/form-data"), std::string("multipart/form-data; boundary="),
        std::string("multipart/form-data; boundary=\"\""), std::string("multipart/form-data; boundary=\"bound"),
        "multipart/form-data; boundary=" + too_long, std::string("multipart/form-data; boundary=\"bound \""),
        std::string("multipart/form-data; boundary=bound; boundary=bound"),
        std::string("multipart/form-data; boundary=\"b\xC3\xA4\""), std::string("multipart/form-data; boundary"),
        std::string("multipart/form-data boundary=bound")}) {
    EXPECT_EQ(Refused(kBad, "upload_malformed"), Upload(CgiRequest::Post(body, type), {"a"})) << type;
  }
}

TEST(CgiUploadRefusal, ABoundaryThatIsNotInTheBodyIsMalformed) {
  EXPECT_EQ(Refused(kBad, "upload_malformed"),
            Upload(UploadRequest(UploadBody().Field("a", "1").End(), "other"), {"a"}));
  EXPECT_EQ(Refused(kBad, "upload_malformed"), Upload(UploadRequest("", "bound"), {"a"}));
  EXPECT_EQ(Refused(kBad, "upload_malformed"), Upload(UploadRequest(std::string(300000, 'x')), {"a"}));
}

TEST(CgiUploadRefusal, APartNeedsOneUsableFieldName) {
  const char* const kHeaders[] = {
      "",
      "Content-Type: text/plain\r\n",
      "Content-Disposition: form-data\r\n",
      "Content-Disposition: form-data; name=\"\"\r\n",
      "Content-Disposition: form-data; filename=\"x\"\r\n",
      "Content-Disposition: attachment; name=\"f\"\r\n",
      "Content-Disposition: form-data; name=\"f\"; name=\"g\"\r\n",
      "Content-Disposition: form-data; name=\"f\"; filename=\"x\"; filename=\"y\"\r\n",
      "Content-Disposition: form-data; name=\"f\r\n",
      "Content-Disposition: form-data; name=f g\r\n",
      "Content-Disposition: form-data name=f\r\n",
      "Content-Disposition: form-data; name=\"f\"\r\nContent-Disposition: form-data; name=\"f\"\r\n",
      "Content-Disposition: form-data; name=\"f\"\r\nno colon\r\n",
      "Content-Disposition: form-data; name=\"f\"\r\n: no name\r\n",
      "Content-Disposition: form-data;\r\n name=\"f\"\r\n",
      "Content-Disposition: form-data; name=\"f\"\r\nContent-Transfer-Encoding: base64\r\n",
  };
  for (const char* const header : kHeaders) EXPECT_EQ(Refused(kBad, "upload_header"), UploadOfPart(header)) << header;
  EXPECT_EQ(Refused(kBad, "upload_header"),
            UploadOfPart(std::string("Content-Disposition: form-data; name=\"f\0g\"\r\n", 44)));
}

TEST(CgiUploadRefusal, NobodyMakesUpThePathOrSizeOfAFile) {
  const auto upload = [](const UploadBody& body) { return Upload(UploadRequest(body.End()), {"f"}); };
  const std::string refused = Refused(kBad, "upload_header");
  EXPECT_EQ(refused, upload(UploadBody().Field("f.path", "/etc/passwd")));
  EXPECT_EQ(refused, upload(UploadBody().Field("f.size", "1")));
  EXPECT_EQ(refused, upload(UploadBody().File("f.path", "x", "1")));
  EXPECT_EQ(refused, upload(UploadBody().Field("f", "../x").File("f", "x", "1")));
  EXPECT_EQ(refused, upload(UploadBody().File("f", "x", "1").Field("f", "../x")));
  EXPECT_EQ(refused, upload(UploadBody().File("f", "x", "1").File("f", "y", "2")));
  CgiRequest request = UploadRequest(UploadBody().File("f", "", "").End());
  EXPECT_EQ(refused, Upload(request.Set("QUERY_STRING", "f.path=/etc/passwd"), {"f"}));
  EXPECT_EQ(refused, Upload(request.Set("QUERY_STRING", "f%2Epath=/etc/passwd"), {"f"}));
}

TEST(CgiUploadRefusal, AHeaderIsBounded) {
  const std::string disposition = "Content-Disposition: form-data; name=\"f\"\r\n";
  std::string lines = disposition;
  for (int i = 0; i < 31; ++i) lines += "X-Line: 1\r\n";
  EXPECT_EQ(std::string("0 a=[1] f=[x]") + kNoRefusal, UploadOfPart(lines));
  EXPECT_EQ(Refused(kBad, "upload_header"), UploadOfPart(lines + "X-Line: 1\r\n"));
  std::string hundred = disposition;
  for (int i = 0; i < 99; ++i) hundred += "X-Line: 1\r\n";
  EXPECT_EQ(Refused(kBad, "upload_header"), UploadOfPart(hundred));
  const std::string padded = disposition + "X-Long: ";
  EXPECT_EQ(std::string("0 a=[1] f=[x]") + kNoRefusal,
            UploadOfPart(padded + std::string(8192 - padded.size() - 2, 'x') + "\r\n"));
  EXPECT_EQ(Refused(kBad, "upload_header"), UploadOfPart(padded + std::string(8192 - padded.size() - 1, 'x') + "\r\n"));
  EXPECT_EQ(Refused(kBad, "upload_header"), UploadOfPart(padded + std::string(200000, 'x') + "\r\n"));
}

TEST(CgiUploadRefusal, NamesPartsAndFieldsAreBounded) {
  const std::string longest(256, 'n');
  EXPECT_EQ("0 " + longest + "=[1]" + kNoRefusal,
            Upload(UploadRequest(UploadBody().Field(longest, "1").End()), {longest}));
  EXPECT_EQ(Refused(kLarge, "name_too_long"),
            Upload(UploadRequest(UploadBody().Field(longest + "n", "1").End()), {"f"}));

  UploadBody hundred;
  for (int i = 0; i < 100; ++i) hundred.Field("n" + std::to_string(i), "1");
  EXPECT_EQ(std::string("0 n99=[1]") + kNoRefusal, Upload(UploadRequest(hundred.End()), {"n99"}));
  EXPECT_EQ(Refused(kLarge, "upload_too_many_parts"),
            Upload(UploadRequest(hundred.Field("one", "more").End()), {"n0"}));

  const std::string mebibyte(1024 * 1024, 'x');
  EXPECT_EQ("0 a=[" + mebibyte + "]" + kNoRefusal,
            Upload(UploadRequest(UploadBody().Field("a", mebibyte).End()), {"a"}));
  EXPECT_EQ(Refused(kLarge, "upload_field_too_large"),
            Upload(UploadRequest(UploadBody().Field("a", mebibyte + "x").End()), {"a"}));
  EXPECT_EQ(Refused(kLarge, "upload_field_too_large"),
            Upload(UploadRequest(UploadBody().Field("a", mebibyte).Field("b", "x").End()), {"a"}));
}

TEST(CgiUploadRefusal, ANulInAFieldIsRefusedAndInAFileIsContent) {
  EXPECT_EQ(Refused(kBad, "nul_byte"),
            Upload(UploadRequest(UploadBody().Field("a", std::string("x\0y", 3)).End()), {"a"}));
}

TEST(CgiUploadRefusal, LengthsAreCheckedBeforeAnythingIsRead) {
  CgiRequest request = UploadRequest(UploadBody().Field("a", "1").End());
  EXPECT_EQ(Refused(kLarge, "body_too_large"), Upload(request.Set("CONTENT_LENGTH", "8589934593"), {"a"}));
  EXPECT_EQ(Refused(kBad, "content_length"), Upload(request.Set("CONTENT_LENGTH", "-1"), {"a"}));
  request.Unset("CONTENT_LENGTH").Set("HTTP_TRANSFER_ENCODING", "chunked");
  EXPECT_EQ(Refused("411 Length Required", "length_required"), Upload(request, {"a"}));
}

TEST(CgiUploadRefusal, AMissingOrReadOnlyDirectoryIsAStorageFailure) {
  const std::string refused = "-3" + RefusalBlock("507 Insufficient Storage", "upload_storage");
  for (const char* directory : {"/does/not/exist", "/proc", "", "/etc/hostname"}) {
    EXPECT_EQ(refused, UploadRequest(UploadBody().Field("a", "1").File("f", "x", "1").End()).Run([=] {
      CgiContext context;
      printf("%d", KestCgiLoadUploadData(context.get(), directory, 0));
      if (KestCgiGetCGIParam(context.get(), "a", nullptr) != nullptr) printf("(kept)");
      KestCgiPrintHTTPHeader(context.get());
    })) << directory;
  }
}

TEST(CgiUploadRefusal, AFileThatCannotBeWrittenOnLeavesNothing) {
  const ScratchDirectory directory;
  const std::string body = UploadBody().File("f", "x", "small").File("g", "y", std::string(500000, 'x')).End();
  EXPECT_EQ("-3" + RefusalBlock("507 Insufficient Storage", "upload_storage"), UploadRequest(body).Run([&] {
    CgiContext context;
    // Files may grow to 256 KiB; what prints the result is shorter.
    const rlimit limit = {256 * 1024, 256 * 1024};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    printf("%d", KestCgiLoadUploadData(context.get(), directory.Path().c_str(), 0));
    KestCgiPrintHTTPHeader(context.get());
  }));
  EXPECT_TRUE(directory.Names().empty());
}

TEST(CgiUploadRefusal, AProgramThatIsKilledOnTheWayLeavesNothing) {
  const ScratchDirectory directory;
  const std::string body = UploadBody().File("f", "x", std::string(300000, 'x')).End();
  CgiRequest request = UploadRequest(body.substr(0, 200000));
  request.Set("CONTENT_LENGTH", std::to_string(body.size()));
  EXPECT_EQ("(signal 14)", request.Run([&] {
    // Input that does not end: the client is silent, and the alarm stands for the web server's patience.
    int ends[2];
    if (pipe(ends) != 0 || write(ends[1], body.data(), 60000) != 60000) abort();
    dup2(ends[0], STDIN_FILENO);
    CgiContext context;
    alarm(1);
    printf("%d", KestCgiLoadUploadData(context.get(), directory.Path().c_str(), 0));
  }));
  EXPECT_TRUE(directory.Names().empty());
}

TEST(CgiUploadRefusal, MemoryStaysConstantWhateverTheSize) {
  const ScratchDirectory directory;
  constexpr long kFileBytes = 256l * 1024 * 1024;
  const std::string head = "--bound\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x\"\r\n\r\n";
  const std::string tail = "\r\n--bound--\r\n";
  CgiRequest request = UploadRequest("");
  request.Set("CONTENT_LENGTH", std::to_string(kFileBytes + static_cast<long>(head.size() + tail.size())));
  EXPECT_EQ("1 268435456 small", request.Run([&] {
    int ends[2];
    if (pipe(ends) != 0) abort();
    if (fork() == 0) {
      const std::string block(1024 * 1024, 'x');
      bool good = write(ends[1], head.data(), head.size()) > 0;
      for (long i = 0; good && i < kFileBytes; i += static_cast<long>(block.size())) {
        good = write(ends[1], block.data(), block.size()) > 0;
      }
      _exit(good && write(ends[1], tail.data(), tail.size()) > 0 ? 0 : 1);
    }
    dup2(ends[0], STDIN_FILENO);
    close(ends[1]);
    rusage before = {}, after = {};
    getrusage(RUSAGE_SELF, &before);
    CgiContext context;
    printf("%d ", KestCgiLoadUploadData(context.get(), directory.Path().c_str(), 0));
    getrusage(RUSAGE_SELF, &after);
    const long grown_kib = after.ru_maxrss - before.ru_maxrss;
    printf("%s ", KestCgiGetCGIParam(context.get(), "f.size", "?"));
    printf(grown_kib < 4096 ? "small" : "%ld KiB", grown_kib);
  }));
}

}  // namespace
