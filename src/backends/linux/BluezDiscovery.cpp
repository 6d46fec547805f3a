#include "backends/linux/BluezDiscovery.h"

#include <systemd/sd-bus.h>

#include <string_view>
#include <utility>

namespace ble::linux_radio {
namespace {

constexpr const char* kAdapterInterface = "org.bluez.Adapter1";

BluetoothError ToBluetoothError(const BusError& error) {
  constexpr struct {
    std::string_view name;
    BluetoothError error;
  } kErrors[] = {
      {"org.bluez.Error.NotReady", BluetoothError::RadioNotAvailable},
      {"org.bluez.Error.InProgress", BluetoothError::ResourceInUse},
      {"org.bluez.Error.NotSupported", BluetoothError::NotSupported},
      {"org.bluez.Error.NotAuthorized", BluetoothError::DisabledByPolicy},
      {"org.freedesktop.DBus.Error.AccessDenied", BluetoothError::DisabledByPolicy},
      {"org.freedesktop.DBus.Error.Disconnected", BluetoothError::RadioNotAvailable},
      {"org.freedesktop.DBus.Error.NoReply", BluetoothError::RadioNotAvailable},
      {"org.freedesktop.DBus.Error.ServiceUnknown", BluetoothError::RadioNotAvailable},
      {"org.freedesktop.DBus.Error.UnknownObject", BluetoothError::RadioNotAvailable},
  };
  for (const auto& known : kErrors)
    if (error.name == known.name) return known.error;
  return BluetoothError::OtherError;
}

/// Low Energy alone, and every packet: what repeats itself is news to a host that measures.
int AppendFilter(sd_bus_message* call) {
  return sd_bus_message_append(call, "a{sv}", 2, "Transport", "s", "le", "DuplicateData", "b", 1);
}

}  // namespace

BluezDiscovery::BluezDiscovery(SystemBus& bus, BluezObjects& objects)
    : bus_(bus), objects_(objects) {
  adaptersChanged_ = objects_.OnAdaptersChanged([this] { OnAdaptersChanged(); });
}

BluezDiscovery::UserId BluezDiscovery::Add(const std::string& adapterPath, const Started& started) {
  if (users_.empty()) adapterPath_ = adapterPath;
  const UserId user = ++lastUser_;
  users_.emplace(user, started);
  if (on_) {
    started(BluetoothError::Success);
  } else {
    Update();
  }
  return user;
}

void BluezDiscovery::Remove(UserId user, Done done) {
  users_.erase(user);
  if (done && (!users_.empty() || (!on_ && !changing_))) return done();
  if (done) whenOff_.push_back(std::move(done));
  Update();
}

void BluezDiscovery::Pause(Done resting) {
  ++pauses_;
  if (!on_ && !changing_) return resting();
  whenOff_.push_back(std::move(resting));
  Update();
}

void BluezDiscovery::Resume() {
  --pauses_;
  Update();
}

void BluezDiscovery::Update() {
  if (changing_) return;
  const bool wanted = !users_.empty() && pauses_ == 0;
  if (wanted && !on_) {
    Start();
  } else if (!wanted && on_) {
    Stop();
  } else if (!on_) {
    RunDone();
  }
}

void BluezDiscovery::Start() {
  changing_ = true;
  bus_.Call(adapterPath_, kAdapterInterface, "SetDiscoveryFilter", &AppendFilter,
            [this](sd_bus_message*, const BusError* failed) {
              if (failed) return OnStarted(failed);
              bus_.Call(adapterPath_, kAdapterInterface, "StartDiscovery", {},
                        [this](sd_bus_message*, const BusError* error) { OnStarted(error); });
            });
}

void BluezDiscovery::OnStarted(const BusError* error) {
  changing_ = false;
  on_ = error == nullptr;
  Tell(error ? ToBluetoothError(*error) : BluetoothError::Success);
  // Not tried again before something changes: the daemon would only refuse again.
  if (on_) {
    Update();
  } else if (!changing_) {  // nobody who was told has begun anew
    RunDone();
  }
}

void BluezDiscovery::Stop() {
  changing_ = true;
  bus_.Call(adapterPath_, kAdapterInterface, "StopDiscovery", {},
            [this](sd_bus_message*, const BusError*) {
              changing_ = on_ = false;  // an error says that it was off already
              RunDone();
              Update();
            });
}

void BluezDiscovery::OnAdaptersChanged() {
  const AdapterObject* const adapter = objects_.Adapter(adapterPath_);
  if (adapter && adapter->powered) return;
  on_ = false;
  Tell(BluetoothError::RadioNotAvailable);
  if (!changing_) RunDone();
}

void BluezDiscovery::Tell(BluetoothError error) const {
  const auto users = users_;  // who is told may leave
  for (const auto& [id, started] : users)
    started(error);
}

void BluezDiscovery::RunDone() {
  for (const Done& done : std::exchange(whenOff_, {}))
    done();
}

}  // namespace ble::linux_radio
