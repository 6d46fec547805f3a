#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Command.h"
#include "chart/Axis.h"
#include "text/ValueInput.h"
#include "text/ValueText.h"

namespace corvaneble::tool {
namespace {

std::string Decoded(const Bytes& value, ValueFormat type, int exponent = 0,
                    const std::string& unit = "") {
  return DecodeValue(value, {{type, exponent, unit}}).value_or("nothing");
}

TEST(ValueText, NumbersOfEveryFormat) {
  const struct {
    ValueFormat type;
    Bytes value;
    int exponent;
    const char* text;
  } cases[] = {
      {ValueFormat::UInt8, {0xFF}, 0, "255"},
      {ValueFormat::SInt8, {0xFF}, 0, "-1"},
      {ValueFormat::UInt16, {0x34, 0x12}, 0, "4660"},
      {ValueFormat::SInt16, {0x0C, 0xFE}, -2, "-5.00"},
      {ValueFormat::UInt24, {0x01, 0x00, 0x01}, 0, "65537"},
      {ValueFormat::SInt24, {0xFF, 0xFF, 0xFF}, 0, "-1"},
      {ValueFormat::UInt32, {0xFF, 0xFF, 0xFF, 0xFF}, 0, "4294967295"},
      {ValueFormat::SInt32, {0x00, 0x00, 0x00, 0x80}, 0, "-2147483648"},
      {ValueFormat::UInt48, {0, 0, 0, 0, 0, 1}, 0, "1099511627776"},
      {ValueFormat::UInt64,
       {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
       0,
       "18446744073709551615"},
      {ValueFormat::SInt64, {0, 0, 0, 0, 0, 0, 0, 0x80}, 0, "-9223372036854775808"},
      {ValueFormat::UInt8, {0x05}, 3, "5000"},
      {ValueFormat::UInt16, {0x00}, 0, "nothing"},
      {ValueFormat::Struct, {0x00}, 0, "nothing"},
      {ValueFormat::Unknown, {0x00}, 0, "nothing"},
  };
  for (const auto& [type, value, exponent, text] : cases) {
    EXPECT_EQ(Decoded(value, type, exponent), text) << text;
  }
}

TEST(ValueText, FloatingPointAndItsSpecialValues) {
  // IEEE 11073: 12-bit mantissa, 4-bit exponent; 24-bit mantissa, 8-bit exponent.
  EXPECT_EQ(std::stod(Decoded({0x6C, 0xF1}, ValueFormat::SFloat)), 36.4);
  EXPECT_EQ(std::stod(Decoded({0x6C, 0x01, 0x00, 0xFF}, ValueFormat::Float)), 36.4);
  EXPECT_EQ(std::stod(Decoded({0, 0, 0xC0, 0x3F}, ValueFormat::Float32)), 1.5);
  EXPECT_EQ(std::stod(Decoded({0, 0, 0, 0, 0, 0, 0xF8, 0xBF}, ValueFormat::Float64)), -1.5);
  for (const Bytes& special : {Bytes{0xFF, 0x07}, Bytes{0xFE, 0x07}, Bytes{0x02, 0x08}}) {
    const std::string text = Decoded(special, ValueFormat::SFloat);
    EXPECT_EQ(text.find("204"), std::string::npos) << text;  // not taken for its mantissa
  }
}

TEST(ValueText, TextsAndUnitsAndSeveralFormats) {
  EXPECT_NE(Decoded({'h', 'i'}, ValueFormat::Utf8).find("hi"), std::string::npos);
  EXPECT_NE(Decoded({'h', 0, 'i', 0}, ValueFormat::Utf16).find("hi"), std::string::npos);
  EXPECT_EQ(Decoded({0x5F}, ValueFormat::UInt8, 0, "000027AD-0000-1000-8000-00805F9B34FB"), "95 %");
  const std::vector<Format> both = {{ValueFormat::UInt8, 0, ""}, {ValueFormat::SInt16, 0, ""}};
  const std::string text = DecodeValue({1, 0xFE, 0xFF}, both).value_or("nothing");
  EXPECT_NE(text.find('1'), std::string::npos);
  EXPECT_NE(text.find("-2"), std::string::npos);
  EXPECT_FALSE(DecodeValue({1, 2}, both));
  EXPECT_FALSE(DecodeValue({1}, {}));
}

TEST(ValueInput, HexadecimalDigits) {
  for (const char* text : {"0x0102FF", "01 02 ff", "01:02:FF", "01-02-FF", "01,02,FF"}) {
    EXPECT_EQ(ParseHex(text), (Bytes{1, 2, 0xFF})) << text;
  }
  for (const char* text : {"1", "01 2", "0g", "0x", "hello"}) {
    EXPECT_THROW(ParseHex(text), UsageError) << text;
  }
}

TEST(Axis, TicksAreRoundOrderedAndInside) {
  const struct {
    double low, high;
  } ranges[] = {{0, 1}, {-3, 17}, {60, 180}, {1e-6, 3e-6}, {5, 5}, {-1e9, 1e9}, {0.1, 0.30000001}};
  for (const auto& [low, high] : ranges) {
    const Axis axis = Axis::Around(low, high, 5);
    const auto& ticks = axis.Ticks();
    ASSERT_GE(ticks.size(), 2U) << low << ".." << high;
    ASSERT_LE(ticks.size(), 15U);
    EXPECT_GE(axis.Share(low), 0);
    EXPECT_LE(axis.Share(high), 1);
    const double step = ticks[1] - ticks[0];
    const double lead = step / std::pow(10, std::floor(std::log10(step) + 1e-9));
    EXPECT_TRUE(std::abs(lead - 1) < 1e-6 || std::abs(lead - 2) < 1e-6 || std::abs(lead - 5) < 1e-6)
        << step;
    for (std::size_t i = 1; i < ticks.size(); ++i) {
      EXPECT_GT(ticks[i], ticks[i - 1]);
      EXPECT_NE(axis.Label(ticks[i]), axis.Label(ticks[i - 1]));
    }
  }
}

}  // namespace
}  // namespace corvaneble::tool
