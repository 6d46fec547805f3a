#include "procedures/AttributeDiscovery.h"

#include <algorithm>
#include <utility>

namespace ble {

using enum LogLevel;
using log_type::kDiscovery;

ErrorCode AttributeDiscovery::DiscoverCharacteristics(std::string_view serviceId,
                                                      std::string_view characteristicUuids) {
  SessionPtr session;
  if (const ErrorCode code = parts_.connection.RequireConnection(session)) return code;
  std::vector<Uuid> filter;
  if (const ErrorCode code = ParseUuidList(characteristicUuids, filter, parts_.errors)) return code;
  const ServicePtr service = session->tree.FindService(serviceId);
  if (!service) return error::kNotDiscovered;
  return DiscoverCharacteristicsOf(*session, service, filter);
}

ErrorCode AttributeDiscovery::DiscoverDescriptors(std::string_view serviceId,
                                                  std::string_view characteristicId) {
  SessionPtr session;
  if (const ErrorCode code = parts_.connection.RequireConnection(session)) return code;
  const ServicePtr service = session->tree.FindService(serviceId);
  if (!service) return error::kNotDiscovered;
  const CharacteristicPtr characteristic =
      session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return error::kNotDiscovered;
  return DiscoverDescriptorsOf(*session, *service, characteristic);
}

ErrorCode AttributeDiscovery::DiscoverCharacteristicsOf(Session& session, const ServicePtr& service,
                                                        const std::vector<Uuid>& filter) {
  if (const ErrorCode code = parts_.connection.RequireSame(session)) return code;
  const Quoted id{service->id.View()};
  parts_.log.Write(Information, kDiscovery,
                   "Beginning discovery of characteristics for service ID ", id, ".");
  Characteristics found;
  if (const ErrorCode code = Collect(*service, filter, found)) return code;
  for (const auto& object : found) {
    if (const ErrorCode code = RegisterCharacteristic(session, object, service)) return code;
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

ErrorCode AttributeDiscovery::RegisterCharacteristic(Session& session,
                                                     std::shared_ptr<GattCharacteristic> object,
                                                     const ServicePtr& service) {
  if (const ErrorCode code = parts_.connection.RequireSame(session)) return code;
  GattId id;
  if (const ErrorCode code = session.tree.MakeGattId(service->platform->AttributeHandle(),
                                                     object->AttributeHandle(), 0, id)) {
    return code;
  }
  const auto [record, isNew] = session.tree.AddCharacteristic(std::move(object), service, id);
  if (!record) return parts_.errors.Raise(failure::kTooManyAttributes);
  if (isNew || parts_.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.events.FireDiscovered(
        GattType::Characteristic,
        {service->id.c_str(), record->id.c_str(), "", record->uuidText.c_str(), record->name});
  }
  if (parts_.settings.Flag(Setting::AutoDiscoverDescriptors)) {
    if (const ErrorCode code = DiscoverDescriptorsOf(session, *service, record)) return code;
  }
  if (const ErrorCode code = parts_.connection.RequireSame(session)) return code;
  session.selection.ExposeCharacteristics(service);
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::DiscoverDescriptorsOf(Session& session, const ServiceEntry& service,
                                                    const CharacteristicPtr& characteristic) {
  if (const ErrorCode code = parts_.connection.RequireSame(session)) return code;
  const Quoted id{characteristic->id.View()};
  parts_.log.Write(Information, kDiscovery,
                   "Beginning discovery of descriptors for characteristic ID ", id, ".");
  parts_.log.Write(Detail, kDiscovery, "Attempting to discover all descriptors.");
  const auto found = parts_.gatt.Run(kDiscovery, [&] {
    return characteristic->platform->GetDescriptorsAsync(BluetoothCacheMode::Uncached);
  });
  if (found.code != error::kSuccess) return found.code;
  const Descriptors& descriptors = found.result->descriptors;
  if (const ErrorCode code = RegisterDescriptors(session, descriptors, service, characteristic)) {
    return code;
  }
  characteristic->state.Mark(lazy_mark::kDescriptorsKnown);
  parts_.log.Write(Information, kDiscovery,
                   "Finished discovering descriptors for characteristic ID ", id, ".");
  parts_.log.Write(Detail, kDiscovery, "Discovered ", descriptors.size(),
                   " descriptors for characteristic ID ", id, ".");
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::DiscoverDescriptorsWithUuid(Session& session,
                                                          const ServiceEntry& service,
                                                          const CharacteristicPtr& characteristic,
                                                          const Uuid& uuid) {
  const Quoted name{DescriptorName(uuid)};
  const Quoted id{characteristic->id.View()};
  parts_.log.Write(Debug, kDiscovery, "Trying to discover the ", name,
                   " descriptor for characteristic ID ", id, ".");
  const auto found = parts_.gatt.Run(log_type::kDebug, [&] {
    return characteristic->platform->GetDescriptorsForUuidAsync(uuid, BluetoothCacheMode::Uncached);
  });
  if (found.code != error::kSuccess) return found.code;
  const Descriptors& descriptors = found.result->descriptors;
  if (const ErrorCode code = RegisterDescriptors(session, descriptors, service, characteristic))
    return code;
  parts_.log.Write(Debug, kDiscovery, "Finished; discovered ", descriptors.size(), " ", name,
                   " descriptors for characteristic ID ", id, ".");
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::RegisterDescriptors(Session& session, const Descriptors& objects,
                                                  const ServiceEntry& service,
                                                  const CharacteristicPtr& characteristic) {
  for (const auto& object : objects) {
    if (const ErrorCode code = RegisterDescriptor(session, object, service, characteristic))
      return code;
  }
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::RegisterDescriptor(Session& session,
                                                 std::shared_ptr<GattDescriptor> object,
                                                 const ServiceEntry& service,
                                                 const CharacteristicPtr& characteristic) {
  if (const ErrorCode code = parts_.connection.RequireSame(session)) return code;
  GattId id;
  if (const ErrorCode code = session.tree.MakeGattId(service.platform->AttributeHandle(),
                                                     characteristic->platform->AttributeHandle(),
                                                     object->AttributeHandle(), id)) {
    return code;
  }
  const auto [record, isNew] = session.tree.AddDescriptor(std::move(object), characteristic, id);
  if (!record) return parts_.errors.Raise(failure::kTooManyAttributes);
  if (isNew) session.selection.ExposeDescriptors(characteristic);
  if (isNew || parts_.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.events.FireDiscovered(
        GattType::Descriptor, {service.id.c_str(), characteristic->id.c_str(), record->id.c_str(),
                               record->uuidText.c_str(), record->name});
  }
  return error::kSuccess;
}

ErrorCode AttributeDiscovery::EnsureDescriptorDiscovered(Session& session,
                                                         const CharacteristicPtr& characteristic,
                                                         const Uuid& uuid) {
  parts_.log.Write(Debug, log_type::kDebug, "Ensuring that any ", Quoted{DescriptorName(uuid)},
                   " descriptors has been discovered for characteristic ID ",
                   Quoted{characteristic->id.View()}, ".");
  const auto known = session.tree.DescriptorsOf(*characteristic);
  const auto hasUuid = [&](const DescriptorPtr& descriptor) { return descriptor->uuid == uuid; };
  if (std::any_of(known.begin(), known.end(), hasUuid)) return error::kSuccess;
  const ServicePtr service = session.tree.FindService(characteristic->id.ServiceIdOf().View());
  if (!service) return error::kNotDiscovered;
  return DiscoverDescriptorsWithUuid(session, *service, characteristic, uuid);
}

}  // namespace ble
