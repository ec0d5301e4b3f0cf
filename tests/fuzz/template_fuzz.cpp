// Templates and values of any bytes, against a scanner written by hand. The one endless search, "{}", is taken out.
#include <cstdio>
#include <map>

#include "fuzz_input.h"
#include "template.h"

namespace {

constexpr size_t kNameBytes = 128;
constexpr size_t kPieceBytes = 2047;

using Members = std::map<std::string, std::string>;

std::string Filled(const std::string& text, const Members& members) {
  std::string filled;
  for (size_t i = 0; i < text.size();) {
    const size_t end = text[i] == '{' ? text.find_first_of("{}\\", i + 1) : std::string::npos;
    if (end == std::string::npos || text[end] != '}') {
      filled += text[i++];
      continue;
    }
    const auto member = members.find(text.substr(i + 1, end - i - 1).substr(0, kNameBytes));
    filled += member != members.end() ? member->second : text.substr(i, end + 1 - i);
    i = end + 1;
  }
  return filled;
}

// What a reader of lines keeps: of each piece what stands before its first NUL.
std::string Kept(const std::string& bytes) {
  std::string kept;
  for (size_t at = 0; at < bytes.size();) {
    const size_t line = bytes.find('\n', at);
    size_t piece = (line == std::string::npos ? bytes.size() : line + 1) - at;
    if (piece > kPieceBytes) piece = kPieceBytes;
    kept += bytes.substr(at, piece).c_str();
    at += piece;
  }
  return kept;
}

std::string WithoutEmptyPlaceholders(std::string text) {
  for (size_t at = text.find("{}"); at != std::string::npos; at = text.find("{}", at)) text.insert(at + 1, " ");
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  Members members;
  Json::Value values;
  for (unsigned count = input.Choice(8); count > 0 && !input.Empty(); --count) {
    const std::string name = input.TextLine();
    values[name] = members[name] = input.Line();
  }
  const std::string bytes = input.Rest();

  const std::string text = WithoutEmptyPlaceholders(bytes.c_str());
  WebUtils::Template page(text.c_str());
  const std::string filled = Filled(text, members);
  Require(page.ApplyValues(values) == filled);
  Require(page.ApplyValues(Json::Value()) == text);
  Require(page.ApplyValues(values) == filled);

  const std::string kept = Kept(bytes);
  if (bytes.empty() || kept.find("{}") != std::string::npos) return 0;
  FILE* const stream = fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "r");
  Require(stream != nullptr);
  page.ReadFromStream(stream);
  fclose(stream);
  Require(page.ApplyValues(values) == Filled(kept, members));
  return 0;
}
