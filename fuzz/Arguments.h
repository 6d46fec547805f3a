#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/Input.h"

namespace ble::fuzz {

/// Texts that are valid in the scene of the exports fuzzer, so that its calls often succeed.
inline constexpr auto kKnownTexts = std::to_array<const char*>(
    {"",
     // Servers
     "C0FFEE000001", "C0FFEE000002", "C0FFEE000003",
     // Services, characteristics, descriptors
     "001000000000", "004000000000", "000100000000", "001000120000", "001000200000", "004000440000",
     "004000480000", "0040004C0000", "001000120014", "001000120015", "001000120016",
     // UUIDs
     "180F", "180D,180F", "2A19", "2A19,2A37", "2902", "18", "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40",
     // Configuration texts
     "GattObjTreeInfo", "LogLevel=3", "AutoDiscoverCharacteristics=1", "AutoDiscoverDescriptors=1",
     "AutoDiscoverIncludedServices=1", "BuildInfo", "IncludeRediscovered=0", "PreferIndications=1",
     "CodePage=1200", "CodePage=1252", "CodePage=65001", "ManufacturerData[0]", "ServiceData=180F",
     "ManufacturerDataCount", "LastError"});

/// A text argument in narrow form or UTF-16: a known text, an arbitrary text, or null. Exists until
/// the call returns.
class TextArgument {
 public:
  TextArgument(Input& program, bool wide) : wide_(wide) {
    const std::uint8_t which = program.Byte();
    if (which == 0xFF) return;
    isNull_ = false;
    if (which < kKnownTexts.size()) {
      narrow_ = kKnownTexts[which];
      units_.assign(narrow_.begin(), narrow_.end());
      return;
    }
    const ByteView bytes = program.Run();
    narrow_ = Text(bytes);
    for (std::size_t i = 0; i + 1 < bytes.size() && (bytes[i] | bytes[i + 1]) != 0; i += 2)
      units_ += static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
  }

  std::intptr_t Value() const {
    if (isNull_) return 0;
    return wide_ ? reinterpret_cast<std::intptr_t>(units_.c_str())
                 : reinterpret_cast<std::intptr_t>(narrow_.c_str());
  }
  /// The length in bytes, without the terminator.
  std::int32_t NarrowSize() const { return static_cast<std::int32_t>(narrow_.size()); }

 private:
  const bool wide_;
  bool isNull_ = true;
  std::string narrow_;
  std::u16string units_;
};

/// Reads all of a returned text or byte array, so that the sanitizer detects invalid memory.
template <class Char>
void ReadText(std::intptr_t text) {
  Require(text != 0);
  (void)std::basic_string<Char>(reinterpret_cast<const Char*>(text));
}
inline void ReadBytes(std::intptr_t bytes, std::int32_t size) {
  Require(size >= 0 && (bytes != 0 || size == 0));
  const auto* const begin = reinterpret_cast<const std::uint8_t*>(bytes);
  if (begin != nullptr) Require(begin[size] == 0);
  (void)Bytes(begin, begin + size);
}

}  // namespace ble::fuzz
