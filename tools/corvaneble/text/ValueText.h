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

/// A value decoded by its presentation formats ("36.6 °C"). Several formats take their bytes one
/// after the other. Nothing if there is no format, if one cannot be decoded, or if the sizes do not
/// add up to the value's.
std::optional<std::string> DecodeValue(const Bytes& value, const std::vector<Format>& formats);

}  // namespace corvaneble::tool
