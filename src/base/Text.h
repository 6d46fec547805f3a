#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace ble {

/// A text to be shown in double quotes.
struct Quoted {
  std::string_view text;
};

/// A number to be shown in hexadecimal without prefix or leading zeros.
struct Hex {
  std::uint32_t value;
  bool upperCase = false;
};

inline constexpr char kUpperCaseDigits[] = "0123456789ABCDEF";

inline constexpr char ToUpperAscii(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// One part of a text being put together: a text, a decimal integer, `Quoted` or `Hex`. Refers to
/// texts it is made from; numbers it holds as digits.
class TextPart {
 public:
  TextPart(std::string_view text) : text_(text) {}
  TextPart(const char* text) : text_(text) {}
  TextPart(Quoted part) : quoted_(true), text_(part.text) {}
  TextPart(Hex part);
  template <std::integral T>
  TextPart(T value) {
    text_ = {digits_, std::to_chars(digits_, digits_ + sizeof digits_, value).ptr};
  }
  TextPart(const TextPart&) = delete;
  TextPart& operator=(const TextPart&) = delete;

  std::size_t Size() const { return text_.size() + (quoted_ ? 2 : 0); }
  /// Writes `Size` characters; returns the end of them.
  char* Put(char* out) const;

 private:
  char digits_[20];  // of a 64-bit integer, with its sign
  bool quoted_ = false;
  std::string_view text_;
};

/// The parts one after another.
std::string Join(std::span<const TextPart> parts);
template <class... Parts>
std::string Concat(const Parts&... parts) {
  const TextPart list[]{TextPart(parts)...};
  return Join(list);
}

/// The same for a text that is passed on and forgotten: one of usual length allocates nothing.
class PassingText {
 public:
  explicit PassingText(std::span<const TextPart> parts);

  const char* CStr() const { return outside_.empty() ? inside_ : outside_.data(); }

 private:
  char inside_[192];
  std::string outside_;
};

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

}  // namespace ble
