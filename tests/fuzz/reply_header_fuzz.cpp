// Whatever a program hands in, the header block holds one line per accepted header and nothing that a header forbids.
#include "fuzz_input.h"
#include "host/cgi/header_queue.h"

namespace {

const char* OrNull(const std::string& text) { return text == "-" ? nullptr : text.c_str(); }

bool AddOne(FuzzInput* input, kest::HeaderQueue* queue) {
  const bool cookie = input->Choice(2) == 1;
  const std::string name = input->Line();
  const std::string value = input->Line();
  if (!cookie) return queue->Add(name, value);
  const std::string expires = input->TextLine();
  const std::string path = input->TextLine();
  const std::string domain = input->TextLine();
  kest::CookieToSend sent{name.c_str(), value.c_str()};
  sent.expires = OrNull(expires);
  sent.path = OrNull(path);
  sent.domain = OrNull(domain);
  sent.secure = name.size() % 2 == 0;
  sent.http_only = value.size() % 2 == 0;
  sent.same_site = "Strict";
  return queue->AddCookie(sent);
}

void RequireWellFormed(const std::string& block, size_t lines_max) {
  Require(block.size() >= 2 && block.compare(block.size() - 2, 2, "\r\n") == 0);
  size_t lines = 0;
  for (size_t at = 0; at < block.size(); ++lines) {
    const size_t end = block.find("\r\n", at);
    Require(end != std::string::npos && end - at <= kest::kHeaderLineMax + 4);
    const std::string line = block.substr(at, end - at);
    for (const char c : line) Require(c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f));
    const bool last = end + 2 == block.size();
    Require(last ? line.empty() : line.find(':') != std::string::npos && line.find(':') > 0);
    at = end + 2;
  }
  Require(lines <= lines_max + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  kest::HeaderQueue queue;
  size_t accepted = 0;
  while (!input.Empty()) accepted += AddOne(&input, &queue) ? 1 : 0;
  kest::TextPairs cookies;
  queue.AppendQueuedCookies(&cookies);
  Require(cookies.Count() <= accepted);
  RequireWellFormed(queue.TakeBlock(), accepted);
  Require(queue.TakeBlock() == "\r\n");
  return 0;
}
