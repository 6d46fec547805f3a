#include "radio/Connection.h"

#include <atomic>
#include <utility>

#include "radio/EnumText.h"

namespace ble {

SessionPtr Connection::MakeSession(DevicePtr device) const {
  return std::make_shared<Session>(parts_.valueChanged, std::move(device));
}

SessionPtr Connection::Replace(SessionPtr next) {
  const MutexLock lock(mutex_);
  return std::exchange(current_, std::move(next));
}

Status Connection::Connect(std::string_view serverId) {
  const std::string id(TrimBlanks(serverId));
  if (id.empty() || EqualsIgnoringCase(id, Current()->Server().View())) return {};
  if (Status status = parts_.scanner.StopScanning(); !status.Ok()) return status;
  if (Status status = Disconnect(); !status.Ok()) return status;

  const std::uint64_t address = ParseServerId(id);
  Radio& radio = parts_.link.Get();
  ApplyTimeout();
  auto [status, device] =
      parts_.link.wait.Await([&] { return radio.DeviceFromBluetoothAddressAsync(address); });
  if (!status.Ok()) return status;
  if (!device) return Fail(id);

  // Meanwhile the host may have connected from inside the Disconnected event.
  if (EqualsIgnoringCase(id, Current()->Server().View())) return {};
  if (Status status = Disconnect(); !status.Ok()) return status;
  Adopt(std::move(device), id);
  return {};
}

Status Connection::Fail(std::string_view serverId) {
  const std::string message = Concat("Connection to server ID ", serverId, " was unsuccessful.");
  parts_.base.log.Write(LogLevel::Information, log_type::kConnection, message);
  parts_.base.events.FireConnected(error::kConnectFailed, message.c_str());
  return {error::kConnectFailed, message};
}

void Connection::Adopt(DevicePtr device, std::string_view serverId) {
  const SessionPtr session = MakeSession(device);
  // Runs `handle`, which gets the session too, as long as both the engine and the session live.
  const auto delivering = [this, bridge = parts_.link.bridge,
                           weak = std::weak_ptr(session)](auto handle) {
    return [this, bridge, weak, handle](const auto&... args) {
      bridge->Deliver([&] {
        if (const SessionPtr alive = weak.lock()) (this->*handle)(*alive, args...);
      });
    };
  };
  session->Keep(device->OnGattServicesChanged(delivering(&Connection::OnGattServicesChanged)));
  session->Keep(device->OnNameChanged(delivering(&Connection::OnNameChanged)));
  // A change of the link before the Connected event is reported after it.
  const auto linkChanged = std::make_shared<std::atomic<bool>>(false);
  EventToken early = device->OnConnectionStatusChanged([linkChanged] { *linkChanged = true; });

  device.reset();  // the session has it, for as long as the host wants
  Replace(session)->End();
  parts_.base.log.Write(LogLevel::Information, log_type::kConnection,
                        "Successfully connected to server ID ", serverId, ".");
  parts_.base.events.FireConnected(error::kSuccess, "OK");

  device = session->Device();
  if (!device) return;
  session->Keep(
      device->OnConnectionStatusChanged(delivering(&Connection::OnConnectionStatusChanged)));
  device.reset();
  early.Reset();
  if (*linkChanged && session->LinkStatus() == BluetoothConnectionStatus::Disconnected)
    OnConnectionStatusChanged(*session);
}

Status Connection::Disconnect() {
  const SessionPtr session = Current();
  const ServerId id = session->Server();
  if (id.View().empty()) return {};
  parts_.base.log.Write(LogLevel::Information, log_type::kConnection,
                        "Disconnecting from server ID ", id.View(), ".");
  {
    SessionPtr none = MakeSession(nullptr);
    const MutexLock lock(mutex_);
    if (current_ != session) return {};  // another call was faster
    current_.swap(none);
  }
  session->End();
  parts_.base.log.Write(LogLevel::Information, log_type::kConnection,
                        "Disconnected from server ID ", id.View(), ".");
  parts_.base.events.FireDisconnected(error::kSuccess, "OK");
  return {};
}

Status Connection::Select(std::string_view serviceId, std::string_view characteristicId) const {
  const auto [notConnected, session] = RequireConnection();
  if (!session) return notConnected;
  return session->selection.Select(serviceId, characteristicId);
}

[[gnu::hot]] SessionPtr Connection::Current() const {
  const MutexLock lock(mutex_);
  return current_;
}

[[gnu::hot]] CharacteristicPtr Connection::FindByObject(const GattCharacteristic& object) const {
  const MutexLock lock(mutex_);  // cheaper than a reference to the session
  return current_->tree.FindCharacteristicByObject(object);
}

[[gnu::hot]] Result<SessionPtr> Connection::RequireConnection() const {
  SessionPtr session = Current();
  if (!session->IsLive()) return failure::kNotConnected;
  return session;
}

Status Connection::RequireSame(const Session& session) const {
  return session.Device() ? Status() : failure::kNotConnected;
}

std::string Connection::ServerName() const {
  std::string name;
  parts_.base.codec.ToNarrowLossy(Current()->Name().value_or(u""), name);
  return name;
}

void Connection::OnConnectionStatusChanged(Session& session) {
  const auto status = session.LinkStatus();
  if (!status) return;
  parts_.base.log.Write(LogLevel::Debug, log_type::kDebug,
                        "System updated device connection status to ", Quoted{EnumText(*status)},
                        ".");
  const bool isUp = *status == BluetoothConnectionStatus::Connected;
  if (!session.NoteLink(isUp)) return;
  if (isUp) {
    parts_.base.events.FireConnected(error::kSuccess, "Online");
  } else {
    parts_.base.events.FireDisconnected(error::kSuccess, "Offline");
  }
}

void Connection::OnNameChanged(const Session& session) {
  const auto wide = session.Name();
  if (!wide) return;
  std::string name;
  parts_.base.codec.ToNarrowLossy(*wide, name);
  parts_.base.log.Write(LogLevel::Detail, log_type::kVerbose, "Server's name has changed to ", name,
                        ".");
  parts_.base.events.FireServerUpdate(name.c_str(), "");
}

void Connection::OnGattServicesChanged(const Session& session,
                                       const GattServicesChangedEventArgs& args) {
  if (!session.Device()) return;
  std::string text;
  parts_.base.codec.ToNarrowLossy(args.text, text);
  parts_.base.log.Write(LogLevel::Detail, log_type::kVerbose, "Server's services have changed.");
  parts_.base.events.FireServerUpdate("", text.c_str());
}

}  // namespace ble
