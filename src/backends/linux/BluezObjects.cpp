#include "backends/linux/BluezObjects.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/HexText.h"

namespace ble::linux_radio {
namespace {

constexpr const char* kAdapter = "org.bluez.Adapter1";
constexpr const char* kDevice = "org.bluez.Device1";
constexpr const char* kNoDaemon =
    "BlueZ's daemon does not run; start bluetoothd (systemctl start bluetooth).";

/// Whether the kernel has a controller. Systems do not start the daemon without one, and may not
/// say that they did not.
bool HasController() {
  std::error_code none;
  return std::filesystem::directory_iterator("/sys/class/bluetooth", none) !=
         std::filesystem::directory_iterator();
}

const char* WhyNoDaemon() {
  return HasController() ? kNoDaemon : kNoAdapter;
}

std::string WhyNoObjects(const BusError& error) {
  const auto is = [&](std::string_view name) {
    return error.name == "org.freedesktop.DBus.Error." + std::string(name);
  };
  if (is("AccessDenied")) return "D-Bus does not let this user talk to BlueZ: " + error.text;
  if (is("ServiceUnknown") || is("NameHasNoOwner") || is("NoReply") ||
      error.name.starts_with("org.freedesktop.DBus.Error.Spawn."))
    return WhyNoDaemon();
  return "BlueZ does not answer: " + error.text;
}

template <auto field, auto read>
void Take(DeviceObject& device, BusReader& reader) {
  device.*field = (reader.*read)();
}

void TakeServiceUuids(DeviceObject& device, BusReader& reader) {
  device.serviceUuids.clear();
  for (const std::string& text : reader.Texts())
    if (const auto uuid = StrictUuid(text)) device.serviceUuids.push_back(*uuid);
}

void TakeManufacturerData(DeviceObject& device, BusReader& reader) {
  device.manufacturerData.clear();
  reader.ForEachEntry("qv", [&] {
    Bytes& data = device.manufacturerData[reader.UInt16()];
    reader.InVariant([&] { data = reader.ByteArray(); });
  });
}

void TakeServiceData(DeviceObject& device, BusReader& reader) {
  device.serviceData.clear();
  reader.ForEachEntry("sv", [&] {
    const auto uuid = StrictUuid(reader.Text());
    reader.InVariant([&] {
      Bytes data = reader.ByteArray();
      if (uuid) device.serviceData[*uuid] = std::move(data);
    });
  });
}

void TakeAdvertisingFlags(DeviceObject& device, BusReader& reader) {
  const Bytes flags = reader.ByteArray();
  if (!flags.empty()) device.advertisingFlags = flags[0];
}

/// How a property of org.bluez.Device1 is taken over, and what its change means.
struct DeviceProperty {
  std::string_view name;
  void (*take)(DeviceObject& device, BusReader& reader);
  DeviceChange change;
};

constexpr DeviceChange kHeard{true, false};
constexpr DeviceProperty kDeviceProperties[] = {
    {"Address",
     [](DeviceObject& device, BusReader& reader) {
       device.address = ParseAddress(reader.Text()).value_or(0);
     },
     {}},
    {"AddressType",
     [](DeviceObject& device, BusReader& reader) {
       device.randomAddress = reader.Text() == "random";
     },
     {}},
    {"Adapter", Take<&DeviceObject::adapterPath, &BusReader::Text>, {}},
    {"Name", Take<&DeviceObject::name, &BusReader::Text>, {false, true}},
    {"RSSI", Take<&DeviceObject::rssi, &BusReader::Int16>, kHeard},
    {"TxPower", Take<&DeviceObject::txPower, &BusReader::Int16>, kHeard},
    {"UUIDs", TakeServiceUuids, {}},
    {"ManufacturerData", TakeManufacturerData, kHeard},
    {"ServiceData", TakeServiceData, kHeard},
    {"AdvertisingFlags", TakeAdvertisingFlags, {}},
    {"Paired", Take<&DeviceObject::paired, &BusReader::Boolean>, {}},
    {"Bonded", Take<&DeviceObject::bonded, &BusReader::Boolean>, {}},
    {"Class", [](DeviceObject& device, BusReader&) { device.classic = true; }, {}},
};

}  // namespace

void BluezObjects::Begin() {
  known_ = false;
  const std::string bluez = "type='signal',sender='org.bluez',";
  bus_.Subscribe(
      "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
      "arg0='org.bluez'",
      [this](sd_bus_message* message) { OnOwnerChanged(message); });
  bus_.Subscribe(bluez + "member='InterfacesAdded'",
                 [this](sd_bus_message* message) { OnInterfacesAdded(message); });
  bus_.Subscribe(bluez + "member='InterfacesRemoved'",
                 [this](sd_bus_message* message) { OnInterfacesRemoved(message); });
  bus_.Subscribe(bluez + "member='PropertiesChanged',path_namespace='/org/bluez'",
                 [this](sd_bus_message* message) { OnPropertiesChanged(message); });
  AskForAll();
}

void BluezObjects::End(const std::string& reason) {
  Forget(reason);
  Known();
  adaptersChanged_.Raise();
}

void BluezObjects::WhenKnown(std::function<void()> then) {
  const bool hasFailed = known_ && !absence_.empty() && bus_.IsOpen();
  if (known_ && !hasFailed) return then();
  waiting_.push_back(std::move(then));
  if (!hasFailed) return;
  known_ = false;
  AskForAll();
}

const AdapterObject* BluezObjects::Adapter(const std::string& path) const {
  const auto found = adapters_.find(path);
  return found == adapters_.end() ? nullptr : &found->second;
}

const DeviceObject* BluezObjects::Device(const std::string& path) const {
  const auto found = devices_.find(path);
  return found == devices_.end() ? nullptr : found->second.get();
}

const DeviceObject* BluezObjects::Device(const std::string& adapterPath,
                                         std::uint64_t address) const {
  const auto path = devicePaths_.find({adapterPath, address});
  return path == devicePaths_.end() ? nullptr : Device(path->second);
}

void BluezObjects::AskForAll() {
  const std::uint32_t generation = ++generation_;
  bus_.Call(
      "/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects",
      [](sd_bus_message* call) { return sd_bus_message_set_auto_start(call, HasController()); },
      [this, generation](sd_bus_message* reply, const BusError* error) {
        if (generation == generation_) OnAll(reply, error);
      },
      answerLimit_());
}

void BluezObjects::OnAll(sd_bus_message* reply, const BusError* error) {
  if (error) {
    Forget(WhyNoObjects(*error));
  } else {
    absence_.clear();
    BusReader reader(reply);
    reader.ForEachEntry("oa{sa{sv}}", [&] {
      const std::string path = reader.Text();
      TakeObject(path, reader, false);
    });
  }
  Known();
  adaptersChanged_.Raise();
}

void BluezObjects::OnOwnerChanged(sd_bus_message* message) {
  BusReader reader(message);
  reader.Text();
  reader.Text();
  Forget(WhyNoDaemon());
  if (reader.Text().empty()) {
    Known();  // also when it went before it had answered
  } else {
    known_ = false;
    AskForAll();
  }
  adaptersChanged_.Raise();
}

void BluezObjects::OnInterfacesAdded(sd_bus_message* message) {
  BusReader reader(message);
  const std::string path = reader.Text();
  TakeObject(path, reader, true);
}

void BluezObjects::OnInterfacesRemoved(sd_bus_message* message) {
  BusReader reader(message);
  const std::string path = reader.Text();
  for (const std::string& interface : reader.Texts())
    RemoveObject(path, interface);
}

void BluezObjects::OnPropertiesChanged(sd_bus_message* message) {
  const std::string path = sd_bus_message_get_path(message);
  BusReader reader(message);
  const std::string interface = reader.Text();
  if (interface == kAdapter && adapters_.contains(path)) {
    TakeAdapter(path, reader);
    adaptersChanged_.Raise();
  } else if (interface == kDevice) {
    const auto found = devices_.find(path);
    if (found == devices_.end()) return;
    const std::shared_ptr<DeviceObject> device = found->second;  // the handlers may remove it
    const std::uint64_t before = device->address;
    const DeviceChange change = TakeDevice(*device, reader);
    if (device->address != before) {  // pairing tells the identity behind a private address
      ForgetAddress(*device, before);
      devicePaths_[{device->adapterPath, device->address}] = path;
    }
    if (change.heard || change.name) deviceChanged_.Raise(*device, change);
  }
}

void BluezObjects::TakeObject(const std::string& path, BusReader& reader, bool announce) {
  reader.ForEachEntry("sa{sv}", [&] {
    const std::string interface = reader.Text();
    if (interface == kAdapter) {
      TakeAdapter(path, reader);
      if (announce) adaptersChanged_.Raise();
    } else if (interface == kDevice) {
      const auto device = std::make_shared<DeviceObject>();
      device->path = path;
      DeviceChange change = TakeDevice(*device, reader);
      change.name = false;
      devicePaths_[{device->adapterPath, device->address}] = path;
      devices_.insert_or_assign(path, device);
      if (announce) deviceChanged_.Raise(*device, change);
    }
  });
}

void BluezObjects::TakeAdapter(const std::string& path, BusReader& reader) {
  AdapterObject& adapter = adapters_[path];
  adapter.path = path;
  reader.ForEachEntry("sv", [&] {
    const std::string name = reader.Text();
    reader.InVariant([&] {
      if (name == "Address") {
        adapter.address = ParseAddress(reader.Text()).value_or(0);
      } else if (name == "AddressType") {
        adapter.randomAddress = reader.Text() == "random";
      } else if (name == "Powered") {
        adapter.powered = reader.Boolean();
      } else if (name == "Roles") {
        const auto roles = reader.Texts();
        adapter.lowEnergy = std::ranges::find(roles, "central") != roles.end();
      }
    });
  });
}

DeviceChange BluezObjects::TakeDevice(DeviceObject& device, BusReader& reader) {
  DeviceChange change;
  reader.ForEachEntry("sv", [&] {
    const std::string name = reader.Text();
    reader.InVariant([&] {
      const auto known = std::ranges::find(kDeviceProperties, name, &DeviceProperty::name);
      if (known == std::end(kDeviceProperties)) return;
      known->take(device, reader);
      change.heard |= known->change.heard;
      change.name |= known->change.name;
    });
  });
  return change;
}

void BluezObjects::RemoveObject(const std::string& path, const std::string& interface) {
  if (interface == kAdapter && adapters_.erase(path) > 0) {
    adaptersChanged_.Raise();
  } else if (interface == kDevice) {
    const auto device = devices_.find(path);
    if (device == devices_.end()) return;
    ForgetAddress(*device->second, device->second->address);
    devices_.erase(device);
  }
}

void BluezObjects::ForgetAddress(const DeviceObject& device, std::uint64_t address) {
  const auto known = devicePaths_.find({device.adapterPath, address});
  if (known != devicePaths_.end() && known->second == device.path) devicePaths_.erase(known);
}

void BluezObjects::Forget(const std::string& reason) {
  ++generation_;
  absence_ = reason;
  adapters_.clear();
  devices_.clear();
  devicePaths_.clear();
}

void BluezObjects::Known() {
  known_ = true;
  for (const auto& then : std::exchange(waiting_, {}))
    then();
}

}  // namespace ble::linux_radio
