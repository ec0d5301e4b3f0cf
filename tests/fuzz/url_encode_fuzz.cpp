// Percent-encoding: bounded, made of unreserved characters, and undone by the decoder.
#include "fuzz_input.h"
#include "host/cgi/form_decode.h"
#include "platform/kestcgi.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const int bound = static_cast<int>(input.Choice(256));
  const std::string text = input.TextRest();
  // One zeroed byte more than the bound, as callers have it; the byte behind must stay.
  std::string buffer(static_cast<size_t>(bound) + 1, '\0');
  buffer.push_back('#');
  const int length = KestCgiURLEncode(text.c_str(), buffer.data(), bound);
  Require(buffer[static_cast<size_t>(bound)] == '\0' && buffer.back() == '#' && length <= bound);

  std::string whole(3 * text.size() + 1, '\0');
  const int all = KestCgiURLEncode(text.c_str(), whole.data(), static_cast<int>(whole.size() - 1));
  Require(all >= 0 && static_cast<size_t>(all) == whole.find('\0'));
  Require((length < 0) == (all > bound));
  if (length >= 0) Require(whole.compare(0, static_cast<size_t>(all), buffer.c_str()) == 0);

  kest::TextPairs pairs;
  Require(kest::DecodeForm("a=" + whole.substr(0, static_cast<size_t>(all)), &pairs) == 1);
  Require(text == pairs.Find("a"));
  return 0;
}
