#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ble {

/// Error numbers of text conversion. They are those of Win32 on every system, so that a host sees
/// the same number wherever it runs.
enum class ConversionError : std::int32_t {
  None = 0,
  InvalidParameter = 87,       ///< no such code page (also 1200, which is not a narrow code page)
  InsufficientBuffer = 122,    ///< the caller's buffer is too small
  InvalidFlags = 1004,         ///< the code page does not allow the strict conversion
  NoUnicodeTranslation = 1113  ///< the text is not valid in its encoding
};

/// Conversion between narrow text in a Windows code page and UTF-16. Stateless to its callers:
/// any thread, any time.
///
/// Code page 0 is the system's own (UTF-8 on POSIX). Input that is not valid in its encoding fails
/// with `NoUnicodeTranslation`; a valid UTF-16 character that a code page lacks becomes "?".
class TextConverter {
 public:
  virtual ~TextConverter() = default;

  /// Replaces `out` with the UTF-16 form of `text`; leaves `out` empty on failure.
  virtual ConversionError ToWide(std::uint32_t codePage, std::string_view text,
                                 std::u16string& out) const = 0;

  /// Replaces `out` with the narrow form of `text`; leaves `out` empty on failure.
  virtual ConversionError ToNarrow(std::uint32_t codePage, std::u16string_view text,
                                   std::string& out) const = 0;
};

/// The system's converter; lives as long as the process.
const TextConverter& SystemTextConverter();

}  // namespace ble
