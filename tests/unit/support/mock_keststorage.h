#ifndef TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H
#define TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H

#include <gmock/gmock.h>

#include "platform/keststorage.h"
#include "support/current_mock.h"

namespace tarvel_test {

/// platform/keststorage.h. A list that an enumeration returns must be freed exactly once.
class MockKestStorage : public CurrentMock<MockKestStorage> {
 public:
  MOCK_METHOD(KESTMOUNTVOL*, KESTMountVolInfoEnum, (int zero));
  MOCK_METHOD(void, KESTMountVolInfoFree, (KESTMOUNTVOL * list));
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_SUPPORT_MOCK_KESTSTORAGE_H
