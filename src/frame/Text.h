#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace corvaneble {

/// A text to be shown in double quotes.
struct Quoted {
  std::string_view text;
};

/// A number to be shown in hexadecimal without prefix or leading zeros.
struct Hex {
  std::uint32_t value;
  bool upperCase = false;
};

inline void AppendPart(std::string& out, std::string_view part) {
  out += part;
}
inline void AppendPart(std::string& out, Quoted part) {
  out += '"';
  out += part.text;
  out += '"';
}

template <std::integral T>
void AppendPart(std::string& out, T value) {
  char digits[24];
  const auto result = std::to_chars(digits, digits + sizeof digits, value);
  out.append(digits, result.ptr);
}

// How much room a part needs at most.
constexpr std::size_t RoomFor(std::string_view part) {
  return part.size();
}
constexpr std::size_t RoomFor(Quoted part) {
  return part.text.size() + 2;
}
constexpr std::size_t RoomFor(Hex /*part*/) {
  return 8;
}
template <std::integral T>
constexpr std::size_t RoomFor(T /*value*/) {
  return std::numeric_limits<T>::digits10 + 2;
}

inline constexpr char kUpperCaseDigits[] = "0123456789ABCDEF";

inline constexpr char ToUpperAscii(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

inline void AppendPart(std::string& out, Hex part) {
  char digits[8];
  const auto result = std::to_chars(digits, digits + sizeof digits, part.value, 16);
  for (const char* digit = digits; digit != result.ptr; ++digit) {
    out += part.upperCase ? ToUpperAscii(*digit) : *digit;
  }
}

/// The parts one after another: texts, decimal integers, `Quoted`, `Hex`.
template <class... Parts>
std::string Concat(const Parts&... parts) {
  std::string out;
  out.reserve((RoomFor(parts) + ... + 0));
  (AppendPart(out, parts), ...);
  return out;
}

/// Comparison without regard to ASCII letter case; other characters must be equal.
inline constexpr bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (ToUpperAscii(a[i]) != ToUpperAscii(b[i])) return false;
  }
  return true;
}

/// The text without leading and trailing blanks (0x20 only).
inline constexpr std::string_view TrimBlanks(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// The value of a hexadecimal digit of either case, or -1.
inline constexpr int HexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char upper = ToUpperAscii(c);
  return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

/// Two hexadecimal digits as a byte; 0xFF when either is not one.
inline constexpr std::uint8_t HexByteOrFF(char high, char low) {
  const int h = HexDigitValue(high);
  const int l = HexDigitValue(low);
  return h < 0 || l < 0 ? std::uint8_t{0xFF} : static_cast<std::uint8_t>(h << 4 | l);
}

}  // namespace corvaneble
