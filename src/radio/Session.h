#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "gatt/GattObjectTree.h"
#include "gatt/Selection.h"
#include "platform/Radio.h"
#include "radio/ServerId.h"

namespace ble {

/// One connection to a server: the device, what was discovered on it, what the host has selected of
/// that, and the handlers on the device. An instance always has one, without a device while it is
/// not connected. Connecting and disconnecting replace it whole: a call that began with a session
/// goes on with it, and finds that it is over. Any thread.
class Session {
 public:
  using DevicePtr = std::shared_ptr<BluetoothLEDevice>;
  using ValueChanged = GattCharacteristic::ValueChanged;

  Session(const ValueChanged::Handler& valueChanged, DevicePtr device);

  /// Null once the session is over, and in one without a server. Not to be held during a wait or an
  /// event: the link ends when the last reference is gone.
  DevicePtr Device() const;

  /// What the device says of itself now; empty or none without one.
  ServerId Server() const;
  std::optional<BluetoothConnectionStatus> LinkStatus() const;
  std::optional<std::u16string> Name() const;

  /// Whether there is a device and its link is not known to be down.
  bool IsLive() const { return isLive_; }

  /// Keeps a handler on the device registered until the session is over.
  void Keep(EventToken handler);

  /// Notes whether the link is up; false when that is nothing new, or the session is over.
  bool NoteLink(bool isUp);

  /// Releases the device and the handlers on it.
  void End();

  GattObjectTree tree;
  Selection selection;

 private:
  mutable Mutex mutex_;
  DevicePtr device_ GUARDED_BY(mutex_);
  std::atomic<bool> isLive_;  // written under the lock
  std::vector<EventToken> handlers_ GUARDED_BY(mutex_);
};

using SessionPtr = std::shared_ptr<Session>;

}  // namespace ble
