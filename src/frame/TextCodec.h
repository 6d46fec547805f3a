#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/ErrorCode.h"
#include "frame/Settings.h"
#include "platform/TextConverter.h"

namespace ble {

/// Converts between the instance's narrow texts and UTF-16. Any thread.
class TextCodec {
 public:
  TextCodec(const Settings& settings, const TextConverter& converter)
      : settings_(settings), converter_(converter) {}

  std::uint32_t CodePage() const {
    return static_cast<std::uint32_t>(settings_.Integer(Setting::CodePage));
  }

  /// Both replace `out` and return 0, or empty it and return the platform's error number.
  ErrorCode ToWide(std::string_view narrow, std::u16string& out) const {
    return static_cast<ErrorCode>(converter_.ToWide(CodePage(), narrow, out));
  }
  ErrorCode ToNarrow(std::u16string_view wide, std::string& out) const {
    return static_cast<ErrorCode>(converter_.ToNarrow(CodePage(), wide, out));
  }

  /// For texts from the air, which are never refused: lone surrogates become U+FFFD first.
  void ToNarrowLossy(std::u16string_view wide, std::string& out) const {
    NarrowLossy(CodePage(), wide, out);
  }

  /// The same in the system's own code page.
  std::string ToSystemNarrow(std::u16string_view wide) const {
    std::string out;
    NarrowLossy(0, wide, out);
    return out;
  }

 private:
  void NarrowLossy(std::uint32_t codePage, std::u16string_view wide, std::string& out) const;

  const Settings& settings_;
  const TextConverter& converter_;
};

}  // namespace ble
