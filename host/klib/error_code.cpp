#include "host/klib/error_code.h"

#include <cerrno>

#include "platform/klib.h"

namespace {

int last_error = 0;

}  // namespace

int KLIBErrGet(void) { return last_error; }

void KLIBErrSet(int code) { last_error = code; }

namespace kest {

ErrorCode ErrorCodeOf(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
      return kErrorDenied;
    case ENOENT:
    case ENOTDIR:
      return kErrorNoSuchObject;
    case EINVAL:
      return kErrorBadParameter;
    case ENOMEM:
      return kErrorNoMemory;
    case EEXIST:
    case ENOTEMPTY:
      return kErrorTaken;
    case EBUSY:
    case ETXTBSY:
      return kErrorBusy;
    case ENOTSUP:
    case ENOSYS:
      return kErrorUnsupported;
    case ENOSPC:
    case EDQUOT:
      return kErrorNoSpace;
    default:
      return kErrorSystem;
  }
}

int FailWith(ErrorCode code) {
  last_error = code;
  return -1;
}

int AnswerOf(int result) { return result < 0 ? FailWith(static_cast<ErrorCode>(-result)) : result; }

}  // namespace kest
