#include "string_bundle.h"

#include <cstddef>

namespace {

constexpr const char* kRoots[] = {
    "/usr/kest/kestman/tarvel", "/usr/kest/kestman/audio",        "/usr/kest/kestman/download",
    "/usr/kest/kestman/webfm",  "/usr/kest/kestman/surveillance", "/usr/kest/kestman/scripts",
};

const char* RootOf(StringBundle::STRMODULE module) {
  // Unsigned, so that a negative value is out of range too.
  const auto index = static_cast<unsigned int>(module);
  return index < sizeof kRoots / sizeof kRoots[0] ? kRoots[index] : kRoots[0];
}

}  // namespace

StringBundle::StringBundle(STRMODULE module, char* s1, char* s2, char* s3, char* s4, char* s5, char* s6) {
  KestCgiInit(RootOf(module), &context_);
  KestCgiLoadText(&context_, s1, s2, s3, s4, s5, s6, static_cast<char*>(nullptr));
}

StringBundle::StringBundle(char* s1, char* s2, char* s3, char* s4, char* s5, char* s6)
    : StringBundle(static_cast<STRMODULE>(0), s1, s2, s3, s4, s5, s6) {}

StringBundle::~StringBundle() { KestCgiFree(&context_); }

const char* StringBundle::Text(const char* key, const char* second) { return KestCgiGetText(&context_, key, second); }

const char* StringBundle::TextJscript(const char* key, const char* second) {
  return KestCgiGetEncodeText(&context_, key, second);
}
