#include <benchmark/benchmark.h>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "AllocationCounter.h"
#include "BenchHost.h"
#include "ManyCharacteristics.h"
#include "att/GattClient.h"
#include "backends/simulated/SimulatedLink.h"
#include "backends/simulated/SimulatedRadio.h"

namespace ble::bench {
namespace {

using att::AttChannel;
using simulated::SimulatedConnector;
using simulated::Timeline;
using simulated::VirtualPeripheral;

/// A channel that also receives the PDUs of the benchmark, on the thread of the benchmark.
class TappedChannel final : public AttChannel {
 public:
  explicit TappedChannel(std::shared_ptr<AttChannel> inner) : inner_(std::move(inner)) {}
  void Start(std::weak_ptr<Listener> listener) override {
    listener_ = listener;
    inner_->Start(std::move(listener));
  }
  bool Send(ByteView pdu) override { return inner_->Send(pdu); }
  void Close() override { inner_->Close(); }
  void RaiseSecurity(std::function<void(bool)> done) override {
    inner_->RaiseSecurity(std::move(done));
  }
  void Say(ByteView pdu) const {
    if (const auto listener = listener_.lock()) listener->OnPdu(pdu);
  }

 private:
  const std::shared_ptr<AttChannel> inner_;
  std::weak_ptr<Listener> listener_;
};

class TappedConnector final : public att::AttConnector {
 public:
  explicit TappedConnector(std::shared_ptr<AttConnector> inner) : inner_(std::move(inner)) {}
  void Open(Opened opened) override {
    inner_->Open([this, opened = std::move(opened)](std::shared_ptr<AttChannel> channel,
                                                    att::ChannelError error) {
      if (channel) channel_ = std::make_shared<TappedChannel>(std::move(channel));
      opened(channel_, error);
    });
  }
  const TappedChannel& Channel() const { return *channel_; }

 private:
  const std::shared_ptr<AttConnector> inner_;
  std::shared_ptr<TappedChannel> channel_;
};

/// A simulated device with such a channel.
class TappedDevice final : public BluetoothLEDevice {
 public:
  TappedDevice(const std::shared_ptr<Timeline>& timeline,
               const std::shared_ptr<VirtualPeripheral>& peripheral)
      : connector_(std::make_shared<TappedConnector>(
            std::make_shared<SimulatedConnector>(timeline, peripheral))),
        client_(connector_, timeline) {}

  const TappedChannel& Channel() const { return connector_->Channel(); }

  std::uint64_t BluetoothAddress() const override { return 1; }
  BluetoothConnectionStatus ConnectionStatus() const override {
    return BluetoothConnectionStatus::Connected;
  }
  std::u16string Name() const override { return {}; }
  AsyncOperationPtr<GattDeviceServicesResult> QueryGattServices(const std::optional<Uuid>& wanted,
                                                                BluetoothCacheMode mode) override {
    return wanted ? client_.GetGattServicesForUuidAsync(*wanted, mode)
                  : client_.GetGattServicesAsync(mode);
  }
  EventToken OnConnectionStatusChanged(Changed::Handler) override { return {}; }
  EventToken OnNameChanged(Changed::Handler) override { return {}; }
  EventToken OnGattServicesChanged(GattServicesChanged::Handler) override { return {}; }

 private:
  const std::shared_ptr<TappedConnector> connector_;
  att::GattClient client_;
};

class TappedRadio final : public Radio {
 public:
  explicit TappedRadio(std::shared_ptr<BluetoothLEDevice> device) : device_(std::move(device)) {}
  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override {
    return CompletedOperation<BluetoothAdapter>(nullptr);
  }
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    return nullptr;
  }
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(std::uint64_t) override {
    return CompletedOperation(device_);
  }

 private:
  const std::shared_ptr<BluetoothLEDevice> device_;
};

/// From the ATT PDU to the return of the host: one Value event per iteration, for the last of many
/// known characteristics.
void Notification(benchmark::State& state) {
  const auto timeline = std::make_shared<Timeline>(Timeline::Mode::Virtual);
  const auto scenario =
      ManyCharacteristics(state.range(0), true, gatt_characteristic_properties::kRead);
  const auto device = std::make_shared<TappedDevice>(
      timeline, std::make_shared<VirtualPeripheral>(timeline, scenario.peripherals[0]));
  const BenchHost host({std::make_shared<TappedRadio>(device), timeline, timeline});
  if (host.Do(CORVANEBLE_METHOD_CONNECT, kManyAddress) != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES) != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, kManyService) != 0) {
    state.SkipWithError("no characteristics");
    return;
  }
  const auto handle = static_cast<unsigned>(0x0010 + 2 * state.range(0));  // of the last value
  const Bytes pdu{0x1B, static_cast<std::uint8_t>(handle), static_cast<std::uint8_t>(handle >> 8),
                  0x16, 0x48};
  device->Channel().Say(pdu);
  const std::uint64_t eventsBefore = host.Events();
  const std::size_t before = AllocationsNow().count;
  for (auto _ : state)
    device->Channel().Say(pdu);
  const auto iterations = static_cast<double>(state.iterations());
  state.counters["allocations"] = static_cast<double>(AllocationsNow().count - before) / iterations;
  state.counters["events"] = static_cast<double>(host.Events() - eventsBefore) / iterations;
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Notification)->Arg(20)->Arg(20'000);

/// Selecting a service with 5,000 characteristics and reading one property of each.
void SelectAndReadAll(benchmark::State& state) {
  const BenchHost host(simulated::OpenSimulatedRadio(
      ManyCharacteristics(5000, true, gatt_characteristic_properties::kRead)));
  if (host.Do(CORVANEBLE_METHOD_CONNECT, kManyAddress) != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES) != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, kManyService) != 0) {
    state.SkipWithError("no characteristics");
    return;
  }
  for (auto _ : state) {
    host.Do(CORVANEBLE_METHOD_SELECT, kManyService);
    const auto count = static_cast<std::int32_t>(CorvaneBLE_BLEClient_Get(
        host.Handle(), CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT, 0, nullptr, nullptr));
    if (count != 5000) state.SkipWithError("not all");
    for (std::int32_t i = 0; i < count; ++i) {
      benchmark::DoNotOptimize(CorvaneBLE_BLEClient_Get(
          host.Handle(), CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, i, nullptr, nullptr));
    }
  }
}
BENCHMARK(SelectAndReadAll)->Unit(benchmark::kMillisecond);

/// The cost of the hand-over alone: a task on the thread of the radio, and the wait for it.
void HandOver(benchmark::State& state) {
  Timeline timeline(Timeline::Mode::Real);
  for (auto _ : state) {
    const auto done = std::make_shared<WakeSignal>();
    timeline.Post([done] { done->Set(); });
    timeline.Step(std::chrono::seconds(1), done.get());
  }
}
BENCHMARK(HandOver)->Unit(benchmark::kMicrosecond)->MeasureProcessCPUTime()->UseRealTime();

/// The processor time of a read and of a write over the simulated link in real time, including both
/// ends and the hand-over between the threads.
void RoundTrip(benchmark::State& state) {
  namespace property = gatt_characteristic_properties;
  const BenchHost host(simulated::OpenSimulatedRadio(
      ManyCharacteristics(1, false, property::kRead | property::kWrite)));
  if (host.Do(CORVANEBLE_METHOD_CONNECT, kManyAddress) != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES) != 0 ||
      host.Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, kManyService) != 0) {
    state.SkipWithError("no characteristic");
    return;
  }
  const bool writes = state.range(0) != 0;
  const std::uint8_t value = 1;
  for (auto _ : state) {
    std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(kManyService),
                              reinterpret_cast<std::intptr_t>("001000110000"), 0,
                              reinterpret_cast<std::intptr_t>(&value)};
    std::int32_t lengths[] = {0, 0, 0, 1};
    const int method = writes ? CORVANEBLE_METHOD_WRITE_VALUE : CORVANEBLE_METHOD_READ_VALUE;
    if (CorvaneBLE_BLEClient_Do(host.Handle(), method, 4, params, lengths, nullptr) != 0) {
      state.SkipWithError("failed");
    }
  }
}
BENCHMARK(RoundTrip)
    ->ArgName("write")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
}  // namespace ble::bench
