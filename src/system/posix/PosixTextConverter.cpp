#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>

#include "base/NeverDestroyed.h"
#include "base/Utf.h"
#include "platform/TextConverter.h"
#include "system/CodePages.h"
#include "system/posix/IconvPool.h"

namespace ble {
namespace posix {
namespace {

constexpr std::string_view kUtf16 =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
constexpr std::uint32_t kJohab = 1361;
constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

/// iconv reads the backslash of Johab as the won sign, which Korean keyboards have in its place.
void SwapBackslash(std::u16string& text) {
  constexpr char16_t kWon = u'\u20A9';
  for (char16_t& unit : text) {
    if (unit == u'\\' || unit == kWon) unit = static_cast<char16_t>(unit ^ u'\\' ^ kWon);
  }
}

/// Converts as much of a text as iconv can at a stretch, into an output that grows as needed.
template <class In, class Out>
class Run {
 public:
  Run(iconv_t descriptor, std::basic_string_view<In> text, std::basic_string<Out>& out)
      : descriptor_(descriptor),
        // iconv takes the input as char*, without changing it.
        from_(const_cast<char*>(reinterpret_cast<const char*>(text.data()))),
        left_(text.size() * sizeof(In)),
        out_(out) {
    out_.resize(text.size());
  }

  /// Goes on until the text ends or a character cannot be converted; 0 or the errno.
  int Convert() {
    for (;;) {
      char* to = Bytes() + used_;
      std::size_t room = out_.size() * sizeof(Out) - used_;
      // The flushing call is part of the conversion: charsets with combining marks keep a character
      // back.
      const bool converted = iconv(descriptor_, &from_, &left_, &to, &room) != kFailed &&
                             iconv(descriptor_, nullptr, nullptr, &to, &room) != kFailed;
      const int error = converted ? 0 : errno;
      used_ = static_cast<std::size_t>(to - Bytes());
      if (error != E2BIG) return error;
      out_.resize(2 * out_.size() + 16);
    }
  }

  std::size_t Left() const { return left_; }  ///< bytes of input not yet converted
  const char* Rest() const { return from_; }

  void Skip(std::size_t bytes) {
    from_ += bytes;
    left_ -= bytes;
  }

  void Put(Out unit) {
    if (used_ / sizeof(Out) == out_.size()) out_.resize(2 * out_.size() + 16);
    out_[used_ / sizeof(Out)] = unit;
    used_ += sizeof(Out);
  }

  void Finish() { out_.resize(used_ / sizeof(Out)); }

 private:
  char* Bytes() { return reinterpret_cast<char*>(out_.data()); }

  iconv_t descriptor_;
  char* from_;
  std::size_t left_;
  std::basic_string<Out>& out_;
  std::size_t used_ = 0;  // bytes
};

/// UTF-8 by the library's own codec, the pages of one byte a character by the tables that all
/// systems share, the others through iconv.
class PosixTextConverter final : public TextConverter {
 public:
  ConversionError ToWide(std::uint32_t codePage, std::string_view text,
                         std::u16string& out) const override {
    if (codePage != kSystemCodePage && codePage != kUtf8CodePage)
      return DecodeCodePage(codePage, text, out);
    return StrictUtf8ToUtf16(text, out) ? ConversionError::None
                                        : ConversionError::NoUnicodeTranslation;
  }

  ConversionError ToNarrow(std::uint32_t codePage, std::u16string_view text,
                           std::string& out) const override {
    if (codePage != kSystemCodePage && codePage != kUtf8CodePage)
      return EncodeCodePage(codePage, text, out);
    out.clear();
    if (!IsWellFormedUtf16(text)) return ConversionError::NoUnicodeTranslation;
    AppendUtf8(text, out);
    return ConversionError::None;
  }

 private:
  ConversionError DecodeCodePage(std::uint32_t codePage, std::string_view text,
                                 std::u16string& out) const {
    const MultiBytePage* const page = FindMultiBytePage(codePage);
    if (page == nullptr) return SingleByteToWide(codePage, text, out);
    out.clear();
    const IconvPool::Loan loan = pool_.Borrow({page->charset, kUtf16});
    if (!loan.Succeeded()) return ConversionError::InvalidParameter;
    Run run(loan.Get(), text, out);
    while (run.Convert() != 0) {
      const std::uint8_t lone = run.Left() > 0 ? static_cast<std::uint8_t>(*run.Rest()) : 0;
      if (lone < 0x80 || lone > page->lastControl) {
        out.clear();
        return ConversionError::NoUnicodeTranslation;
      }
      run.Skip(1);
      run.Put(lone);
    }
    run.Finish();
    if (codePage == kJohab) SwapBackslash(out);
    return ConversionError::None;
  }

  ConversionError EncodeCodePage(std::uint32_t codePage, std::u16string_view text,
                                 std::string& out) const {
    const MultiBytePage* const page = FindMultiBytePage(codePage);
    if (page == nullptr) return WideToSingleByte(codePage, text, out);
    out.clear();
    if (!IsWellFormedUtf16(text)) return ConversionError::NoUnicodeTranslation;
    const IconvPool::Loan loan = pool_.Borrow({kUtf16, page->charset});
    if (!loan.Succeeded()) return ConversionError::InvalidParameter;
    std::u16string swapped;
    if (codePage == kJohab) {
      swapped = text;
      SwapBackslash(swapped);
      text = swapped;
    }
    Run run(loan.Get(), text, out);
    while (run.Convert() != 0 && run.Left() > 0) {
      // The text is well-formed: what stops the conversion is a character the code page lacks.
      const char16_t lacking = text[text.size() - run.Left() / sizeof(char16_t)];
      run.Skip(IsHighSurrogate(lacking) ? 2 * sizeof(char16_t) : sizeof(char16_t));
      run.Put(lacking >= 0x80 && lacking <= page->lastControl ? static_cast<char>(lacking) : '?');
    }
    run.Finish();
    return ConversionError::None;
  }

  mutable IconvPool pool_;
};

}  // namespace
}  // namespace posix

const TextConverter& SystemTextConverter() {
  static const NeverDestroyed<posix::PosixTextConverter> converter;
  return *converter;
}

}  // namespace ble
