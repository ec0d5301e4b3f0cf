// Escaping, splitting and joining of any bytes, each against its rule written a second time or undone.
#include "fuzz_input.h"
#include "webutils.h"

namespace {

void Replace(std::string& text, const std::string& what, const std::string& by) {
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

std::string HtmlDecoded(std::string html) {
  Replace(html, "&nbsp;", " ");
  Replace(html, "&lt;", "<");
  Replace(html, "&gt;", ">");
  Replace(html, "&amp;", "&");
  return html;
}

std::string UrlDecoded(const std::string& url) {
  std::string text;
  for (size_t i = 0; i < url.size(); ++i) {
    if (url[i] != '%') {
      text += url[i];
      continue;
    }
    text += static_cast<char>(std::stoi(url.substr(i + 1, 2), nullptr, 16));
    i += 2;
  }
  return text;
}

std::vector<std::string> Pieces(const std::string& text, const std::string& delimiters) {
  std::vector<std::string> pieces(1);
  for (const char byte : text) {
    if (delimiters.find(byte) == std::string::npos) {
      pieces.back() += byte;
    } else if (!pieces.back().empty()) {
      pieces.emplace_back();
    }
  }
  if (pieces.back().empty()) pieces.pop_back();
  return pieces;
}

char Lower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

bool EndsWith(const std::string& name, const std::string& extension) {
  if (extension.empty() || name.size() <= extension.size()) return false;
  for (size_t i = 1; i <= extension.size(); ++i) {
    if (Lower(name[name.size() - i]) != Lower(extension[extension.size() - i])) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const std::string short_text = input.TextLine();
  const std::string bytes = input.Rest();
  const std::string text = bytes.c_str();

  const std::string html = WebUtils::EncodeHtml(bytes, false);
  Require(html.find_first_of("<>") == std::string::npos && HtmlDecoded(html) == bytes);
  const std::string unbreakable = WebUtils::EncodeHtml(bytes, true);
  Require(unbreakable.find_first_of("<> ") == std::string::npos && HtmlDecoded(unbreakable) == bytes);

  const std::string url = WebUtils::EncodeURL(text.c_str());
  Require(url.size() <= 3 * text.size() && UrlDecoded(url) == text);

  const std::vector<std::string> pieces = WebUtils::StringExplode(bytes, short_text);
  Require(pieces == Pieces(text, short_text));
  const std::string glue = short_text.substr(0, 1);
  const std::string joined = WebUtils::StringImplode(pieces, glue.c_str());
  if (!glue.empty()) Require(WebUtils::StringExplode(joined, glue) == pieces);

  const size_t begin = text.find_first_not_of(" \n\t");
  Require(WebUtils::StringLeftStrip(text.c_str()) == (begin == std::string::npos ? "" : text.substr(begin)));

  Require(WebUtils::IsValidExtension(text.c_str(), short_text.c_str()) == EndsWith(text, short_text));
  Require(WebUtils::IsValidExtension((text + short_text).c_str(), short_text.c_str()) ==
          (!text.empty() && !short_text.empty()));
  return 0;
}
