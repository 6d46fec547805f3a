#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Async.h"
#include "platform/BluetoothAdvertisement.h"
#include "platform/Clock.h"
#include "platform/Event.h"
#include "platform/Gatt.h"

namespace ble {

enum class BluetoothConnectionStatus : std::int32_t { Disconnected = 0, Connected = 1 };

class BluetoothAdapter {
 public:
  virtual ~BluetoothAdapter() = default;
  virtual std::uint64_t BluetoothAddress() const = 0;
  virtual bool IsLowEnergySupported() const = 0;
};

/// What a services-changed notice says, as text ready for the host: empty, or the range of
/// attribute handles concerned.
struct GattServicesChangedEventArgs {
  std::u16string text;
};

/// One remote device. Holding the object keeps the link wanted, not open: the first GATT operation
/// opens it, and `ConnectionStatusChanged` reports when it opens or is lost. Releasing the last
/// reference closes the link.
class BluetoothLEDevice {
 public:
  using Changed = EventSource<>;
  using GattServicesChanged = EventSource<const GattServicesChangedEventArgs&>;

  virtual ~BluetoothLEDevice() = default;
  virtual std::uint64_t BluetoothAddress() const = 0;
  virtual BluetoothConnectionStatus ConnectionStatus() const = 0;
  virtual std::u16string Name() const = 0;

  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesAsync(BluetoothCacheMode mode) {
    return QueryGattServices(std::nullopt, mode);
  }
  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesForUuidAsync(const Uuid& uuid,
                                                                          BluetoothCacheMode mode) {
    return QueryGattServices(uuid, mode);
  }
  virtual AsyncOperationPtr<GattDeviceServicesResult> QueryGattServices(
      const std::optional<Uuid>& wanted, BluetoothCacheMode mode) = 0;

  /// Raised on the platform's threads, after the change is visible through the getters.
  [[nodiscard]] virtual EventToken OnConnectionStatusChanged(Changed::Handler handler) = 0;
  [[nodiscard]] virtual EventToken OnNameChanged(Changed::Handler handler) = 0;
  [[nodiscard]] virtual EventToken OnGattServicesChanged(GattServicesChanged::Handler handler) = 0;
};

/// The factory of a backend. Any call may throw `PlatformFailure`.
class Radio {
 public:
  virtual ~Radio() = default;

  /// The default adapter; null when the machine has none.
  virtual AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() = 0;
  virtual std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() = 0;
  /// The device with a 48-bit address; null when there is none. No scan is needed before.
  virtual AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(
      std::uint64_t address) = 0;

  /// How long callers wait for one operation from now on (0: for ever). A radio that must search
  /// or try again gives up a little earlier, so that its caller learns more than that time is up.
  virtual void SetWaitLimit(std::chrono::milliseconds /*limit*/) {}

  /// Raised, on the platform's threads, with a text (UTF-8) about a condition that the user can act
  /// on and no status reports, such as another program that holds a device.
  using Notice = EventSource<const std::string&>;
  [[nodiscard]] virtual EventToken OnNotice(Notice::Handler /*handler*/) { return {}; }
};

/// A radio together with the time and the waiting that belong to it.
struct OpenedRadio {
  std::shared_ptr<Radio> radio;
  std::shared_ptr<Clock> clock;
  std::shared_ptr<MessagePump> pump;
};

/// Opens the radio with a name: "auto" or empty (the machine's own), "simulated" (the built-in
/// scene), "simulated:FILE.json", "linux", "linux:hciN", "windows". The only place that knows
/// which backends exist. Never fails: where a radio cannot be had, every call of the one returned
/// throws `PlatformFailure` saying why; where "auto" finds none, it has no default adapter.
OpenedRadio OpenRadio(std::string_view name);

/// The name that the environment variable CORVANEBLE_RADIO gives, or "auto".
std::string RadioNameFromEnvironment();

}  // namespace ble
