#include "base/HexText.h"

#include <algorithm>

namespace ble {

bool ParseHex(std::string_view text, bool spaces, Bytes& bytes) {
  for (std::size_t i = 0; i < text.size();) {
    if (spaces && text[i] == ' ') {
      ++i;
      continue;
    }
    if (i + 1 >= text.size()) return false;
    const int high = HexDigitValue(text[i]);
    const int low = HexDigitValue(text[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    i += 2;
  }
  return true;
}

std::optional<Uuid> StrictUuid(std::string_view text) {
  if (text.starts_with("0x") && text.size() == 6) text.remove_prefix(2);
  std::string digits(text);
  if (text.size() == 36) {
    for (const std::size_t dash : {23U, 18U, 13U, 8U}) {
      if (digits[dash] != '-') return std::nullopt;
      digits.erase(dash, 1);
    }
  } else if (text.size() != 4 && text.size() != 8) {
    return std::nullopt;
  }
  Bytes bytes;
  if (!ParseHex(digits, false, bytes)) return std::nullopt;
  std::reverse(bytes.begin(), bytes.end());
  return Uuid::FromLittleEndian(bytes);
}

std::optional<std::uint64_t> ParseAddress(std::string_view text) {
  std::string digits(text);
  if (text.size() == 17) {
    for (const std::size_t colon : {14U, 11U, 8U, 5U, 2U}) {
      if (digits[colon] != ':') return std::nullopt;
      digits.erase(colon, 1);
    }
  }
  if (digits.size() != 12) return std::nullopt;
  std::uint64_t address = 0;
  for (const char c : digits) {
    const int digit = HexDigitValue(c);
    if (digit < 0) return std::nullopt;
    address = address << 4 | static_cast<std::uint64_t>(digit);
  }
  return address;
}

}  // namespace ble
