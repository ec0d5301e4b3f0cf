// Values of form fields against every kind of check.
#include <arpa/inet.h>

#include "form_handler.h"
#include "fuzz_input.h"
#include "platform/klib.h"

namespace {

void RequireNumberIn(const std::string& value, long min, long max) {
  const long number = strtol(value.c_str(), nullptr, 10);
  Require(number >= min && number <= max);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  const std::string format = input.TextLine();
  const std::string value = input.Rest();

  TextFieldValidator text("text", 64, false);
  if (text.Validate(value)) Require(!value.empty() && value.size() <= 64);
  Require(!text.GetInvalidErrKey().empty() || text.Validate(value));

  NumberFieldValidator number("number", -5, 65535);
  if (number.Validate(value)) RequireNumberIn(value, -5, 65535);
  NumberFieldValidator turned("turned", 1, 0);
  Require(!turned.Validate(value));

  struct in_addr address;
  IPV4Validator plain("address", false);
  Require(plain.Validate(value) == (inet_aton(value.c_str(), &address) != 0));
  IPV4Validator mask("mask", true);
  Require(mask.Validate(value) == (BlKLIBIsIpMask(value.c_str()) != 0));

  DateTimeValidator date("date", "%Y/%m/%d");
  date.Validate(value);
  DateTimeValidator usual("date", nullptr);
  usual.Validate(value);
  DateTimeValidator any("date", format.c_str());
  any.Validate(value);

  const int allowed[] = {0, 1, 2, 3};
  IntegerListValidator integers("integer", allowed, 4);
  if (integers.Validate(value)) RequireNumberIn(value, 0, 3);
  StringListValidator strings("string", {"on", "off"});
  Require(strings.Validate(value) == (value == "on" || value == "off"));
  return 0;
}
