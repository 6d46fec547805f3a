#include "support/FaultInjectingRadio.h"

#include <utility>

#include "backends/simulated/FaultInjectingGatt.h"

namespace ble::simulated {
namespace {

class FaultInjectingWatcher final : public BluetoothLEAdvertisementWatcher {
 public:
  FaultInjectingWatcher(std::shared_ptr<BluetoothLEAdvertisementWatcher> inner,
                        std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

  BluetoothLEAdvertisementWatcherStatus Status() const override { return inner_->Status(); }
  void SetScanningMode(BluetoothLEScanningMode mode) override {
    plan_->Call([inner = inner_, mode] { inner->SetScanningMode(mode); });
  }
  void SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) override {
    plan_->Call(
        [inner = inner_, filter = std::move(filter)] { inner->SetAdvertisementFilter(filter); });
  }
  void Start() override {
    plan_->Call([inner = inner_] { inner->Start(); });
  }
  void Stop() override {
    plan_->Call([inner = inner_] { inner->Stop(); });
  }
  Latch::SignalPtr Begun() override { return inner_->Begun(); }
  Latch::SignalPtr Over() override { return inner_->Over(); }
  EventToken OnReceived(Received::Handler handler) override {
    return inner_->OnReceived(std::move(handler));
  }
  EventToken OnStopped(Stopped::Handler handler) override {
    return inner_->OnStopped(std::move(handler));
  }

 private:
  const std::shared_ptr<BluetoothLEAdvertisementWatcher> inner_;
  const std::shared_ptr<FaultPlan> plan_;
};

}  // namespace

FaultInjectingRadio::FaultInjectingRadio(std::shared_ptr<Radio> inner,
                                         std::weak_ptr<Executor> executor,
                                         std::vector<Fault> faults)
    : inner_(std::move(inner)),
      plan_(std::make_shared<FaultPlan>(std::move(executor), std::move(faults))) {}

AsyncOperationPtr<BluetoothAdapter> FaultInjectingRadio::GetDefaultAdapterAsync() {
  return plan_->Operation<BluetoothAdapter>(
      CallKind::AdapterLookUp, [&] { return inner_->GetDefaultAdapterAsync(); },
      [](const std::shared_ptr<BluetoothAdapter>& adapter) { return adapter; });
}

std::shared_ptr<BluetoothLEAdvertisementWatcher> FaultInjectingRadio::CreateAdvertisementWatcher() {
  return plan_->Create<BluetoothLEAdvertisementWatcher>(
      [&] { return plan_->Wrap<FaultInjectingWatcher>(inner_->CreateAdvertisementWatcher()); });
}

AsyncOperationPtr<BluetoothLEDevice> FaultInjectingRadio::DeviceFromBluetoothAddressAsync(
    std::uint64_t address) {
  return plan_->Operation<BluetoothLEDevice>(
      CallKind::DeviceLookUp, [&] { return inner_->DeviceFromBluetoothAddressAsync(address); },
      [plan = plan_](const std::shared_ptr<BluetoothLEDevice>& device) {
        return WithFaults(device, plan);
      });
}

}  // namespace ble::simulated
