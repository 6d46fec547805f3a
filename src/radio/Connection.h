#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "base/Mutex.h"
#include "frame/ComponentBase.h"
#include "platform/Radio.h"
#include "radio/RadioLink.h"
#include "radio/Scanner.h"
#include "radio/ServerId.h"
#include "radio/Session.h"

namespace ble {

/// The one server the instance is connected to, if any, and what the system says about it.
class Connection {
 public:
  struct Parts {
    ComponentBase& base;
    RadioLink& link;
    Scanner& scanner;
    /// Registered on every characteristic that is discovered.
    Session::ValueChanged::Handler valueChanged;
  };

  explicit Connection(const Parts& parts) : parts_(parts), current_(MakeSession(nullptr)) {}

  /// Obtains the device with an address, after stopping a scan and leaving the previous server.
  /// Nothing happens for an empty id and for the server that is connected already. Fails with 301
  /// or 604. The radio link itself is opened by the first GATT operation.
  Status Connect(std::string_view serverId);

  /// Tells the radio how long calls wait; when that has changed.
  void ApplyTimeout() const { parts_.link.Get().SetWaitLimit(parts_.link.wait.Limit()); }

  /// Forgets what was discovered and releases the device; nothing happens without one.
  Status Disconnect();

  /// Selects a service and a characteristic, as `Selection` does; needs a connection.
  Status Select(std::string_view serviceId, std::string_view characteristicId) const;

  /// What the instance is connected with; never null.
  SessionPtr Current() const;

  /// The record of a platform object in the current session; null for one of a session that is
  /// over.
  CharacteristicPtr FindByObject(const GattCharacteristic& object) const;

  /// The current session while it is live, else 605.
  Result<SessionPtr> RequireConnection() const;

  /// 605 when a session is over: a host may disconnect from inside an event in the middle of a
  /// procedure.
  Status RequireSame(const Session& session) const;

  /// Empty when not connected.
  std::string ServerName() const;

 private:
  using DevicePtr = Session::DevicePtr;

  SessionPtr MakeSession(DevicePtr device) const;
  SessionPtr Replace(SessionPtr next);
  Status Fail(std::string_view serverId);
  void Adopt(DevicePtr device, std::string_view serverId);

  /// Handlers on the device of a session, which may be over by now.
  void OnConnectionStatusChanged(Session& session);
  void OnNameChanged(const Session& session);
  void OnGattServicesChanged(const Session& session, const GattServicesChangedEventArgs& args);

  const Parts parts_;
  mutable Mutex mutex_;  // may be held while taking the tree's
  SessionPtr current_ GUARDED_BY(mutex_);
};

}  // namespace ble
