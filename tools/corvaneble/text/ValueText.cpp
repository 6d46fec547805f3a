#include "text/ValueText.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// How many bits and bytes of a value an integer format takes.
struct IntegerLayout {
  ValueFormat type;
  int bits;
  bool isSigned;
  std::size_t Size() const { return (static_cast<std::size_t>(bits) + 7) / 8; }
};

// The 128-bit formats are not decoded.
constexpr IntegerLayout kIntegers[] = {
    {ValueFormat::Boolean, 1, false}, {ValueFormat::Bit2, 2, false},
    {ValueFormat::Nibble, 4, false},  {ValueFormat::UInt8, 8, false},
    {ValueFormat::UInt12, 12, false}, {ValueFormat::UInt16, 16, false},
    {ValueFormat::UInt24, 24, false}, {ValueFormat::UInt32, 32, false},
    {ValueFormat::UInt48, 48, false}, {ValueFormat::UInt64, 64, false},
    {ValueFormat::SInt8, 8, true},    {ValueFormat::SInt12, 12, true},
    {ValueFormat::SInt16, 16, true},  {ValueFormat::SInt24, 24, true},
    {ValueFormat::SInt32, 32, true},  {ValueFormat::SInt48, 48, true},
    {ValueFormat::SInt64, 64, true}};

/// The value bytes not yet read.
struct Reader {
  const Bytes& bytes;
  std::size_t at = 0;

  bool Has(std::size_t count) const { return bytes.size() - at >= count; }
  std::uint64_t Take(std::size_t count) {
    std::uint64_t number = 0;
    for (std::size_t i = count; i-- > 0;)
      number = number << 8 | bytes[at + i];
    at += count;
    return number;
  }
  Bytes TakeRest() {
    Bytes rest(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end());
    at = bytes.size();
    return rest;
  }
};

std::int64_t SignExtend(std::uint64_t number, int bits) {
  const std::uint64_t sign = std::uint64_t{1} << (bits - 1);
  const std::uint64_t mask = sign | (sign - 1);
  return static_cast<std::int64_t>(((number & mask) ^ sign) - sign);
}

/// `digits` times ten to the power of `exponent`, exactly.
std::string Scale(std::string digits, int exponent) {
  const bool negative = digits.front() == '-';
  if (negative) digits.erase(0, 1);
  if (exponent > 0 && digits != "0") digits.append(static_cast<std::size_t>(exponent), '0');
  if (exponent < 0) {
    const auto places = static_cast<std::size_t>(-exponent);
    if (digits.size() <= places) digits.insert(0, places + 1 - digits.size(), '0');
    digits.insert(digits.size() - places, ".");
  }
  return (negative ? "-" : "") + digits;
}

std::string Number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

/// IEEE 11073 numbers: a signed mantissa in the low bits, a signed decimal exponent above it. With
/// an exponent of 0, five extreme mantissas stand for special values.
std::string MedicalFloat(std::uint64_t raw, int mantissaBits, int exponentBits, int moreExponent) {
  const std::int64_t mantissa = SignExtend(raw, mantissaBits);
  const std::int64_t largest = (std::int64_t{1} << (mantissaBits - 1)) - 1;
  const std::int64_t exponent = SignExtend(raw >> mantissaBits, exponentBits);
  if (exponent == 0) {
    if (mantissa == largest) return "NaN";
    if (mantissa == -largest - 1) return "not at this resolution";
    if (mantissa == largest - 1) return "+infinity";
    if (mantissa == -largest + 1) return "-infinity";
    if (mantissa == -largest) return "reserved";
  }
  return Scale(std::to_string(mantissa), static_cast<int>(exponent) + moreExponent);
}

std::optional<std::string> DecodeInteger(Reader& reader, const IntegerLayout& layout,
                                         int exponent) {
  if (!reader.Has(layout.Size())) return std::nullopt;
  std::uint64_t raw = reader.Take(layout.Size());
  if (layout.isSigned) return Scale(std::to_string(SignExtend(raw, layout.bits)), exponent);
  if (layout.bits < 64) raw &= (std::uint64_t{1} << layout.bits) - 1;
  if (layout.type == ValueFormat::Boolean) return raw ? "true" : "false";
  return Scale(std::to_string(raw), exponent);
}

std::optional<std::string> DecodeOne(Reader& reader, const Format& format) {
  const auto layout = std::find_if(std::begin(kIntegers), std::end(kIntegers),
                                   [&](const auto& entry) { return entry.type == format.type; });
  if (layout != std::end(kIntegers)) return DecodeInteger(reader, *layout, format.exponent);
  switch (format.type) {
    case ValueFormat::Float32:
      if (!reader.Has(4)) return std::nullopt;
      return Number(
          static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(reader.Take(4)))) *
          std::pow(10.0, format.exponent));
    case ValueFormat::Float64:
      if (!reader.Has(8)) return std::nullopt;
      return Number(std::bit_cast<double>(reader.Take(8)) * std::pow(10.0, format.exponent));
    case ValueFormat::SFloat:
      if (!reader.Has(2)) return std::nullopt;
      return MedicalFloat(reader.Take(2), 12, 4, format.exponent);
    case ValueFormat::Float:
      if (!reader.Has(4)) return std::nullopt;
      return MedicalFloat(reader.Take(4), 24, 8, format.exponent);
    case ValueFormat::DUInt16: {
      if (!reader.Has(4)) return std::nullopt;
      const auto first = reader.Take(2);
      return std::to_string(first) + " " + std::to_string(reader.Take(2));
    }
    case ValueFormat::Utf8: {
      const Bytes rest = reader.TakeRest();
      return Sanitize(std::string(rest.begin(), rest.end()));
    }
    case ValueFormat::Utf16:
      return Sanitize(FromUtf16(reader.TakeRest()));
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<std::string> DecodeValue(const Bytes& value, const std::vector<Format>& formats) {
  if (formats.empty()) return std::nullopt;
  Reader reader{value};
  std::string text;
  for (const Format& format : formats) {
    const auto part = DecodeOne(reader, format);
    if (!part) return std::nullopt;
    if (!text.empty()) text += ", ";
    text += *part;
    if (const auto sign = UnitSign(format.unit); !sign.empty()) text += " " + sign;
  }
  if (reader.at != value.size()) return std::nullopt;
  return text;
}

}  // namespace corvaneble::tool
