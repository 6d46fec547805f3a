#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "backends/simulated/FaultPlan.h"
#include "base/Executor.h"
#include "platform/Radio.h"

namespace ble::simulated {

/// Wraps a radio and injects faults. Counts all operations started on it and on the objects that it
/// returns, and the synchronous calls that may fail: creating a watcher, setting its mode and
/// filter, starting and stopping it. After a run without a fault, `CallCount` is the number of
/// calls of the program; a test then lets each of them fail in turn.
class FaultInjectingRadio final : public Radio {
 public:
  /// `executor` runs late completions; it belongs to the wrapped radio and is not kept alive.
  FaultInjectingRadio(std::shared_ptr<Radio> inner, std::weak_ptr<Executor> executor,
                      std::vector<Fault> faults);

  std::uint32_t CallCount() const { return plan_->CallCount(); }

  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override;
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override;
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(
      std::uint64_t address) override;
  void SetWaitLimit(std::chrono::milliseconds limit) override { inner_->SetWaitLimit(limit); }
  EventToken OnNotice(Notice::Handler handler) override {
    return inner_->OnNotice(std::move(handler));
  }

 private:
  const std::shared_ptr<Radio> inner_;
  const std::shared_ptr<FaultPlan> plan_;
};

}  // namespace ble::simulated
