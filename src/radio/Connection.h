#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "frame/ErrorState.h"
#include "frame/Log.h"
#include "frame/TextCodec.h"
#include "gatt/GattObjectTree.h"
#include "gatt/Selection.h"
#include "platform/Radio.h"
#include "radio/AsyncWait.h"
#include "radio/BLEEvent.h"
#include "radio/Scanner.h"
#include "radio/ServerId.h"

namespace corvaneble {

/// The one server the instance is connected to, if any, and what the system says about it.
class Connection {
 public:
  using DevicePtr = std::shared_ptr<platform::BluetoothLEDevice>;

  struct Parts {
    ErrorState& errors;
    Events& events;
    Log& log;
    const TextCodec& codec;
    const platform::OpenedRadio& radio;
    AsyncWait& wait;
    Scanner& scanner;
    GattObjectTree& tree;
    Selection& selection;
    std::shared_ptr<BLEEvent> bridge;
  };

  explicit Connection(const Parts& parts) : parts_(parts) {}

  /// Obtains the device with an address, after stopping a scan and leaving the previous server.
  /// Nothing happens for an empty id and for the server that is connected already. Fails with 301
  /// or 604. The radio link itself is opened by the first GATT operation.
  [[nodiscard]] ErrorCode Connect(std::string_view serverId);

  /// Tells the radio how long calls wait; when that has changed.
  void ApplyTimeout() { parts_.radio.radio->SetWaitLimit(parts_.wait.Limit()); }

  /// Forgets what was discovered and releases the device; nothing happens without one.
  [[nodiscard]] ErrorCode Disconnect();

  /// 0 while there is a device and its link is not known to be down, else 605.
  [[nodiscard]] ErrorCode RequireConnection() const;

  /// 605 unless `device` is still the connected one: a host may disconnect from inside an event in
  /// the middle of a procedure.
  [[nodiscard]] ErrorCode RequireSame(const DevicePtr& device) const;

  /// The device; null when not connected.
  DevicePtr Device() const;

  /// Empty when not connected.
  ServerId CurrentServerId() const;
  std::string ServerName() const;

 private:
  [[nodiscard]] ErrorCode Fail(std::string_view serverId);
  void Adopt(const DevicePtr& device, std::string_view serverId);
  void OnConnectionStatusChanged();
  void OnNameChanged();
  void OnGattServicesChanged(const platform::GattServicesChangedEventArgs& args);

  Parts parts_;
  mutable std::mutex mutex_;  // guards everything below; released before any event is fired
  DevicePtr device_;
  /// There is a device, and its link is not known to be down. Written under the lock.
  std::atomic<bool> isConnected_{false};
  std::vector<platform::EventToken> deviceEvents_;
};

}  // namespace corvaneble
