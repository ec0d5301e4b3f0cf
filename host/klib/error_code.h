#ifndef KEST_KLIB_ERROR_CODE_H_
#define KEST_KLIB_ERROR_CODE_H_

namespace kest {

/// What KLIBErrGet() reports after a failure.
enum ErrorCode : int {
  kErrorDenied = 0x300,        // EACCES, EPERM, EROFS
  kErrorNoSuchObject = 0x600,  // ENOENT, ENOTDIR
  kErrorBadParameter = 0xD00,  // a null text, a value out of range
  kErrorNoMemory = 0x200,      // ENOMEM
  kErrorTaken = 0x700,         // EEXIST, ENOTEMPTY: a name or a place that somebody else has
  kErrorBusy = 0x1600,         // EBUSY: in use, or somebody else is at it
  kErrorWrongKey = 0x2D00,     // a passphrase that does not fit
  kErrorUnsupported = 0x3000,  // ENOTSUP, ENOSYS: this machine cannot do it
  kErrorNoSpace = 0x2900,      // ENOSPC, EDQUOT
  kErrorSystem = 0x8100,       // anything else the system refused
};

/// The code that stands for an errno.
ErrorCode ErrorCodeOf(int error);

/// Records a failure and gives back the -1 that the caller returns.
int FailWith(ErrorCode code);

/// The answer of a module to the caller: 0 or more as it is; the negative of an ErrorCode is recorded and becomes -1.
int AnswerOf(int result);

}  // namespace kest

#endif  // KEST_KLIB_ERROR_CODE_H_
