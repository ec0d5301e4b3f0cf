#ifndef TESTS_UNIT_FORM_FIXTURE_H
#define TESTS_UNIT_FORM_FIXTURE_H

#include <cstdio>
#include <memory>
#include <string>

#include "form_handler.h"
#include "support/mock_kestcgi.h"
#include "support/platform_test.h"

namespace tarvel_test {

/// A form that notes which of its operations ran.
class Form : public ServerFormHandler {
 public:
  explicit Form(bool load_params) : ServerFormHandler(load_params) {}

  int Authenticate() override { return authentication; }
  int Load() override {
    done += "load ";
    return 31;
  }
  int Apply() override {
    done += "apply ";
    return 32;
  }
  Tarvel& Request() { return request; }

  int authentication = 1;
  std::string done;
};

/// One form whose request has the fields that HasForm() gives.
class FormTest : public PlatformTest {
 protected:
  FormTest() {
    ExpectRequest();
    form_ = std::make_unique<Form>(false);
    Calls();
  }
  Form& form() { return *form_; }

  /// Expects the headers of one reply; they print as "[headers]".
  void ExpectReplyHeaders() {
    ::testing::InSequence in_order;
    EXPECT_CALL(cgi(), KestCgiSetHTTPHeader(::testing::_, ::testing::StrEq("Content-type"),
                                            ::testing::StrEq("text/plain; charset=\"UTF-8\"")))
        .WillOnce(::testing::Return(1));
    EXPECT_CALL(cgi(), KestCgiPrintHTTPHeader(::testing::_)).WillOnce([](KESTCGI*) {
      std::printf("[headers]\n");
      return 1;
    });
  }
  /// What ReportError() writes for what has been recorded.
  std::string ErrorReply() {
    ExpectReplyHeaders();
    form().ReportError();
    return Printed();
  }

 private:
  std::unique_ptr<Form> form_;
};

/// The reply that lists one invalid field, or more: the members of "errors" as they are printed.
inline std::string InvalidReply(const std::string& members) {
  return "[headers]\n{\n   \"errors\" : {\n" + members + "   },\n   \"success\" : false\n}\n";
}

}  // namespace tarvel_test

#endif  // TESTS_UNIT_FORM_FIXTURE_H
