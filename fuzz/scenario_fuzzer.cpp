#include "backends/simulated/ScenarioLoader.h"
#include "backends/simulated/SimulatedRadio.h"
#include "fuzz/Input.h"
#include "fuzz/Instance.h"
#include "platform/PlatformFailure.h"

// Fuzzes scenario files: loads the text and, if it is valid, runs the scene for a moment.
namespace {

using namespace ble;
using namespace ble::simulated;
using fuzz::Param;

constexpr std::size_t kMaxPeripherals = 4;      // of a scene that is run
constexpr milliseconds kShortestInterval{100};  // limits the work of a run

std::int32_t Do(const fuzz::Instance& instance, std::int32_t method, const char* text = "") {
  std::intptr_t params[] = {Param(text), Param(""), 1, Param("")};
  std::int32_t lengths[4] = {};
  return CorvaneBLE_BLEClient_Do(instance.Handle(), method, 4, params, lengths, nullptr);
}

void Play(Scenario scenario) {
  std::uint64_t address = 0xC0FFEE000001;
  for (const PeripheralScenario& peripheral : scenario.peripherals) {
    address = peripheral.address;
    if (peripheral.advertising && peripheral.advertising->interval < kShortestInterval) return;
  }
  char text[13] = {};
  std::snprintf(text, sizeof text, "%012llX", static_cast<unsigned long long>(address));

  scenario.virtualTime = true;
  OpenedRadio radio;
  try {
    radio = OpenSimulatedRadio(std::move(scenario));
  } catch (const PlatformFailure& failure) {
    return fuzz::Require(*failure.what() != '\0');
  }
  const fuzz::Instance instance(std::move(radio));
  (void)CorvaneBLE_BLEClient_Set(instance.Handle(), CORVANEBLE_PROPERTY_TIMEOUT, 0, 1, 0);
  (void)Do(instance, CORVANEBLE_METHOD_START_SCANNING);
  (void)Do(instance, CORVANEBLE_METHOD_CONNECT, text);
  (void)Do(instance, CORVANEBLE_METHOD_DISCOVER);
  const char* report = nullptr;
  (void)fuzz::Config(instance.Handle(), "GattObjTreeInfo", report);
  fuzz::Require(report != nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  ScenarioResult result = ParseScenario(text, "fuzz.json");
  if (const auto* const error = std::get_if<std::string>(&result)) {
    fuzz::Require(error->starts_with("fuzz.json: "));
    return 0;
  }
  auto& scenario = std::get<Scenario>(result);
  if (scenario.peripherals.size() <= kMaxPeripherals) Play(std::move(scenario));
  return 0;
}
