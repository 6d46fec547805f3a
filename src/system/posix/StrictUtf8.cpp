#include "system/posix/StrictUtf8.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/Utf.h"

namespace ble::posix {
namespace {

/// A well-formed sequence of more than one byte (The Unicode Standard, table 3-7): its length and
/// the range of its second byte, which shuts out overlong forms and surrogates.
struct Lead {
  std::size_t length;
  std::uint8_t secondLowest;
  std::uint8_t secondHighest;
};

constexpr Lead LeadOf(std::uint8_t byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {2, 0x80, 0xBF};
  if (byte == 0xE0) return {3, 0xA0, 0xBF};
  if (byte == 0xED) return {3, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {3, 0x80, 0xBF};
  if (byte == 0xF0) return {4, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {4, 0x80, 0xBF};
  if (byte == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

/// The character at `text`, `Lead` being that of its first byte; false when it is malformed.
bool DecodeLong(std::string_view text, const Lead& lead, char32_t& character) {
  if (lead.length == 0 || text.size() < lead.length) return false;
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  if (byte(1) < lead.secondLowest || byte(1) > lead.secondHighest) return false;
  character = byte(0) & (0x7FU >> lead.length);
  for (std::size_t i = 1; i < lead.length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return false;
    character = character << 6 | (byte(i) & 0x3FU);
  }
  return true;
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
    return to;
  }
  *to++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
  *to++ = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
  return to;
}

char* PutUtf8(char32_t character, char* to) {
  const auto tail = [character](int shift) {
    return static_cast<char>(0x80 | (character >> shift & 0x3F));
  };
  if (character < 0x80) {
    *to++ = static_cast<char>(character);
  } else if (character < 0x800) {
    *to++ = static_cast<char>(0xC0 | character >> 6);
    *to++ = tail(0);
  } else if (character < 0x10000) {
    *to++ = static_cast<char>(0xE0 | character >> 12);
    *to++ = tail(6);
    *to++ = tail(0);
  } else {
    *to++ = static_cast<char>(0xF0 | character >> 18);
    *to++ = tail(12);
    *to++ = tail(6);
    *to++ = tail(0);
  }
  return to;
}

}  // namespace

bool StrictUtf8ToUtf16(std::string_view utf8, std::u16string& out) {
  out.resize(utf8.size());  // never fewer bytes than units
  char16_t* to = out.data();
  while (!utf8.empty()) {
    for (std::size_t run = AsciiRun(utf8); run > 0; --run, utf8.remove_prefix(1))
      *to++ = static_cast<unsigned char>(utf8.front());
    if (utf8.empty()) break;
    const auto first = static_cast<std::uint8_t>(utf8.front());
    if (first < 0x80) {
      *to++ = first;
      utf8.remove_prefix(1);
      continue;
    }
    const Lead lead = LeadOf(first);
    char32_t character = 0;
    if (!DecodeLong(utf8, lead, character)) {
      out.clear();
      return false;
    }
    to = PutUtf16(character, to);
    utf8.remove_prefix(lead.length);
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
  return true;
}

bool StrictUtf16ToUtf8(std::u16string_view utf16, std::string& out) {
  out.clear();
  if (!IsWellFormedUtf16(utf16)) return false;
  out.resize(3 * utf16.size());
  char* to = out.data();
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    char32_t character = utf16[i];
    if (IsHighSurrogate(utf16[i]))
      character = 0x10000 + ((character & 0x3FF) << 10 | (utf16[++i] & 0x3FFU));
    to = PutUtf8(character, to);
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
  return true;
}

}  // namespace ble::posix
