#include <windows.h>

#include "base/NeverDestroyed.h"
#include "base/Utf.h"
#include "platform/TextConverter.h"
#include "system/CodePages.h"

namespace ble {
namespace {

/// The pages of one byte a character by the tables that all systems share, the others by the
/// system's own; error numbers are the system's.
class WindowsTextConverter final : public TextConverter {
 public:
  ConversionError ToWide(std::uint32_t codePage, std::string_view text,
                         std::u16string& out) const override {
    codePage = Resolved(codePage);
    if (!IsMultiByte(codePage)) return SingleByteToWide(codePage, text, out);
    out.clear();
    if (text.empty()) return Check(codePage);
    const DWORD flags = codePage == kUtf7CodePage ? 0 : MB_ERR_INVALID_CHARS;  // it takes no flags
    const auto convert = [&](wchar_t* to, int room) {
      return MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()), to,
                                 room);
    };
    const int size = convert(nullptr, 0);
    if (size == 0) return LastError();
    out.resize(static_cast<std::size_t>(size));
    convert(reinterpret_cast<wchar_t*>(out.data()), size);
    return ConversionError::None;
  }

  ConversionError ToNarrow(std::uint32_t codePage, std::u16string_view text,
                           std::string& out) const override {
    codePage = Resolved(codePage);
    if (!IsMultiByte(codePage)) return WideToSingleByte(codePage, text, out);
    out.clear();
    if (const auto error = Check(codePage); error != ConversionError::None) return error;
    if (!IsWellFormedUtf16(text)) return ConversionError::NoUnicodeTranslation;
    if (text.empty()) return ConversionError::None;
    // No look-alikes for what a page lacks; pages that lack nothing take no flags.
    const DWORD flags = codePage < kGb18030 ? WC_NO_BEST_FIT_CHARS : 0;
    const auto convert = [&](char* to, int room) {
      return WideCharToMultiByte(codePage, flags, reinterpret_cast<const wchar_t*>(text.data()),
                                 static_cast<int>(text.size()), to, room, nullptr, nullptr);
    };
    const int size = convert(nullptr, 0);
    if (size == 0) return LastError();
    out.resize(static_cast<std::size_t>(size));
    convert(out.data(), size);
    return ConversionError::None;
  }

 private:
  static constexpr std::uint32_t kGb18030 = 54936;

  static ConversionError LastError() { return static_cast<ConversionError>(GetLastError()); }

  static std::uint32_t Resolved(std::uint32_t codePage) {
    return codePage == kSystemCodePage ? GetACP() : codePage;
  }

  static bool IsMultiByte(std::uint32_t codePage) {
    return codePage == kUtf8CodePage || FindMultiBytePage(codePage) != nullptr;
  }

  static ConversionError Check(std::uint32_t codePage) {
    return IsValidCodePage(codePage) ? ConversionError::None : ConversionError::InvalidParameter;
  }
};

}  // namespace

const TextConverter& SystemTextConverter() {
  static const NeverDestroyed<WindowsTextConverter> converter;
  return *converter;
}

}  // namespace ble
