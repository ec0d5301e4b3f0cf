#ifndef TARVEL_TEMPLATE_H
#define TARVEL_TEMPLATE_H

#include <json/value.h>
#include <regex.h>

#include <cstdio>
#include <string>

#include "tarvel_export.h"

/// @file
/// Pages out of a text with placeholders.

namespace TARVEL_EXPORT WebUtils {

/// A text with placeholders, for example a page, to be filled with values.
///
///     Json::Value values;
///     values["name"] = "Ann";
///     WebUtils::Template("Hello {name}!").ApplyValues(values);  // "Hello Ann!"
///
/// A placeholder is a name in braces: "{", any bytes but braces and backslashes, "}". Line feeds may stand in it, and
/// blanks belong to the name. Of nested braces the inner pair is the placeholder: with the value "x" for "a", "{{a}}"
/// becomes "{x}". There is no loop, no condition and no escaping.
///
/// **A template must not hold "{}"**: ApplyValues() then never returns. In a page's script write "{ }".
///
/// An object holds one compiled pattern and can be applied any number of times. Nothing here logs. Memory exhaustion
/// passes as std::bad_alloc; a pattern that cannot be compiled, which only lack of memory brings about, aborts the
/// program with an assertion's message.
class Template {
 public:
  /// An empty template, to be filled by ReadFromStream().
  Template();

  /// @param text  the template, NUL-terminated, copied; never null, and shorter than 2 GiB
  explicit Template(const char* text);

  /// Releases the pattern.
  ~Template();

  Template(const Template&) = delete;
  Template& operator=(const Template&) = delete;

  /// Compiles the pattern. Every constructor does so: a further call leaks the pattern that is already there.
  void InitTemplate();

  /// Replaces the template by all that a stream has left. The stream is neither opened nor closed nor rewound.
  ///
  /// @param stream  open for reading, never null. It is read in pieces, each to the end of a line or of 2047 bytes; of
  ///                a piece that holds a NUL byte only what stands before it counts. A read error counts as the end
  void ReadFromStream(FILE* stream);

  /// Fills the template in. The template stays as it is.
  ///
  /// @param values  an object, or null for no values. A placeholder whose name, cut to its first 128 bytes, is a
  ///                member is replaced by the member's text, which is neither escaped nor searched for placeholders;
  ///                any other stays, braces included. Numbers and truth values become text as jsoncpp writes them, a
  ///                null becomes ""
  /// @return the text. When a search runs out of memory, what has not been searched is copied as it is.
  /// @throws Json::LogicError  when there is a placeholder and `values` is an array, text, number or truth value, or
  ///                           when the member that is wanted is itself an array or object
  std::string ApplyValues(const Json::Value& values);

 private:
  regex_t _regobj;
  std::string text_;
};

}  // namespace WebUtils

#endif  // TARVEL_TEMPLATE_H
