#include "api/PropertyDispatch.h"

#include <algorithm>
#include <utility>

#include "api/Boundary.h"
#include "gatt/CharacteristicFlags.h"

namespace ble {
namespace {

std::intptr_t PointerValue(const void* pointer) {
  return reinterpret_cast<std::intptr_t>(pointer);
}

/// Empty in either form: its bytes are a narrow terminator too.
std::intptr_t EmptyText() {
  return PointerValue(u"");
}

void StoreLength(std::int32_t* length, std::size_t value) {
  if (length != nullptr) *length = static_cast<std::int32_t>(value);
}

}  // namespace

std::intptr_t PropertyDispatch::Get(std::int32_t propertyId, std::int32_t index,
                                    std::int32_t* length) {
  const auto [number, form] = DecodePropertyNumber(propertyId);
  if (number == kVersionProperty) return PointerValue(kVersionMarker);
  if (number == kCodePageProperty) return static_cast<std::int32_t>(parts_.codec.CodePage());
  parts_.errors.SetLastCode(error::kSuccess);
  const PropertyInfo* info = FindProperty(number);
  if (info == nullptr) return 0;

  std::intptr_t value = info->type == PropertyType::Integer ? 0 : EmptyText();
  const SessionPtr session = parts_.connection.Current();
  ErrorCode code = IndexCheck(*session, info->collection, index);
  if (code == error::kSuccess) {
    code = RunToCode(parts_.errors, parts_.wait, [&, form = form] {
      switch (info->type) {
        case PropertyType::Integer:
          value = ReadInteger(*session, info->id, index);
          break;
        case PropertyType::Text:
          value = GetText(*session, info->id, index, form);
          break;
        case PropertyType::Bytes:
          value = GetBytes(*session, info->id, index, form, length);
          break;
      }
      return error::kSuccess;
    });
  }
  if (code != error::kSuccess) parts_.errors.SetLastCode(code);
  return value;
}

std::intptr_t PropertyDispatch::GetText(Session& session, Property property, std::int32_t index,
                                        TextForm form) {
  TextValue value = ReadText(session, property, index);
  ReturnSlot& slot = parts_.slots.OfProperty(property);
  if (form == TextForm::Wide) {
    (void)parts_.codec.ToWide(value.isComputed ? value.computed : value.text, slot.wide);
    return PointerValue(slot.wide.c_str());
  }
  if (value.isComputed) {
    slot.narrow = std::move(value.computed);
    return PointerValue(slot.narrow.c_str());
  }
  slot.record = std::move(value.record);
  return PointerValue(value.text);
}

std::intptr_t PropertyDispatch::GetBytes(Session& session, Property property, std::int32_t index,
                                         TextForm form, std::int32_t* length) {
  Bytes value;
  const ErrorCode code = ReadBytes(session, property, index, value);
  if (code != error::kSuccess) {
    parts_.errors.SetLastCode(code);
    StoreLength(length, 0);
    return form == TextForm::BytesAsWide ? EmptyText() : 0;
  }
  ReturnSlot& slot = parts_.slots.OfProperty(property);
  if (form == TextForm::BytesAsWide) {
    (void)parts_.codec.ToWide({reinterpret_cast<const char*>(value.data()), value.size()},
                              slot.wide);
    StoreLength(length, slot.wide.size());
    return PointerValue(slot.wide.c_str());
  }
  StoreLength(length, value.size());
  slot.bytes = std::move(value);
  slot.bytes.push_back(0);
  return PointerValue(slot.bytes.data());
}

std::int32_t PropertyDispatch::ReadInteger(Session& session, Property property,
                                           std::int32_t index) {
  const auto shown = [&] { return session.selection.ExposedAt(index); };
  const auto flags = [&] {
    const ExposedCharacteristic characteristic = shown();
    return parts_.fields.Flags(session, characteristic.entry, *characteristic.state);
  };
  switch (property) {
    case Property::ActiveScanning:
      return parts_.scanner.ActiveScanning();
    case Property::CharacteristicCount:
      return session.selection.CharacteristicCount();
    case Property::CharacteristicCanSubscribe:
      return CanSubscribe(flags()) ? 1 : 0;
    case Property::CharacteristicFlags:
      return static_cast<std::int32_t>(flags());
    case Property::CharacteristicSubscribed: {
      const ExposedCharacteristic characteristic = shown();
      return parts_.subscriptions.QuerySubscribed(session, characteristic.entry,
                                                  *characteristic.state)
                 ? 1
                 : 0;
    }
    case Property::CharacteristicValueExponent:
      return parts_.fields.ValueExponent(session, shown());
    case Property::CharacteristicValueFormat:
      return parts_.fields.ValueFormat(session, shown());
    case Property::CharacteristicValueFormatCount:
      return parts_.fields.ValueFormatCount(session, shown());
    case Property::CharacteristicValueFormatIndex:
      return parts_.fields.ValueFormatIndex(session, shown());
    case Property::DescriptorCount:
      return session.selection.DescriptorCount();
    case Property::Scanning:
      return parts_.scanner.IsScanning() ? 1 : 0;
    case Property::ServiceCount:
      return static_cast<std::int32_t>(session.tree.ServiceCount());
    case Property::Timeout:
      return parts_.timeoutSeconds;
    default:
      return 0;
  }
}

PropertyDispatch::TextValue PropertyDispatch::ReadText(Session& session, Property property,
                                                       std::int32_t index) {
  const auto field = [](auto entry, const char* text) {
    return TextValue{text, std::move(entry), {}, false};
  };
  const auto name = [&](auto entry) { return field(entry, entry->name); };
  const auto id = [&](auto entry) { return field(entry, entry->id.c_str()); };
  const auto uuid = [&](auto entry) { return field(entry, entry->uuidText.c_str()); };
  const auto service = [&] {
    const ServicePtr entry = session.tree.ServiceAt(static_cast<std::size_t>(index));
    return entry ? entry : std::make_shared<ServiceEntry>();
  };
  const auto characteristic = [&] { return session.selection.CharacteristicAt(index); };
  const auto descriptor = [&] { return session.selection.DescriptorAt(index); };
  switch (property) {
    case Property::Characteristic:
      return Computed(session.selection.CharacteristicId());
    case Property::CharacteristicDescription:
      return name(characteristic());
    case Property::CharacteristicId:
      return id(characteristic());
    case Property::CharacteristicUserDescription:
      return Computed(parts_.fields.UserDescription(session, session.selection.ExposedAt(index)));
    case Property::CharacteristicUuid:
      return uuid(characteristic());
    case Property::CharacteristicValueUnit:
      return Computed(parts_.fields.ValueUnit(session, session.selection.ExposedAt(index)));
    case Property::DescriptorDescription:
      return name(descriptor());
    case Property::DescriptorId:
      return id(descriptor());
    case Property::DescriptorUuid:
      return uuid(descriptor());
    case Property::ServerId:
      return Computed(std::string(session.Server().View()));
    case Property::ServerName:
      return Computed(parts_.connection.ServerName());
    case Property::Service:
      return Computed(session.selection.ServiceId());
    case Property::ServiceDescription:
      return name(service());
    case Property::ServiceId:
      return id(service());
    case Property::ServiceIncludedSvcIds:
      return Computed(session.tree.IncludedIds(*service()));
    case Property::ServiceParentSvcIds:
      return Computed(session.tree.ParentIds(*service()));
    case Property::ServiceUuid:
      return uuid(service());
    default:
      return {};
  }
}

ErrorCode PropertyDispatch::ReadBytes(Session& session, Property property, std::int32_t index,
                                      Bytes& value) {
  if (property == Property::CharacteristicCachedValue) {
    const CharacteristicPtr entry = session.selection.CharacteristicAt(index);
    if (!entry->platform) return error::kSuccess;
    return parts_.reader.ReadCharacteristicValue(*entry, BluetoothCacheMode::Cached, value);
  }
  const DescriptorPtr entry = session.selection.DescriptorAt(index);
  if (!entry->platform) return error::kSuccess;
  return parts_.reader.ReadDescriptorValue(session.tree, *entry, BluetoothCacheMode::Cached, value);
}

ErrorCode PropertyDispatch::Set(std::int32_t propertyId, std::int32_t index, std::intptr_t value) {
  const auto [number, form] = DecodePropertyNumber(propertyId);
  const PropertyInfo* info = FindProperty(number);
  if (info == nullptr) return error::kUnknown;
  // A text is converted before anything else is looked at: what it fails with says so first.
  std::string converted;
  const char* text = reinterpret_cast<const char*>(value);
  if (info->type == PropertyType::Text && form == TextForm::Wide && value != 0) {
    const ErrorCode code = RunToCode(parts_.errors, parts_.wait, [&] {
      return parts_.codec.ToNarrow(reinterpret_cast<const char16_t*>(value), converted);
    });
    if (code != error::kSuccess) return parts_.errors.Finish(code);
    text = converted.c_str();
  }
  if (info->access != PropertyAccess::ReadWrite) return error::kUnknown;
  const SessionPtr session = parts_.connection.Current();
  const ErrorCode badIndex = IndexCheck(*session, info->collection, index);
  if (badIndex != error::kSuccess) return badIndex;
  return parts_.errors.Finish(RunToCode(parts_.errors, parts_.wait, [&] {
    return info->type == PropertyType::Text
               ? WriteText(*session, info->id, index, text != nullptr ? text : "")
               : WriteInteger(*session, info->id, index, static_cast<std::int32_t>(value));
  }));
}

ErrorCode PropertyDispatch::WriteInteger(Session& session, Property property, std::int32_t index,
                                         std::int32_t value) {
  switch (property) {
    case Property::ActiveScanning:
      return parts_.scanner.SetActiveScanning(value);
    case Property::CharacteristicCount:
      session.selection.SetCharacteristicCount(value);
      return error::kSuccess;
    case Property::CharacteristicSubscribed: {
      const ExposedCharacteristic shown = session.selection.ExposedAt(index);
      return parts_.subscriptions.SetSubscription(session, shown.entry, *shown.state, value != 0);
    }
    case Property::CharacteristicValueFormatIndex:
      return parts_.fields.SetValueFormatIndex(session, session.selection.ExposedAt(index), value);
    case Property::Timeout:
      parts_.timeoutSeconds = std::max(value, 0);
      parts_.connection.ApplyTimeout();
      return error::kSuccess;
    default:
      return error::kUnknown;
  }
}

ErrorCode PropertyDispatch::WriteText(Session& session, Property property, std::int32_t index,
                                      const std::string& value) {
  switch (property) {
    case Property::Characteristic:
      return session.selection.SelectCharacteristic(value);
    case Property::CharacteristicUserDescription:
      return parts_.fields.SetUserDescription(session, session.selection.ExposedAt(index), value);
    case Property::Service:
      return session.selection.SelectService(value);
    default:
      return error::kUnknown;
  }
}

ErrorCode PropertyDispatch::CheckIndex(std::int32_t propertyId, std::int32_t index) {
  const PropertyInfo* info = FindProperty(propertyId);
  if (info == nullptr ||
      IndexCheck(*parts_.connection.Current(), info->collection, index) == error::kSuccess) {
    return error::kSuccess;
  }
  return error::kIndexOutOfRange;
}

ErrorCode PropertyDispatch::IndexCheck(const Session& session, Collection collection,
                                       std::int32_t index) {
  const auto check = [&](std::int64_t count, const Failure& failure) {
    return index >= 0 && index < count ? error::kSuccess : parts_.errors.Raise(failure);
  };
  switch (collection) {
    case Collection::None:
      break;
    case Collection::Services:
      return check(static_cast<std::int64_t>(session.tree.ServiceCount()),
                   failure::kInvalidServiceIndex);
    case Collection::Characteristics:
      return check(session.selection.CharacteristicCount(), failure::kInvalidCharacteristicIndex);
    case Collection::Descriptors:
      return check(session.selection.DescriptorCount(), failure::kInvalidDescriptorIndex);
  }
  return error::kSuccess;
}

}  // namespace ble
