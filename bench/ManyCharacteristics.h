#pragma once

#include <cstdint>

#include "platform/simulated/Scenario.h"

namespace corvaneble::bench {

/// A device at address 1 whose one service, at handle 0x0010, has `count` characteristics.
inline platform::simulated::Scenario ManyCharacteristics(std::int64_t count, bool virtualTime,
                                                         std::uint32_t properties) {
  platform::simulated::ServiceScenario service;
  service.uuid = platform::Guid::FromAssignedNumber(0x180F);
  service.handle = 0x0010;
  for (std::int64_t i = 0; i < count; ++i) {
    platform::simulated::CharacteristicScenario characteristic;
    characteristic.uuid = platform::Guid::FromAssignedNumber(0x2A19);
    characteristic.properties = properties;
    characteristic.value = {0x64};
    service.characteristics.push_back(std::move(characteristic));
  }
  platform::simulated::PeripheralScenario peripheral;
  peripheral.address = 1;
  peripheral.mtu = 517;
  peripheral.services.push_back(std::move(service));
  platform::simulated::Scenario scenario;
  scenario.virtualTime = virtualTime;
  scenario.peripherals.push_back(std::move(peripheral));
  return scenario;
}

inline constexpr const char* kManyAddress = "000000000001";
inline constexpr const char* kManyService = "001000000000";

}  // namespace corvaneble::bench
