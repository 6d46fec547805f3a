#pragma once

#include <string_view>

#include "base/Bytes.h"
#include "frame/ComponentBase.h"
#include "gatt/GattObjectTree.h"
#include "procedures/AttributeDiscovery.h"
#include "procedures/CccdReconciler.h"
#include "procedures/CharacteristicFields.h"
#include "procedures/GattCall.h"
#include "radio/Connection.h"

namespace ble {

/// Turns notifications and indications on and off, and reports the values that arrive. Methods and
/// properties run on the host's thread, `OnValueChanged` on the platform's, at any time.
class Subscriptions {
 public:
  struct Parts {
    ComponentBase& base;
    RadioLink& link;
    Connection& connection;
    GattCall& gatt;
    AttributeDiscovery& attributes;
    CharacteristicFields& fields;
  };

  explicit Subscriptions(const Parts& parts) : parts_(parts) {}

  /// Method 15.
  Status Subscribe(std::string_view serviceId, std::string_view characteristicId);

  /// Method 16. Without a characteristic, every one of the service that can be subscribed; without
  /// a service too, every one discovered. The first failure ends it.
  Status Unsubscribe(std::string_view serviceId, std::string_view characteristicId);

  /// The write side of `CharacteristicSubscribed`: nothing happens when the state is known to be
  /// the wanted one. `state` is the record's own or an exposed copy's.
  Status SetSubscription(Session& session, const CharacteristicPtr& characteristic,
                         CharacteristicState& state, bool subscribe);

  /// The read side: asks the device the first time and remembers the answer. False, without
  /// remembering it, when the device could not be asked.
  bool QuerySubscribed(Session& session, const CharacteristicPtr& characteristic,
                       CharacteristicState& state);

  /// The handler registered on every discovered characteristic.
  void OnValueChanged(const GattCharacteristic& sender, ByteView value);

 private:
  Status UnsubscribeAll(Session& session, const ServiceEntry& service);
  Status EnsureCccd(Session& session, const CharacteristicPtr& characteristic,
                    CharacteristicState& state);

  Parts parts_;
};

}  // namespace ble
