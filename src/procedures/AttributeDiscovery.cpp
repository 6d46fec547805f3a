#include "procedures/AttributeDiscovery.h"

#include <algorithm>
#include <utility>

namespace corvaneble {

using enum LogLevel;
using log_type::kDiscovery;
using platform::BluetoothCacheMode;

ErrorCode AttributeDiscovery::DiscoverCharacteristics(std::string_view serviceId,
                                                      std::string_view characteristicUuids) {
  if (const ErrorCode code = parts_.connection.RequireConnection()) return code;
  const DevicePtr device = parts_.connection.Device();
  std::vector<Uuid> filter;
  if (const ErrorCode code = ParseUuidList(characteristicUuids, filter, parts_.errors)) return code;
  const ServicePtr service = parts_.tree.FindService(serviceId);
  if (!service) return error::kNotDiscovered;
  return DiscoverCharacteristicsOf(device, service, filter);
}

ErrorCode AttributeDiscovery::DiscoverDescriptors(std::string_view serviceId,
                                                  std::string_view characteristicId) {
  if (const ErrorCode code = parts_.connection.RequireConnection()) return code;
  const DevicePtr device = parts_.connection.Device();
  const ServicePtr service = parts_.tree.FindService(serviceId);
  if (!service) return error::kNotDiscovered;
  const CharacteristicPtr characteristic =
      parts_.tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return error::kNotDiscovered;
  return DiscoverDescriptorsOf(device, *service, characteristic);
}

ErrorCode AttributeDiscovery::DiscoverCharacteristicsOf(const DevicePtr& device,
                                                        const ServicePtr& service,
                                                        const std::vector<Uuid>& filter) {
  if (const ErrorCode code = parts_.connection.RequireSame(device)) return code;
  const Quoted id{service->id.View()};
  parts_.log.Write(Information, kDiscovery,
                   "Beginning discovery of characteristics for service ID ", id, ".");
  Characteristics found;
  if (const ErrorCode code = Collect(*service, filter, found)) return code;
  for (const auto& object : found) {
    if (const ErrorCode code = RegisterCharacteristic(device, object, service)) return code;
  }
  parts_.log.Write(Information, kDiscovery, "Finished discovering characteristics for service ID ",
                   id, ".");
  parts_.log.Write(Detail, kDiscovery, "Discovered ", found.size(),
                   " characteristics for service ID ", id, ".");
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::Collect(const ServiceEntry& service, const std::vector<Uuid>& filter,
                                      Characteristics& found) {
  if (filter.empty()) {
    parts_.log.Write(Detail, kDiscovery, "Attempting to discover all characteristics.");
    auto all = parts_.gatt.Run(kDiscovery, [&] {
      return service.platform->GetCharacteristicsAsync(BluetoothCacheMode::Uncached);
    });
    if (all.code == error::kSuccess) found = all.result->characteristics;
    return all.code;
  }
  for (const Uuid& uuid : filter) {
    const UuidText text = FormatUuid(uuid);
    parts_.log.Write(Detail, kDiscovery, "Attempting to discover characteristics with UUID ",
                     Quoted{text.View()}, ".");
    const auto some = parts_.gatt.Run(kDiscovery, [&] {
      return service.platform->GetCharacteristicsForUuidAsync(uuid, BluetoothCacheMode::Uncached);
    });
    if (some.code != error::kSuccess) return some.code;
    const Characteristics& added = some.result->characteristics;
    found.insert(found.end(), added.begin(), added.end());
    parts_.log.Write(Debug, kDiscovery, "Discovered ", added.size(), " characteristics with UUID ",
                     Quoted{text.View()}, ".");
  }
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::RegisterCharacteristic(
    const DevicePtr& device, std::shared_ptr<platform::GattCharacteristic> object,
    const ServicePtr& service) {
  if (const ErrorCode code = parts_.connection.RequireSame(device)) return code;
  GattId id;
  if (const ErrorCode code = parts_.tree.MakeGattId(service->platform->AttributeHandle(),
                                                    object->AttributeHandle(), 0, id)) {
    return code;
  }
  const auto [record, isNew] = parts_.tree.AddCharacteristic(std::move(object), service, id);
  if (isNew || parts_.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.events.FireDiscovered(
        GattType::Characteristic,
        {service->id.c_str(), record->id.c_str(), "", record->uuidText.c_str(), record->name});
  }
  if (parts_.settings.Flag(Setting::AutoDiscoverDescriptors)) {
    if (const ErrorCode code = DiscoverDescriptorsOf(device, *service, record)) return code;
  }
  if (const ErrorCode code = parts_.connection.RequireSame(device)) return code;
  parts_.selection.ExposeCharacteristics(service);
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::DiscoverDescriptorsOf(const DevicePtr& device,
                                                    const ServiceEntry& service,
                                                    const CharacteristicPtr& characteristic) {
  if (const ErrorCode code = parts_.connection.RequireSame(device)) return code;
  const Quoted id{characteristic->id.View()};
  parts_.log.Write(Information, kDiscovery,
                   "Beginning discovery of descriptors for characteristic ID ", id, ".");
  parts_.log.Write(Detail, kDiscovery, "Attempting to discover all descriptors.");
  const auto found = parts_.gatt.Run(kDiscovery, [&] {
    return characteristic->platform->GetDescriptorsAsync(BluetoothCacheMode::Uncached);
  });
  if (found.code != error::kSuccess) return found.code;
  const Descriptors& descriptors = found.result->descriptors;
  if (const ErrorCode code = RegisterDescriptors(device, descriptors, service, characteristic)) {
    return code;
  }
  characteristic->state.Mark(lazy_mark::kDescriptorsKnown);
  parts_.log.Write(Information, kDiscovery,
                   "Finished discovering descriptors for characteristic ID ", id, ".");
  parts_.log.Write(Detail, kDiscovery, "Discovered ", descriptors.size(),
                   " descriptors for characteristic ID ", id, ".");
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::DiscoverDescriptorsWithUuid(const ServiceEntry& service,
                                                          const CharacteristicPtr& characteristic,
                                                          const Uuid& uuid) {
  const DevicePtr device = parts_.connection.Device();
  const Quoted name{DescriptorName(uuid)};
  const Quoted id{characteristic->id.View()};
  parts_.log.Write(Debug, kDiscovery, "Trying to discover the ", name,
                   " descriptor for characteristic ID ", id, ".");
  const auto found = parts_.gatt.Run(log_type::kDebug, [&] {
    return characteristic->platform->GetDescriptorsForUuidAsync(uuid, BluetoothCacheMode::Uncached);
  });
  if (found.code != error::kSuccess) return found.code;
  const Descriptors& descriptors = found.result->descriptors;
  if (const ErrorCode code = RegisterDescriptors(device, descriptors, service, characteristic))
    return code;
  parts_.log.Write(Debug, kDiscovery, "Finished; discovered ", descriptors.size(), " ", name,
                   " descriptors for characteristic ID ", id, ".");
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::RegisterDescriptors(const DevicePtr& device,
                                                  const Descriptors& objects,
                                                  const ServiceEntry& service,
                                                  const CharacteristicPtr& characteristic) {
  for (const auto& object : objects) {
    if (const ErrorCode code = RegisterDescriptor(device, object, service, characteristic))
      return code;
  }
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::RegisterDescriptor(const DevicePtr& device,
                                                 std::shared_ptr<platform::GattDescriptor> object,
                                                 const ServiceEntry& service,
                                                 const CharacteristicPtr& characteristic) {
  if (const ErrorCode code = parts_.connection.RequireSame(device)) return code;
  GattId id;
  if (const ErrorCode code = parts_.tree.MakeGattId(service.platform->AttributeHandle(),
                                                    characteristic->platform->AttributeHandle(),
                                                    object->AttributeHandle(), id)) {
    return code;
  }
  const auto [record, isNew] = parts_.tree.AddDescriptor(std::move(object), characteristic, id);
  if (isNew) parts_.selection.ExposeDescriptors(characteristic);
  if (isNew || parts_.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.events.FireDiscovered(
        GattType::Descriptor, {service.id.c_str(), characteristic->id.c_str(), record->id.c_str(),
                               record->uuidText.c_str(), record->name});
  }
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::EnsureDescriptorDiscovered(const CharacteristicPtr& characteristic,
                                                         const Uuid& uuid) {
  parts_.log.Write(Debug, log_type::kDebug, "Ensuring that any ", Quoted{DescriptorName(uuid)},
                   " descriptors has been discovered for characteristic ID ",
                   Quoted{characteristic->id.View()}, ".");
  const auto known = parts_.tree.DescriptorsOf(*characteristic);
  const auto hasUuid = [&](const DescriptorPtr& descriptor) { return descriptor->uuid == uuid; };
  if (std::any_of(known.begin(), known.end(), hasUuid)) return error::kSuccess;
  const ServicePtr service = parts_.tree.FindService(characteristic->id.ServiceIdOf().View());
  if (!service) return error::kNotDiscovered;
  return DiscoverDescriptorsWithUuid(*service, characteristic, uuid);
}

}  // namespace corvaneble
