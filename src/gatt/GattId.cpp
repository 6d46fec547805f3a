#include "gatt/GattId.h"

namespace ble {

[[gnu::hot]] std::optional<GattId::Key> GattId::ParseKey(std::string_view text) {
  if (text.size() != kLength) return std::nullopt;
  Key key = 0;
  for (const char c : text) {
    const int digit = HexDigitValue(c);
    if (digit < 0) return std::nullopt;
    key = key << 4 | static_cast<Key>(digit);
  }
  return key;
}

}  // namespace ble
