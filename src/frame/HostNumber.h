#pragma once

#include <cstdint>

#include "corvaneble/corvaneble.h"

namespace ble {

/// How a host wants the texts of a call: part of the number it passes.
enum class TextForm { Narrow, Wide, BytesAsWide };

struct HostNumber {
  std::int32_t number;
  TextForm form;
};

inline constexpr std::int32_t kWideOffset = CORVANEBLE_WIDE;
inline constexpr std::int32_t kBytesAsWideOffset = CORVANEBLE_BYTES_AS_WIDE;

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
