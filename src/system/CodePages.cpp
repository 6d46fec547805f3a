#include "system/CodePages.h"

#include <algorithm>
#include <cstddef>

#include "base/Utf.h"
#include "system/SingleBytePages.h"

namespace ble {
namespace {

constexpr std::size_t kHalf = 128;
constexpr char16_t kUndefined = u'\uFFFD';

static_assert(std::ranges::is_sorted(kSingleBytePages, {}, &SingleBytePage::number));
static_assert(std::ranges::all_of(kSingleBytePages, [](const SingleBytePage& page) {
  return std::u16string_view(page.upperHalf, kHalf + 1).back() == 0;  // it ends where it must
}));

template <class Table>
auto Find(const Table& table, std::uint32_t number) {
  const auto found = std::ranges::lower_bound(table, number, {}, &Table::value_type::number);
  return found != table.end() && found->number == number ? &*found : nullptr;
}

char ByteFor(char16_t unit, const SingleBytePage& page) {
  if (unit < kHalf) return static_cast<char>(unit);
  const std::size_t place = std::u16string_view(page.upperHalf, kHalf).find(unit);
  if (place == std::u16string_view::npos || unit == kUndefined) return '?';
  return static_cast<char>(kHalf + place);
}

}  // namespace

const MultiBytePage* FindMultiBytePage(std::uint32_t codePage) {
  return Find(kMultiBytePages, codePage);
}

ConversionError SingleByteToWide(std::uint32_t codePage, std::string_view text,
                                 std::u16string& out) {
  out.clear();
  const SingleBytePage* const page = Find(kSingleBytePages, codePage);
  if (page == nullptr) return ConversionError::InvalidParameter;
  out.resize(text.size());
  std::ranges::transform(text, out.begin(), [page](char each) {
    const auto byte = static_cast<unsigned char>(each);
    return byte < kHalf ? char16_t{byte} : page->upperHalf[byte - kHalf];
  });
  if (out.find(kUndefined) == std::u16string::npos) return ConversionError::None;
  out.clear();
  return ConversionError::NoUnicodeTranslation;
}

ConversionError WideToSingleByte(std::uint32_t codePage, std::u16string_view text,
                                 std::string& out) {
  out.clear();
  const SingleBytePage* const page = Find(kSingleBytePages, codePage);
  if (page == nullptr) return ConversionError::InvalidParameter;
  if (!IsWellFormedUtf16(text)) return ConversionError::NoUnicodeTranslation;
  out.reserve(text.size());
  for (const char16_t unit : text) {
    if (!IsLowSurrogate(unit)) out.push_back(ByteFor(unit, *page));  // a pair is one "?"
  }
  return ConversionError::None;
}

}  // namespace ble
