#pragma once

#include <corvaneble/corvaneble.hpp>
#include <optional>
#include <string>
#include <vector>

namespace corvaneble::tool {

/// A presentation format of a characteristic.
struct Format {
  ValueFormat type = ValueFormat::Unknown;
  int exponent = 0;
  std::string unit;  ///< UUID, or empty
};

/// What a value says, read as its presentation formats tell ("36.6 °C"; several formats share the
/// bytes in their order). Nothing when there are none, one is not to be read alone, or the value
/// has not the size they add up to.
std::optional<std::string> DecodeValue(const Bytes& value, const std::vector<Format>& formats);

}  // namespace corvaneble::tool
