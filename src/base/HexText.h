#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "base/Text.h"
#include "base/Uuid.h"

namespace ble {

/// A number as the standard writes handles and error codes: "0x0010", "0x05".
template <class Text>
Text HexNumber(std::uint16_t value, int digits) {
  Text text{'0', 'x'};
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
    text += static_cast<typename Text::value_type>(kUpperCaseDigits[value >> shift & 0xF]);
  return text;
}

/// Appends what pairs of hex digits, with spaces between the pairs where `spaces` allows them, say.
/// False when the text is anything else.
[[nodiscard]] bool ParseHex(std::string_view text, bool spaces, Bytes& bytes);

/// A UUID of 4 (also after 0x), 8 or, with dashes, 32 hex digits: what scenario files and BlueZ
/// write. Hosts may write more than this: `ParseUuid` reads their form.
[[nodiscard]] std::optional<Uuid> StrictUuid(std::string_view text);

/// A device address of 12 hex digits, also with colons between the bytes.
[[nodiscard]] std::optional<std::uint64_t> ParseAddress(std::string_view text);

}  // namespace ble
