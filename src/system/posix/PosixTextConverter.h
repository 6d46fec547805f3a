#pragma once

#include "platform/TextConverter.h"
#include "system/posix/IconvPool.h"

namespace ble::posix {

/// UTF-8 by its own codec, every other code page through iconv.
class PosixTextConverter final : public TextConverter {
 public:
  ConversionError ToWide(std::uint32_t codePage, std::string_view text,
                         std::u16string& out) const override;
  ConversionError ToNarrow(std::uint32_t codePage, std::u16string_view text,
                           std::string& out) const override;

 private:
  ConversionError DecodeCodePage(std::uint32_t codePage, std::string_view text,
                                 std::u16string& out) const;
  ConversionError EncodeCodePage(std::uint32_t codePage, std::u16string_view text,
                                 std::string& out) const;

  mutable IconvPool pool_;
};

}  // namespace ble::posix
