#include "platform/att/CharacteristicDescription.h"

#include <optional>
#include <string_view>

#include "platform/Utf.h"

namespace corvaneble::platform::att {

namespace {

std::uint32_t ParseExtendedProperties(ByteView value) {
  using namespace gatt_characteristic_properties;
  const std::uint16_t bits = LoadU16(value);
  return ((bits & 1) != 0 ? kReliableWrites : 0) | ((bits & 2) != 0 ? kWritableAuxiliaries : 0);
}

std::u16string ParseUserDescription(ByteView value) {
  std::u16string text;
  AppendUtf16({reinterpret_cast<const char*>(value.data()), value.size()}, text);
  return text;
}

std::optional<GattPresentationFormat> ParsePresentationFormat(ByteView value) {
  PduReader reader(value);
  GattPresentationFormat format;
  format.formatType = reader.U8();
  format.exponent = static_cast<std::int8_t>(reader.U8());
  format.unit = reader.U16();
  format.nameSpace = reader.U8();
  format.description = reader.U16();
  if (!reader.Ok() || !reader.AtEnd()) return std::nullopt;
  return format;
}

std::vector<std::uint16_t> ParseAggregateFormat(ByteView value) {
  std::vector<std::uint16_t> handles;
  for (PduReader reader(value); reader.Remaining() >= 2;)
    handles.push_back(reader.U16());
  return handles;
}

}  // namespace

bool CharacteristicDescription::Understands(const Guid& descriptorUuid) {
  switch (descriptorUuid.AssignedNumber16().value_or(0)) {
    case gatt_uuid::kExtendedProperties:
    case gatt_uuid::kUserDescription:
    case gatt_uuid::kPresentationFormat:
    case gatt_uuid::kAggregateFormat:
      return true;
    default:
      return false;
  }
}

void CharacteristicDescription::Learn(const DescriptorRecord& descriptor, ByteView value) {
  const std::lock_guard lock(mutex_);
  switch (descriptor.uuid.AssignedNumber16().value_or(0)) {
    case gatt_uuid::kExtendedProperties:
      if (value.size() == 2) extendedProperties_ = ParseExtendedProperties(value);
      break;
    case gatt_uuid::kUserDescription:
      userDescription_ = ParseUserDescription(value);
      break;
    case gatt_uuid::kPresentationFormat:
      if (const auto format = ParsePresentationFormat(value)) formats_[descriptor.handle] = *format;
      break;
    case gatt_uuid::kAggregateFormat:
      aggregate_ = ParseAggregateFormat(value);
      break;
    default:
      break;
  }
}

std::uint32_t CharacteristicDescription::ExtendedProperties() const {
  const std::lock_guard lock(mutex_);
  return extendedProperties_;
}

std::u16string CharacteristicDescription::UserDescription() const {
  const std::lock_guard lock(mutex_);
  return userDescription_;
}

std::vector<GattPresentationFormat> CharacteristicDescription::PresentationFormats() const {
  const std::lock_guard lock(mutex_);
  std::vector<GattPresentationFormat> ordered;
  auto rest = formats_;
  for (const std::uint16_t handle : aggregate_)
    if (const auto format = rest.extract(handle)) ordered.push_back(format.mapped());
  for (const auto& [handle, format] : rest)
    ordered.push_back(format);
  return ordered;
}

}  // namespace corvaneble::platform::att
