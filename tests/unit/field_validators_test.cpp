// What each kind of field accepts, and which key it reports.

#include <climits>
#include <string>
#include <vector>

#include "form_handler.h"
#include "support/mock_klib.h"
#include "support/platform_test.h"

namespace tarvel_test {
namespace {

using ::testing::Return;
using ::testing::StrEq;

constexpr char kDefaultKey[] = "_kest_invalid_defalut_key";

struct Row {
  int line;
  const char* value;
  bool accepted;
};

template <size_t kRows>
void Check(FieldValidator& validator, const Row (&rows)[kRows]) {
  for (const Row& row : rows) {
    EXPECT_EQ(row.accepted, validator.Validate(row.value)) << __FILE__ << ":" << row.line << ": '" << row.value << "'";
    EXPECT_EQ(kDefaultKey, validator.GetInvalidErrKey()) << __FILE__ << ":" << row.line;
  }
}

TEST(TextFieldValidatorTest, FiveBytesAtMostAndNotEmpty) {
  TextFieldValidator text("t", 5, false);
  EXPECT_FALSE(text.Validate(""));
  EXPECT_EQ(kDefaultKey, text.GetInvalidErrKey());
  EXPECT_TRUE(text.Validate("12345"));
  EXPECT_EQ(kDefaultKey, text.GetInvalidErrKey());
  EXPECT_FALSE(text.Validate("123456"));
  EXPECT_EQ("error_field_too_long", text.GetInvalidErrKey());
}

TEST(TextFieldValidatorTest, OnceTooLongItSaysSoOfEveryLaterRejectionToo) {
  TextFieldValidator text("t", 5, false);
  EXPECT_FALSE(text.Validate("123456"));
  EXPECT_TRUE(text.Validate("ok"));
  EXPECT_EQ("error_field_too_long", text.GetInvalidErrKey());
  EXPECT_FALSE(text.Validate(""));
  EXPECT_EQ("error_field_too_long", text.GetInvalidErrKey());
}

TEST(TextFieldValidatorTest, LengthCountsBytesNotCharacters) {
  TextFieldValidator text("t", 5, true);
  EXPECT_TRUE(
      text.Validate("\xc3\xa4\xc3\xb6"
                    "a"));
  EXPECT_FALSE(text.Validate("\xc3\xa4\xc3\xb6\xc3\xbc"));
}

TEST(TextFieldValidatorTest, WithoutALimitAnyLengthIsAccepted) {
  TextFieldValidator text("t", 0, true);
  EXPECT_TRUE(text.Validate(""));
  EXPECT_TRUE(text.Validate(std::string(100000, 'x')));
}

TEST(TextFieldValidatorTest, WithoutALimitEmptinessIsStillTested) {
  TextFieldValidator text("t", 0, false);
  EXPECT_FALSE(text.Validate(""));
  EXPECT_TRUE(text.Validate(" "));
}

TEST(TextFieldValidatorTest, TheGreatestLimitIsNotNegative) {
  TextFieldValidator text("t", UINT_MAX, true);
  EXPECT_TRUE(text.Validate("x"));
}

constexpr Row kPortRows[] = {
    {__LINE__, "1", true},      {__LINE__, "65535", true},  {__LINE__, "0", false},
    {__LINE__, "65536", false}, {__LINE__, "12a", false},   {__LINE__, "1.5", false},
    {__LINE__, " 80", true},    {__LINE__, "\t\n80", true}, {__LINE__, "", false},
    {__LINE__, "+80", true},    {__LINE__, "-80", false},   {__LINE__, "80 ", false},
    {__LINE__, "0x10", false},  {__LINE__, "010", true},    {__LINE__, "+", false},
    {__LINE__, " ", false},     {__LINE__, "1e3", false},   {__LINE__, "99999999999999999999", false},
};

TEST(NumberFieldValidatorTest, ARangeOfPorts) {
  NumberFieldValidator number("n", 1, 65535);
  Check(number, kPortRows);
}

constexpr Row kAroundZeroRows[] = {
    {__LINE__, "", true},   {__LINE__, "0", true},   {__LINE__, "-5", true}, {__LINE__, "-6", false},
    {__LINE__, "10", true}, {__LINE__, "11", false}, {__LINE__, "-", false}, {__LINE__, "a", false},
};

TEST(NumberFieldValidatorTest, TheEmptyTextIsZero) {
  NumberFieldValidator number("n", -5, 10);
  Check(number, kAroundZeroRows);
}

TEST(NumberFieldValidatorTest, ANumberBeyondLongIsTheGreatestLong) {
  NumberFieldValidator whole("n", INT_MIN, INT_MAX);
  const bool accepted = sizeof(long) == sizeof(int);  // the greatest long is then the greatest int
  EXPECT_EQ(accepted, whole.Validate("99999999999999999999"));
  EXPECT_EQ(accepted, whole.Validate("-99999999999999999999"));
  EXPECT_EQ(accepted, whole.Validate("2147483648"));
  EXPECT_TRUE(whole.Validate("2147483647"));
  EXPECT_TRUE(whole.Validate("-2147483648"));
}

TEST(NumberFieldValidatorTest, ANumberThatWouldWrapIntoTheRangeIsRejected) {
  NumberFieldValidator number("n", 1, 10);
  EXPECT_FALSE(number.Validate("4294967301"));  // 2^32 + 5
}

constexpr Row kAddressRows[] = {
    {__LINE__, "192.168.1.1", true}, {__LINE__, "1.2.3", true},           {__LINE__, "300.1.1.1", false},
    {__LINE__, "", false},           {__LINE__, "0x7f.1", true},          {__LINE__, "1.2.3.4.5", false},
    {__LINE__, "1", true},           {__LINE__, "255.255.255.255", true}, {__LINE__, "name", false},
    {__LINE__, "1.2.3.4 x", true},   {__LINE__, " 1.2.3.4", false},
};

TEST(IPV4ValidatorTest, AnAddressIsWhatInetAtonAccepts) {
  IPV4Validator address("a", false);
  Check(address, kAddressRows);
}

class IPV4MaskTest : public PlatformTest {};

TEST_F(IPV4MaskTest, ANetmaskIsWhatThePlatformAccepts) {
  EXPECT_CALL(klib(), BlKLIBIsIpMask(StrEq("255.255.255.0"))).WillOnce(Return(1));
  EXPECT_CALL(klib(), BlKLIBIsIpMask(StrEq("1.2.3.4"))).WillOnce(Return(0));
  EXPECT_CALL(klib(), BlKLIBIsIpMask(StrEq(""))).WillOnce(Return(-1));
  IPV4Validator mask("m", true);
  EXPECT_TRUE(mask.Validate("255.255.255.0"));
  EXPECT_FALSE(mask.Validate("1.2.3.4"));
  EXPECT_TRUE(mask.Validate("")) << "every answer but 0 accepts";
  EXPECT_EQ(kDefaultKey, mask.GetInvalidErrKey());
}

constexpr Row kDateRows[] = {
    {__LINE__, "2012/03/04", true}, {__LINE__, "2012/03/04 10:00", false}, {__LINE__, "2012-03-04", false},
    {__LINE__, "", false},          {__LINE__, "2012/02/31", true},        {__LINE__, "2012/13/01", false},
    {__LINE__, "2012/ 3/ 4", true}, {__LINE__, "2012/03", false},          {__LINE__, "2012/03/04 ", false},
};

TEST(DateTimeValidatorTest, WithoutAFormatADateIsYearMonthDay) {
  DateTimeValidator date("d", nullptr);
  Check(date, kDateRows);
}

constexpr Row kTimeRows[] = {
    {__LINE__, "23:59", true},
    {__LINE__, "24:00", false},
    {__LINE__, "2012/03/04", false},
    {__LINE__, "23:59:00", false},
};

TEST(DateTimeValidatorTest, AFormatOfItsOwnDecides) {
  std::string format = "%H:%M";
  DateTimeValidator time("t", format.c_str());
  format = "copied, not referred to";
  Check(time, kTimeRows);
}

constexpr Row kListedNumberRows[] = {
    {__LINE__, "4", true},  {__LINE__, "3", false},  {__LINE__, "", false},   {__LINE__, "+2", true},
    {__LINE__, " 1", true}, {__LINE__, "1 ", false}, {__LINE__, "1x", false}, {__LINE__, "4294967297", false},
};

TEST(IntegerListValidatorTest, OneOfThreeNumbers) {
  int numbers[] = {1, 2, 4};
  IntegerListValidator list("i", numbers, 3);
  numbers[2] = 3;  // copied, not referred to
  Check(list, kListedNumberRows);
}

TEST(IntegerListValidatorTest, EmptyIsRejectedThoughZeroIsListed) {
  const int numbers[] = {0, 0, -7};
  IntegerListValidator list("i", numbers, 3);
  EXPECT_FALSE(list.Validate(""));
  EXPECT_TRUE(list.Validate("0"));
  EXPECT_TRUE(list.Validate("-7"));
}

TEST(IntegerListValidatorTest, AnEmptyListRejectsEverything) {
  IntegerListValidator none("i", nullptr, 0);
  IntegerListValidator negative("i", nullptr, -3);
  EXPECT_FALSE(none.Validate("0"));
  EXPECT_FALSE(negative.Validate("0"));
}

TEST(IntegerListValidatorTest, OnlyTheFirstCountNumbersAreListed) {
  const int numbers[] = {1, 2, 3};
  IntegerListValidator list("i", numbers, 2);
  EXPECT_TRUE(list.Validate("2"));
  EXPECT_FALSE(list.Validate("3"));
  IntegerListValidator one("i", numbers, 1);
  EXPECT_TRUE(one.Validate("1"));
  EXPECT_FALSE(one.Validate("2"));
}

TEST(IntegerListValidatorTest, ANumberBeyondLongIsTheGreatestLong) {
  const int numbers[] = {INT_MAX};
  IntegerListValidator list("i", numbers, 1);
  EXPECT_EQ(sizeof(long) == sizeof(int), list.Validate("99999999999999999999"));
}

constexpr Row kSwitchRows[] = {
    {__LINE__, "on", true}, {__LINE__, "off", true},  {__LINE__, "ON", false},    {__LINE__, "", false},
    {__LINE__, "o", false}, {__LINE__, "on ", false}, {__LINE__, "onoff", false},
};

TEST(StringListValidatorTest, OnAndOffByteForByte) {
  StringListValidator list("s", {"on", "off"});
  Check(list, kSwitchRows);
}

TEST(StringListValidatorTest, EmptyIsAcceptedOnlyWhenItIsListed) {
  StringListValidator listed("s", {"a", ""});
  StringListValidator none("s", {});
  EXPECT_TRUE(listed.Validate(""));
  EXPECT_FALSE(none.Validate(""));
}

TEST(StringListValidatorTest, LengthCountsBeyondANul) {
  StringListValidator list("s", {"on"});
  EXPECT_FALSE(list.Validate(std::string("on\0x", 4)));
}

// In the Itanium C++ ABI, and in ARM's variant of it, a pointer to a virtual member holds its slot's offset; an odd
// bit marks it as virtual.
template <class Member>
size_t SlotOf(Member member) {
  size_t offset = 0;
  std::memcpy(&offset, &member, sizeof offset);
  return offset / sizeof(void*);
}

TEST(FieldValidatorTest, KeepsItsVirtualOperationsInTheirOrder) {
  EXPECT_EQ(0u, SlotOf(&FieldValidator::Validate));
  EXPECT_EQ(1u, SlotOf(&FieldValidator::GetInvalidErrKey));
  EXPECT_TRUE(std::has_virtual_destructor_v<FieldValidator>);
}

TEST(ServerFormHandlerSlotTest, KeepsItsVirtualOperationsInTheirOrder) {
  EXPECT_EQ(0u, SlotOf(&ServerFormHandler::Process));
  EXPECT_EQ(1u, SlotOf(&ServerFormHandler::Load));
  EXPECT_EQ(2u, SlotOf(&ServerFormHandler::Apply));
  EXPECT_EQ(5u, SlotOf(&ServerFormHandler::Authenticate)) << "behind the destructor's two";
}

}  // namespace
}  // namespace tarvel_test
