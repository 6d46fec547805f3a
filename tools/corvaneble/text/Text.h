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

/// Makes text that came from a device fit for a terminal: control characters, escape sequences,
/// overrides of the writing direction and bytes that are not UTF-8 become U+FFFD.
std::string Sanitize(std::string_view text);

/// As `Sanitize`, but keeps line ends and tabs: for texts of several lines that are the library's.
std::string SanitizeLines(std::string_view text);

/// The bytes as text, when they are nothing but printable UTF-8 (one 0 byte at the end allowed). A
/// single byte is taken for a number, not for a letter.
std::optional<std::string> PrintableText(const Bytes& bytes);

/// The UTF-8 form of little-endian UTF-16; unpaired halves become U+FFFD.
std::string FromUtf16(const Bytes& bytes);

/// Columns that a sanitised text takes on a terminal.
std::size_t DisplayWidth(std::string_view text);

/// `text` cut or padded with blanks to exactly `width` columns.
std::string Fit(std::string_view text, std::size_t width);

/// ASCII text behind as many blanks as fill `width` columns.
std::string RightAligned(const std::string& text, std::size_t width);

}  // namespace corvaneble::tool
