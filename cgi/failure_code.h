// What KLIBErrGet() tells of a failure, as far as the programs answer differently. The library tells that something
// failed; why it did, the platform does.
#ifndef CGI_FAILURE_CODE_H
#define CGI_FAILURE_CODE_H

namespace site {

enum FailureCode {
  kDenied = 0x300,
  kNoSuchObject = 0x600,
  kTaken = 0x700,
  kBadParameter = 0xD00,
  kBusy = 0x1600,
  kNoSpace = 0x2900,
  kWrongPassphrase = 0x2D00,
  kImpossible = 0x3000,
};

}  // namespace site

#endif  // CGI_FAILURE_CODE_H
