#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H

#include <gmock/gmock.h>

#include "platform/kestdir.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/kestdir.h. A record that a slot receives must be freed exactly once.
class MockKestDir : public CurrentMock<MockKestDir> {
 public:
  MOCK_METHOD(int, IsDomainUG, (const char* name));
  MOCK_METHOD(int, KESTUserPrivilegeGet, (const char* name));
  MOCK_METHOD(int, ShareDefaultGet, (SHAREDEFAULTREQ * request, KESTSHARE** slot));
  MOCK_METHOD(int, KESTShareSet, (const char* existing, KESTSHARE* share, KESTCOPYARGS* move_or_null));
  MOCK_METHOD(void, KESTShareFree, (KESTSHARE * share));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTDIR_H
