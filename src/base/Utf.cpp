#include "base/Utf.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ble {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kMalformed = 0xFFFF'FFFF;

struct Decoded {
  char32_t character;  ///< or kMalformed
  std::size_t length;  ///< code units consumed, at least 1
};

/// What a lead byte announces (The Unicode Standard, table 3-7): how many bytes follow, and the
/// range of the first of them. The range is what keeps out overlong forms, surrogates and numbers
/// above U+10FFFF.
struct Lead {
  std::size_t trailing = 0;
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xBF;
};

constexpr Lead LeadOf(std::uint8_t byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {1};
  if (byte == 0xE0) return {2, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {2};
  if (byte == 0xF0) return {3, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {3};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {};
}

Decoded DecodeUtf8(std::string_view text) {
  const auto first = static_cast<std::uint8_t>(text[0]);
  if (first < 0x80) return {first, 1};
  Lead lead = LeadOf(first);
  if (lead.trailing == 0) return {kMalformed, 1};
  char32_t character = first & (0x3FU >> lead.trailing);
  for (std::size_t i = 1; i <= lead.trailing; ++i) {
    const std::uint8_t byte = i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0;
    if (byte < lead.low || byte > lead.high) return {kMalformed, i};
    character = character << 6 | (byte & 0x3FU);
    lead.low = 0x80;
    lead.high = 0xBF;
  }
  return {character, lead.trailing + 1};
}

Decoded DecodeUtf16(std::u16string_view text) {
  const char16_t first = text[0];
  if (!IsHighSurrogate(first) && !IsLowSurrogate(first)) return {first, 1};
  if (!IsHighSurrogate(first) || text.size() < 2 || !IsLowSurrogate(text[1]))
    return {kReplacement, 1};
  return {0x10000 + ((first - 0xD800U) << 10 | (text[1] - 0xDC00U)), 2};
}

/// How many ASCII characters the text begins with, at least: counted in steps of eight.
std::size_t AsciiRun(std::string_view text) {
  std::size_t run = 0;
  for (std::uint64_t block = 0; text.size() - run >= sizeof block; run += sizeof block) {
    std::memcpy(&block, text.data() + run, sizeof block);
    if ((block & 0x8080808080808080U) != 0) break;
  }
  return run;
}

char16_t* PutUtf16(char32_t character, char16_t* to) {
  if (character < 0x10000) {
    *to++ = static_cast<char16_t>(character);
  } else {
    *to++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
    *to++ = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
  }
  return to;
}

char* PutUtf8(char32_t character, char* to) {
  if (character < 0x80) {
    *to++ = static_cast<char>(character);
    return to;
  }
  const unsigned trailing = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  const std::uint32_t marker = (0xF0U << (3 - trailing)) & 0xFFU;
  *to++ = static_cast<char>(marker | character >> (6 * trailing));
  for (unsigned i = trailing; i-- > 0;)
    *to++ = static_cast<char>(0x80U | (character >> (6 * i) & 0x3FU));
  return to;
}

enum class Malformed { IsReplaced, EndsIt };

/// Appends what `utf8` says; whether all of it was taken.
bool Append(std::string_view utf8, std::u16string& out, Malformed malformed) {
  const std::size_t before = out.size();
  out.resize(before + utf8.size());  // never fewer bytes than units
  char16_t* to = out.data() + before;
  while (!utf8.empty()) {
    for (std::size_t run = AsciiRun(utf8); run > 0; --run, utf8.remove_prefix(1))
      *to++ = static_cast<unsigned char>(utf8.front());
    if (utf8.empty()) break;
    const auto [character, length] = DecodeUtf8(utf8);
    if (character == kMalformed && malformed == Malformed::EndsIt) break;
    to = PutUtf16(character == kMalformed ? kReplacement : character, to);
    utf8.remove_prefix(length);
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
  return utf8.empty();
}

}  // namespace

bool IsWellFormedUtf16(std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsLowSurrogate(text[i])) return false;
    if (IsHighSurrogate(text[i]) && (++i == text.size() || !IsLowSurrogate(text[i]))) return false;
  }
  return true;
}

void AppendUtf16(std::string_view utf8, std::u16string& out) {
  (void)Append(utf8, out, Malformed::IsReplaced);
}

bool StrictUtf8ToUtf16(std::string_view utf8, std::u16string& out) {
  out.clear();
  if (Append(utf8, out, Malformed::EndsIt)) return true;
  out.clear();
  return false;
}

void AppendUtf8(std::u16string_view utf16, std::string& out) {
  const std::size_t before = out.size();
  out.resize(before + 3 * utf16.size());  // a pair, two units, takes four
  char* to = out.data() + before;
  while (!utf16.empty()) {
    const auto [character, length] = DecodeUtf16(utf16);
    to = PutUtf8(character, to);
    utf16.remove_prefix(length);
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
}

}  // namespace ble
