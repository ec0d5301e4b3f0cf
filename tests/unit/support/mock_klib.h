#ifndef TESTS_UNIT_SUPPORT_MOCK_KLIB_H
#define TESTS_UNIT_SUPPORT_MOCK_KLIB_H

#include <gmock/gmock.h>

#include "platform/klib.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/klib.h.
class MockKlib : public CurrentMock<MockKlib> {
 public:
  MOCK_METHOD(int, BlKLIBIsIpMask, (const char* text));
  MOCK_METHOD(char*, SzKLIBStrCaseLower, (char* text));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KLIB_H
