// Uploads: what a program finds of fields and files.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <string>

#include "cgi_request.h"
#include "scratch_directory.h"
#include "upload_body.h"

namespace {

std::string UploadedName(const std::string& client_name) {
  return Upload(UploadRequest(UploadBody().File("f", client_name, "x").End()), {"f"});
}

std::string Named(const std::string& name) { return "1 f=[" + name + "] 1:x" + kNoRefusal; }

TEST(CgiUpload, AFileAndAFieldArrive) {
  const std::string body = UploadBody().Field("a", "1").File("f", "report.pdf", "content").Field("b", "").End();
  EXPECT_EQ(std::string("1 a=[1] b=[] f=[report.pdf] 7:content") + kNoRefusal,
            Upload(UploadRequest(body), {"a", "b", "f"}));
}

TEST(CgiUpload, SeveralFilesArrive) {
  const std::string body = UploadBody().File("f", "1.txt", "one").File("g", "2.txt", "two").End();
  EXPECT_EQ(std::string("2 f=[1.txt] 3:one g=[2.txt] 3:two") + kNoRefusal, Upload(UploadRequest(body), {"f", "g"}));
}

TEST(CgiUpload, NoFileChosenAnEmptyFileAndAnAbsentFieldDiffer) {
  const std::string body = UploadBody().File("none", "", "").File("empty", "e.txt", "").End();
  EXPECT_EQ(std::string("1 none=[] empty=[e.txt] 0:") + kNoRefusal,
            Upload(UploadRequest(body), {"none", "empty", "absent"}));
}

TEST(CgiUpload, ContentIsKeptToTheByte) {
  const std::string contents[] = {"",
                                  "\r",
                                  "\n",
                                  "\r\n",
                                  "\r\n\r\n",
                                  "A\r",
                                  "A\r\n",
                                  "A\r\n-",
                                  "A\r\n--",
                                  "A\n--b",
                                  "--bound",
                                  "\n--bound",
                                  "A\n--bound\nB",
                                  "A\r\n--boun",
                                  "A\r\n--boundX\r\nB",
                                  "A\r\n--bound-",
                                  "A\r\n--bound--X",
                                  "A\r\n--bound B",
                                  "A\r\n--bound-\r\n",
                                  "\r\n\r\n\r\n--",
                                  std::string("N\0N", 3),
                                  std::string(1, '\0'),
                                  "\xFF\xFE\x80"};
  for (const std::string& content : contents) {
    const std::string expected = "1 f=[x] " + std::to_string(content.size()) + ":" + content + kNoRefusal;
    const std::string body = UploadBody().File("f", "x", content).End();
    EXPECT_EQ(expected, Upload(UploadRequest(body), {"f"}));
    EXPECT_EQ(expected, Upload(UploadRequest(body).InPieces(1), {"f"})) << "byte by byte";
  }
}

TEST(CgiUpload, ABoundaryAcrossAReadsEdgeIsFound) {
  // Around the size of any sensible buffer, the delimiter moves over the edge byte by byte.
  for (size_t size : {4096u, 65536u, 131072u}) {
    for (size_t shift = 0; shift < 140; ++shift) {
      const std::string content(size - shift, 'x');
      const std::string seen = Upload(UploadRequest(UploadBody().File("f", "x", content).Field("b", "1").End()), {"b"});
      ASSERT_EQ(std::string("1 b=[1]") + kNoRefusal, seen) << size << " - " << shift;
    }
  }
  const std::string content(300000, 'y');
  EXPECT_EQ("1 f=[x] 300000:" + content + kNoRefusal,
            Upload(UploadRequest(UploadBody().File("f", "x", content).End()).InPieces(7001), {"f"}));
}

TEST(CgiUpload, TheBoundaryMayBeQuotedLongAndHoldBlanks) {
  for (const std::string& boundary : {std::string("b"), std::string(70, 'b'), std::string("a b'()+_,-./:=?c"),
                                      std::string("----WebKitFormBoundary7MA4YWx")}) {
    const std::string body =
        "--" + boundary + "\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--" + boundary + "--\r\n";
    EXPECT_EQ(std::string("0 a=[1]") + kNoRefusal, Upload(UploadRequest(body, "\"" + boundary + "\""), {"a"}))
        << boundary;
  }
  const std::string body = UploadBody().Field("a", "1").End();
  for (const char* type :
       {"multipart/form-data;boundary=bound", "Multipart/Form-Data; BOUNDARY=bound; charset=utf-8",
        "multipart/form-data; charset=utf-8; boundary=\"bound\";", "multipart/form-data ; boundary=bound ;"}) {
    EXPECT_EQ(std::string("0 a=[1]") + kNoRefusal, Upload(CgiRequest::Post(body, type), {"a"})) << type;
  }
}

TEST(CgiUpload, PreambleEpilogueAndPaddingArePassedOver) {
  const std::string part = "Content-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n";
  const std::string good = std::string("0 a=[1]") + kNoRefusal;
  EXPECT_EQ(good, Upload(UploadRequest("preamble\r\n--bound\r\n" + part + "--bound--\r\nepilogue"), {"a"}));
  EXPECT_EQ(good, Upload(UploadRequest("\r\n--bound\r\n" + part + "--bound--\r\n"), {"a"}));
  EXPECT_EQ(good, Upload(UploadRequest("--bound \t\r\n" + part + "--bound-- \r\n"), {"a"}));
  EXPECT_EQ(good, Upload(UploadRequest("--bound\r\n" + part + "--bound--"), {"a"}));
  EXPECT_EQ(good, Upload(UploadRequest("--bound\r\n" + part + "--bound-- "), {"a"}));
}

TEST(CgiUpload, AnUploadWithoutPartsIsEmpty) {
  EXPECT_EQ(std::string("0") + kNoRefusal, Upload(UploadRequest("--bound--\r\n"), {"a"}));
}

TEST(CgiUpload, HeaderLinesMayComeInAnyOrderAndCase) {
  EXPECT_EQ(Named("y"), Upload(UploadRequest(UploadBody()
                                                 .Part("X-Other: 1\r\nCONTENT-DISPOSITION:FORM-DATA; FileName=\"y\"; "
                                                       "Name=f\r\ncontent-transfer-encoding: Binary\r\n",
                                                       "x")
                                                 .End()),
                               {"f"}));
}

TEST(CgiUpload, OnlyTheBaseOfAClientsFileNameIsKept) {
  EXPECT_EQ(Named("passwd"), UploadedName("../../../etc/passwd"));
  EXPECT_EQ(Named("x"), UploadedName("..\\..\\x"));
  EXPECT_EQ(Named("photo.jpg"), UploadedName("C:\\Users\\anna\\photo.jpg"));
  EXPECT_EQ(Named("shadow"), UploadedName("/etc/shadow"));
  EXPECT_EQ(Named("b"), UploadedName("a/\\b"));
  EXPECT_EQ(Named("unnamed"), UploadedName("."));
  EXPECT_EQ(Named("unnamed"), UploadedName(".."));
  EXPECT_EQ(Named("unnamed"), UploadedName("../"));
  EXPECT_EQ(Named("unnamed"), UploadedName("   "));
  EXPECT_EQ(Named("unnamed"), UploadedName(""));
  EXPECT_EQ(Named("..."), UploadedName("..."));
  EXPECT_EQ(Named("a b"), UploadedName(" a b "));
  EXPECT_EQ(Named("a\"b"), UploadedName("a\\\"b"));
  EXPECT_EQ(Named("a%22b"), UploadedName("a%22b"));
  EXPECT_EQ(Named("-rf"), UploadedName("-rf"));
}

TEST(CgiUpload, AFileNameBecomesValidText) {
  EXPECT_EQ(Named("\xC3\xA4\xE5\xAE\x89.txt"), UploadedName("\xC3\xA4\xE5\xAE\x89.txt"));
  EXPECT_EQ(Named("a_b"), UploadedName("a\xFF"
                                       "b"));
  EXPECT_EQ(Named("a__"), UploadedName("a\xC0\xAF"));
  EXPECT_EQ(Named("a_b_"), UploadedName("a\tb\x7f"));
  EXPECT_EQ(Named("_"), UploadedName("\xC2\x85"));
  EXPECT_EQ(Named(std::string(255, 'n')), UploadedName(std::string(255, 'n')));
  EXPECT_EQ(Named(std::string(255, 'n')), UploadedName(std::string(300, 'n')));
  EXPECT_EQ(Named(std::string(254, 'n')), UploadedName(std::string(254, 'n') + "\xC3\xA4"));
}

TEST(CgiUpload, TheStagedFileIsPrivateAndItsNameIsNoGuess) {
  const ScratchDirectory directory;
  const auto path = [&] {
    return UploadRequest(UploadBody().File("f", "x", "1").End()).Run([&] {
      CgiContext context;
      KestCgiLoadUploadData(context.get(), directory.Path().c_str(), 0);
      const char* const staged = KestCgiGetCGIParam(context.get(), "f.path", "");
      struct stat status = {};
      stat(staged, &status);
      printf("%o %s", status.st_mode & 07777, staged);
    });
  };
  const std::string first = path(), second = path();
  EXPECT_EQ("600 ", first.substr(0, 4));
  EXPECT_EQ(directory.Path().size() + 4 + 40, first.size());
  EXPECT_NE(first, second);
}

TEST(CgiUpload, AFileMovedAwayIsKeptAndTheOthersAreRemoved) {
  const ScratchDirectory directory;
  UploadRequest(UploadBody().File("f", "x", "1").File("g", "y", "2").End()).Run([&] {
    CgiContext context;
    KestCgiLoadUploadData(context.get(), directory.Path().c_str(), 0);
    rename(KestCgiGetCGIParam(context.get(), "f.path", ""), directory.Path("kept").c_str());
  });
  EXPECT_EQ(std::vector<std::string>{"kept"}, directory.Names());
  EXPECT_EQ("1", directory.Read("kept"));
}

TEST(CgiUpload, ParametersOfTheUrlStandBehindTheFields) {
  CgiRequest request = UploadRequest(UploadBody().Field("a", "body").File("f", "x", "1").End());
  request.Set("QUERY_STRING", "a=url&b=2&f=forged");
  EXPECT_EQ(std::string("1 a=[body] b=[2] f=[x] 1:1") + kNoRefusal, Upload(request, {"a", "b", "f"}));
}

TEST(CgiUpload, WhatIsNoUploadFailsWithoutRefusal) {
  EXPECT_EQ(std::string("-1") + kNoRefusal, Upload(CgiRequest::Post("a=1"), {"a"}));
  EXPECT_EQ(std::string("-1") + kNoRefusal, Upload(CgiRequest::Get("a=1"), {"a"}));
}

TEST(CgiUpload, ASecondCallFails) {
  const ScratchDirectory directory;
  EXPECT_EQ(std::string("1 -1") + kNoRefusal, UploadRequest(UploadBody().File("f", "x", "1").End()).Run([&] {
    CgiContext context, other;
    printf("%d ", KestCgiLoadUploadData(context.get(), directory.Path().c_str(), 0));
    printf("%d", KestCgiLoadUploadData(other.get(), directory.Path().c_str(), 0));
    KestCgiPrintHTTPHeader(context.get());
  }));
}

TEST(CgiUpload, NullArgumentsFail) {
  CgiContext context;
  EXPECT_LT(KestCgiLoadUploadData(nullptr, "/tmp", 0), 0);
  EXPECT_LT(KestCgiLoadUploadData(context.get(), nullptr, 0), 0);
}

}  // namespace
