#pragma once

#include <corvaneble/corvaneble.hpp>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvaneble::tool {

std::string JoinList(const std::vector<std::string>& items, std::string_view separator);

/// Two upper-case digits a byte, with `separator` between bytes.
std::string Hex(const Bytes& bytes, std::string_view separator = "");
std::string Hex16(int number);

std::string ToUpper(std::string text);  ///< ASCII letters only
bool IsHex(std::string_view text);

/// Makes text from a device safe for a terminal: control characters, escape sequences, overrides of
/// the writing direction and invalid UTF-8 become U+FFFD.
std::string Sanitize(std::string_view text);

/// The same, but keeps line ends and tabs: for texts of the library that have several lines.
std::string SanitizeLines(std::string_view text);

/// The bytes as text, if all of them are printable UTF-8; one 0 byte is allowed at the end. A
/// single byte counts as a number, not as a letter.
std::optional<std::string> PrintableText(const Bytes& bytes);

/// The UTF-8 form of little-endian UTF-16; unpaired halves become U+FFFD.
std::string FromUtf16(const Bytes& bytes);

/// The columns that sanitised text takes on a terminal.
std::size_t DisplayWidth(std::string_view text);

/// `text` cut or padded with blanks to exactly `width` columns.
std::string Fit(std::string_view text, std::size_t width);

/// ASCII text, padded with blanks on the left to `width` columns.
std::string RightAligned(const std::string& text, std::size_t width);

}  // namespace corvaneble::tool
