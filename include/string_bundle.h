#ifndef TARVEL_STRING_BUNDLE_H
#define TARVEL_STRING_BUNDLE_H

#include "platform/kestcgi.h"
#include "tarvel_export.h"

/// @file
/// The texts of the user interface.

/// Localised texts of the user interface, by key, in the language of the request.
///
///     char login[] = "login";
///     StringBundle texts(login, nullptr, nullptr, nullptr, nullptr, nullptr);
///     texts.Text("error_timeout", "");  // "Your session has expired." for an English browser
///
/// A bundle holds the sections that its constructor names, from the string tables of one module of the user interface.
/// Texts are UTF-8. Nothing is logged and nothing is written.
class TARVEL_EXPORT StringBundle {
 public:
  /// The module of the user interface whose string tables are meant; it decides the directory that holds them.
  ///
  /// | value | directory                          |
  /// |-------|------------------------------------|
  /// | 0     | `/usr/kest/kestman/tarvel`         |
  /// | 1     | `/usr/kest/kestman/audio`          |
  /// | 2     | `/usr/kest/kestman/download`       |
  /// | 3     | `/usr/kest/kestman/webfm`          |
  /// | 4     | `/usr/kest/kestman/surveillance`   |
  /// | 5     | `/usr/kest/kestman/scripts`        |
  ///
  /// Any other value, negative ones included, means the directory of value 0. The values have no names: programs cast
  /// the number that the table gives.
  enum STRMODULE : int {};

  /// Loads up to six sections of a module's string tables.
  ///
  /// @param module  see STRMODULE
  /// @param s1,s2,s3,s4,s5,s6  names of sections, e.g. "common", "login"; the first null ends the list, so unused
  ///        trailing ones are null
  ///
  /// A failure of the platform is not reported: the texts are then unknown to Text().
  StringBundle(STRMODULE module, char* s1, char* s2, char* s3, char* s4, char* s5, char* s6);

  /// The same for module 0.
  StringBundle(char* s1, char* s2, char* s3, char* s4, char* s5, char* s6);

  /// Gives the platform context back; all texts that this object returned end with it.
  ~StringBundle();

  StringBundle(const StringBundle&) = delete;
  StringBundle& operator=(const StringBundle&) = delete;

  /// The localised text of a key.
  ///
  /// @param key     name of the text within the loaded sections, never null
  /// @param second  handed to the platform unchanged, null too; what the platform answers for an unknown key is usually
  ///                this argument
  /// @return the text, owned by this object and valid until it is destroyed, or `second`; not escaped for any use
  const char* Text(const char* key, const char* second);

  /// As Text(), with the text encoded by the platform for use inside a script's string literal.
  ///
  /// @param key     name of the text within the loaded sections, never null
  /// @param second  handed to the platform unchanged, null too
  /// @return the encoded text, owned by this object and valid until it is destroyed, or `second`
  const char* TextJscript(const char* key, const char* second);

 private:
  KESTCGI context_;
};

#endif  // TARVEL_STRING_BUNDLE_H
