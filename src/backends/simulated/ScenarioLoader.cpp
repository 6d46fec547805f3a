#include "backends/simulated/ScenarioLoader.h"

#include <set>

#include "backends/simulated/FileBytes.h"
#include "backends/simulated/ScenarioJson.h"

namespace ble::simulated {
namespace {

constexpr NamedValue<bool> kTimes[] = {{"real", false}, {"virtual", true}};

std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

void CheckAddresses(const JsonNode& node, const std::vector<PeripheralScenario>& peripherals) {
  const std::vector<JsonNode> nodes = node.Elements();
  std::set<std::uint64_t> addresses;
  for (std::size_t i = 0; i < peripherals.size(); ++i) {
    if (!addresses.insert(peripherals[i].address).second)
      nodes[i].Member("address").Fail("another peripheral has this address too");
  }
}

Scenario ReadScenario(const JsonNode& root) {
  const JsonObject object(root,
                          {"$schema", "time", "adapter", "peripherals", "captures", "radioEvents"});
  Scenario scenario;
  std::string schema;  // for editors
  object.Read("$schema", schema, ReadText<4096>);
  object.ReadName("time", scenario.virtualTime, kTimes);
  object.Read("adapter", scenario.adapter, ReadAdapter);
  object.ReadAll("peripherals", scenario.peripherals, ReadPeripheral);
  if (!scenario.peripherals.empty()) CheckAddresses(object.At("peripherals"), scenario.peripherals);
  object.ReadAll("captures", scenario.captures, ReadCapture);
  object.ReadAll("radioEvents", scenario.radioEvents, ReadRadioEvent);
  return scenario;
}

/// Fills in what the captures hold; the text is empty when all went well.
std::string LoadReports(CaptureScenario& capture) {
  CaptureResult result = LoadCapture(capture.file);
  if (result.error)
    return PathText(capture.file) + ": byte " + std::to_string(result.error->offset) + ": " +
           result.error->text;
  capture.reports = std::move(result.reports);
  const bool instant = capture.reports.empty() || capture.reports.back().at.count() == 0;
  if (capture.repeat && instant)
    return PathText(capture.file) + ": a capture that takes no time cannot repeat";
  return {};
}

bool IsCapture(const std::filesystem::path& file) {
  return file.extension() == ".btsnoop" || file.extension() == ".BTSNOOP";
}

ScenarioResult LoadLoneCapture(const std::filesystem::path& file) {
  Scenario scenario;
  scenario.captures.push_back({file, CaptureScenario::Pace::Fast, false, {}});
  if (std::string error = LoadReports(scenario.captures.front()); !error.empty()) return error;
  return scenario;
}

}  // namespace

ScenarioResult ParseScenario(std::string_view text, std::string_view name) {
  const std::string prefix = std::string(name) + ": ";
  const JsonDocument document = ParseJson(text);
  if (!document.root) return prefix + document.error;
  JsonProblem problem;
  Scenario scenario = ReadScenario(JsonNode(*document.root, {}, problem));
  if (problem.Found()) return prefix + problem.Text();
  return scenario;
}

ScenarioResult LoadScenario(const std::filesystem::path& file) {
  if (IsCapture(file)) return LoadLoneCapture(file);
  const std::string name = PathText(file);
  const FileBytes content = ReadFileBytes(file);
  if (!content.error.empty()) return name + ": " + content.error;
  ScenarioResult result = ParseScenario(
      {reinterpret_cast<const char*>(content.bytes.data()), content.bytes.size()}, name);
  if (auto* const scenario = std::get_if<Scenario>(&result)) {
    for (std::size_t i = 0; i < scenario->captures.size(); ++i) {
      CaptureScenario& capture = scenario->captures[i];
      capture.file = file.parent_path() / capture.file;
      if (const std::string error = LoadReports(capture); !error.empty())
        return name + ": " + ElementPlace("captures", i) + ": " + error;
    }
  }
  return result;
}

}  // namespace ble::simulated
