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

ErrorCode Subscriptions::Subscribe(std::string_view serviceId, std::string_view characteristicId) {
  SessionPtr session;
  if (const ErrorCode code = parts_.connection.RequireConnection(session)) return code;
  if (!session->tree.FindService(serviceId)) return error::kNotDiscovered;
  const auto characteristic = session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return error::kNotDiscovered;
  return SetSubscription(*session, characteristic, characteristic->state, true);
}

ErrorCode Subscriptions::Unsubscribe(std::string_view serviceId,
                                     std::string_view characteristicId) {
  SessionPtr session;
  if (const ErrorCode code = parts_.connection.RequireConnection(session)) return code;
  if (serviceId.empty()) {
    if (!characteristicId.empty()) return parts_.errors.Raise(failure::kNoServiceId);
    for (const ServicePtr& service : session->tree.Services()) {
      if (const ErrorCode code = UnsubscribeAll(*session, *service)) return code;
    }
    return error::kSuccess;
  }
  const ServicePtr service = session->tree.FindService(serviceId);
  if (!service) return error::kNotDiscovered;
  if (characteristicId.empty()) return UnsubscribeAll(*session, *service);
  const auto characteristic = session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return error::kNotDiscovered;
  return SetSubscription(*session, characteristic, characteristic->state, false);
}

ErrorCode Subscriptions::UnsubscribeAll(Session& session, const ServiceEntry& service) {
  for (const CharacteristicPtr& characteristic : session.tree.CharacteristicsOf(service)) {
    if (!CanSubscribe(parts_.fields.Flags(session, characteristic, characteristic->state)))
      continue;
    if (const ErrorCode code =
            SetSubscription(session, characteristic, characteristic->state, false)) {
      return code;
    }
  }
  return error::kSuccess;
}

ErrorCode Subscriptions::EnsureCccd(Session& session, const CharacteristicPtr& characteristic,
                                    CharacteristicState& state) {
  if (state.Has(lazy_mark::kClientConfigurationKnown)) return error::kSuccess;
  const ErrorCode code = parts_.attributes.EnsureDescriptorDiscovered(
      session, characteristic, descriptor_uuid::kClientCharacteristicConfiguration);
  if (code == error::kSuccess) state.Mark(lazy_mark::kClientConfigurationKnown);
  return code;
}

ErrorCode Subscriptions::SetSubscription(Session& session, const CharacteristicPtr& characteristic,
                                         CharacteristicState& state, bool subscribe) {
  const std::uint32_t flags = parts_.fields.Flags(session, characteristic, state);
  if (!CanSubscribe(flags)) return parts_.errors.Raise(failure::kCannotSubscribe);
  const SubscriptionState known = characteristic->subscription;
  if (known != SubscriptionState::Unknown && IsSubscribed(*characteristic) == subscribe) {
    return error::kSuccess;
  }
  const CccdValue value =
      subscribe ? SubscribingValue(flags, parts_.settings.Flag(Setting::PreferIndications))
                : CccdValue::None;
  if (const ErrorCode code = EnsureCccd(session, characteristic, state)) return code;

  const Quoted id{characteristic->id.View()};
  parts_.log.Write(LogLevel::Information, log_type::kSubscriptions,
                   std::string_view(subscribe ? "Subscribing to" : "Unsubscribing from"),
                   " characteristic ID ", id, ".");
  const auto written = parts_.gatt.Run(log_type::kSubscriptions, [&] {
    return characteristic->platform
        ->WriteClientCharacteristicConfigurationDescriptorWithResultAsync(value);
  });
  if (written.code != error::kSuccess) return written.code;
  UpdateSubscription(*characteristic, subscribe);
  parts_.log.Write(
      LogLevel::Information, log_type::kSubscriptions,
      std::string_view(subscribe ? "Successfully subscribed to" : "Successfully unsubscribed from"),
      " characteristic ID ", id, ".");

  const CharacteristicNames event(*characteristic);
  if (subscribe) {
    parts_.events.FireSubscribed(event.names);
  } else {
    parts_.events.FireUnsubscribed(event.names);
  }
  return error::kSuccess;
}

bool Subscriptions::QuerySubscribed(Session& session, const CharacteristicPtr& characteristic,
                                    CharacteristicState& state) {
  if (!CanSubscribe(parts_.fields.Flags(session, characteristic, state))) return false;
  if (characteristic->subscription != SubscriptionState::Unknown) {
    return IsSubscribed(*characteristic);
  }
  (void)EnsureCccd(session, characteristic, state);
  state.Mark(lazy_mark::kClientConfigurationKnown);

  const Quoted id{characteristic->id.View()};
  parts_.log.Write(LogLevel::Debug, log_type::kSubscriptions,
                   "Getting CCCD state for characteristic ID ", id, " from device.");
  const auto read = parts_.wait.Await([&] {
    return characteristic->platform->ReadClientCharacteristicConfigurationDescriptorAsync();
  });
  if (!read.result) return false;
  (void)parts_.reporter.ReportGattResult(*read.result, log_type::kSubscriptions);
  const bool subscribed =
      read.result->clientCharacteristicConfigurationDescriptor != CccdValue::None;
  SubscriptionState unknown = SubscriptionState::Unknown;
  characteristic->subscription.compare_exchange_strong(
      unknown, subscribed ? SubscriptionState::Subscribed : SubscriptionState::Unsubscribed);
  parts_.log.Write(LogLevel::Debug, log_type::kSubscriptions,
                   "Got CCCD state for characteristic ID ", id, " from device.");
  return IsSubscribed(*characteristic);
}

[[gnu::hot]] void Subscriptions::OnValueChanged(const GattCharacteristic& sender, ByteView value) {
  const CharacteristicPtr characteristic = parts_.connection.FindByObject(sender);
  if (!characteristic) return;
  UpdateSubscription(*characteristic, true);
  parts_.events.FireValue(CharacteristicNames(*characteristic).names, value);
}

}  // namespace ble
