#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace corvaneble::platform::posix {

inline constexpr std::uint32_t kSystemCodePage = 0;
inline constexpr std::uint32_t kUtf8CodePage = 65001;

/// A Windows code page and the name iconv knows it by.
struct CodePage {
  std::uint32_t number;
  const char* charset;
};

/// The code pages converted through iconv, by number.
inline constexpr std::array kCodePages = {
    CodePage{437, "CP437"},         CodePage{850, "CP850"},         CodePage{866, "CP866"},
    CodePage{874, "CP874"},         CodePage{932, "CP932"},         CodePage{936, "CP936"},
    CodePage{949, "CP949"},         CodePage{950, "CP950"},         CodePage{1250, "CP1250"},
    CodePage{1251, "CP1251"},       CodePage{1252, "CP1252"},       CodePage{1253, "CP1253"},
    CodePage{1254, "CP1254"},       CodePage{1255, "CP1255"},       CodePage{1256, "CP1256"},
    CodePage{1257, "CP1257"},       CodePage{1258, "CP1258"},       CodePage{20127, "US-ASCII"},
    CodePage{28591, "ISO-8859-1"},  CodePage{28592, "ISO-8859-2"},  CodePage{28593, "ISO-8859-3"},
    CodePage{28594, "ISO-8859-4"},  CodePage{28595, "ISO-8859-5"},  CodePage{28596, "ISO-8859-6"},
    CodePage{28597, "ISO-8859-7"},  CodePage{28598, "ISO-8859-8"},  CodePage{28599, "ISO-8859-9"},
    CodePage{28603, "ISO-8859-13"}, CodePage{28605, "ISO-8859-15"},
};
static_assert(std::ranges::is_sorted(kCodePages, {}, &CodePage::number));

/// The code page's name for iconv; null when there is no such code page.
constexpr const char* CharsetOf(std::uint32_t codePage) {
  const auto found = std::ranges::lower_bound(kCodePages, codePage, {}, &CodePage::number);
  return found != kCodePages.end() && found->number == codePage ? found->charset : nullptr;
}

}  // namespace corvaneble::platform::posix
