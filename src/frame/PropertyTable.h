#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "corvaneble/corvaneble.h"

namespace ble {

enum class Property : std::int32_t {
  ActiveScanning = CORVANEBLE_PROPERTY_ACTIVE_SCANNING,
  Characteristic = CORVANEBLE_PROPERTY_CHARACTERISTIC,
  CharacteristicCount = CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT,
  CharacteristicCachedValue = CORVANEBLE_PROPERTY_CHARACTERISTIC_CACHED_VALUE,
  CharacteristicCanSubscribe = CORVANEBLE_PROPERTY_CHARACTERISTIC_CAN_SUBSCRIBE,
  CharacteristicDescription = CORVANEBLE_PROPERTY_CHARACTERISTIC_DESCRIPTION,
  CharacteristicFlags = CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS,
  CharacteristicId = CORVANEBLE_PROPERTY_CHARACTERISTIC_ID,
  CharacteristicSubscribed = CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED,
  CharacteristicUserDescription = CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION,
  CharacteristicUuid = CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID,
  CharacteristicValueExponent = CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_EXPONENT,
  CharacteristicValueFormat = CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT,
  CharacteristicValueFormatCount = CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_COUNT,
  CharacteristicValueFormatIndex = CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX,
  CharacteristicValueUnit = CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT,
  DescriptorCount = CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT,
  DescriptorCachedValue = CORVANEBLE_PROPERTY_DESCRIPTOR_CACHED_VALUE,
  DescriptorDescription = CORVANEBLE_PROPERTY_DESCRIPTOR_DESCRIPTION,
  DescriptorId = CORVANEBLE_PROPERTY_DESCRIPTOR_ID,
  DescriptorUuid = CORVANEBLE_PROPERTY_DESCRIPTOR_UUID,
  Scanning = CORVANEBLE_PROPERTY_SCANNING,
  ServerId = CORVANEBLE_PROPERTY_SERVER_ID,
  ServerName = CORVANEBLE_PROPERTY_SERVER_NAME,
  Service = CORVANEBLE_PROPERTY_SERVICE,
  ServiceCount = CORVANEBLE_PROPERTY_SERVICE_COUNT,
  ServiceDescription = CORVANEBLE_PROPERTY_SERVICE_DESCRIPTION,
  ServiceId = CORVANEBLE_PROPERTY_SERVICE_ID,
  ServiceIncludedSvcIds = CORVANEBLE_PROPERTY_SERVICE_INCLUDED_SVC_IDS,
  ServiceParentSvcIds = CORVANEBLE_PROPERTY_SERVICE_PARENT_SVC_IDS,
  ServiceUuid = CORVANEBLE_PROPERTY_SERVICE_UUID,
  Timeout = CORVANEBLE_PROPERTY_TIMEOUT,
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

inline constexpr std::int32_t kVersionProperty = CORVANEBLE_PROPERTY_VERSION;
inline constexpr std::int32_t kCodePageProperty = CORVANEBLE_PROPERTY_CODE_PAGE;
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
