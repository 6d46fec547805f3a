#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "base/Uuid.h"

namespace ble {

/// Appends what pairs of hex digits, with spaces between the pairs where `spaces` allows them, say.
/// False when the text is anything else.
[[nodiscard]] bool ParseHex(std::string_view text, bool spaces, Bytes& bytes);

/// A UUID of 4 (also after 0x), 8 or, with dashes, 32 hex digits.
[[nodiscard]] std::optional<Uuid> StrictUuid(std::string_view text);

/// A device address of 12 hex digits, also with colons between the bytes.
[[nodiscard]] std::optional<std::uint64_t> ParseAddress(std::string_view text);

}  // namespace ble
