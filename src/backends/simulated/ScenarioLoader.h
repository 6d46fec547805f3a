#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

#include "backends/simulated/Scenario.h"

namespace ble::simulated {

/// A scenario, or what is wrong with it: the file, the place in it and the reason, such as
/// `desk.json: peripherals[2].services[0].uuid: must be a UUID: ...`.
using ScenarioResult = std::variant<Scenario, std::string>;

/// Reads the text of a scenario file; `name` stands for the file in errors. Touches no file: the
/// captures are named, with paths as the text gives them, and hold no reports yet.
[[nodiscard]] ScenarioResult ParseScenario(std::string_view text, std::string_view name);

/// Loads a scenario with its captures, whose paths are relative to the scenario's folder. A
/// ".btsnoop" file is a scenario too: that one capture, played as fast as possible.
[[nodiscard]] ScenarioResult LoadScenario(const std::filesystem::path& file);

/// The scenario of the radio "simulated", a handful of ordinary devices in real time, and its text.
[[nodiscard]] ScenarioResult BuiltInScene();
[[nodiscard]] std::string_view BuiltInSceneText();

}  // namespace ble::simulated
