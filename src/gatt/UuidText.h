#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Uuid.h"
#include "frame/Status.h"

namespace ble {

/// The canonical text of a UUID: 36 characters, upper case, 8-4-4-4-12, no braces; or empty.
class UuidText {
 public:
  static constexpr std::size_t kLength = 36;

  UuidText() = default;
  explicit UuidText(const Uuid& uuid);

  const char* c_str() const { return text_.data(); }
  std::string_view View() const { return {text_.data(), text_[0] == '\0' ? 0 : kLength}; }

 private:
  std::array<char, kLength + 1> text_{};
};

inline UuidText FormatUuid(const Uuid& uuid) {
  return UuidText(uuid);
}

/// Reads a UUID of 4, 8 or 32 hexadecimal digits, of which the first two lie on the Bluetooth base
/// UUID. Blanks around it, "0x" and "-" anywhere in it are ignored. A pair of characters that are
/// not both hexadecimal digits counts as 0xFF; any other length is no UUID.
std::optional<Uuid> ParseUuid(std::string_view text);

/// The UUIDs of a comma-separated list, each once. Empty items are skipped; the first malformed one
/// fails with 600.
Result<std::vector<Uuid>> ParseUuidList(std::string_view text);

inline constexpr Uuid UuidFromShort(std::uint16_t number) {
  return Uuid::FromAssignedNumber(number);
}

/// Replaces `out` with the canonical texts of the UUIDs, joined with ",".
void JoinUuids(std::span<const Uuid> uuids, std::string& out);

}  // namespace ble
