#include "spelling.h"

#include <algorithm>
#include <map>

namespace model {

namespace {

bool Has(const Texts& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

const std::string& Invalid() {
  static const std::string text = "\xff\xfe";
  return text;
}

const std::string& TooLong() {
  static const std::string text(5000, 'x');
  return text;
}

}  // namespace

std::string Folded(const std::string& name) {
  static const std::map<std::string, std::string> kByHand = {
      {"JÖRG", "jörg"},   {"Jörg", "jörg"},     {"straße", "strasse"}, {"STRASSE", "strasse"}, {"Übung", "übung"},
      {"ÜBUNG", "übung"}, {"MÚSICA", "música"}, {"Música", "música"},  {"JÖ", "jö"},           {"MÚ", "mú"}};
  // Of a group in an access list.
  if (name[0] == '@') return "@" + Folded(name.substr(1));
  const auto found = kByHand.find(name);
  if (found != kByHand.end()) return found->second;
  std::string folded = name;
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

bool IsSame(const std::string& a, const std::string& b) { return Folded(a) == Folded(b); }

bool BeginsWith(const std::string& name, const std::string& prefix) {
  return Folded(name).rfind(Folded(prefix), 0) == 0;
}

const Texts& People() {
  static const Texts texts = {"anna", "ANNA", "Anna",   "bert",    "Bert",      "carla", "dora",  "Dora", "emil",
                              "jörg", "JÖRG", "straße", "STRASSE", "o'neil --", "x%s y", "rsync", "Rsync"};
  return texts;
}

const Texts& Teams() {
  static const Texts texts = {"editors", "users",     "Editors", "authors",      "übung", "administrators",
                              "guests",  "Guests %n", "Users",   "x' OR '1'='1", "ÜBUNG"};
  return texts;
}

const Texts& NoNames() {
  static const Texts texts = {"",     ".",  "..", "a/b", "a,b",  "a:b",     "@a",     "a\\b",
                              "a\"b", "-a", " a", "a ",  "a\nb", Invalid(), TooLong()};
  return texts;
}

const Texts& Prefixes() {
  static const Texts texts = {"",   "a",  "A",  "an", "ANNA", "e", "jö", "JÖ", "stras", "STRASSE",
                              "x%", "x'", "zz", "g",  "PH",   "v", "m",  "MÚ", "mú",    "MY F"};
  return texts;
}

const Texts& Folders() {
  static const Texts texts = {"photo",  "Photo",  "PHOTO",    "video", "Video",
                              "música", "MÚSICA", "my files", "a'b",   "web"};
  return texts;
}

const Texts& NoFolders() {
  static const Texts texts = {"", "a/b", ".a", "a,b", "a%b", " a", "a@b", "a\tb", Invalid(), std::string(33, 'x')};
  return texts;
}

const Texts& NoPaths() {
  static const Texts texts = {"", "a\tb", ".", "..", "@tmp", "lost+found"};
  return texts;
}

const Texts& Descriptions() {
  static const Texts texts = {
      "", "Anna of accounting", "Jörg & <b>", "'; --", "anna@example.org", "two\nlines", Invalid(), TooLong()};
  return texts;
}

bool IsDescription(const std::string& text) { return text != Invalid() && text != TooLong(); }
bool IsMail(const std::string& text) { return IsDescription(text) && text.find('\n') == std::string::npos; }
bool IsName(const std::string& name) { return !Has(NoNames(), name); }
bool IsFolder(const std::string& name) { return !Has(NoFolders(), name); }
bool IsPath(const std::string& folder) { return !Has(NoPaths(), folder); }

}  // namespace model
