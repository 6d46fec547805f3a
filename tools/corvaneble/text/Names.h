#pragma once

#include <corvaneble/corvaneble.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace corvaneble::tool {

/// Four digits for a 16-bit UUID on the Bluetooth base UUID; any other UUID unchanged.
std::string ShortUuid(std::string_view uuid);

/// The 36-character form of 4, 8, 32 or 36 characters; empty if `text` is no UUID.
std::string CanonicalUuid(std::string_view text);

/// The name of a service that everyday devices advertise; the short UUID of any other.
std::string ServiceName(std::string_view uuid);

/// The sign of a unit ("°C", "%"), or its short UUID if it is not a common one; empty for values
/// without a unit.
std::string UnitSign(std::string_view uuid);

/// "degree Celsius", "percentage", ...; empty for a unit that is not a common one.
std::string UnitName(std::string_view uuid);

/// The names of a characteristic's flags ("read", "write", "notify", ...), in the order of bits.
std::vector<std::string> FlagNames(Flags flags);

/// The name of a presentation format ("uint16", "medfloat16", "utf8", ...).
std::string_view FormatName(ValueFormat format);

}  // namespace corvaneble::tool
