#pragma once

#include <corvaneble/corvaneble.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/ValueText.h"

namespace corvaneble::tool {

/// The meaning of a characteristic's value, as far as it is known.
struct Interpretation {
  std::optional<std::string> text;  ///< "36.6 °C"
  std::optional<double> number;     ///< finite; only of a value that is a single number
  std::string digits;               ///< the number with all its places, "36.6"
  std::string unit;                 ///< its unit's UUID, or empty
};

/// Decodes a value by the layout of its profile (Heart Rate Measurement, Temperature Measurement,
/// Battery Level), any other by its presentation formats.
Interpretation Interpret(std::string_view uuid, const Bytes& value,
                         const std::vector<Format>& formats);

}  // namespace corvaneble::tool
