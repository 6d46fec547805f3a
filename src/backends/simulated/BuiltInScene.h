#pragma once

#include <string_view>

#include "backends/simulated/ScenarioLoader.h"

namespace ble::simulated {

/// The scenario of the radio "simulated": a handful of ordinary devices, in real time.
[[nodiscard]] ScenarioResult BuiltInScene();

/// Its text, which a scenario file could hold as well.
[[nodiscard]] std::string_view BuiltInSceneText();

}  // namespace ble::simulated
