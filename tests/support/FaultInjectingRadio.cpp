#include "support/FaultInjectingRadio.h"

#include <functional>
#include <utility>

#include "backends/simulated/FaultInjectingGatt.h"

namespace ble::simulated {
namespace {

/// Counts a synchronous call; the fault it is due for, if any. Throws where that has it throw.
const Fault* CountCall(FaultPlan& plan) {
  const Fault* const fault = plan.Count(CallKind::Watch);
  if (fault != nullptr && (fault->kind == Fault::Kind::Throw || fault->kind == Fault::Kind::Fail ||
                           fault->kind == Fault::Kind::GattStatus))
    throw FaultPlan::Failure(*fault);
  return fault;
}

bool IsDropped(const Fault& fault) {
  return fault.kind == Fault::Kind::Hang || fault.kind == Fault::Kind::Null;
}

void Call(FaultPlan& plan, std::function<void()> call) {
  const Fault* const fault = CountCall(plan);
  if (fault == nullptr) return call();
  if (!IsDropped(*fault)) plan.Divert(*fault, std::move(call));
}

class FaultInjectingWatcher final : public BluetoothLEAdvertisementWatcher {
 public:
  FaultInjectingWatcher(std::shared_ptr<BluetoothLEAdvertisementWatcher> inner,
                        std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

  BluetoothLEAdvertisementWatcherStatus Status() const override { return inner_->Status(); }
  void SetScanningMode(BluetoothLEScanningMode mode) override {
    Call(*plan_, [inner = inner_, mode] { inner->SetScanningMode(mode); });
  }
  void SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) override {
    Call(*plan_,
         [inner = inner_, filter = std::move(filter)] { inner->SetAdvertisementFilter(filter); });
  }
  void Start() override {
    Call(*plan_, [inner = inner_] { inner->Start(); });
  }
  void Stop() override {
    Call(*plan_, [inner = inner_] { inner->Stop(); });
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
  // What delays or diverts an operation leaves this call alone.
  const Fault* const fault = CountCall(*plan_);
  if (fault != nullptr && IsDropped(*fault)) return nullptr;
  return plan_->Wrap<FaultInjectingWatcher>(inner_->CreateAdvertisementWatcher());
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
