#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ble {

/// The parsed form of one configuration text: `Name`, `Name[index]`, `Name=value`.
struct ConfigItem {
  std::string name;
  std::string value;      ///< what follows the "=", without blanks and quotes around it
  std::string indexText;  ///< what stands between the brackets, without blanks around it
  std::int32_t index = -1;
  bool isRead = false;  ///< there is no "="
};

/// Parses a configuration text; a null text (no data pointer) gives an empty item that is not a
/// read. Round brackets do as well as square ones. Backslashes mean nothing special.
ConfigItem ParseConfigItem(std::string_view text);

}  // namespace ble
