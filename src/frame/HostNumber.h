#pragma once

#include <cstdint>

namespace ble {

/// How a host wants the texts of a call: part of the number it passes.
enum class TextForm { Narrow, Wide, BytesAsWide };

struct HostNumber {
  std::int32_t number;
  TextForm form;
};

inline constexpr std::int32_t kWideOffset = 10000;
inline constexpr std::int32_t kBytesAsWideOffset = 20000;

/// Splits a property number into the property and the form.
constexpr HostNumber DecodePropertyNumber(std::int32_t number) {
  if (number > kBytesAsWideOffset) return {number - kBytesAsWideOffset, TextForm::BytesAsWide};
  if (number > kWideOffset) return {number - kWideOffset, TextForm::Wide};
  return {number, TextForm::Narrow};
}

/// Splits a method number; methods know no third form.
constexpr HostNumber DecodeMethodNumber(std::int32_t number) {
  if (number > kWideOffset) return {number - kWideOffset, TextForm::Wide};
  return {number, TextForm::Narrow};
}

}  // namespace ble
