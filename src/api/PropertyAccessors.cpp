#include "api/PropertyAccessors.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "gatt/CharacteristicFlags.h"

namespace ble {
namespace {

using Call = const PropertyCall&;

ServicePtr ServiceOf(Call call) {
  const ServicePtr entry = call.session.tree.ServiceAt(static_cast<std::size_t>(call.index));
  return entry ? entry : std::make_shared<ServiceEntry>();
}

CharacteristicPtr CharacteristicOf(Call call) {
  return call.session.selection.CharacteristicAt(call.index);
}

DescriptorPtr DescriptorOf(Call call) {
  return call.session.selection.DescriptorAt(call.index);
}

ExposedCharacteristic ShownBy(Call call) {
  return call.session.selection.ExposedAt(call.index);
}

template <class Entry>
TextValue NameOf(const std::shared_ptr<Entry>& entry) {
  return {entry->name, entry};
}

template <class Entry>
TextValue IdOf(const std::shared_ptr<Entry>& entry) {
  return {entry->id.c_str(), entry};
}

template <class Entry>
TextValue UuidOf(const std::shared_ptr<Entry>& entry) {
  return {entry->uuidText.c_str(), entry};
}

/// A computed text of a record, kept in it.
template <class Entry>
TextValue Kept(const std::shared_ptr<Entry>& entry, KeptText Entry::*place, std::string text) {
  return {((*entry).*place).Keep(std::move(text)), entry};
}

std::uint32_t FlagsOf(Call call) {
  const ExposedCharacteristic shown = ShownBy(call);
  return call.owners.fields.Flags(call.session, shown.entry, *shown.state);
}

std::int32_t IsSubscribed(Call call) {
  const ExposedCharacteristic shown = ShownBy(call);
  return call.owners.subscriptions.QuerySubscribed(call.session, shown.entry, *shown.state) ? 1 : 0;
}

Status Subscribe(Call call, std::int32_t value) {
  const ExposedCharacteristic shown = ShownBy(call);
  return call.owners.subscriptions.SetSubscription(call.session, shown.entry, *shown.state,
                                                   value != 0);
}

TextValue UserDescription(Call call) {
  const ExposedCharacteristic shown = ShownBy(call);
  return Kept(shown.entry, &CharacteristicEntry::userDescription,
              call.owners.fields.UserDescription(call.session, shown));
}

TextValue ValueUnit(Call call) {
  const ExposedCharacteristic shown = ShownBy(call);
  return Kept(shown.entry, &CharacteristicEntry::valueUnit,
              call.owners.fields.ValueUnit(call.session, shown));
}

TextValue IncludedIds(Call call) {
  const ServicePtr service = ServiceOf(call);
  return Kept(service, &ServiceEntry::includedIdsText, call.session.tree.IncludedIds(*service));
}

TextValue ParentIds(Call call) {
  const ServicePtr service = ServiceOf(call);
  return Kept(service, &ServiceEntry::parentIdsText, call.session.tree.ParentIds(*service));
}

Result<Bytes> CharacteristicCachedValue(Call call) {
  const CharacteristicPtr entry = CharacteristicOf(call);
  if (!entry->platform) return Bytes();
  return call.owners.reader.ReadCharacteristicValue(*entry, BluetoothCacheMode::Cached);
}

Result<Bytes> DescriptorCachedValue(Call call) {
  const DescriptorPtr entry = DescriptorOf(call);
  if (!entry->platform) return Bytes();
  return call.owners.reader.ReadDescriptorValue(call.session.tree, *entry,
                                                BluetoothCacheMode::Cached);
}

Status SetTimeout(Call call, std::int32_t value) {
  call.owners.link.timeoutSeconds = std::max(value, 0);
  call.owners.connection.ApplyTimeout();
  return {};
}

/// In the order of `kPropertyTable`.
constexpr auto kAccessors = [] {
  using P = Property;
  using Integer = std::int32_t;
  using Text = const std::string&;
  return std::to_array<PropertyAccessor>({
      {P::ActiveScanning, [](Call c) { return c.owners.scanner.ActiveScanning(); },
       [](Call c, Integer value) { return c.owners.scanner.SetActiveScanning(value); }},
      {P::Characteristic, [](Call c) { return TextValue(c.session.selection.CharacteristicId()); },
       [](Call c, Text id) { return c.session.selection.SelectCharacteristic(id); }},
      {P::CharacteristicCount, [](Call c) { return c.session.selection.CharacteristicCount(); },
       [](Call c, Integer count) {
         c.session.selection.SetCharacteristicCount(count);
         return Status();
       }},
      {P::CharacteristicCachedValue, CharacteristicCachedValue},
      {P::CharacteristicCanSubscribe, [](Call c) { return CanSubscribe(FlagsOf(c)) ? 1 : 0; }},
      {P::CharacteristicDescription, [](Call c) { return NameOf(CharacteristicOf(c)); }},
      {P::CharacteristicFlags, [](Call c) { return static_cast<Integer>(FlagsOf(c)); }},
      {P::CharacteristicId, [](Call c) { return IdOf(CharacteristicOf(c)); }},
      {P::CharacteristicSubscribed, IsSubscribed, Subscribe},
      {P::CharacteristicUserDescription, UserDescription,
       [](Call c, Text text) {
         return c.owners.fields.SetUserDescription(c.session, ShownBy(c), text);
       }},
      {P::CharacteristicUuid, [](Call c) { return UuidOf(CharacteristicOf(c)); }},
      {P::CharacteristicValueExponent,
       [](Call c) { return c.owners.fields.ValueExponent(c.session, ShownBy(c)); }},
      {P::CharacteristicValueFormat,
       [](Call c) { return c.owners.fields.ValueFormat(c.session, ShownBy(c)); }},
      {P::CharacteristicValueFormatCount,
       [](Call c) { return c.owners.fields.ValueFormatCount(c.session, ShownBy(c)); }},
      {P::CharacteristicValueFormatIndex,
       [](Call c) { return c.owners.fields.ValueFormatIndex(c.session, ShownBy(c)); },
       [](Call c, Integer index) {
         return c.owners.fields.SetValueFormatIndex(c.session, ShownBy(c), index);
       }},
      {P::CharacteristicValueUnit, ValueUnit},
      {P::DescriptorCount, [](Call c) { return c.session.selection.DescriptorCount(); }},
      {P::DescriptorCachedValue, DescriptorCachedValue},
      {P::DescriptorDescription, [](Call c) { return NameOf(DescriptorOf(c)); }},
      {P::DescriptorId, [](Call c) { return IdOf(DescriptorOf(c)); }},
      {P::DescriptorUuid, [](Call c) { return UuidOf(DescriptorOf(c)); }},
      {P::Scanning, [](Call c) { return c.owners.scanner.IsScanning() ? 1 : 0; }},
      {P::ServerId, [](Call c) { return TextValue(std::string(c.session.Server().View())); }},
      {P::ServerName, [](Call c) { return TextValue(c.owners.connection.ServerName()); }},
      {P::Service, [](Call c) { return TextValue(c.session.selection.ServiceId()); },
       [](Call c, Text id) { return c.session.selection.SelectService(id); }},
      {P::ServiceCount, [](Call c) { return static_cast<Integer>(c.session.tree.ServiceCount()); }},
      {P::ServiceDescription, [](Call c) { return NameOf(ServiceOf(c)); }},
      {P::ServiceId, [](Call c) { return IdOf(ServiceOf(c)); }},
      {P::ServiceIncludedSvcIds, IncludedIds},
      {P::ServiceParentSvcIds, ParentIds},
      {P::ServiceUuid, [](Call c) { return UuidOf(ServiceOf(c)); }},
      {P::Timeout, [](Call c) { return c.owners.link.timeoutSeconds.load(); }, SetTimeout},
  });
}();

/// Every property has its accessors, of its type, and a writer if and only if it may be written.
static_assert(kAccessors.size() == kPropertyTable.size());
static_assert([] {
  for (std::size_t i = 0; i < kAccessors.size(); ++i) {
    const PropertyAccessor& accessor = kAccessors[i];
    const PropertyInfo& info = kPropertyTable[i];
    const auto type = static_cast<std::size_t>(info.type);
    const std::size_t writer = info.access == PropertyAccess::ReadWrite ? type + 1 : 0;
    if (accessor.id != info.id || accessor.read.index() != type) return false;
    if (accessor.write.index() != writer) return false;
  }
  return true;
}());

}  // namespace

const PropertyAccessor& AccessorOf(Property property) {
  return kAccessors[static_cast<std::size_t>(property) - 1];
}

}  // namespace ble
