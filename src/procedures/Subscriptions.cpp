#include "procedures/Subscriptions.h"

#include "gatt/CharacteristicFlags.h"
#include "gatt/DescriptorUuids.h"

namespace ble {
namespace {

using CccdValue = GattClientCharacteristicConfigurationDescriptorValue;

CccdValue SubscribingValue(std::uint32_t flags, bool preferIndications) {
  const bool notifies = (flags & characteristic_flag::kNotify) != 0;
  const bool indicates = (flags & characteristic_flag::kIndicate) != 0;
  return indicates && (preferIndications || !notifies) ? CccdValue::Indicate : CccdValue::Notify;
}

}  // namespace

Status Subscriptions::Subscribe(std::string_view serviceId, std::string_view characteristicId) {
  const auto [notConnected, session] = parts_.connection.RequireConnection();
  if (!session) return notConnected;
  if (const auto found = session->tree.FindService(serviceId); !found.value) return found.status;
  const auto [noCharacteristic, characteristic] =
      session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return noCharacteristic;
  return SetSubscription(*session, characteristic, characteristic->state, true);
}

Status Subscriptions::Unsubscribe(std::string_view serviceId, std::string_view characteristicId) {
  const auto [notConnected, session] = parts_.connection.RequireConnection();
  if (!session) return notConnected;
  if (serviceId.empty()) {
    if (!characteristicId.empty()) return failure::kNoServiceId;
    for (const ServicePtr& service : session->tree.Services()) {
      if (Status status = UnsubscribeAll(*session, *service); !status.Ok()) return status;
    }
    return {};
  }
  const auto [noService, service] = session->tree.FindService(serviceId);
  if (!service) return noService;
  if (characteristicId.empty()) return UnsubscribeAll(*session, *service);
  const auto [noCharacteristic, characteristic] =
      session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return noCharacteristic;
  return SetSubscription(*session, characteristic, characteristic->state, false);
}

Status Subscriptions::UnsubscribeAll(Session& session, const ServiceEntry& service) {
  for (const CharacteristicPtr& characteristic : session.tree.CharacteristicsOf(service)) {
    if (!CanSubscribe(parts_.fields.Flags(session, characteristic, characteristic->state)))
      continue;
    if (Status status = SetSubscription(session, characteristic, characteristic->state, false);
        !status.Ok())
      return status;
  }
  return {};
}

Status Subscriptions::EnsureCccd(Session& session, const CharacteristicPtr& characteristic,
                                 CharacteristicState& state) {
  if (state.Has(lazy_mark::kClientConfigurationKnown)) return {};
  Status status = parts_.attributes.EnsureDescriptorDiscovered(
      session, characteristic, descriptor_uuid::kClientCharacteristicConfiguration);
  if (status.Ok()) state.Mark(lazy_mark::kClientConfigurationKnown);
  return status;
}

Status Subscriptions::SetSubscription(Session& session, const CharacteristicPtr& characteristic,
                                      CharacteristicState& state, bool subscribe) {
  const std::uint32_t flags = parts_.fields.Flags(session, characteristic, state);
  if (!CanSubscribe(flags)) return failure::kCannotSubscribe;
  const SubscriptionState known = characteristic->subscription;
  if (known != SubscriptionState::Unknown && IsSubscribed(*characteristic) == subscribe) {
    return {};
  }
  const CccdValue value =
      subscribe ? SubscribingValue(flags, parts_.base.settings.Flag(Setting::PreferIndications))
                : CccdValue::None;
  if (Status status = EnsureCccd(session, characteristic, state); !status.Ok()) return status;

  const Quoted id{characteristic->id.View()};
  parts_.base.log.Write(LogLevel::Information, log_type::kSubscriptions,
                        std::string_view(subscribe ? "Subscribing to" : "Unsubscribing from"),
                        " characteristic ID ", id, ".");
  const auto [status, written] = parts_.gatt.Run(log_type::kSubscriptions, [&] {
    return characteristic->platform
        ->WriteClientCharacteristicConfigurationDescriptorWithResultAsync(value);
  });
  if (!status.Ok()) return status;
  UpdateSubscription(*characteristic, subscribe);
  parts_.base.log.Write(
      LogLevel::Information, log_type::kSubscriptions,
      std::string_view(subscribe ? "Successfully subscribed to" : "Successfully unsubscribed from"),
      " characteristic ID ", id, ".");

  const CharacteristicNames event(*characteristic);
  if (subscribe) {
    parts_.base.events.FireSubscribed(event.names);
  } else {
    parts_.base.events.FireUnsubscribed(event.names);
  }
  return {};
}

bool Subscriptions::QuerySubscribed(Session& session, const CharacteristicPtr& characteristic,
                                    CharacteristicState& state) {
  if (!CanSubscribe(parts_.fields.Flags(session, characteristic, state))) return false;
  if (characteristic->subscription != SubscriptionState::Unknown) {
    return IsSubscribed(*characteristic);
  }
  parts_.base.errors.Note(EnsureCccd(session, characteristic, state));
  state.Mark(lazy_mark::kClientConfigurationKnown);

  const Quoted id{characteristic->id.View()};
  parts_.base.log.Write(LogLevel::Debug, log_type::kSubscriptions,
                        "Getting CCCD state for characteristic ID ", id, " from device.");
  const auto [failed, read] = parts_.link.wait.Await([&] {
    return characteristic->platform->ReadClientCharacteristicConfigurationDescriptorAsync();
  });
  parts_.base.errors.Note(failed);
  if (!read) return false;
  parts_.base.errors.Note(ReportGattResult(*read, parts_.base.log, log_type::kSubscriptions));
  const bool subscribed = read->clientCharacteristicConfigurationDescriptor != CccdValue::None;
  SubscriptionState unknown = SubscriptionState::Unknown;
  characteristic->subscription.compare_exchange_strong(
      unknown, subscribed ? SubscriptionState::Subscribed : SubscriptionState::Unsubscribed);
  parts_.base.log.Write(LogLevel::Debug, log_type::kSubscriptions,
                        "Got CCCD state for characteristic ID ", id, " from device.");
  return IsSubscribed(*characteristic);
}

[[gnu::hot]] void Subscriptions::OnValueChanged(const GattCharacteristic& sender, ByteView value) {
  const CharacteristicPtr characteristic = parts_.connection.FindByObject(sender);
  if (!characteristic) return;
  UpdateSubscription(*characteristic, true);
  parts_.base.events.FireValue(CharacteristicNames(*characteristic).names, value);
}

}  // namespace ble
