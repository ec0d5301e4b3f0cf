// Files of localised texts, and their encoding for scripts.
#include "host/cgi/texts.h"

#include <sys/stat.h>

#include "fuzz_input.h"
#include "host/cgi/script_text.h"
#include "scratch_folder.h"

namespace {

// The root has its files in a folder of the name "texts".
class TextRoot {
 public:
  TextRoot() { Require(mkdir(root_.File("texts").c_str(), 0700) == 0); }
  ~TextRoot() {
    unlink(root_.File("texts/en.ini").c_str());
    unlink(root_.File("texts/de.ini").c_str());
    rmdir(root_.File("texts").c_str());
  }
  const ScratchFolder& Folder() const { return root_; }

 private:
  ScratchFolder root_;
};

void RequireHarmlessInScript(const std::string& encoded) {
  for (const char c : encoded) Require(static_cast<unsigned char>(c) >= 0x20 && c != '<' && c != '>' && c != '&');
  for (size_t i = 0; i < encoded.size(); ++i) {
    if (encoded[i] == '\\') {
      Require(++i < encoded.size());
    } else {
      Require(encoded[i] != '"' && encoded[i] != '\'');
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const TextRoot root;
  FuzzInput input(data, size);
  const std::string section = input.Line();
  const std::string key = input.Line();
  const std::string bytes = input.Rest();
  root.Folder().Put("texts/en.ini", "[login]\nonly_english=\"1\"\n");
  root.Folder().Put("texts/de.ini", bytes);

  kest::Texts texts;
  const int found = texts.Load(root.Folder().Path(), "de", {section, "login"});
  Require(found >= 1 && found <= 2);
  const char* const text = texts.Find(key);
  const char* const encoded = texts.FindEncoded(key);
  Require((text == nullptr) == (encoded == nullptr));
  if (text != nullptr) Require(encoded == kest::EncodeForScript(text));
  RequireHarmlessInScript(kest::EncodeForScript(bytes));
  Require(texts.Find("only_english") != nullptr);
  return 0;
}
