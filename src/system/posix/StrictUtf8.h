#pragma once

#include <string>
#include <string_view>

namespace ble::posix {

/// Replaces `out` with the UTF-16 form of `utf8`. False, with `out` empty, when the text is not
/// well-formed: overlong forms, surrogates and what lies beyond U+10FFFF are refused too.
[[nodiscard]] bool StrictUtf8ToUtf16(std::string_view utf8, std::u16string& out);

/// Replaces `out` with the UTF-8 form of `utf16`. False, with `out` empty, when a surrogate lacks
/// its partner.
[[nodiscard]] bool StrictUtf16ToUtf8(std::u16string_view utf16, std::string& out);

}  // namespace ble::posix
