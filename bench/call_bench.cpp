#include <benchmark/benchmark.h>

#include "BenchHost.h"
#include "backends/simulated/ScenarioLoader.h"
#include "backends/simulated/SimulatedRadio.h"

namespace ble::bench {
namespace {

constexpr const char* kScene = R"({"time": "virtual", "peripherals": [
  {"address": "00A050C4E2F1", "services": [
    {"uuid": "180F", "handle": 32, "characteristics": [
      {"uuid": "2A19", "handle": 33, "properties": ["read"], "value": "64"}]}]}]})";

OpenedRadio SceneRadio() {
  return simulated::OpenSimulatedRadio(
      std::get<simulated::Scenario>(simulated::ParseScenario(kScene, "bench")));
}

void GetInteger(benchmark::State& state) {
  const BenchHost host(SceneRadio());
  for (auto _ : state) {
    benchmark::DoNotOptimize(CorvaneBLE_BLEClient_Get(
        host.Handle(), CORVANEBLE_PROPERTY_SERVICE_COUNT, 0, nullptr, nullptr));
  }
}
BENCHMARK(GetInteger);

void GetNarrowText(benchmark::State& state) {
  const BenchHost host(SceneRadio());
  if (host.Do(CORVANEBLE_METHOD_CONNECT, "00A050C4E2F1") != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES) != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, "002000000000") != 0) {
    state.SkipWithError("no characteristic");
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(CorvaneBLE_BLEClient_Get(
        host.Handle(), CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID, 0, nullptr, nullptr));
  }
}
BENCHMARK(GetNarrowText);

void ConfigRead(benchmark::State& state) {
  const BenchHost host(SceneRadio());
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>("ScanStartedTimeout"), 0};
  std::int32_t lengths[2] = {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(CorvaneBLE_BLEClient_Do(host.Handle(), CORVANEBLE_METHOD_CONFIG, 1,
                                                     params, lengths, nullptr));
  }
}
BENCHMARK(ConfigRead);

}  // namespace
}  // namespace ble::bench
