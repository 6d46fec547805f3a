#include "backends/simulated/SimulatedRadio.h"

#include <utility>

#include "backends/simulated/FaultInjectingGatt.h"
#include "backends/simulated/SimulatedDevice.h"
#include "backends/simulated/SimulatedWatcher.h"

namespace ble::simulated {
namespace {

class SimulatedAdapter final : public BluetoothAdapter {
 public:
  explicit SimulatedAdapter(const AdapterScenario& scenario) : scenario_(scenario) {}

  std::uint64_t BluetoothAddress() const override { return scenario_.address; }
  bool IsLowEnergySupported() const override { return scenario_.lowEnergy; }

 private:
  const AdapterScenario scenario_;
};

/// An operation that completes with `result` on the radio's thread.
template <class T>
AsyncOperationPtr<T> CompleteOn(Timeline& timeline, std::shared_ptr<T> result) {
  auto operation = std::make_shared<CompletableOperation<T>>();
  timeline.Post([operation, result = std::move(result)] { operation->Complete(result); });
  return operation;
}

}  // namespace

SimulatedRadio::SimulatedRadio(std::shared_ptr<Timeline> timeline, Scenario scenario)
    : timeline_(std::move(timeline)),
      adapter_(scenario.adapter),
      adapterFaults_(std::make_shared<FaultPlan>(timeline_, adapter_.faults)) {
  auto traffic = std::make_shared<AirTraffic>();
  traffic->captures = std::move(scenario.captures);
  traffic->radioEvents = std::move(scenario.radioEvents);
  for (PeripheralScenario& peripheral : scenario.peripherals) {
    const std::uint64_t address = peripheral.address;
    if (peripheral.advertising)
      traffic->advertisers.push_back(
          std::make_unique<const Advertiser>(address, *peripheral.advertising));
    Reachable& reachable = peripherals_[address];
    if (!peripheral.faults.empty())
      reachable.faults = std::make_shared<FaultPlan>(timeline_, peripheral.faults);
    reachable.peripheral = std::make_shared<VirtualPeripheral>(timeline_, std::move(peripheral));
  }
  traffic_ = std::move(traffic);
}

AsyncOperationPtr<BluetoothAdapter> SimulatedRadio::GetDefaultAdapterAsync() {
  std::shared_ptr<BluetoothAdapter> adapter;
  if (adapter_.present) adapter = std::make_shared<SimulatedAdapter>(adapter_);
  return adapterFaults_->Operation<BluetoothAdapter>(
      CallKind::AdapterLookUp, [&] { return CompleteOn(*timeline_, std::move(adapter)); },
      [](const std::shared_ptr<BluetoothAdapter>& found) { return found; });
}

std::shared_ptr<BluetoothLEAdvertisementWatcher> SimulatedRadio::CreateAdvertisementWatcher() {
  return std::make_shared<SimulatedWatcher>(timeline_, adapter_, traffic_);
}

AsyncOperationPtr<BluetoothLEDevice> SimulatedRadio::DeviceFromBluetoothAddressAsync(
    std::uint64_t address) {
  const auto found = peripherals_.find(address);
  if (found == peripherals_.end()) return CompleteOn<BluetoothLEDevice>(*timeline_, nullptr);
  const auto lookUp = [&] {
    return CompleteOn<BluetoothLEDevice>(
        *timeline_,
        std::make_shared<SimulatedDevice>(timeline_, found->second.peripheral, notices_));
  };
  const auto plan = found->second.faults;
  if (!plan) return lookUp();
  return plan->Operation<BluetoothLEDevice>(
      CallKind::DeviceLookUp, lookUp, [plan](const std::shared_ptr<BluetoothLEDevice>& device) {
        return WithFaults(device, plan);
      });
}

OpenedSimulatedRadio OpenSimulatedRadio(Scenario scenario) {
  OpenedSimulatedRadio opened;
  opened.timeline = std::make_shared<Timeline>(scenario.virtualTime ? Timeline::Mode::Virtual
                                                                    : Timeline::Mode::Real);
  opened.radio = std::make_shared<SimulatedRadio>(opened.timeline, std::move(scenario));
  opened.clock = opened.timeline;
  opened.pump = opened.timeline;
  return opened;
}

}  // namespace ble::simulated
