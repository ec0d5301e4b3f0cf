#include "host/klib/error_code.h"
#include "platform/kestdir.h"

int KESTShareEncryptionAction(int, _tag_KEST_SHARE_ENC_*) { return kest::FailWith(kest::kErrorUnsupported); }
