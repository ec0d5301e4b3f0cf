#include "template.h"

#include <cstddef>
#include <cstring>

// What assert() ends in. Declared here because <cassert> leaves it out of builds without assertions.
extern "C" [[noreturn]] void __assert_fail(const char* expression, const char* file, unsigned int line,
                                           const char* function) noexcept;

namespace {

constexpr char kSource[] = "template";

// Inside the brackets a backslash stands for itself, so a name with one makes no placeholder; kept on purpose.
constexpr char kPlaceholder[] = "\\{([^\\{\\}]*)\\}";
constexpr char kCompilation[] = "0 == regcomp(&_regobj, \"\\\\{([^\\\\{\\\\}]*)\\\\}\", 1)";
constexpr char kFunction[] = "void WebUtils::Template::InitTemplate()";
constexpr int kStreamPieceBytes = 2048;
constexpr size_t kNameBytes = 128;

}  // namespace

WebUtils::Template::Template() { InitTemplate(); }

WebUtils::Template::Template(const char* text) : text_(text) { InitTemplate(); }

WebUtils::Template::~Template() { regfree(&_regobj); }

void WebUtils::Template::InitTemplate() {
  // Not the assert macro, which leaves the whole compilation out of some builds.
  if (regcomp(&_regobj, kPlaceholder, REG_EXTENDED) != 0) __assert_fail(kCompilation, kSource, __LINE__, kFunction);
}

void WebUtils::Template::ReadFromStream(FILE* stream) {
  text_.clear();
  char piece[kStreamPieceBytes];
  while (std::fgets(piece, sizeof piece, stream) != nullptr) text_.append(piece);
}

std::string WebUtils::Template::ApplyValues(const Json::Value& values) {
  std::string result;
  // Values are mostly longer than their names; with too little room a long page would be copied to get more.
  result.reserve(text_.size() + text_.size() / 2);
  size_t position = 0;
  int flags = 0;
  for (;;) {
    const char* rest = text_.c_str() + position;
    // The end is handed over, or each search would first look for it and a long template take the square of its length.
    regmatch_t match = {0, static_cast<regoff_t>(text_.size() - position)};
    if (regexec(&_regobj, rest, 1, &match, flags | REG_STARTEND) != 0) return result.append(text_, position);
    const auto start = static_cast<size_t>(match.rm_so);
    const auto end = static_cast<size_t>(match.rm_eo);
    const size_t name_length = end - start - 2;
    // Deliberate: "{}" is found again and again, for ever. Templates are known to hold none.
    if (name_length < 1) continue;

    char name[kNameBytes + 1] = "";
    std::memcpy(name, rest + start + 1, name_length < kNameBytes ? name_length : kNameBytes);
    if (values.isMember(name)) {
      result.append(rest, start).append(values[name].asString());
    } else {
      result.append(rest, end);
    }
    position += end;
    flags = REG_NOTBOL;
  }
}
