#pragma once

#include "base/Bytes.h"
#include "frame/ErrorState.h"
#include "frame/Log.h"
#include "gatt/GattObjectTree.h"

namespace ble {

/// Whether a characteristic's record is known to be subscribed; unknown counts as not.
inline bool IsSubscribed(const CharacteristicEntry& characteristic) {
  return characteristic.subscription == SubscriptionState::Subscribed;
}

/// Notes a subscription state on a record that has one; one that is unknown stays unknown.
void UpdateSubscription(CharacteristicEntry& characteristic, bool subscribed);

/// The ids, UUID and name that subscription and value events carry.
struct CharacteristicNames {
  explicit CharacteristicNames(const CharacteristicEntry& characteristic)
      : serviceId(characteristic.id.ServiceIdOf()),
        names{serviceId.c_str(), characteristic.id.c_str(), "", characteristic.uuidText.c_str(),
              characteristic.name} {}
  CharacteristicNames(const CharacteristicNames&) = delete;
  CharacteristicNames& operator=(const CharacteristicNames&) = delete;

  GattId serviceId;
  AttributeNames names;
};

/// Keeps the subscription states true to the client characteristic configuration descriptors that
/// the host reads and writes as plain descriptors. Runs on the thread that calls a method.
class CccdReconciler {
 public:
  CccdReconciler(Events& events, Log& log) : events_(events), log_(log) {}

  /// Takes note of a value that was read from, or written to, a descriptor of a tree. Descriptors
  /// of other kinds are ignored. Announces a state that changed.
  Status AfterRead(const GattObjectTree& tree, const DescriptorEntry& descriptor, ByteView value);
  Status AfterWrite(const GattObjectTree& tree, const DescriptorEntry& descriptor, ByteView value);

 private:
  struct Messages {
    LogLevel level;
    const char* subscribed;
    const char* unsubscribed;
  };

  Status Reconcile(const GattObjectTree& tree, const DescriptorEntry& descriptor, ByteView value,
                   const Messages& messages);

  Events& events_;
  Log& log_;
};

}  // namespace ble
