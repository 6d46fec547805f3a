#include "procedures/AttributeDiscovery.h"

#include <algorithm>
#include <utility>

namespace ble {

using enum LogLevel;
using log_type::kDiscovery;

Status AttributeDiscovery::DiscoverCharacteristics(std::string_view serviceId,
                                                   std::string_view characteristicUuids) {
  const auto [notConnected, session] = parts_.connection.RequireConnection();
  if (!session) return notConnected;
  const auto [malformed, filter] = ParseUuidList(characteristicUuids);
  if (!malformed.Ok()) return malformed;
  const auto [noService, service] = session->tree.FindService(serviceId);
  if (!service) return noService;
  return DiscoverCharacteristicsOf(*session, service, filter);
}

Status AttributeDiscovery::DiscoverDescriptors(std::string_view serviceId,
                                               std::string_view characteristicId) {
  const auto [notConnected, session] = parts_.connection.RequireConnection();
  if (!session) return notConnected;
  const auto [noService, service] = session->tree.FindService(serviceId);
  if (!service) return noService;
  const auto [noCharacteristic, characteristic] =
      session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return noCharacteristic;
  return DiscoverDescriptorsOf(*session, *service, characteristic);
}

Status AttributeDiscovery::DiscoverCharacteristicsOf(Session& session, const ServicePtr& service,
                                                     const std::vector<Uuid>& filter) {
  if (Status status = parts_.connection.RequireSame(session); !status.Ok()) return status;
  const Quoted id{service->id.View()};
  parts_.base.log.Write(Information, kDiscovery,
                        "Beginning discovery of characteristics for service ID ", id, ".");
  Characteristics found;
  if (Status status = Collect(*service, filter, found); !status.Ok()) return status;
  for (const auto& object : found) {
    if (Status status = RegisterCharacteristic(session, object, service); !status.Ok())
      return status;
  }
  parts_.base.log.Write(Information, kDiscovery,
                        "Finished discovering characteristics for service ID ", id, ".");
  parts_.base.log.Write(Detail, kDiscovery, "Discovered ", found.size(),
                        " characteristics for service ID ", id, ".");
  return {};
}

Status AttributeDiscovery::Collect(const ServiceEntry& service, const std::vector<Uuid>& filter,
                                   Characteristics& found) {
  if (filter.empty()) {
    parts_.base.log.Write(Detail, kDiscovery, "Attempting to discover all characteristics.");
    auto [status, all] = parts_.gatt.Run(kDiscovery, [&] {
      return service.platform->GetCharacteristicsAsync(BluetoothCacheMode::Uncached);
    });
    if (status.Ok()) found = all->characteristics;
    return status;
  }
  for (const Uuid& uuid : filter) {
    const UuidText text = FormatUuid(uuid);
    parts_.base.log.Write(Detail, kDiscovery, "Attempting to discover characteristics with UUID ",
                          Quoted{text.View()}, ".");
    const auto [status, some] = parts_.gatt.Run(kDiscovery, [&] {
      return service.platform->GetCharacteristicsForUuidAsync(uuid, BluetoothCacheMode::Uncached);
    });
    if (!status.Ok()) return status;
    const Characteristics& added = some->characteristics;
    found.insert(found.end(), added.begin(), added.end());
    parts_.base.log.Write(Debug, kDiscovery, "Discovered ", added.size(),
                          " characteristics with UUID ", Quoted{text.View()}, ".");
  }
  return {};
}

Status AttributeDiscovery::RegisterCharacteristic(Session& session,
                                                  std::shared_ptr<GattCharacteristic> object,
                                                  const ServicePtr& service) {
  if (Status status = parts_.connection.RequireSame(session); !status.Ok()) return status;
  const auto [invalid, id] = GattObjectTree::MakeGattId(service->platform->AttributeHandle(),
                                                        object->AttributeHandle(), 0);
  if (!invalid.Ok()) return invalid;
  const auto [record, isNew] = session.tree.AddCharacteristic(std::move(object), service, id);
  if (!record) return failure::kTooManyAttributes;
  if (isNew || parts_.base.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.base.events.FireDiscovered(
        GattType::Characteristic,
        {service->id.c_str(), record->id.c_str(), "", record->uuidText.c_str(), record->name});
  }
  if (parts_.base.settings.Flag(Setting::AutoDiscoverDescriptors)) {
    if (Status status = DiscoverDescriptorsOf(session, *service, record); !status.Ok())
      return status;
  }
  if (Status status = parts_.connection.RequireSame(session); !status.Ok()) return status;
  session.selection.ExposeCharacteristics(service);
  return {};
}

Status AttributeDiscovery::DiscoverDescriptorsOf(Session& session, const ServiceEntry& service,
                                                 const CharacteristicPtr& characteristic) {
  if (Status status = parts_.connection.RequireSame(session); !status.Ok()) return status;
  const Quoted id{characteristic->id.View()};
  parts_.base.log.Write(Information, kDiscovery,
                        "Beginning discovery of descriptors for characteristic ID ", id, ".");
  parts_.base.log.Write(Detail, kDiscovery, "Attempting to discover all descriptors.");
  const auto [failed, found] = parts_.gatt.Run(kDiscovery, [&] {
    return characteristic->platform->GetDescriptorsAsync(BluetoothCacheMode::Uncached);
  });
  if (!failed.Ok()) return failed;
  const Descriptors& descriptors = found->descriptors;
  if (Status status = RegisterDescriptors(session, descriptors, service, characteristic);
      !status.Ok())
    return status;
  characteristic->state.Mark(lazy_mark::kDescriptorsKnown);
  parts_.base.log.Write(Information, kDiscovery,
                        "Finished discovering descriptors for characteristic ID ", id, ".");
  parts_.base.log.Write(Detail, kDiscovery, "Discovered ", descriptors.size(),
                        " descriptors for characteristic ID ", id, ".");
  return {};
}

Status AttributeDiscovery::DiscoverDescriptorsWithUuid(Session& session,
                                                       const ServiceEntry& service,
                                                       const CharacteristicPtr& characteristic,
                                                       const Uuid& uuid) {
  const Quoted name{DescriptorName(uuid)};
  const Quoted id{characteristic->id.View()};
  parts_.base.log.Write(Debug, kDiscovery, "Trying to discover the ", name,
                        " descriptor for characteristic ID ", id, ".");
  const auto [failed, found] = parts_.gatt.Run(log_type::kDebug, [&] {
    return characteristic->platform->GetDescriptorsForUuidAsync(uuid, BluetoothCacheMode::Uncached);
  });
  if (!failed.Ok()) return failed;
  const Descriptors& descriptors = found->descriptors;
  if (Status status = RegisterDescriptors(session, descriptors, service, characteristic);
      !status.Ok())
    return status;
  parts_.base.log.Write(Debug, kDiscovery, "Finished; discovered ", descriptors.size(), " ", name,
                        " descriptors for characteristic ID ", id, ".");
  return {};
}

Status AttributeDiscovery::RegisterDescriptors(Session& session, const Descriptors& objects,
                                               const ServiceEntry& service,
                                               const CharacteristicPtr& characteristic) {
  for (const auto& object : objects) {
    if (Status status = RegisterDescriptor(session, object, service, characteristic); !status.Ok())
      return status;
  }
  return {};
}

Status AttributeDiscovery::RegisterDescriptor(Session& session,
                                              std::shared_ptr<GattDescriptor> object,
                                              const ServiceEntry& service,
                                              const CharacteristicPtr& characteristic) {
  if (Status status = parts_.connection.RequireSame(session); !status.Ok()) return status;
  const auto [invalid, id] = GattObjectTree::MakeGattId(service.platform->AttributeHandle(),
                                                        characteristic->platform->AttributeHandle(),
                                                        object->AttributeHandle());
  if (!invalid.Ok()) return invalid;
  const auto [record, isNew] = session.tree.AddDescriptor(std::move(object), characteristic, id);
  if (!record) return failure::kTooManyAttributes;
  if (isNew) session.selection.ExposeDescriptors(characteristic);
  if (isNew || parts_.base.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.base.events.FireDiscovered(
        GattType::Descriptor, {service.id.c_str(), characteristic->id.c_str(), record->id.c_str(),
                               record->uuidText.c_str(), record->name});
  }
  return {};
}

Status AttributeDiscovery::EnsureDescriptorDiscovered(Session& session,
                                                      const CharacteristicPtr& characteristic,
                                                      const Uuid& uuid) {
  parts_.base.log.Write(Debug, log_type::kDebug, "Ensuring that any ", Quoted{DescriptorName(uuid)},
                        " descriptors has been discovered for characteristic ID ",
                        Quoted{characteristic->id.View()}, ".");
  const auto known = session.tree.DescriptorsOf(*characteristic);
  const auto hasUuid = [&](const DescriptorPtr& descriptor) { return descriptor->uuid == uuid; };
  if (std::any_of(known.begin(), known.end(), hasUuid)) return {};
  const auto [noService, service] =
      session.tree.FindService(characteristic->id.ServiceIdOf().View());
  if (!service) return noService;
  return DiscoverDescriptorsWithUuid(session, *service, characteristic, uuid);
}

}  // namespace ble
