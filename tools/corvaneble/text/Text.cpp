#include "text/Text.h"

#include <algorithm>
#include <cstdint>

namespace corvaneble::tool {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char kDigits[] = "0123456789ABCDEF";

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
    return;
  }
  const int trailing = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
  constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLead[trailing] | c >> (6 * trailing));
  for (int i = trailing - 1; i >= 0; --i)
    out += static_cast<char>(0x80 | (c >> (6 * i) & 0x3F));
}

/// Removes the first character of `text`, which must not be empty, and returns it. If it is not
/// valid, removes one byte and returns nothing.
std::optional<char32_t> TakeCharacter(std::string_view& text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned lead = byte(0);
  const std::size_t size = lead < 0x80   ? 1
                           : lead < 0xC2 ? 0
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                           : lead < 0xF5 ? 4
                                         : 0;
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  char32_t c = size > 1 ? lead & (0x7Fu >> size) : lead;
  bool valid = size != 0 && size <= text.size();
  for (std::size_t i = 1; valid && i < size; ++i) {
    valid = (byte(i) & 0xC0) == 0x80;
    c = c << 6 | (byte(i) & 0x3F);
  }
  valid = valid && c >= kSmallest[size] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
  text.remove_prefix(valid ? size : 1);
  return valid ? std::optional(c) : std::nullopt;
}

bool IsHarmless(char32_t c) {
  if (c < 0x20 || (c >= 0x7F && c < 0xA0)) return false;
  if (c >= 0x200B && c <= 0x200F) return false;  // invisible, and marks of writing direction
  if (c >= 0x2028 && c <= 0x202E) return false;
  return !(c >= 0x2060 && c <= 0x206F) && c != 0xFEFF && (c & 0xFFFE) != 0xFFFE;
}

std::string SanitizeKeeping(std::string_view text, std::string_view kept) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const char first = text.front();
    const auto c = TakeCharacter(text);
    const bool keep = c && (IsHarmless(*c) || kept.find(first) != std::string_view::npos);
    AppendUtf8(out, keep ? *c : kReplacement);
  }
  return out;
}

std::size_t Width(char32_t c) {
  if (c >= 0x300 && c < 0x370) return 0;  // combining marks
  const bool wide = (c >= 0x1100 && c < 0x1160) || (c >= 0x2E80 && c < 0xA4D0) ||
                    (c >= 0xAC00 && c < 0xD7A4) || (c >= 0xF900 && c < 0xFB00) ||
                    (c >= 0xFE30 && c < 0xFE70) || (c >= 0xFF00 && c < 0xFF61) ||
                    (c >= 0x1F300 && c < 0x1FB00) || (c >= 0x20000 && c < 0x40000);
  return wide ? 2 : 1;
}

}  // namespace

std::string JoinList(const std::vector<std::string>& items, std::string_view separator) {
  std::string out;
  for (const auto& item : items) {
    if (!out.empty()) out += separator;
    out += item;
  }
  return out;
}

std::string Hex(const Bytes& bytes, std::string_view separator) {
  std::string out;
  out.reserve(bytes.size() * (2 + separator.size()));
  for (const std::uint8_t byte : bytes) {
    if (!out.empty()) out += separator;
    out += kDigits[byte >> 4];
    out += kDigits[byte & 15];
  }
  return out;
}

std::string Hex16(int number) {
  return Hex({static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)});
}

std::string ToUpper(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

bool IsHex(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789abcdefABCDEF") == text.npos;
}

std::string Sanitize(std::string_view text) {
  return SanitizeKeeping(text, "");
}

std::string SanitizeLines(std::string_view text) {
  return SanitizeKeeping(text, "\r\n\t");
}

std::optional<std::string> PrintableText(const Bytes& bytes) {
  std::string text(bytes.begin(), bytes.end());
  if (!text.empty() && text.back() == '\0') text.pop_back();
  if (text.size() < 2) return std::nullopt;
  for (std::string_view rest = text; !rest.empty();) {
    const auto c = TakeCharacter(rest);
    if (!c || !IsHarmless(*c)) return std::nullopt;
  }
  return text;
}

std::string FromUtf16(const Bytes& bytes) {
  const auto unit = [&](std::size_t i) -> char32_t {
    return i + 1 < bytes.size() ? static_cast<char32_t>(bytes[i] | bytes[i + 1] << 8) : 0;
  };
  std::string out;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    char32_t c = unit(i);
    const char32_t next = unit(i + 2);
    if (c >= 0xD800 && c < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
      i += 2;
    } else if (c >= 0xD800 && c < 0xE000) {
      c = kReplacement;
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty())
    width += Width(TakeCharacter(text).value_or(kReplacement));
  return width;
}

std::string Fit(std::string_view text, std::size_t width) {
  std::string out;
  std::size_t used = 0;
  while (!text.empty()) {
    const char32_t c = TakeCharacter(text).value_or(kReplacement);
    if (used + Width(c) > width) break;
    AppendUtf8(out, c);
    used += Width(c);
  }
  return out.append(width - used, ' ');
}

std::string RightAligned(const std::string& text, std::size_t width) {
  return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

}  // namespace corvaneble::tool
