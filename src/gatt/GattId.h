#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/Text.h"

namespace ble {

/// Identifies an attribute on the connected server: 12 upper-case hexadecimal digits, the attribute
/// handles of its service, characteristic and descriptor, "0000" where a level does not apply.
class GattId {
 public:
  /// The three handles as one number; what look-ups compare.
  using Key = std::uint64_t;

  GattId() = default;  ///< the empty id of an empty record
  constexpr GattId(std::uint16_t service, std::uint16_t characteristic, std::uint16_t descriptor)
      : GattId(Key{service} << 32 | Key{characteristic} << 16 | descriptor) {}

  /// The key of an id a host wrote, of either letter case; none unless it has exactly 12 digits.
  static std::optional<Key> ParseKey(std::string_view text);

  constexpr bool IsEmpty() const { return text_[0] == '\0'; }
  constexpr const char* c_str() const { return text_.data(); }
  constexpr std::string_view View() const { return {text_.data(), IsEmpty() ? 0 : kLength}; }

  constexpr Key ToKey() const { return key_; }

  /// The id of the owning service, or of the owning characteristic.
  constexpr GattId ServiceIdOf() const { return GattId(ServiceOf(key_)); }
  constexpr GattId CharacteristicIdOf() const { return GattId(CharacteristicOf(key_)); }
  static constexpr Key ServiceOf(Key key) { return key & 0xFFFF'0000'0000; }
  static constexpr Key CharacteristicOf(Key key) { return key & 0xFFFF'FFFF'0000; }

  friend constexpr bool operator==(const GattId&, const GattId&) = default;

 private:
  static constexpr std::size_t kLength = 12;

  explicit constexpr GattId(Key key) : key_(key) {
    for (std::size_t i = kLength; i-- > 0; key >>= 4)
      text_[i] = kUpperCaseDigits[key & 0x0F];
  }

  Key key_ = 0;
  std::array<char, kLength + 1> text_{};  ///< the same as a text; empty for an empty id
};

}  // namespace ble
