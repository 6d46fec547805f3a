#include "platform/att/CharacteristicDescription.h"

#include <algorithm>
#include <map>
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

bool Is(const DescriptorRecord& descriptor, std::uint16_t assignedNumber) {
  return descriptor.uuid.AssignedNumber16() == assignedNumber;
}

template <class Readings>
auto FindReading(Readings& readings, const DescriptorRecord& descriptor) {
  return std::find_if(readings.begin(), readings.end(), [&](const auto& reading) {
    return reading.descriptor.handle == descriptor.handle &&
           reading.descriptor.uuid == descriptor.uuid;
  });
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

void CharacteristicDescription::Replace(std::uint32_t databaseVersion, Readings readings) {
  const std::lock_guard lock(mutex_);
  databaseVersion_ = databaseVersion;
  readings_.swap(readings);
}

CharacteristicDescription::Readings CharacteristicDescription::Known(
    std::uint32_t databaseVersion, const std::vector<DescriptorRecord>& descriptors) const {
  Readings known;
  const std::lock_guard lock(mutex_);
  for (const DescriptorRecord& descriptor : descriptors) {
    if (!Understands(descriptor.uuid)) continue;
    const auto before = FindReading(readings_, descriptor);
    if (databaseVersion == databaseVersion_ && before != readings_.end()) {
      known.push_back(*before);
    } else {
      known.push_back({descriptor, Reading::Outcome::NotRead, {}});
    }
  }
  return known;
}

void CharacteristicDescription::Learn(const DescriptorRecord& descriptor, ByteView value) {
  const std::lock_guard lock(mutex_);
  const auto known = FindReading(readings_, descriptor);
  if (known == readings_.end()) return;
  known->outcome = Reading::Outcome::Read;
  known->value.assign(value.begin(), value.end());
}

std::vector<DescriptorRecord> CharacteristicDescription::Missing() const {
  std::vector<DescriptorRecord> missing;
  const std::lock_guard lock(mutex_);
  for (const Reading& reading : readings_)
    if (reading.outcome == Reading::Outcome::NotRead ||
        reading.outcome == Reading::Outcome::Refused)
      missing.push_back(reading.descriptor);
  return missing;
}

std::optional<ByteView> CharacteristicDescription::ValueOf(std::uint16_t assignedNumber) const {
  for (const Reading& reading : readings_)
    if (reading.outcome == Reading::Outcome::Read && Is(reading.descriptor, assignedNumber))
      return reading.value;
  return std::nullopt;
}

std::uint32_t CharacteristicDescription::ExtendedProperties() const {
  const std::lock_guard lock(mutex_);
  const auto value = ValueOf(gatt_uuid::kExtendedProperties);
  return value && value->size() == 2 ? ParseExtendedProperties(*value) : 0;
}

std::u16string CharacteristicDescription::UserDescription() const {
  const std::lock_guard lock(mutex_);
  return ParseUserDescription(ValueOf(gatt_uuid::kUserDescription).value_or(ByteView{}));
}

std::vector<GattPresentationFormat> CharacteristicDescription::PresentationFormats() const {
  std::map<std::uint16_t, GattPresentationFormat> formats;  // by handle of the descriptor
  std::vector<std::uint16_t> aggregate;
  {
    const std::lock_guard lock(mutex_);
    for (const Reading& reading : readings_) {
      if (!Is(reading.descriptor, gatt_uuid::kPresentationFormat)) continue;
      if (const auto format = ParsePresentationFormat(reading.value))
        formats.emplace(reading.descriptor.handle, *format);
    }
    if (const auto value = ValueOf(gatt_uuid::kAggregateFormat))
      aggregate = ParseAggregateFormat(*value);
  }
  std::vector<GattPresentationFormat> ordered;
  for (const std::uint16_t handle : aggregate)
    if (const auto format = formats.extract(handle)) ordered.push_back(format.mapped());
  for (const auto& [handle, format] : formats)
    ordered.push_back(format);
  return ordered;
}

}  // namespace corvaneble::platform::att
