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

/// Appends the UTF-8 form of `utf16` to `out`, reusing the storage it has. A surrogate without its
/// partner becomes U+FFFD.
void AppendUtf8(std::u16string_view utf16, std::string& out);

/// Replaces `out` with the UTF-16 form of `utf8`. False, with `out` empty, when the text is not
/// well-formed: overlong forms, surrogates and numbers above U+10FFFF are refused too.
[[nodiscard]] bool StrictUtf8ToUtf16(std::string_view utf8, std::u16string& out);

}  // namespace ble
