#include "host/cgi/context.h"

#include <stdio.h>
#include <stdio_ext.h>

#include <new>

#include "host/cgi/request_body.h"
#include "host/identity/capabilities.h"

namespace {

// Header block and body of an ordinary reply leave in one write: a pipe takes this much at once.
constexpr size_t kOutputBytes = 64 * 1024;
char g_output[kOutputBytes];

// Only before the first output: from then on the stream has a buffer, and keeps it.
void BufferOutputWhole() {
  if (__fbufsize(stdout) == 0) setvbuf(stdout, g_output, _IOFBF, sizeof(g_output));
}

}  // namespace

int KestCgiInit(const char* textRoot, KESTCGI* ctx) {
  if (ctx == nullptr) return -1;
  *ctx = KESTCGI{};
  BufferOutputWhole();
  kest::DropUnreadBodyAtExit();
  // The right to take on an account is the program's, not that of what it starts.
  kest::KeepCapabilitiesFromChildren();
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
