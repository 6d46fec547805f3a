#include <windows.h>

#include "platform/NeverDestroyed.h"
#include "platform/TextConverter.h"
#include "platform/Utf.h"

namespace corvaneble::platform {
namespace {

/// The system's own tables and error numbers.
class WindowsTextConverter final : public TextConverter {
 public:
  ConversionError ToWide(std::uint32_t codePage, std::string_view text,
                         std::u16string& out) const override {
    out.clear();
    if (text.empty()) return Check(codePage);
    const auto convert = [&](wchar_t* to, int room) {
      return MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text.data(),
                                 static_cast<int>(text.size()), to, room);
    };
    const int size = convert(nullptr, 0);
    if (size == 0) return LastError();
    out.resize(static_cast<std::size_t>(size));
    convert(reinterpret_cast<wchar_t*>(out.data()), size);
    return ConversionError::None;
  }

  ConversionError ToNarrow(std::uint32_t codePage, std::u16string_view text,
                           std::string& out) const override {
    out.clear();
    if (const auto error = Check(codePage); error != ConversionError::None) return error;
    if (!IsWellFormedUtf16(text)) return ConversionError::NoUnicodeTranslation;
    if (text.empty()) return ConversionError::None;
    const auto convert = [&](char* to, int room) {
      return WideCharToMultiByte(codePage, 0, reinterpret_cast<const wchar_t*>(text.data()),
                                 static_cast<int>(text.size()), to, room, nullptr, nullptr);
    };
    const int size = convert(nullptr, 0);
    if (size == 0) return LastError();
    out.resize(static_cast<std::size_t>(size));
    convert(out.data(), size);
    return ConversionError::None;
  }

 private:
  static ConversionError LastError() { return static_cast<ConversionError>(GetLastError()); }

  static ConversionError Check(std::uint32_t codePage) {
    constexpr std::uint32_t kSystemCodePage = 0;
    return codePage == kSystemCodePage || IsValidCodePage(codePage)
               ? ConversionError::None
               : ConversionError::InvalidParameter;
  }
};

}  // namespace

const TextConverter& SystemTextConverter() {
  static const NeverDestroyed<WindowsTextConverter> converter;
  return *converter;
}

}  // namespace corvaneble::platform
