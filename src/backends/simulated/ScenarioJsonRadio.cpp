#include "backends/simulated/ScenarioJson.h"

namespace ble::simulated {
namespace {

constexpr NamedValue<CaptureScenario::Pace> kPaces[] = {
    {"recorded", CaptureScenario::Pace::Recorded},
    {"fast", CaptureScenario::Pace::Fast},
};

std::filesystem::path ReadPath(const JsonNode& node) {
  const std::string text = node.Text(1024);
  if (text.empty() || text.find('\0') != std::string::npos) node.Fail("must be the name of a file");
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

}  // namespace

AdapterScenario ReadAdapter(const JsonNode& node) {
  const JsonObject object(node, {"present", "lowEnergy", "address", "scanStartLatency",
                                 "neverStarts", "startError", "faults"});
  AdapterScenario adapter;
  object.Read("present", adapter.present);
  object.Read("lowEnergy", adapter.lowEnergy);
  object.Read("address", adapter.address, ReadAddress);
  object.Read("scanStartLatency", adapter.scanStartLatency, ReadDuration);
  object.Read("neverStarts", adapter.neverStarts);
  object.Read("startError", adapter.startError, ReadBluetoothError);
  object.Read("faults", adapter.faults, ReadAdapterFaults);
  return adapter;
}

CaptureScenario ReadCapture(const JsonNode& node) {
  CaptureScenario capture;
  if (node.IsString()) {
    capture.file = ReadPath(node);
    return capture;
  }
  const JsonObject object(node, {"file", "pace", "repeat"});
  capture.file = ReadPath(object.At("file"));
  object.ReadName("pace", capture.pace, kPaces);
  object.Read("repeat", capture.repeat);
  if (capture.repeat && capture.pace == CaptureScenario::Pace::Fast)
    object.At("repeat").Fail("a capture played as fast as possible would never let time pass");
  return capture;
}

RadioEvent ReadRadioEvent(const JsonNode& node) {
  const JsonObject object(node, {"at", "error"});
  RadioEvent event;
  event.at = ReadDuration(object.At("at"));
  object.Read("error", event.error, ReadBluetoothError);
  return event;
}

}  // namespace ble::simulated
