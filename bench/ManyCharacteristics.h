#pragma once

#include <cstdint>

#include "backends/simulated/Scenario.h"

namespace ble::bench {

/// A device with address 1 and one service, at handle 0x0010, with `count` characteristics.
inline simulated::Scenario ManyCharacteristics(std::int64_t count, bool virtualTime,
                                               std::uint32_t properties) {
  simulated::ServiceScenario service;
  service.uuid = Uuid::FromAssignedNumber(0x180F);
  service.handle = 0x0010;
  for (std::int64_t i = 0; i < count; ++i) {
    simulated::CharacteristicScenario characteristic;
    characteristic.uuid = Uuid::FromAssignedNumber(0x2A19);
    characteristic.properties = properties;
    characteristic.value = {0x64};
    service.characteristics.push_back(std::move(characteristic));
  }
  simulated::PeripheralScenario peripheral;
  peripheral.address = 1;
  peripheral.mtu = 517;
  peripheral.services.push_back(std::move(service));
  simulated::Scenario scenario;
  scenario.virtualTime = virtualTime;
  scenario.peripherals.push_back(std::move(peripheral));
  return scenario;
}

inline constexpr const char* kManyAddress = "000000000001";
inline constexpr const char* kManyService = "001000000000";

}  // namespace ble::bench
