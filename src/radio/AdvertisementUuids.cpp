#include "radio/AdvertisementUuids.h"

#include <algorithm>
#include <array>

#include "base/Text.h"

namespace ble {
namespace {

namespace data_type = advertisement_data_type;

/// A kind of section whose contents begin with, or consist of, UUIDs of one width in bytes.
struct UuidSection {
  std::uint8_t dataType;
  std::size_t width;
};

constexpr std::array<UuidSection, 3> kServiceData{{
    {data_type::kServiceData128BitUuids, 16},
    {data_type::kServiceData32BitUuids, 4},
    {data_type::kServiceData16BitUuids, 2},
}};

constexpr std::array<UuidSection, 3> kSolicitation{{
    {data_type::kServiceSolicitation128BitUuids, 16},
    {data_type::kServiceSolicitation32BitUuids, 4},
    {data_type::kServiceSolicitation16BitUuids, 2},
}};

/// Calls `take(data, width)` for every section of the kinds, kind by kind, until one answers a
/// failure; returns that.
template <class Take>
Status ForEachSection(const BluetoothLEAdvertisement& advertisement,
                      const std::array<UuidSection, 3>& kinds, Take take) {
  for (const UuidSection& kind : kinds) {
    for (const auto& section : advertisement.DataSections()) {
      if (section.dataType != kind.dataType) continue;
      if (Status status = take(section.data, kind.width); !status.Ok()) return status;
    }
  }
  return {};
}

}  // namespace

std::optional<Uuid> UuidFromAdvertisementBytes(ByteView bytes) {
  return Uuid::FromLittleEndian(bytes);
}

Status ServiceDataUuids(const BluetoothLEAdvertisement& advertisement, std::vector<Uuid>& uuids,
                        std::vector<ByteView>& values, std::string& text) {
  uuids.clear();
  values.clear();
  text.clear();
  const auto take = [&](ByteView data, std::size_t width) -> Status {
    if (data.size() < width) {
      return {error::kInvalidArgument, Concat("Expected byte[] length to be at least ", width,
                                              ", but instead is ", data.size(), ".")};
    }
    uuids.push_back(*UuidFromAdvertisementBytes(data.first(width)));
    values.push_back(data.subspan(width));
    return {};
  };
  Status status = ForEachSection(advertisement, kServiceData, take);
  if (status.Ok()) JoinUuids(uuids, text);
  return status;
}

Status SolicitedUuids(const BluetoothLEAdvertisement& advertisement, std::vector<Uuid>& uuids,
                      std::string& text) {
  uuids.clear();
  text.clear();
  const auto take = [&](ByteView data, std::size_t width) -> Status {
    if (data.size() % width != 0) {
      return {error::kInvalidArgument, Concat("Expected byte[] length to be a multiple of ", width,
                                              ", but instead is ", data.size(), ".")};
    }
    for (; !data.empty(); data = data.subspan(width)) {
      const Uuid uuid = *UuidFromAdvertisementBytes(data.first(width));
      if (std::find(uuids.begin(), uuids.end(), uuid) == uuids.end()) uuids.push_back(uuid);
    }
    return {};
  };
  Status status = ForEachSection(advertisement, kSolicitation, take);
  if (status.Ok()) JoinUuids(uuids, text);
  return status;
}

}  // namespace ble
