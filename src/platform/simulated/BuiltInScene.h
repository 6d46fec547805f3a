#pragma once

#include <string_view>

#include "platform/simulated/ScenarioLoader.h"

namespace corvaneble::platform::simulated {

/// The scenario of the radio "simulated": a handful of ordinary devices, in real time.
[[nodiscard]] ScenarioResult BuiltInScene();

/// Its text, which a scenario file could hold as well.
[[nodiscard]] std::string_view BuiltInSceneText();

}  // namespace corvaneble::platform::simulated
