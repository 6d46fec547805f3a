#include "text/Interpretation.h"

#include <charconv>
#include <cmath>
#include <utility>

#include "text/Names.h"

namespace corvaneble::tool {
namespace {

constexpr char kPercentage[] = "27AD";
constexpr char kBeatsPerMinute[] = "27AF";
constexpr char kCelsius[] = "272F";
constexpr char kFahrenheit[] = "27AC";

/// The number inside a value of a known profile.
struct NumberField {
  std::size_t offset;
  std::size_t size;
  Format format;
};

/// GATT Supplement, under the names of these characteristics. Measurements begin with flags; fields
/// after the number (energy, intervals, time stamp) are ignored.
std::optional<NumberField> ProfileField(std::string_view number, const Bytes& value) {
  if (value.empty()) return std::nullopt;
  const bool flag = value[0] & 1;
  if (number == "2A19") return NumberField{0, 1, {ValueFormat::UInt8, 0, kPercentage}};
  if (number == "2A37" && flag) return NumberField{1, 2, {ValueFormat::UInt16, 0, kBeatsPerMinute}};
  if (number == "2A37") return NumberField{1, 1, {ValueFormat::UInt8, 0, kBeatsPerMinute}};
  if (number == "2A1C")
    return NumberField{1, 4, {ValueFormat::Float, 0, flag ? kFahrenheit : kCelsius}};
  return std::nullopt;
}

bool IsText(const Format& format) {
  return format.type == ValueFormat::Utf8 || format.type == ValueFormat::Utf16;
}

std::optional<double> ParseNumber(const std::string& digits) {
  if (digits == "true" || digits == "false") return digits == "true";
  double number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

Interpretation InterpretOne(const Bytes& value, Format format) {
  Interpretation meaning;
  meaning.text = DecodeValue(value, {format});
  meaning.unit = std::exchange(format.unit, "");
  if (IsText(format)) return meaning;
  const auto digits = DecodeValue(value, {format});
  if (digits) meaning.number = ParseNumber(*digits);
  if (meaning.number) meaning.digits = *digits;
  return meaning;
}

}  // namespace

Interpretation Interpret(std::string_view uuid, const Bytes& value,
                         const std::vector<Format>& formats) {
  const auto field = ProfileField(ShortUuid(uuid), value);
  if (field && field->offset + field->size <= value.size()) {
    const auto begin = value.begin() + static_cast<std::ptrdiff_t>(field->offset);
    return InterpretOne({begin, begin + static_cast<std::ptrdiff_t>(field->size)}, field->format);
  }
  if (formats.size() == 1) return InterpretOne(value, formats.front());
  Interpretation meaning;
  meaning.text = DecodeValue(value, formats);
  return meaning;
}

}  // namespace corvaneble::tool
