#pragma once

#include <memory>

#include "backends/simulated/FaultPlan.h"
#include "platform/Radio.h"

namespace ble::simulated {

/// The device with the faults of a plan: it and the GATT objects it hands out pass everything on to
/// the ones they wrap, their operations by way of the plan. Null for null.
[[nodiscard]] std::shared_ptr<BluetoothLEDevice> WithFaults(
    const std::shared_ptr<BluetoothLEDevice>& device, const std::shared_ptr<FaultPlan>& plan);

}  // namespace ble::simulated
