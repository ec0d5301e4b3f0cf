#include "host/cgi/context.h"

#include <stdio.h>
#include <stdio_ext.h>
#include <stdlib.h>

#include <new>

#include "host/cgi/request_body.h"

namespace {

// Header block and body of an ordinary reply leave in one write: a pipe takes this much at once.
constexpr size_t kOutputBytes = 64 * 1024;

// Only before the first output: from then on the stream has a buffer, and keeps it.
void BufferOutputWhole() {
  if (__fbufsize(stdout) != 0) return;
  // From the heap, and the stream's until the end: a static array of this size is a mapping more at every start.
  static char* buffer = nullptr;
  if (buffer == nullptr) buffer = static_cast<char*>(malloc(kOutputBytes));
  if (buffer != nullptr) setvbuf(stdout, buffer, _IOFBF, kOutputBytes);
}

}  // namespace

int KestCgiInit(const char* textRoot, KESTCGI* ctx) {
  if (ctx == nullptr) return -1;
  *ctx = KESTCGI{};
  BufferOutputWhole();
  kest::DropUnreadBodyAtExit();
  return kest::Guarded(-1, [&] {
    auto core = std::make_unique<KestCgiCore>();
    if (textRoot != nullptr) core->text_root = textRoot;
    ctx->core = core.release();
    return 0;
  });
}

void KestCgiFree(KESTCGI* ctx) {
  if (ctx == nullptr) return;
  delete ctx->core;
  ctx->core = nullptr;
}
