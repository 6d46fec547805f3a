#include "radio/Connection.h"

#include <utility>

#include "radio/EnumText.h"

namespace corvaneble {

using platform::BluetoothConnectionStatus;

ErrorCode Connection::Connect(std::string_view serverId) {
  const std::string id(TrimBlanks(serverId));
  if (id.empty() || EqualsIgnoringCase(id, CurrentServerId().View())) return error::kSuccess;
  if (const ErrorCode code = parts_.scanner.StopScanning(); code != error::kSuccess) return code;
  if (const ErrorCode code = Disconnect(); code != error::kSuccess) return code;

  const std::uint64_t address = ParseServerId(id);
  platform::Radio& radio = *parts_.radio.radio;
  ApplyTimeout();
  const auto device =
      parts_.wait.Await([&] { return radio.DeviceFromBluetoothAddressAsync(address); });
  if (device.code != error::kSuccess) return device.code;
  if (!device.result) return Fail(id);
  Adopt(device.result, id);
  return error::kSuccess;
}

ErrorCode Connection::Fail(std::string_view serverId) {
  const std::string message = Concat("Connection to server ID ", serverId, " was unsuccessful.");
  parts_.log.Write(LogLevel::Information, log_type::kConnection, message);
  parts_.events.FireConnected(error::kConnectFailed, message.c_str());
  return parts_.errors.Raise(error::kConnectFailed, message);
}

void Connection::Adopt(const DevicePtr& device, std::string_view serverId) {
  const auto bridge = parts_.bridge;
  std::vector<platform::EventToken> tokens;
  tokens.push_back(device->OnGattServicesChanged(
      [this, bridge](const auto& args) { bridge->Deliver([&] { OnGattServicesChanged(args); }); }));
  tokens.push_back(
      device->OnNameChanged([this, bridge] { bridge->Deliver([&] { OnNameChanged(); }); }));
  {
    const std::lock_guard lock(mutex_);
    device_ = device;
    isConnected_ = true;
    deviceEvents_ = std::move(tokens);
  }
  parts_.log.Write(LogLevel::Information, log_type::kConnection,
                   "Successfully connected to server ID ", serverId, ".");
  parts_.events.FireConnected(error::kSuccess, "OK");

  auto status = device->OnConnectionStatusChanged(
      [this, bridge] { bridge->Deliver([&] { OnConnectionStatusChanged(); }); });
  const std::lock_guard lock(mutex_);
  if (device_ == device) deviceEvents_.push_back(std::move(status));
}

ErrorCode Connection::Disconnect() {
  const ServerId id = CurrentServerId();
  if (!Device()) return error::kSuccess;
  parts_.log.Write(LogLevel::Information, log_type::kConnection, "Disconnecting from server ID ",
                   id.View(), ".");
  parts_.selection.Clear();
  parts_.tree.Clear();
  {
    DevicePtr retired;  // released, with its events, after the lock
    std::vector<platform::EventToken> tokens;
    const std::lock_guard lock(mutex_);
    retired = std::exchange(device_, nullptr);
    tokens = std::exchange(deviceEvents_, {});
    isConnected_ = false;
  }
  parts_.log.Write(LogLevel::Information, log_type::kConnection, "Disconnected from server ID ",
                   id.View(), ".");
  parts_.events.FireDisconnected(error::kSuccess, "OK");
  return error::kSuccess;
}

[[gnu::hot]] ErrorCode Connection::RequireConnection() const {
  return isConnected_ ? error::kSuccess : parts_.errors.Raise(failure::kNotConnected);
}

ErrorCode Connection::RequireSame(const DevicePtr& device) const {
  if (device && Device() == device) return error::kSuccess;
  return parts_.errors.Raise(failure::kNotConnected);
}

Connection::DevicePtr Connection::Device() const {
  const std::lock_guard lock(mutex_);
  return device_;
}

ServerId Connection::CurrentServerId() const {
  const DevicePtr device = Device();
  return device ? ServerId(device->BluetoothAddress()) : ServerId();
}

std::string Connection::ServerName() const {
  std::string name;
  if (const DevicePtr device = Device()) parts_.codec.ToNarrowLossy(device->Name(), name);
  return name;
}

void Connection::OnConnectionStatusChanged() {
  const DevicePtr device = Device();
  if (!device) return;
  const BluetoothConnectionStatus status = device->ConnectionStatus();
  parts_.log.Write(LogLevel::Debug, log_type::kDebug, "System updated device connection status to ",
                   Quoted{EnumText(status)}, ".");
  const bool linkDown = status == BluetoothConnectionStatus::Disconnected;
  {
    const std::lock_guard lock(mutex_);
    if (device_ != device || isConnected_ == !linkDown) return;
    isConnected_ = !linkDown;
  }
  if (linkDown) {
    parts_.events.FireDisconnected(error::kSuccess, "Offline");
  } else {
    parts_.events.FireConnected(error::kSuccess, "Online");
  }
}

void Connection::OnNameChanged() {
  const DevicePtr device = Device();
  if (!device) return;
  std::string name;
  parts_.codec.ToNarrowLossy(device->Name(), name);
  parts_.log.Write(LogLevel::Detail, log_type::kVerbose, "Server's name has changed to ", name,
                   ".");
  parts_.events.FireServerUpdate(name.c_str(), "");
}

void Connection::OnGattServicesChanged(const platform::GattServicesChangedEventArgs& args) {
  if (!Device()) return;
  std::string text;
  parts_.codec.ToNarrowLossy(args.text, text);
  parts_.log.Write(LogLevel::Detail, log_type::kVerbose, "Server's services have changed.");
  parts_.events.FireServerUpdate("", text.c_str());
}

}  // namespace corvaneble
