#ifndef KEST_HOST_CGI_TEXTS_H_
#define KEST_HOST_CGI_TEXTS_H_

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "host/cgi/text_pairs.h"

namespace kest {

// Language whose texts stand in for those that another one lacks.
constexpr char kFallbackLanguage[] = "en";

// Sections of a module's localised texts, files of this form below the module's root:
//
//     texts/de.ini
//     [login]
//     error_timeout="Die Sitzung ist abgelaufen."
//
// Lines inside a section are those of a key/value file (host/klib/key_value_file.h); lines before the first section,
// and behind a section line that is broken, belong to none. A section may come in several pieces; the first line of a
// key counts.
class Texts {
 public:
  // Loads the named sections, to be searched behind those already loaded.
  // @return how many of them the language or the fallback language has
  int Load(const std::string& root, const std::string& language, const std::vector<std::string>& sections);

  // The text of a key: in the language, else in the fallback language; nullptr when both lack it.
  const char* Find(std::string_view key);

  // The same, encoded for scripts. The result lives as long as the object.
  const char* FindEncoded(std::string_view key);

 private:
  // What one call of Load asked for, and what one file had of it.
  struct Request {
    std::string fallback_path;  // "" once it was read, or when there is nothing to read
    std::vector<std::string> sections;
    std::deque<TextPairs> texts;
    std::deque<TextPairs> fallback_texts;
  };
  static void Read(const std::string& path, const std::vector<std::string>& sections, std::deque<TextPairs>* texts);
  static void ReadFallback(Request* request);

  std::deque<Request> requests_;
  TextPairs encoded_;
};

}  // namespace kest

#endif  // KEST_HOST_CGI_TEXTS_H_
