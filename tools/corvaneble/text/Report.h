#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "gatt/Attributes.h"
#include "gatt/GattTree.h"

namespace corvaneble::tool {

/// JSON that keeps the order of its fields, so that the output is always the same.
using Json = nlohmann::ordered_json;

/// JSON as one line of ASCII: nothing that a device sent can disturb a terminal.
std::string Dump(const Json& json);

Json AdvertisementJson(const AdvertisementEvent& advertisement);
std::string AdvertisementLine(const AdvertisementEvent& advertisement);

Json ValueJson(const Bytes& value, const std::vector<Format>& formats);

/// An attribute that was found, with its value unless that is null.
Json FoundJson(const FoundAttribute& found, const Bytes* value);

/// `48 65 79  "Hey"  = 36.6 °C`: the bytes, then text and meaning if there are any.
std::string ValueLine(const Bytes& value, const std::vector<Format>& formats);

std::string ValueLine(const Bytes& value, const std::optional<std::string>& decoded);

Json TreeJson(const GattTree& tree);
std::string TreeText(const GattTree& tree);

}  // namespace corvaneble::tool
