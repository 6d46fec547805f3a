#include "att/CharacteristicDescription.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "base/ByteReader.h"
#include "base/GattUuids.h"
#include "base/Utf.h"

namespace ble::att {

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
  ByteReader reader(value);
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
  for (ByteReader reader(value); reader.Remaining() >= 2;)
    handles.push_back(reader.U16());
  return handles;
}

bool Is(const DescriptorRecord& descriptor, std::uint16_t assignedNumber) {
  return descriptor.uuid.AssignedNumber16() == assignedNumber;
}

}  // namespace

bool CharacteristicDescription::Understands(const Uuid& descriptorUuid) {
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

void CharacteristicDescription::Adopt(std::uint32_t databaseVersion,
                                      const std::vector<DescriptorRecord>& descriptors) {
  std::vector<Entry> next;
  const MutexLock lock(mutex_);
  for (const DescriptorRecord& descriptor : descriptors) {
    if (!Understands(descriptor.uuid)) continue;
    const Entry* const known = databaseVersion == databaseVersion_ ? Find(descriptor) : nullptr;
    next.push_back(known ? *known : Entry{descriptor, State::Unread, {}});
  }
  entries_.swap(next);
  databaseVersion_ = databaseVersion;
}

CharacteristicDescription::Entry* CharacteristicDescription::Find(
    const DescriptorRecord& descriptor) {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    return entry.descriptor.handle == descriptor.handle && entry.descriptor.uuid == descriptor.uuid;
  });
  return found != entries_.end() ? &*found : nullptr;
}

void CharacteristicDescription::Learn(const DescriptorRecord& descriptor, ByteView value) {
  const MutexLock lock(mutex_);
  Entry* const entry = Find(descriptor);
  if (entry == nullptr) return;
  entry->state = State::Read;
  entry->value.assign(value.begin(), value.end());
}

bool CharacteristicDescription::Fail(const DescriptorRecord& descriptor, bool unanswered) {
  const MutexLock lock(mutex_);
  Entry* const entry = Find(descriptor);
  if (entry == nullptr) return false;
  entry->value.clear();
  const State state = unanswered ? State::Unanswered : State::Refused;
  return std::exchange(entry->state, state) != state;
}

bool CharacteristicDescription::Misses(const Uuid& descriptorUuid) const {
  const MutexLock lock(mutex_);
  return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    return entry.descriptor.uuid == descriptorUuid &&
           (entry.state == State::Unread || entry.state == State::Refused);
  });
}

ByteView CharacteristicDescription::ValueOf(std::uint16_t assignedNumber) const {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    return Is(entry.descriptor, assignedNumber);
  });
  return found != entries_.end() ? ByteView(found->value) : ByteView();
}

std::uint32_t CharacteristicDescription::ExtendedProperties() const {
  const MutexLock lock(mutex_);
  const ByteView value = ValueOf(gatt_uuid::kExtendedProperties);
  return value.size() == 2 ? ParseExtendedProperties(value) : 0;
}

std::u16string CharacteristicDescription::UserDescription() const {
  const MutexLock lock(mutex_);
  return ParseUserDescription(ValueOf(gatt_uuid::kUserDescription));
}

std::vector<GattPresentationFormat> CharacteristicDescription::PresentationFormats() const {
  std::map<std::uint16_t, GattPresentationFormat> formats;  // by handle of the descriptor
  std::vector<std::uint16_t> aggregate;
  {
    const MutexLock lock(mutex_);
    for (const Entry& entry : entries_) {
      if (!Is(entry.descriptor, gatt_uuid::kPresentationFormat)) continue;
      if (const auto format = ParsePresentationFormat(entry.value))
        formats.emplace(entry.descriptor.handle, *format);
    }
    aggregate = ParseAggregateFormat(ValueOf(gatt_uuid::kAggregateFormat));
  }
  std::vector<GattPresentationFormat> ordered;
  for (const std::uint16_t handle : aggregate)
    if (const auto format = formats.extract(handle)) ordered.push_back(format.mapped());
  for (const auto& [handle, format] : formats)
    ordered.push_back(format);
  return ordered;
}

}  // namespace ble::att
