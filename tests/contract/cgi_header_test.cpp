// The header queue, redirects and percent-encoding.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>

#include "cgi_request.h"

namespace {

std::string Redirect(const char* url) {
  return CgiRequest::Get("").Run([=] {
    CgiContext context;
    const int result = KestCgiRedirect(context.get(), url);
    if (result != 1) printf("refused(%d)", result);
  });
}

std::string Encoded(const std::string& text) {
  std::string buffer(3 * text.size() + 1, '\0');
  const int length = KestCgiURLEncode(text.c_str(), &buffer[0], static_cast<int>(3 * text.size()));
  EXPECT_EQ(static_cast<int>(buffer.find('\0')), length);
  return buffer.c_str();
}

TEST(CgiHeader, QueuedHeadersArePrintedInTheirOrderAndOnce) {
  EXPECT_EQ("11X-B: 2\r\nx-a: 1\r\nX-B: 3\r\n\r\n1\r\n1", CgiRequest::Get("").Run([] {
    CgiContext context;
    printf("%d", KestCgiSetHTTPHeader(context.get(), "X-B", "2"));
    printf("%d", KestCgiSetHTTPHeader(context.get(), "x-a", "1"));
    KestCgiSetHTTPHeader(context.get(), "X-B", "3");
    printf("%d", KestCgiPrintHTTPHeader(context.get()));
    printf("%d", KestCgiPrintHTTPHeader(context.get()));
  }));
}

TEST(CgiHeader, TheStatusStandsInFrontAndTheLastOneCounts) {
  EXPECT_EQ("Status: 404 Not Found\r\nX-A: 1\r\n\r\n", CgiRequest::Get("").Run([] {
    CgiContext context;
    KestCgiSetHTTPHeader(context.get(), "Status", "200 OK");
    KestCgiSetHTTPHeader(context.get(), "X-A", "1");
    KestCgiSetHTTPHeader(context.get(), "status", "404 Not Found");
    KestCgiPrintHTTPHeader(context.get());
  }));
}

TEST(CgiHeader, NothingThatCouldBreakTheBlockIsQueued) {
  EXPECT_EQ("X-Tab: a\tb\r\n\r\n", CgiRequest::Get("").Run([] {
    CgiContext context;
    for (const char* value : {"a\rb", "a\nb", "a\r\nX-Evil: 1", "\x01", "\x7f"}) {
      if (KestCgiSetHTTPHeader(context.get(), "X-A", value) != 0) printf("queued %s", value);
    }
    for (const char* name : {"", "X A", "X:A", "X\r\nY", "X\n", "\xC3\xA4", "X(", "X\t"}) {
      if (KestCgiSetHTTPHeader(context.get(), name, "1") != 0) printf("queued %s", name);
    }
    KestCgiSetHTTPHeader(context.get(), "X-Tab", "a\tb");
    KestCgiPrintHTTPHeader(context.get());
  }));
}

TEST(CgiHeader, ALineOf8000BytesIsQueuedAndALongerOneIsNot) {
  CgiContext context;
  EXPECT_EQ(1, KestCgiSetHTTPHeader(context.get(), "X-A", std::string(8000 - 5, 'v').c_str()));
  EXPECT_EQ(0, KestCgiSetHTTPHeader(context.get(), "X-A", std::string(8000 - 4, 'v').c_str()));
}

TEST(CgiHeader, BytesAbove127AndAnEmptyValuePass) {
  EXPECT_EQ("X-A: \xC3\xA4\r\nX-B: \r\n\r\n", CgiRequest::Get("").Run([] {
    CgiContext context;
    KestCgiSetHTTPHeader(context.get(), "X-A", "\xC3\xA4");
    KestCgiSetHTTPHeader(context.get(), "X-B", "");
    KestCgiPrintHTTPHeader(context.get());
  }));
}

TEST(CgiHeader, NullArgumentsFail) {
  CgiContext context;
  EXPECT_EQ(0, KestCgiSetHTTPHeader(nullptr, "a", "b"));
  EXPECT_EQ(0, KestCgiSetHTTPHeader(context.get(), nullptr, "b"));
  EXPECT_EQ(0, KestCgiSetHTTPHeader(context.get(), "a", nullptr));
  EXPECT_EQ(0, KestCgiPrintHTTPHeader(nullptr));
  EXPECT_EQ(0, KestCgiRedirect(nullptr, "/"));
  EXPECT_EQ(0, KestCgiRedirect(context.get(), nullptr));
}

TEST(CgiHeader, WhatIsStillQueuedAtTheEndIsDropped) {
  EXPECT_EQ("", CgiRequest::Get("").Run([] {
    CgiContext context;
    KestCgiSetHTTPHeader(context.get(), "X-A", "1");
  }));
}

TEST(CgiHeader, HeadersAndBodyLeaveInOneWrite) {
  EXPECT_EQ("1 of 20043 bytes", CgiRequest::Get("").Run([] {
    // A socket that keeps messages apart gives one message per write.
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends) != 0) abort();
    FILE* const captured = stdout;
    stdout = fdopen(ends[1], "w");
    {
      CgiContext context;
      KestCgiSetHTTPHeader(context.get(), "Content-type", "text/plain; charset=utf-8");
      KestCgiPrintHTTPHeader(context.get());
    }
    for (int i = 0; i < 20000; ++i) putchar('x');
    fflush(stdout);
    stdout = captured;
    std::string message(65536, '\0');
    long bytes = 0, messages = 0;
    for (ssize_t got = 0; (got = read(ends[0], &message[0], message.size())) > 0; ++messages) bytes += got;
    printf("%ld of %ld bytes", messages, bytes);
  }));
}

TEST(CgiHeader, AClosedOutputFails) {
  EXPECT_EXIT(
      {
        CgiContext context;
        fclose(stdout);
        stdout = fopen("/dev/full", "w");
        setvbuf(stdout, nullptr, _IONBF, 0);
        _exit(KestCgiPrintHTTPHeader(context.get()) == 0 ? 3 : 4);
      },
      testing::ExitedWithCode(3), "");
}

TEST(CgiRedirect, StatusAndLocationPrecedeNothingButTheQueue) {
  EXPECT_EQ("Status: 302 Found\r\nLocation: /login.html?x=1#y\r\n\r\n", Redirect("/login.html?x=1#y"));
  EXPECT_EQ("Status: 302 Found\r\nLocation: https://nas.example/a%20b\r\n\r\n", Redirect("https://nas.example/a b"));
  EXPECT_EQ("Status: 302 Found\r\nLocation: /%C3%A4%41\r\n\r\n", Redirect("/\xC3\xA4%41"));
}

TEST(CgiRedirect, CookiesGoWithIt) {
  EXPECT_EQ("Status: 302 Found\r\nSet-Cookie: a=1\r\nLocation: /x\r\n\r\n", CgiRequest::Get("").Run([] {
    CgiContext context;
    KestCgiSetCookies(context.get(), "a", "1", nullptr, nullptr, nullptr, nullptr);
    KestCgiRedirect(context.get(), "/x");
  }));
}

TEST(CgiRedirect, AnEmptyUrlIsTheRoot) { EXPECT_EQ("Status: 302 Found\r\nLocation: /\r\n\r\n", Redirect("")); }

TEST(CgiRedirect, ControlCharactersPrintNothing) {
  for (const char* url : {"/a\r\nX: y", "/a\n", "/\x01", "/\x7f", "/\t"}) EXPECT_EQ("refused(0)", Redirect(url)) << url;
  EXPECT_EQ("refused(0)", Redirect(("/" + std::string(8000, 'x')).c_str()));
}

TEST(CgiUrlEncode, UnreservedCharactersStayAndTheRestIsEscaped) {
  EXPECT_EQ("azAZ09-_.~", Encoded("azAZ09-_.~"));
  EXPECT_EQ("a%20b%2Bc%2F%3F%26%3D%25", Encoded("a b+c/?&=%"));
  EXPECT_EQ("%C3%A4%FF%01%7F", Encoded("\xC3\xA4\xFF\x01\x7F"));
  EXPECT_EQ("", Encoded(""));
}

TEST(CgiUrlEncode, WhatDoesNotFitWritesNothing) {
  char buffer[8] = "unused!";
  EXPECT_LT(KestCgiURLEncode("a b", buffer, 4), 0);
  EXPECT_STREQ("unused!", buffer);
  EXPECT_EQ(5, KestCgiURLEncode("a b", buffer, 5));
  EXPECT_STREQ("a%20bd!", buffer);
  EXPECT_EQ(0, KestCgiURLEncode("", buffer, 0));
}

TEST(CgiUrlEncode, NullArgumentsFail) {
  char buffer[8];
  EXPECT_LT(KestCgiURLEncode(nullptr, buffer, 8), 0);
  EXPECT_LT(KestCgiURLEncode("a", nullptr, 8), 0);
  EXPECT_LT(KestCgiURLEncode("a", buffer, -1), 0);
}

}  // namespace
