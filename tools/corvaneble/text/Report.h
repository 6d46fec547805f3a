#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "gatt/Attributes.h"
#include "gatt/GattTree.h"

namespace corvaneble::tool {

/// Keeps the order of its fields: scripts and people see the same text every time.
using Json = nlohmann::ordered_json;

/// One line of pure ASCII, so that nothing a device sent can disturb a terminal.
std::string Dump(const Json& json);

Json AdvertisementJson(const AdvertisementEvent& advertisement);
std::string AdvertisementLine(const AdvertisementEvent& advertisement);

Json ValueJson(const Bytes& value, const std::vector<Format>& formats);

/// Where an attribute was found, with its value if there is one.
Json FoundJson(const FoundAttribute& found, const Bytes* value);

/// `48 65 79  "Hey"  = 36.6 °C`: bytes, then text and meaning as far as there are any.
std::string ValueLine(const Bytes& value, const std::vector<Format>& formats);

std::string ValueLine(const Bytes& value, const std::optional<std::string>& decoded);

Json TreeJson(const GattTree& tree);
std::string TreeText(const GattTree& tree);

}  // namespace corvaneble::tool
