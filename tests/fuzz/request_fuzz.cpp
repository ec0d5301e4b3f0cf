// A whole request as the web server hands it over: environment and standard input, read through the interface. Standard
// input gives the body once per process, so each run has a process of its own body reader only.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz_input.h"
#include "host/cgi/request_body.h"
#include "platform/kestcgi.h"

namespace {

// Puts the bytes where a program finds its body.
void SetStandardInput(const std::string& bytes) {
  static const int memory = memfd_create("body", MFD_CLOEXEC);
  Require(ftruncate(memory, 0) == 0 && lseek(memory, 0, SEEK_SET) == 0);
  Require(write(memory, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  Require(lseek(memory, 0, SEEK_SET) == 0 && dup2(memory, STDIN_FILENO) == STDIN_FILENO);
}

void SetOrUnset(const char* name, const std::string& value) {
  if (value == "-") {
    unsetenv(name);
  } else {
    setenv(name, value.c_str(), 1);
  }
}

// Every byte of the announced length that is there arrives, and none behind it.
void ReadWholeBody(const std::string& bytes) {
  uint64_t length = 0;
  if (!kest::AnnouncedLength(kest::Limit::kBodyBytes, &length)) return;
  kest::BodyReader body(length);
  std::string got;
  char buffer[97];
  int read = 0;
  while ((read = body.Read(buffer, sizeof(buffer))) > 0) got.append(buffer, static_cast<size_t>(read));
  Require(got == bytes.substr(0, length));
  Require((read < 0) == (length > bytes.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  constexpr const char* kMethods[] = {"GET", "POST", "HEAD", "PUT", "DELETE", ""};
  setenv("REQUEST_METHOD", kMethods[input.Choice(6)], 1);
  const std::string query = input.TextLine();
  SetOrUnset("QUERY_STRING", query);
  SetOrUnset("CONTENT_TYPE", input.TextLine());
  SetOrUnset("CONTENT_LENGTH", input.TextLine());
  SetOrUnset("HTTP_COOKIE", input.TextLine());
  const std::string body = input.Rest();
  SetStandardInput(body);
  if (kest::RequestHasBody()) ReadWholeBody(body);

  KESTCGI ctx = {};
  KestCgiInit("/nonexistent", &ctx);
  KestCgiLoadInCookies(&ctx);
  if (!kest::RequestHasBody()) {
    char* const line = KestCgiGetParamLine();
    if (line != nullptr) Require(query == line);
    if (line != nullptr) KestCgiParseCGIParam(&ctx, line);
    free(line);
  }
  for (const char* name : {"", "a", "id", "lang"}) {
    KestCgiGetCGIParam(&ctx, name, nullptr);
    KestCgiGetInCookies(&ctx, name, nullptr);
  }
  Require(KestCgiGetLang(&ctx) != nullptr);
  Require(KestCgiIsUploadRequest() == 0 || kest::RequestHasBody());
  KestCgiFree(&ctx);
  return 0;
}
