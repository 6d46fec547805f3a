#pragma once

#include <string>
#include <string_view>

namespace corvaneble::platform {

/// Appends the UTF-16 form of `utf8` to `out`, reusing the storage it has. Every maximal piece that
/// is not valid UTF-8 becomes one U+FFFD.
void AppendUtf16(std::string_view utf8, std::u16string& out);

/// The UTF-8 form of `utf16`; a surrogate without its partner becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::u16string_view utf16);

}  // namespace corvaneble::platform
