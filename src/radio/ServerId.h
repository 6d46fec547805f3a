#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/Text.h"

namespace ble {

/// A server's 48-bit Bluetooth address as text: 12 upper-case hexadecimal digits, most significant
/// byte first; or empty.
class ServerId {
 public:
  static constexpr std::size_t kLength = 12;

  constexpr ServerId() = default;
  explicit constexpr ServerId(std::uint64_t address) {
    for (std::size_t i = kLength; i-- > 0; address >>= 4)
      text_[i] = kUpperCaseDigits[address & 15];
  }

  constexpr const char* c_str() const { return text_.data(); }
  constexpr std::string_view View() const { return {text_.data(), text_[0] == '\0' ? 0 : kLength}; }

 private:
  std::array<char, kLength + 1> text_{};
};

/// The address a host wrote. Never fails: a pair that is not two hexadecimal digits, or missing,
/// counts as 0xFF; whether such an address exists is for the look-up to say.
constexpr std::uint64_t ParseServerId(std::string_view text) {
  std::uint64_t address = 0;
  for (std::size_t i = 0; i < ServerId::kLength; i += 2) {
    const bool whole = i + 1 < text.size();
    address = address << 8 | (whole ? HexByteOrFF(text[i], text[i + 1]) : 0xFF);
  }
  return address;
}

}  // namespace ble
