#include "backends/linux/DeviceAdvertisement.h"

#include <algorithm>
#include <string_view>

#include "platform/BluetoothAdvertisement.h"

namespace ble::linux_radio {
namespace {

namespace type = advertisement_data_type;

constexpr std::uint8_t kFlags = 0x01;
constexpr std::size_t kMaxSectionData = 254;

/// The forms a UUID has over the air, shortest first, with the sections they stand in.
struct UuidForm {
  std::size_t size;
  std::uint8_t listType;
  std::uint8_t dataType;
};
constexpr UuidForm kUuidForms[] = {
    {2, type::kCompleteService16BitUuids, type::kServiceData16BitUuids},
    {4, type::kCompleteService32BitUuids, type::kServiceData32BitUuids},
    {16, type::kCompleteService128BitUuids, type::kServiceData128BitUuids},
};

const UuidForm& FormOf(const Uuid& uuid) {
  if (uuid.AssignedNumber16()) return kUuidForms[0];
  return uuid == Uuid::FromAssignedNumber(uuid.data1) ? kUuidForms[1] : kUuidForms[2];
}

/// Least significant byte first; a short form is bytes 12 and up of the long one.
void AppendUuid(const Uuid& uuid, std::size_t size, Bytes& bytes) {
  auto whole = uuid.BigEndian();
  std::reverse(whole.begin(), whole.end());
  const std::size_t first = size == whole.size() ? 0 : 12;
  bytes.insert(bytes.end(), whole.begin() + first, whole.begin() + first + size);
}

void AppendSection(std::uint8_t dataType, ByteView data, Bytes& payload) {
  const ByteView kept = data.first(std::min(data.size(), kMaxSectionData));
  payload.push_back(static_cast<std::uint8_t>(kept.size() + 1));
  payload.push_back(dataType);
  payload.insert(payload.end(), kept.begin(), kept.end());
}

void AppendUuidLists(const DeviceObject& device, Bytes& payload) {
  for (const UuidForm& form : kUuidForms) {
    Bytes list;
    for (const Uuid& uuid : device.serviceUuids)
      if (FormOf(uuid).size == form.size && list.size() + form.size <= kMaxSectionData)
        AppendUuid(uuid, form.size, list);
    if (!list.empty()) AppendSection(form.listType, list, payload);
  }
}

}  // namespace

Bytes RebuildPayload(const DeviceObject& device) {
  Bytes payload;
  if (device.advertisingFlags) AppendSection(kFlags, {&*device.advertisingFlags, 1}, payload);
  AppendUuidLists(device, payload);
  if (!device.name.empty()) {
    const auto* const name = reinterpret_cast<const std::uint8_t*>(device.name.data());
    AppendSection(type::kCompleteLocalName, {name, device.name.size()}, payload);
  }
  if (device.txPower) {
    const auto level = static_cast<std::uint8_t>(*device.txPower);
    AppendSection(type::kTxPowerLevel, {&level, 1}, payload);
  }
  for (const auto& [uuid, data] : device.serviceData) {
    const UuidForm& form = FormOf(uuid);
    Bytes section;
    AppendUuid(uuid, form.size, section);
    section.insert(section.end(), data.begin(), data.end());
    AppendSection(form.dataType, section, payload);
  }
  for (const auto& [company, data] : device.manufacturerData) {
    Bytes section{static_cast<std::uint8_t>(company), static_cast<std::uint8_t>(company >> 8)};
    section.insert(section.end(), data.begin(), data.end());
    AppendSection(type::kManufacturerSpecificData, section, payload);
  }
  return payload;
}

}  // namespace ble::linux_radio
