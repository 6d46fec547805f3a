#include "frame/TextCodec.h"

#include "base/Utf.h"

namespace ble {
namespace {

std::u16string WithoutLoneSurrogates(std::u16string_view text) {
  std::u16string out(text);
  for (std::size_t i = 0; i < out.size(); ++i) {
    if (IsHighSurrogate(out[i]) && i + 1 < out.size() && IsLowSurrogate(out[i + 1])) {
      ++i;
    } else if (IsHighSurrogate(out[i]) || IsLowSurrogate(out[i])) {
      out[i] = u'\uFFFD';
    }
  }
  return out;
}

}  // namespace

void TextCodec::NarrowLossy(std::uint32_t codePage, std::u16string_view wide,
                            std::string& out) const {
  if (converter_.ToNarrow(codePage, wide, out) == ConversionError::NoUnicodeTranslation) {
    converter_.ToNarrow(codePage, WithoutLoneSurrogates(wide), out);
  }
}

}  // namespace ble
