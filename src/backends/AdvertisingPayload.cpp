#include "backends/AdvertisingPayload.h"

#include <algorithm>

namespace ble {

void AppendSection(std::uint8_t type, ByteView data, Bytes& payload) {
  payload.push_back(static_cast<std::uint8_t>(data.size() + 1));
  payload.push_back(type);
  Append(payload, data);
}

Bytes UuidsOfSize(std::span<const Uuid> uuids, std::size_t size) {
  Bytes list;
  for (const Uuid& uuid : uuids)
    if (const UuidBytes form = uuid.AdvertisingForm(); form.size == size) Append(list, form.View());
  return list;
}

ServiceDataHead::ServiceDataHead(const Uuid& uuid) {
  const UuidBytes form = uuid.AdvertisingForm();
  type = std::ranges::find(kUuidSections, form.size, &UuidSections::uuidSize)->serviceData;
  Append(bytes, form.View());
}

}  // namespace ble
