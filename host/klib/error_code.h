#ifndef KEST_KLIB_ERROR_CODE_H_
#define KEST_KLIB_ERROR_CODE_H_

namespace kest {

/// What KLIBErrGet() reports after a failure.
enum ErrorCode : int {
  kErrorDenied = 0x300,        // EACCES, EPERM, EROFS
  kErrorNoSuchObject = 0x600,  // ENOENT, ENOTDIR
  kErrorTaken = 0x700,         // a name that another one has
  kErrorBadParameter = 0xD00,  // a null text, a value out of range
  kErrorNoMemory = 0x200,      // ENOMEM
  kErrorNoSpace = 0x2900,      // ENOSPC, EDQUOT
  kErrorSystem = 0x8100,       // anything else the system refused
};

/// The code that stands for an errno.
ErrorCode ErrorCodeOf(int error);

/// Records a failure and gives back the -1 that the caller returns.
int FailWith(ErrorCode code);

}  // namespace kest

#endif  // KEST_KLIB_ERROR_CODE_H_
