#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/BusReader.h"
#include "backends/linux/SystemBus.h"
#include "base/Bytes.h"
#include "base/Uuid.h"
#include "platform/Event.h"

namespace ble::linux_radio {

/// What to tell the user where there is no adapter.
inline constexpr const char* kNoAdapter =
    "There is no Bluetooth adapter; is one plugged in, and its driver loaded?";

/// What BlueZ says of an adapter (org.bluez.Adapter1).
struct AdapterObject {
  std::string path;  ///< ends in the adapter's name, such as "hci0"
  std::uint64_t address = 0;
  bool randomAddress = false;
  bool powered = false;
  bool lowEnergy = true;  ///< an older BlueZ does not say

  std::string Name() const { return path.substr(path.rfind('/') + 1); }
};

/// What BlueZ says of a device (org.bluez.Device1): what it knows, over all packets it heard.
struct DeviceObject {
  std::string path;
  std::string adapterPath;
  std::uint64_t address = 0;
  bool randomAddress = false;
  std::string name;  ///< as the device says; empty when it never did
  std::optional<std::int16_t> rssi;
  std::optional<std::int16_t> txPower;
  std::vector<Uuid> serviceUuids;
  std::map<std::uint16_t, Bytes> manufacturerData;
  std::map<Uuid, Bytes, bool (*)(const Uuid&, const Uuid&)> serviceData{&IsLess};
  std::optional<std::uint8_t> advertisingFlags;
  bool paired = false;   ///< told late, when all services are known
  bool bonded = false;   ///< an older BlueZ does not say
  bool classic = false;  ///< the device also knows BR/EDR

  /// Whether there is a key for Low Energy; where there is BR/EDR too, the key may be for that.
  bool HasKey() const { return (paired || bonded) && !classic; }

 private:
  static bool IsLess(const Uuid& a, const Uuid& b) { return a.BigEndian() < b.BigEndian(); }
};

/// What a change of a device was about.
struct DeviceChange {
  bool heard = false;  ///< something that only a packet from the device can have changed
  bool name = false;
};

/// BlueZ's objects as they are now: asked for once, then kept by signals. Follows the daemon when
/// it goes away and comes back. On the radio's thread alone; all events are raised there.
class BluezObjects {
 public:
  using AdaptersChanged = EventSource<>;
  using DeviceChanged = EventSource<const DeviceObject&, DeviceChange>;

  /// `answerLimit` says how long the daemon may take to tell what there is.
  BluezObjects(SystemBus& bus, std::function<std::chrono::milliseconds()> answerLimit)
      : bus_(bus), answerLimit_(std::move(answerLimit)) {}

  /// Begins to watch; once the bus is open.
  void Begin();
  /// The bus has gone: nothing is there any more.
  void End(const std::string& reason);

  /// Calls `then` when it is known what there is: at once, or after the daemon has answered or
  /// failed to. One that failed is asked again.
  void WhenKnown(std::function<void()> then);

  /// Why there are no objects, for the user; empty when there are.
  const std::string& Absence() const { return absence_; }

  const std::map<std::string, AdapterObject>& Adapters() const { return adapters_; }
  const AdapterObject* Adapter(const std::string& path) const;
  const DeviceObject* Device(const std::string& path) const;
  const DeviceObject* Device(const std::string& adapterPath, std::uint64_t address) const;

  [[nodiscard]] EventToken OnAdaptersChanged(AdaptersChanged::Handler handler) {
    return adaptersChanged_.Add(std::move(handler));
  }
  [[nodiscard]] EventToken OnDeviceChanged(DeviceChanged::Handler handler) {
    return deviceChanged_.Add(std::move(handler));
  }

 private:
  void AskForAll();
  void OnAll(sd_bus_message* reply, const BusError* error);
  void OnOwnerChanged(sd_bus_message* message);
  void OnInterfacesAdded(sd_bus_message* message);
  void OnInterfacesRemoved(sd_bus_message* message);
  void OnPropertiesChanged(sd_bus_message* message);

  /// Reads an object's interfaces and raises what has become of it.
  void TakeObject(const std::string& path, BusReader& reader, bool announce);
  void TakeAdapter(const std::string& path, BusReader& reader);
  DeviceChange TakeDevice(DeviceObject& device, BusReader& reader);
  void RemoveObject(const std::string& path, const std::string& interface);
  /// While two devices have one address, as for a moment after pairing, the later one is found.
  void ForgetAddress(const DeviceObject& device, std::uint64_t address);
  void Forget(const std::string& reason);
  void Known();

  SystemBus& bus_;
  const std::function<std::chrono::milliseconds()> answerLimit_;
  bool known_ = false;
  std::string absence_;
  std::uint32_t generation_ = 0;  ///< of the daemon; answers of an earlier one are ignored
  std::vector<std::function<void()>> waiting_;
  std::map<std::string, AdapterObject> adapters_;
  std::map<std::string, std::shared_ptr<DeviceObject>> devices_;
  std::map<std::pair<std::string, std::uint64_t>, std::string> devicePaths_;  ///< by address
  AdaptersChanged adaptersChanged_;
  DeviceChanged deviceChanged_;
};

}  // namespace ble::linux_radio
