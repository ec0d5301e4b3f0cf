#include <md4.h>

#include <cstring>

#include "host/klib/error_code.h"
#include "platform/klib.h"

int KLIBSmbMd4Hash(const char* text, unsigned char* digest, int size) {
  if (text == nullptr || digest == nullptr || size < MD4_DIGEST_LENGTH) {
    return kest::FailWith(kest::kErrorBadParameter);
  }
  MD4_CTX context;
  MD4Init(&context);
  MD4Update(&context, reinterpret_cast<const unsigned char*>(text), strlen(text));
  MD4Final(digest, &context);
  return 0;
}
