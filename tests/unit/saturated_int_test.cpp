#include "internal/saturated_int.h"

#include <gtest/gtest.h>

#include <climits>

namespace tarvel_test {
namespace {

struct NumberRow {
  int line;
  const char* text;
  int number;
};

constexpr NumberRow kNumberRows[] = {
    {__LINE__, "0", 0},
    {__LINE__, "12", 12},
    {__LINE__, "-12", -12},
    {__LINE__, "+12", 12},
    {__LINE__, " \t\n12", 12},
    {__LINE__, "012", 12},
    {__LINE__, "0x12", 0},
    {__LINE__, "12px", 12},
    {__LINE__, "1 2", 1},
    {__LINE__, "", 0},
    {__LINE__, "x12", 0},
    {__LINE__, "--1", 0},
    {__LINE__, "2147483647", INT_MAX},
    {__LINE__, "2147483648", INT_MAX},
    {__LINE__, "4294967297", INT_MAX},
    {__LINE__, "99999999999999999999999999", INT_MAX},
    {__LINE__, "-2147483648", INT_MIN},
    {__LINE__, "-2147483649", INT_MIN},
    {__LINE__, "-4294967297", INT_MIN},
    {__LINE__, "-99999999999999999999999999", INT_MIN},
};

TEST(SaturatedIntTest, ANumberBeyondIntIsTheNearestInt) {
  for (const NumberRow& row : kNumberRows) {
    EXPECT_EQ(row.number, tarvel_internal::SaturatedInt(row.text)) << __FILE__ << ":" << row.line;
  }
}

}  // namespace
}  // namespace tarvel_test
