#include "procedures/CccdReconciler.h"

#include "gatt/DescriptorUuids.h"

namespace ble {
namespace {

/// Bluetooth Core 5.4, Vol 3 Part G, 3.3.3.3: notifications or indications enabled.
bool EnablesValues(ByteView configuration) {
  return !configuration.empty() && (configuration.front() & 0x03) != 0;
}

}  // namespace

void UpdateSubscription(CharacteristicEntry& characteristic, bool subscribed) {
  const auto next = subscribed ? SubscriptionState::Subscribed : SubscriptionState::Unsubscribed;
  SubscriptionState known = characteristic.subscription;
  while (known != SubscriptionState::Unknown &&
         !characteristic.subscription.compare_exchange_weak(known, next)) {
  }
}

Status CccdReconciler::AfterRead(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                                 ByteView value) {
  return Reconcile(tree, descriptor, value,
                   {LogLevel::Detail, "Discovered that we are subscribed to characteristic ID ",
                    "Discovered that we are unsubscribed from characteristic ID "});
}

Status CccdReconciler::AfterWrite(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                                  ByteView value) {
  return Reconcile(tree, descriptor, value,
                   {LogLevel::Information, "Successfully subscribed to characteristic ID ",
                    "Successfully unsubscribed from characteristic ID "});
}

Status CccdReconciler::Reconcile(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                                 ByteView value, const Messages& messages) {
  if (descriptor.uuid != descriptor_uuid::kClientCharacteristicConfiguration) {
    return {};
  }
  const auto [noCharacteristic, characteristic] = tree.FindCharacteristic(
      descriptor.id.ServiceIdOf().View(), descriptor.id.CharacteristicIdOf().View());
  if (!characteristic) return noCharacteristic;
  const bool before = IsSubscribed(*characteristic);
  const bool now = EnablesValues(value);
  UpdateSubscription(*characteristic, now);
  if (before == now) return {};

  log_.Write(messages.level, log_type::kSubscriptions,
             std::string_view(now ? messages.subscribed : messages.unsubscribed),
             Quoted{characteristic->id.View()}, ".");
  const CharacteristicNames event(*characteristic);
  if (now) {
    events_.FireSubscribed(event.names);
  } else {
    events_.FireUnsubscribed(event.names);
  }
  return {};
}

}  // namespace ble
