#include "procedures/CharacteristicFields.h"

#include "gatt/CharacteristicFlags.h"
#include "gatt/DescriptorUuids.h"

namespace ble {
namespace {

/// Format types have the same numbers over the air and for the host, from boolean to struct
/// (Assigned Numbers, 2.4.1); others are unknown.
constexpr std::int32_t ValueFormatCode(std::uint8_t formatType) {
  constexpr std::uint8_t kStruct = 0x1B;
  return formatType <= kStruct ? formatType : 0;
}

}  // namespace

void CharacteristicFields::Ensure(Session& session, const CharacteristicPtr& entry,
                                  CharacteristicState& state, std::uint8_t mark,
                                  std::initializer_list<Uuid> descriptors) {
  const bool wasEnsured = state.Has(mark);
  for (const Uuid& uuid : descriptors) {
    if (!wasEnsured) {
      parts_.base.errors.Note(parts_.attributes.EnsureDescriptorDiscovered(session, entry, uuid));
    } else if (entry->platform->MissesDescription(uuid)) {
      const auto query = parts_.gatt.Run(log_type::kDebug, [&] {
        return entry->platform->GetDescriptorsForUuidAsync(uuid, BluetoothCacheMode::Uncached);
      });
      parts_.base.errors.Note(query.status);
    }
  }
  state.Mark(mark);
}

std::uint32_t CharacteristicFields::Flags(Session& session, const CharacteristicPtr& entry,
                                          CharacteristicState& state) {
  if (!entry->platform || state.Has(lazy_mark::kFlagsComputed)) return state.flags;
  Ensure(session, entry, state, lazy_mark::kExtendedPropertiesKnown,
         {descriptor_uuid::kCharacteristicExtendedProperties});
  state.flags = FlagsFromProperties(entry->platform->CharacteristicProperties());
  state.Mark(lazy_mark::kFlagsComputed);
  return state.flags;
}

std::string CharacteristicFields::UserDescription(Session& session,
                                                  const ExposedCharacteristic& shown) {
  if (!shown.entry->platform) return {};
  Ensure(session, shown.entry, *shown.state, lazy_mark::kUserDescriptionKnown,
         {descriptor_uuid::kCharacteristicUserDescription});
  return parts_.base.codec.ToSystemNarrow(shown.entry->platform->UserDescription());
}

Status CharacteristicFields::SetUserDescription(Session& session,
                                                const ExposedCharacteristic& shown,
                                                std::string_view text) {
  if ((Flags(session, shown.entry, *shown.state) & characteristic_flag::kWritableAuxiliaries) ==
      0) {
    return failure::kNotWritableAuxiliaries;
  }
  Ensure(session, shown.entry, *shown.state, lazy_mark::kUserDescriptionKnown,
         {descriptor_uuid::kCharacteristicUserDescription});
  return parts_.writer.WriteUserDescription(session.tree, *shown.entry, text);
}

CharacteristicFields::Formats CharacteristicFields::ValueFormats(
    Session& session, const ExposedCharacteristic& shown) {
  if (!shown.entry->platform) return {};
  Ensure(session, shown.entry, *shown.state, lazy_mark::kFormatsKnown,
         {descriptor_uuid::kCharacteristicAggregateFormat,
          descriptor_uuid::kCharacteristicPresentationFormat});
  Formats formats = shown.entry->platform->PresentationFormats();
  if (!shown.state->Has(lazy_mark::kFormatIndexComputed)) {
    shown.state->valueFormatIndex = formats.empty() ? -1 : 0;
    shown.state->Mark(lazy_mark::kFormatIndexComputed);
  }
  return formats;
}

std::int32_t CharacteristicFields::ValueFormatCount(Session& session,
                                                    const ExposedCharacteristic& shown) {
  return static_cast<std::int32_t>(ValueFormats(session, shown).size());
}

std::int32_t CharacteristicFields::ValueFormatIndex(Session& session,
                                                    const ExposedCharacteristic& shown) {
  ValueFormats(session, shown);
  return shown.state->valueFormatIndex;
}

Status CharacteristicFields::SetValueFormatIndex(Session& session,
                                                 const ExposedCharacteristic& shown,
                                                 std::int32_t index) {
  const std::int32_t count = ValueFormatCount(session, shown);
  if (count == 0 && index == -1) return {};
  if (index < 0 || index >= count) return failure::kInvalidFormatIndex;
  shown.state->valueFormatIndex = index;
  return {};
}

std::optional<GattPresentationFormat> CharacteristicFields::SelectedFormat(
    Session& session, const ExposedCharacteristic& shown) {
  const Formats formats = ValueFormats(session, shown);
  const std::int32_t index = shown.state->valueFormatIndex;
  if (index < 0 || static_cast<std::size_t>(index) >= formats.size()) return std::nullopt;
  return formats[static_cast<std::size_t>(index)];
}

std::int32_t CharacteristicFields::ValueExponent(Session& session,
                                                 const ExposedCharacteristic& shown) {
  const auto format = SelectedFormat(session, shown);
  return format ? format->exponent : 0;
}

std::int32_t CharacteristicFields::ValueFormat(Session& session,
                                               const ExposedCharacteristic& shown) {
  const auto format = SelectedFormat(session, shown);
  return format ? ValueFormatCode(format->formatType) : 0;
}

std::string CharacteristicFields::ValueUnit(Session& session, const ExposedCharacteristic& shown) {
  const auto format = SelectedFormat(session, shown);
  return format ? std::string(FormatUuid(UuidFromShort(format->unit)).View()) : std::string();
}

}  // namespace ble
