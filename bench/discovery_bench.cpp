#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AllocationCounter.h"
#include "BenchHost.h"
#include "ManyCharacteristics.h"
#include "backends/simulated/SimulatedRadio.h"
#include "gatt/GattObjectTree.h"

namespace ble::bench {
namespace {

/// Discovery through the exports, over ATT: time per characteristic.
void Discover(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto host = std::make_unique<BenchHost>(simulated::OpenSimulatedRadio(
        ManyCharacteristics(state.range(0), true, gatt_characteristic_properties::kRead)));
    host->Do(CORVANEBLE_METHOD_CONNECT, kManyAddress);
    host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES);
    state.ResumeTiming();
    if (host->Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, kManyService) != 0) {
      state.SkipWithError("discovery failed");
    }
    state.PauseTiming();
    host.reset();
    state.ResumeTiming();
  }
  state.counters["per_characteristic"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(Discover)->Arg(200)->Arg(20'000)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

/// The smallest possible platform object: the benchmark measures the memory of the tree.
class BareCharacteristic final : public GattCharacteristic {
 public:
  explicit BareCharacteristic(std::uint16_t handle) : handle_(handle) {}
  std::uint16_t AttributeHandle() const override { return handle_; }
  Uuid AttributeUuid() const override { return UuidFromShort(0x2A19); }
  std::uint32_t CharacteristicProperties() const override { return 2; }
  std::u16string UserDescription() const override { return {}; }
  std::vector<GattPresentationFormat> PresentationFormats() const override { return {}; }
  AsyncOperationPtr<GattDescriptorsResult> QueryDescriptors(const std::optional<Uuid>&,
                                                            BluetoothCacheMode) override {
    return nullptr;
  }
  AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode) override { return nullptr; }
  AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView, GattWriteOption) override {
    return nullptr;
  }
  AsyncOperationPtr<GattReadClientCharacteristicConfigurationDescriptorResult>
  ReadClientCharacteristicConfigurationDescriptorAsync() override {
    return nullptr;
  }
  AsyncOperationPtr<GattWriteResult>
  WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
      GattClientCharacteristicConfigurationDescriptorValue) override {
    return nullptr;
  }
  EventToken OnValueChanged(ValueChanged::Handler handler) override {
    handler_ = std::move(handler);
    return {};
  }

 private:
  std::uint16_t handle_;
  ValueChanged::Handler handler_;
};

class BareService final : public GattDeviceService {
 public:
  std::uint16_t AttributeHandle() const override { return 1; }
  Uuid AttributeUuid() const override { return UuidFromShort(0x180F); }
  AsyncOperationPtr<GattDeviceServicesResult> QueryIncludedServices(const std::optional<Uuid>&,
                                                                    BluetoothCacheMode) override {
    return nullptr;
  }
  AsyncOperationPtr<GattCharacteristicsResult> QueryCharacteristics(const std::optional<Uuid>&,
                                                                    BluetoothCacheMode) override {
    return nullptr;
  }
};

/// The tree alone: adding records, its memory, and finding each record by identifier and object.
void Tree(benchmark::State& state) {
  const auto count = static_cast<std::uint16_t>(state.range(0));
  std::vector<std::shared_ptr<GattCharacteristic>> objects;
  for (std::uint16_t i = 0; i < count; ++i) {
    objects.push_back(std::make_shared<BareCharacteristic>(static_cast<std::uint16_t>(i + 2)));
  }
  double bytes = 0;
  for (auto _ : state) {
    GattObjectTree tree([](GattCharacteristic&, ByteView) {});
    const std::size_t before = AllocationsNow().liveBytes;
    const auto service = tree.AddService(std::make_shared<BareService>(), GattId(1, 0, 0)).first;
    for (std::uint16_t i = 0; i < count; ++i) {
      tree.AddCharacteristic(objects[i], service, GattId(1, static_cast<std::uint16_t>(i + 2), 0));
    }
    bytes = static_cast<double>(AllocationsNow().liveBytes - before) / count;
    for (std::uint16_t i = 0; i < count; ++i) {
      const GattId id(1, static_cast<std::uint16_t>(i + 2), 0);
      benchmark::DoNotOptimize(tree.FindCharacteristic(service->id.View(), id.View()));
      benchmark::DoNotOptimize(tree.FindCharacteristicByObject(*objects[i]));
    }
  }
  state.counters["bytes_per_characteristic"] = bytes;
  state.counters["per_characteristic"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}
BENCHMARK(Tree)->Arg(200)->Arg(20'000);

}  // namespace
}  // namespace ble::bench
