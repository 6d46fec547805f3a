#include "platform/BluetoothAdvertisement.h"

#include <algorithm>
#include <string_view>

#include "base/Utf.h"

namespace ble {
namespace {

namespace type = advertisement_data_type;

/// Octets per UUID in a service UUID list of this type; 0 for every other section.
std::size_t ServiceUuidSize(std::uint8_t dataType) {
  for (const UuidSections& sections : kUuidSections)
    if (dataType == sections.completeServices || dataType == sections.incompleteServices)
      return sections.uuidSize;
  return 0;
}

}  // namespace

void BluetoothLEAdvertisement::Assign(ByteView payload) {
  payload_.assign(payload.begin(), payload.end());
  localName_.clear();
  serviceUuids_.clear();
  manufacturerData_.clear();
  dataSections_.clear();

  ByteView name;
  bool completeName = false;
  for (ByteView rest = payload_; !rest.empty() && rest[0] != 0 && rest[0] < rest.size();
       rest = rest.subspan(1U + rest[0])) {
    const std::uint8_t dataType = rest[1];
    const ByteView data = rest.subspan(2, rest[0] - 1U);
    dataSections_.push_back({dataType, data});

    if (const std::size_t size = ServiceUuidSize(dataType)) {
      for (std::size_t at = 0; at + size <= data.size(); at += size)
        serviceUuids_.push_back(*Uuid::FromLittleEndian(data.subspan(at, size)));
    } else if (dataType == type::kManufacturerSpecificData) {
      if (data.size() >= 2) manufacturerData_.push_back({LoadU16(data), data.subspan(2)});
    } else if (!completeName && (dataType == type::kCompleteLocalName ||
                                 (dataType == type::kShortenedLocalName && name.empty()))) {
      completeName = dataType == type::kCompleteLocalName;
      name = data;
    }
  }
  AppendUtf16({reinterpret_cast<const char*>(name.data()), name.size()}, localName_);
}

bool BluetoothLEAdvertisementFilter::Passes(const BluetoothLEAdvertisement& advertisement) const {
  const auto& advertised = advertisement.ServiceUuids();
  return std::ranges::all_of(serviceUuids, [&](const Uuid& wanted) {
    return std::ranges::find(advertised, wanted) != advertised.end();
  });
}

}  // namespace ble
