#pragma once

#include <string>
#include <string_view>

namespace ble {

constexpr bool IsHighSurrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char16_t unit) {
  return (unit & 0xFC00) == 0xDC00;
}

/// Whether every surrogate of the text has its partner.
[[nodiscard]] bool IsWellFormedUtf16(std::u16string_view text);

/// Appends the UTF-16 form of `utf8` to `out`, reusing the storage it has. Every maximal piece that
/// is not valid UTF-8 becomes one U+FFFD.
void AppendUtf16(std::string_view utf8, std::u16string& out);

/// The UTF-8 form of `utf16`; a surrogate without its partner becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::u16string_view utf16);

}  // namespace ble
