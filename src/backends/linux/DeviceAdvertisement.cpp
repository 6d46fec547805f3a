#include "backends/linux/DeviceAdvertisement.h"

#include <algorithm>

#include "backends/AdvertisingPayload.h"

namespace ble::linux_radio {
namespace {

namespace type = advertisement_data_type;

/// BlueZ may know more than one section holds.
void AppendStart(std::uint8_t dataType, ByteView data, Bytes& payload) {
  AppendSection(dataType, data.first(std::min(data.size(), kMaxSectionData)), payload);
}

void AppendUuidLists(const DeviceObject& device, Bytes& payload) {
  for (const UuidSections& sections : kUuidSections) {
    const Bytes list = UuidsOfSize(device.serviceUuids, sections.uuidSize);
    const std::size_t room = kMaxSectionData / sections.uuidSize * sections.uuidSize;
    if (!list.empty())
      AppendSection(sections.completeServices, ByteView(list).first(std::min(list.size(), room)),
                    payload);
  }
}

}  // namespace

Bytes RebuildPayload(const DeviceObject& device) {
  Bytes payload;
  if (device.advertisingFlags) AppendSection(type::kFlags, {&*device.advertisingFlags, 1}, payload);
  AppendUuidLists(device, payload);
  if (!device.name.empty()) {
    const auto* const name = reinterpret_cast<const std::uint8_t*>(device.name.data());
    AppendStart(type::kCompleteLocalName, {name, device.name.size()}, payload);
  }
  if (device.txPower) {
    const auto level = static_cast<std::uint8_t>(*device.txPower);
    AppendSection(type::kTxPowerLevel, {&level, 1}, payload);
  }
  for (const auto& [uuid, data] : device.serviceData) {
    ServiceDataHead section(uuid);
    Append(section.bytes, data);
    AppendStart(section.type, section.bytes, payload);
  }
  for (const auto& [company, data] : device.manufacturerData) {
    Bytes section;
    AppendU16(section, company);
    Append(section, data);
    AppendStart(type::kManufacturerSpecificData, section, payload);
  }
  return payload;
}

}  // namespace ble::linux_radio
