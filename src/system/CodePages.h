#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/TextConverter.h"

namespace ble {

inline constexpr std::uint32_t kSystemCodePage = 0;
inline constexpr std::uint32_t kUtf7CodePage = 65000;
inline constexpr std::uint32_t kUtf8CodePage = 65001;

/// The code pages of more than one byte a character, by number, and what iconv calls them. With the
/// system's own, UTF-8 and those of one byte they are all there are, on every system.
struct MultiBytePage {
  std::uint32_t number;
  const char* charset;
  std::uint8_t lastControl = 0;  ///< lone bytes from 0x80 to here are controls; iconv refuses them
};
inline constexpr std::array kMultiBytePages = {
    MultiBytePage{932, "CP932", 0x80},     MultiBytePage{936, "CP936"},
    MultiBytePage{949, "CP949", 0x80},     MultiBytePage{950, "CP950"},
    MultiBytePage{1361, "JOHAB", 0x83},    MultiBytePage{54936, "GB18030"},
    MultiBytePage{kUtf7CodePage, "UTF-7"},
};

/// Null when there is no such page.
const MultiBytePage* FindMultiBytePage(std::uint32_t codePage);

/// Convert in a code page of one byte a character, as `TextConverter` promises; `InvalidParameter`
/// when it is none.
ConversionError SingleByteToWide(std::uint32_t codePage, std::string_view text,
                                 std::u16string& out);
ConversionError WideToSingleByte(std::uint32_t codePage, std::u16string_view text,
                                 std::string& out);

}  // namespace ble
