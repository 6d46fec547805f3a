#pragma once

#include <string>

#include "frame/TextCodec.h"
#include "gatt/GattObjectTree.h"

namespace ble {

/// The whole tree as text, a line an attribute, for diagnostics. Shows what the records hold and
/// the platform objects say at this moment; computes nothing and asks the device for nothing.
std::string FormatTreeReport(const GattObjectTree& tree, const TextCodec& codec);

}  // namespace ble
