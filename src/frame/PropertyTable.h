#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ble {

enum class Property : std::int32_t {
  ActiveScanning = 1,
  Characteristic,
  CharacteristicCount,
  CharacteristicCachedValue,
  CharacteristicCanSubscribe,
  CharacteristicDescription,
  CharacteristicFlags,
  CharacteristicId,
  CharacteristicSubscribed,
  CharacteristicUserDescription,
  CharacteristicUuid,
  CharacteristicValueExponent,
  CharacteristicValueFormat,
  CharacteristicValueFormatCount,
  CharacteristicValueFormatIndex,
  CharacteristicValueUnit,
  DescriptorCount,
  DescriptorCachedValue,
  DescriptorDescription,
  DescriptorId,
  DescriptorUuid,
  Scanning,
  ServerId,
  ServerName,
  Service,
  ServiceCount,
  ServiceDescription,
  ServiceId,
  ServiceIncludedSvcIds,
  ServiceParentSvcIds,
  ServiceUuid,
  Timeout,
};

enum class PropertyType { Integer, Text, Bytes };

enum class PropertyAccess { Read, ReadWrite };

/// Which list an indexed property reads.
enum class Collection { None, Services, Characteristics, Descriptors };

struct PropertyInfo {
  Property id;
  const char* name;
  PropertyType type;
  PropertyAccess access;
  Collection collection;
};

inline constexpr std::int32_t kVersionProperty = 0;
inline constexpr std::int32_t kCodePageProperty = 2010;
inline constexpr const char* kVersionMarker = "CORVANEBLE_VERSION_20_0_7928";
inline constexpr const char* kBuildInfo = "20.0.7928";

inline constexpr auto kPropertyTable = [] {
  using enum PropertyType;
  using enum PropertyAccess;
  using enum Collection;
  using P = Property;
  return std::to_array<PropertyInfo>({
      {P::ActiveScanning, "ActiveScanning", Integer, ReadWrite, None},
      {P::Characteristic, "Characteristic", Text, ReadWrite, None},
      {P::CharacteristicCount, "CharacteristicCount", Integer, ReadWrite, None},
      {P::CharacteristicCachedValue, "CharacteristicCachedValue", Bytes, Read, Characteristics},
      {P::CharacteristicCanSubscribe, "CharacteristicCanSubscribe", Integer, Read, Characteristics},
      {P::CharacteristicDescription, "CharacteristicDescription", Text, Read, Characteristics},
      {P::CharacteristicFlags, "CharacteristicFlags", Integer, Read, Characteristics},
      {P::CharacteristicId, "CharacteristicId", Text, Read, Characteristics},
      {P::CharacteristicSubscribed, "CharacteristicSubscribed", Integer, ReadWrite,
       Characteristics},
      {P::CharacteristicUserDescription, "CharacteristicUserDescription", Text, ReadWrite,
       Characteristics},
      {P::CharacteristicUuid, "CharacteristicUuid", Text, Read, Characteristics},
      {P::CharacteristicValueExponent, "CharacteristicValueExponent", Integer, Read,
       Characteristics},
      {P::CharacteristicValueFormat, "CharacteristicValueFormat", Integer, Read, Characteristics},
      {P::CharacteristicValueFormatCount, "CharacteristicValueFormatCount", Integer, Read,
       Characteristics},
      {P::CharacteristicValueFormatIndex, "CharacteristicValueFormatIndex", Integer, ReadWrite,
       Characteristics},
      {P::CharacteristicValueUnit, "CharacteristicValueUnit", Text, Read, Characteristics},
      {P::DescriptorCount, "DescriptorCount", Integer, Read, None},
      {P::DescriptorCachedValue, "DescriptorCachedValue", Bytes, Read, Descriptors},
      {P::DescriptorDescription, "DescriptorDescription", Text, Read, Descriptors},
      {P::DescriptorId, "DescriptorId", Text, Read, Descriptors},
      {P::DescriptorUuid, "DescriptorUuid", Text, Read, Descriptors},
      {P::Scanning, "Scanning", Integer, Read, None},
      {P::ServerId, "ServerId", Text, Read, None},
      {P::ServerName, "ServerName", Text, Read, None},
      {P::Service, "Service", Text, ReadWrite, None},
      {P::ServiceCount, "ServiceCount", Integer, Read, None},
      {P::ServiceDescription, "ServiceDescription", Text, Read, Services},
      {P::ServiceId, "ServiceId", Text, Read, Services},
      {P::ServiceIncludedSvcIds, "ServiceIncludedSvcIds", Text, Read, Services},
      {P::ServiceParentSvcIds, "ServiceParentSvcIds", Text, Read, Services},
      {P::ServiceUuid, "ServiceUuid", Text, Read, Services},
      {P::Timeout, "Timeout", Integer, ReadWrite, None},
  });
}();

/// The row of a property number; null for a number without one.
constexpr const PropertyInfo* FindProperty(std::int32_t number) {
  if (number < 1 || static_cast<std::size_t>(number) > kPropertyTable.size()) return nullptr;
  return &kPropertyTable[static_cast<std::size_t>(number) - 1];
}

static_assert([] {
  for (const PropertyInfo& info : kPropertyTable) {
    if (FindProperty(static_cast<std::int32_t>(info.id)) != &info) return false;
  }
  return true;
}());

}  // namespace ble
