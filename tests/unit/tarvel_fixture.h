#ifndef TESTS_UNIT_TARVEL_FIXTURE_H
#define TESTS_UNIT_TARVEL_FIXTURE_H

#include <memory>

#include "support/platform_test.h"
#include "tarvel.h"

namespace tarvel_test {

/// A request object, made without reading parameters when the test first asks for it; the calls that this takes are
/// expected and no longer among Calls().
class TarvelTest : public PlatformTest {
 protected:
  Tarvel& Request() {
    if (!request_) {
      ExpectRequest();
      request_ = std::make_unique<Tarvel>(false);
      Calls();
    }
    return *request_;
  }
  void EndRequest() { request_.reset(); }

 private:
  std::unique_ptr<Tarvel> request_;
};

}  // namespace tarvel_test

#endif  // TESTS_UNIT_TARVEL_FIXTURE_H
