#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/Gatt.h"
#include "platform/Radio.h"

namespace ble {

/// An enumerator's name; for a value outside the enumeration, the enumeration's full type name.
template <class Enum>
struct EnumNames;

template <>
struct EnumNames<GattCommunicationStatus> {
  static constexpr const char* kType =
      "Windows.Devices.Bluetooth.GenericAttributeProfile.GattCommunicationStatus";
  static constexpr std::array kNames{"Success", "Unreachable", "ProtocolError", "AccessDenied"};
};

template <>
struct EnumNames<BluetoothError> {
  static constexpr const char* kType = "Windows.Devices.Bluetooth.BluetoothError";
  static constexpr std::array kNames{
      "Success",         "RadioNotAvailable",    "ResourceInUse", "DeviceNotConnected",
      "OtherError",      "DisabledByPolicy",     "NotSupported",  "DisabledByUser",
      "ConsentRequired", "TransportNotSupported"};
};

template <>
struct EnumNames<BluetoothConnectionStatus> {
  static constexpr const char* kType = "Windows.Devices.Bluetooth.BluetoothConnectionStatus";
  static constexpr std::array kNames{"Disconnected", "Connected"};
};

template <class Enum>
constexpr const char* EnumText(Enum value) {
  using Names = EnumNames<Enum>;
  const auto number = static_cast<std::int32_t>(value);
  if (number < 0 || static_cast<std::size_t>(number) >= Names::kNames.size()) return Names::kType;
  return Names::kNames[static_cast<std::size_t>(number)];
}

}  // namespace ble
