#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "base/Uuid.h"
#include "platform/Async.h"
#include "platform/Event.h"

namespace ble {

enum class GattCommunicationStatus : std::int32_t {
  Success = 0,
  Unreachable = 1,
  ProtocolError = 2,
  AccessDenied = 3,
};

/// `Uncached` goes to the device over the air; `Cached` never does.
enum class BluetoothCacheMode : std::int32_t { Cached = 0, Uncached = 1 };

enum class GattWriteOption : std::int32_t { WriteWithResponse = 0, WriteWithoutResponse = 1 };

enum class GattClientCharacteristicConfigurationDescriptorValue : std::int32_t {
  None = 0,
  Notify = 1,
  Indicate = 2,
};

/// Characteristic properties: the property byte of the declaration (Bluetooth Core 5.4, Vol 3
/// Part G, 3.3.1.1) and, above it, the two bits of the extended properties descriptor.
namespace gatt_characteristic_properties {
inline constexpr std::uint32_t kBroadcast = 0x001;
inline constexpr std::uint32_t kRead = 0x002;
inline constexpr std::uint32_t kWriteWithoutResponse = 0x004;
inline constexpr std::uint32_t kWrite = 0x008;
inline constexpr std::uint32_t kNotify = 0x010;
inline constexpr std::uint32_t kIndicate = 0x020;
inline constexpr std::uint32_t kAuthenticatedSignedWrites = 0x040;
inline constexpr std::uint32_t kExtendedProperties = 0x080;
inline constexpr std::uint32_t kReliableWrites = 0x100;
inline constexpr std::uint32_t kWritableAuxiliaries = 0x200;
}  // namespace gatt_characteristic_properties

/// How a value is to be read: the contents of a 0x2904 descriptor (Bluetooth Core 5.4, Vol 3
/// Part G, 3.3.3.5).
struct GattPresentationFormat {
  std::uint8_t formatType = 0;
  std::int32_t exponent = 0;
  std::uint16_t unit = 0;
  std::uint8_t nameSpace = 0;
  std::uint16_t description = 0;

  friend bool operator==(const GattPresentationFormat&, const GattPresentationFormat&) = default;
};

class GattDeviceService;
class GattCharacteristic;
class GattDescriptor;

/// What every GATT operation reports. `protocolError` is the ATT error byte of the remote device,
/// present when the status is `ProtocolError`.
struct GattResult {
  GattCommunicationStatus status = GattCommunicationStatus::Success;
  std::optional<std::uint8_t> protocolError;
};

struct GattDeviceServicesResult : GattResult {
  std::vector<std::shared_ptr<GattDeviceService>> services;
};
struct GattCharacteristicsResult : GattResult {
  std::vector<std::shared_ptr<GattCharacteristic>> characteristics;
};
struct GattDescriptorsResult : GattResult {
  std::vector<std::shared_ptr<GattDescriptor>> descriptors;
};
struct GattReadResult : GattResult {
  Bytes value;
};
struct GattWriteResult : GattResult {};
struct GattReadClientCharacteristicConfigurationDescriptorResult : GattResult {
  GattClientCharacteristicConfigurationDescriptorValue clientCharacteristicConfigurationDescriptor =
      GattClientCharacteristicConfigurationDescriptorValue::None;
};

/// A descriptor of a characteristic. All three GATT interfaces: objects are compared by identity;
/// operations may be started from any thread and complete on any; properties answer at once. A
/// query asks for all of a kind, or for those with the wanted UUID.
class GattDescriptor {
 public:
  virtual ~GattDescriptor() = default;
  virtual std::uint16_t AttributeHandle() const = 0;
  virtual Uuid AttributeUuid() const = 0;

  virtual AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) = 0;
  virtual AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value) = 0;
};

class GattCharacteristic {
 public:
  /// Raised with the new value for each notification and indication; the bytes are valid only
  /// while the handler runs.
  using ValueChanged = EventSource<GattCharacteristic&, ByteView>;

  virtual ~GattCharacteristic() = default;
  /// The handle of the declaration, not of the value.
  virtual std::uint16_t AttributeHandle() const = 0;
  virtual Uuid AttributeUuid() const = 0;
  /// Bits of `gatt_characteristic_properties`; the two extended ones are known once the
  /// descriptors have been queried.
  virtual std::uint32_t CharacteristicProperties() const = 0;
  /// The user description descriptor's text; empty until the descriptors have been queried.
  virtual std::u16string UserDescription() const = 0;
  /// The presentation formats in the order that the aggregate format descriptor gives, else in
  /// handle order; empty until the descriptors have been queried.
  virtual std::vector<GattPresentationFormat> PresentationFormats() const = 0;

  AsyncOperationPtr<GattDescriptorsResult> GetDescriptorsAsync(BluetoothCacheMode mode) {
    return QueryDescriptors(std::nullopt, mode);
  }
  AsyncOperationPtr<GattDescriptorsResult> GetDescriptorsForUuidAsync(const Uuid& uuid,
                                                                      BluetoothCacheMode mode) {
    return QueryDescriptors(uuid, mode);
  }
  virtual AsyncOperationPtr<GattDescriptorsResult> QueryDescriptors(
      const std::optional<Uuid>& wanted, BluetoothCacheMode mode) = 0;
  /// Whether the three properties lack what a descriptor of a kind says, since it could not be read
  /// then: a new query for the kind reads it again.
  virtual bool MissesDescription(const Uuid& /*descriptorUuid*/) const { return false; }

  virtual AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) = 0;
  virtual AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value,
                                                                       GattWriteOption option) = 0;
  virtual AsyncOperationPtr<GattReadClientCharacteristicConfigurationDescriptorResult>
  ReadClientCharacteristicConfigurationDescriptorAsync() = 0;
  virtual AsyncOperationPtr<GattWriteResult>
  WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
      GattClientCharacteristicConfigurationDescriptorValue value) = 0;

  [[nodiscard]] virtual EventToken OnValueChanged(ValueChanged::Handler handler) = 0;
};

class GattDeviceService {
 public:
  virtual ~GattDeviceService() = default;
  virtual std::uint16_t AttributeHandle() const = 0;
  virtual Uuid AttributeUuid() const = 0;

  AsyncOperationPtr<GattDeviceServicesResult> GetIncludedServicesAsync(BluetoothCacheMode mode) {
    return QueryIncludedServices(std::nullopt, mode);
  }
  AsyncOperationPtr<GattDeviceServicesResult> GetIncludedServicesForUuidAsync(
      const Uuid& uuid, BluetoothCacheMode mode) {
    return QueryIncludedServices(uuid, mode);
  }
  virtual AsyncOperationPtr<GattDeviceServicesResult> QueryIncludedServices(
      const std::optional<Uuid>& wanted, BluetoothCacheMode mode) = 0;

  AsyncOperationPtr<GattCharacteristicsResult> GetCharacteristicsAsync(BluetoothCacheMode mode) {
    return QueryCharacteristics(std::nullopt, mode);
  }
  AsyncOperationPtr<GattCharacteristicsResult> GetCharacteristicsForUuidAsync(
      const Uuid& uuid, BluetoothCacheMode mode) {
    return QueryCharacteristics(uuid, mode);
  }
  virtual AsyncOperationPtr<GattCharacteristicsResult> QueryCharacteristics(
      const std::optional<Uuid>& wanted, BluetoothCacheMode mode) = 0;
};

}  // namespace ble
