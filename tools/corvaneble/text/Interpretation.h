#pragma once

#include <corvaneble/corvaneble.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/ValueText.h"

namespace corvaneble::tool {

/// What a characteristic's value means, as far as it is known.
struct Interpretation {
  std::optional<std::string> text;  ///< "36.6 °C"
  std::optional<double> number;     ///< finite; only of a value that is a single number
  std::string digits;               ///< that number exactly, "36.6"
  std::string unit;                 ///< its unit's UUID, or empty
};

/// Reads a value by the layout that its profile gives it (Heart Rate Measurement, Temperature
/// Measurement, Battery Level), else by its presentation formats.
Interpretation Interpret(std::string_view uuid, const Bytes& value,
                         const std::vector<Format>& formats);

}  // namespace corvaneble::tool
