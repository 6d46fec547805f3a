#pragma once

#include <corvaneble/corvaneble.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace corvaneble::tool {

/// The four digits of a UUID that lies on the Bluetooth base UUID and fits, else all of it.
std::string ShortUuid(std::string_view uuid);

/// The 36-character form of 4, 8, 32 or 36 characters; empty when `text` is no UUID.
std::string CanonicalUuid(std::string_view text);

/// A handful of services that everyday devices advertise; else the short UUID.
std::string ServiceName(std::string_view uuid);

/// The sign of a unit ("°C", "%"), or its short UUID when it is not an everyday one; empty for
/// values without a unit.
std::string UnitSign(std::string_view uuid);

/// "degree Celsius", "percentage", ...; empty for a unit without an everyday sign.
std::string UnitName(std::string_view uuid);

/// "read", "write", "notify", ...: the words for a characteristic's flags, in the order of bits.
std::vector<std::string> FlagNames(Flags flags);

/// "uint16", "medfloat16", "utf8", ...
std::string_view FormatName(ValueFormat format);

}  // namespace corvaneble::tool
