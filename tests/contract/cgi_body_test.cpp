// The request's body as one line: what announces its length, and what refuses it.
#include <gtest/gtest.h>

#include <string>

#include "cgi_request.h"

namespace {

constexpr size_t kBodyMax = 1024 * 1024;

// "[line]" or "none", then the refusal if any.
std::string Line(const CgiRequest& request) {
  return request.Run([] {
    CgiContext context;
    char* const line = KestCgiGetParamLine();
    printf(line == nullptr ? "none" : "[%s]", line);
    free(line);
    KestCgiPrintHTTPHeader(context.get());
  });
}

std::string Good(const std::string& line) { return "[" + line + "]" + kNoRefusal; }
std::string Refused(const std::string& status, const std::string& reason) {
  return "none" + RefusalBlock(status, reason);
}

TEST(CgiBody, GetAndHeadHaveTheirQuery) {
  EXPECT_EQ(Good("a=%41&b"), Line(CgiRequest::Get("a=%41&b")));
  EXPECT_EQ(Good("a=1"), Line(CgiRequest::Get("a=1").Set("REQUEST_METHOD", "HEAD")));
  EXPECT_EQ(Good(""), Line(CgiRequest::Get("")));
}

TEST(CgiBody, PostAndPutHaveTheirBody) {
  EXPECT_EQ(Good("a=1&b=2"), Line(CgiRequest::Post("a=1&b=2")));
  EXPECT_EQ(Good("{\"a\": 1}"), Line(CgiRequest::Post("{\"a\": 1}", "application/json")));
  EXPECT_EQ(Good("a=1"), Line(CgiRequest::Post("a=1").Set("REQUEST_METHOD", "PUT")));
  EXPECT_EQ(Good("a=1"), Line(CgiRequest::Post("a=1").Set("QUERY_STRING", "b=2")));
}

TEST(CgiBody, OtherMethodsAndUploadsHaveNoLine) {
  EXPECT_EQ(std::string("none") + kNoRefusal, Line(CgiRequest::Get("a=1").Set("REQUEST_METHOD", "DELETE")));
  EXPECT_EQ(std::string("none") + kNoRefusal, Line(CgiRequest::Get("a=1").Set("REQUEST_METHOD", "get")));
  EXPECT_EQ(std::string("none") + kNoRefusal, Line(CgiRequest()));
  EXPECT_EQ(std::string("none") + kNoRefusal, Line(CgiRequest::Post("--b--", "multipart/form-data; boundary=b")));
}

TEST(CgiBody, ASlowClientsBodyArrivesWhole) {
  std::string body = "a=";
  for (int i = 0; i < 300; ++i) body += static_cast<char>('a' + i % 26);
  EXPECT_EQ(Good(body), Line(CgiRequest::Post(body).InPieces(1)));
}

TEST(CgiBody, ItIsReadOnceAndGivenAgain) {
  EXPECT_EQ("[a=1][a=1]", CgiRequest::Post("a=1").Run([] {
    for (int i = 0; i < 2; ++i) {
      char* const line = KestCgiGetParamLine();
      printf("[%s]", line);
      line[0] = 'x';
      free(line);
    }
  }));
}

TEST(CgiBody, ALengthThatIsNoNumberIsRefused) {
  for (const char* length : {"x", "-1", "+5", "0x10", " 3", "3 ", "3,3", "1e3"}) {
    EXPECT_EQ(Refused("400 Bad Request", "content_length"), Line(CgiRequest::Post("a=1").Set("CONTENT_LENGTH", length)))
        << length;
  }
}

TEST(CgiBody, AMissingOrEmptyLengthIsNoBody) {
  EXPECT_EQ(Good(""), Line(CgiRequest::Post("a=1").Unset("CONTENT_LENGTH")));
  EXPECT_EQ(Good(""), Line(CgiRequest::Post("a=1").Set("CONTENT_LENGTH", "")));
  EXPECT_EQ(Good(""), Line(CgiRequest::Post("a=1").Set("CONTENT_LENGTH", "0")));
}

TEST(CgiBody, AChunkedBodyWithoutLengthIsRefused) {
  CgiRequest request = CgiRequest::Post("a=1");
  request.Unset("CONTENT_LENGTH").Set("HTTP_TRANSFER_ENCODING", "chunked");
  EXPECT_EQ(Refused("411 Length Required", "length_required"), Line(request));
}

TEST(CgiBody, NothingIsReadBehindTheAnnouncedLength) {
  EXPECT_EQ(Good("a=1"), Line(CgiRequest::Post("a=1&b=2").Set("CONTENT_LENGTH", "3")));
  EXPECT_EQ("[a=1][&b=2]", CgiRequest::Post("a=1&b=2").Set("CONTENT_LENGTH", "3").Run([] {
    char* const line = KestCgiGetParamLine();
    char rest[16] = "";
    if (read(STDIN_FILENO, rest, sizeof(rest) - 1) < 0) abort();
    printf("[%s][%s]", line, rest);
    free(line);
  }));
}

TEST(CgiBody, ABodyShorterThanAnnouncedIsRefused) {
  EXPECT_EQ(Refused("400 Bad Request", "body_short"), Line(CgiRequest::Post("a=1").Set("CONTENT_LENGTH", "4")));
  EXPECT_EQ(Refused("400 Bad Request", "body_short"), Line(CgiRequest::Post("").Set("CONTENT_LENGTH", "1")));
}

TEST(CgiBody, OneMebibyteIsTakenAndOneByteMoreIsRefused) {
  const std::string body(kBodyMax, 'x');
  EXPECT_EQ(Good(body), Line(CgiRequest::Post(body)));
  EXPECT_EQ(Refused("413 Content Too Large", "body_too_large"), Line(CgiRequest::Post(body + "x")));
}

TEST(CgiBody, ALengthBeyondEveryNumberIsTooLarge) {
  for (const char* length : {"99999999999999999999", "18446744073709551616", "18446744073709551615", "1048577"}) {
    EXPECT_EQ(Refused("413 Content Too Large", "body_too_large"),
              Line(CgiRequest::Post("a=1").Set("CONTENT_LENGTH", length)))
        << length;
  }
}

TEST(CgiBody, ARefusalStaysForTheWholeRequest) {
  EXPECT_EQ("none" + RefusalBlock("400 Bad Request", "content_length") +
                "Status: 400 Bad Request\r\nx-request-refused: content_length\r\nX-A: 1\r\n\r\n",
            CgiRequest::Post("a=1").Set("CONTENT_LENGTH", "x").Run([] {
              CgiContext first, second;
              printf("%s", KestCgiGetParamLine() == nullptr ? "none" : "line");
              KestCgiPrintHTTPHeader(first.get());
              KestCgiSetHTTPHeader(second.get(), "Status", "200 OK");
              KestCgiSetHTTPHeader(second.get(), "X-A", "1");
              KestCgiPrintHTTPHeader(second.get());
            }));
}

TEST(CgiBody, TheFirstReasonCounts) {
  EXPECT_EQ(RefusalBlock("413 Content Too Large", "name_too_long"), CgiRequest::Get("").Run([] {
    CgiContext context;
    std::string too_long = std::string(300, 'n') + "=1", nul = "a=%00";
    KestCgiParseCGIParam(context.get(), &too_long[0]);
    KestCgiParseCGIParam(context.get(), &nul[0]);
    KestCgiPrintHTTPHeader(context.get());
  }));
}

TEST(CgiBody, ARefusedRequestHasNoLineAnyMore) {
  EXPECT_EQ("line none", CgiRequest::Get("a=%00").Run([] {
    CgiContext context;
    char* const line = KestCgiGetParamLine();
    KestCgiParseCGIParam(context.get(), line);
    printf("%s %s", line != nullptr ? "line" : "none", KestCgiGetParamLine() != nullptr ? "line" : "none");
    free(line);
  }));
}

TEST(CgiBody, ARefusedRequestIsNotRedirected) {
  EXPECT_EQ(
      "Status: 400 Bad Request\r\nx-request-refused: content_length\r\n"
      "Content-type: text/plain; charset=\"UTF-8\"\r\n\r\ncontent_length\n",
      CgiRequest::Post("a=1").Set("CONTENT_LENGTH", "x").Run([] {
        CgiContext context;
        free(KestCgiGetParamLine());
        KestCgiRedirect(context.get(), "/login.html");
      }));
}

TEST(CgiBody, AnUploadIsAPostOfMultipartFormData) {
  const auto is_upload = [](const char* method, const char* type) {
    return CgiRequest().Set("REQUEST_METHOD", method).Set("CONTENT_TYPE", type).Run([] {
      printf("%d", KestCgiIsUploadRequest());
    });
  };
  EXPECT_EQ("1", is_upload("POST", "multipart/form-data; boundary=x"));
  EXPECT_EQ("1", is_upload("POST", "Multipart/Form-Data;boundary=x"));
  EXPECT_EQ("1", is_upload("PUT", "multipart/form-data"));
  EXPECT_EQ("0", is_upload("GET", "multipart/form-data; boundary=x"));
  EXPECT_EQ("0", is_upload("POST", "multipart/form-database"));
  EXPECT_EQ("0", is_upload("POST", "multipart/mixed; boundary=x"));
  EXPECT_EQ("0", is_upload("POST", "text/plain; x=multipart/form-data"));
  EXPECT_EQ("0", CgiRequest().Run([] { printf("%d", KestCgiIsUploadRequest()); }));
}

}  // namespace
