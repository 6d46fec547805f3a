#include "procedures/ServiceDiscovery.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

namespace ble {
namespace {

using enum LogLevel;
using log_type::kDiscovery;

/// Limits for the includes of a hostile server: each level is a level of recursion, and includes
/// that services share double the work with every level. Services that are not reached through an
/// include do not count.
constexpr std::size_t kDeepestInclusion = 64;
constexpr int kMostDescents = 4096;

/// Raises `AutoDiscoverDescriptors` while it lives.
class RaisedDescriptorDiscovery {
 public:
  RaisedDescriptorDiscovery(Settings& settings, bool raise)
      : settings_(settings), before_(settings.Flag(Setting::AutoDiscoverDescriptors)) {
    settings_.SetInteger(Setting::AutoDiscoverDescriptors, before_ || raise ? 1 : 0);
  }
  ~RaisedDescriptorDiscovery() {
    settings_.SetInteger(Setting::AutoDiscoverDescriptors, before_ ? 1 : 0);
  }
  RaisedDescriptorDiscovery(const RaisedDescriptorDiscovery&) = delete;
  RaisedDescriptorDiscovery& operator=(const RaisedDescriptorDiscovery&) = delete;

 private:
  Settings& settings_;
  bool before_;
};

/// The service whose included services are asked for; null where `id` is empty, for root services.
Result<ServicePtr> FindParent(const Session& session, std::string_view id) {
  if (id.empty()) return ServicePtr();
  return session.tree.FindService(id);
}

/// What asking a device gives that has just been released.
AsyncOperationPtr<GattDeviceServicesResult> Unreachable() {
  auto result = std::make_shared<GattDeviceServicesResult>();
  result->status = GattCommunicationStatus::Unreachable;
  return CompletedOperation(std::move(result));
}

}  // namespace

Status ServiceDiscovery::Discover(std::string_view serviceUuids,
                                  std::string_view characteristicUuids, bool discoverDescriptors,
                                  std::string_view includedByServiceId) {
  const auto [notConnected, session] = parts_.connection.RequireConnection();
  if (!session) return notConnected;
  Walk walk{session, {}, 0};
  const auto [noParent, parent] = FindParent(*session, includedByServiceId);
  if (!noParent.Ok()) return noParent;
  const auto [badServices, serviceFilter] = ParseUuidList(serviceUuids);
  if (!badServices.Ok()) return badServices;
  const auto [badCharacteristics, characteristicFilter] = ParseUuidList(characteristicUuids);
  if (!badCharacteristics.Ok()) return badCharacteristics;

  const RaisedDescriptorDiscovery raised(parts_.base.settings, discoverDescriptors);
  std::vector<ServicePtr> found;
  if (Status status = DiscoverFrom(walk, serviceFilter, parent, found); !status.Ok()) return status;
  if (parts_.base.settings.Flag(Setting::AutoDiscoverCharacteristics)) return {};
  for (const ServicePtr& service : found) {
    if (Status status = parts_.attributes.DiscoverCharacteristicsOf(*walk.session, service,
                                                                    characteristicFilter);
        !status.Ok())
      return status;
  }
  return {};
}

Status ServiceDiscovery::DiscoverServices(std::string_view serviceUuids,
                                          std::string_view includedByServiceId) {
  const auto [notConnected, session] = parts_.connection.RequireConnection();
  if (!session) return notConnected;
  Walk walk{session, {}, 0};
  const auto [malformed, filter] = ParseUuidList(serviceUuids);
  if (!malformed.Ok()) return malformed;
  const auto [noParent, parent] = FindParent(*session, includedByServiceId);
  if (!noParent.Ok()) return noParent;
  std::vector<ServicePtr> found;
  return DiscoverFrom(walk, filter, parent, found);
}

Status ServiceDiscovery::DiscoverFrom(Walk& walk, const std::vector<Uuid>& filter,
                                      const ServicePtr& parent,
                                      std::vector<ServicePtr>& discovered) {
  if (Status status = parts_.connection.RequireSame(*walk.session); !status.Ok()) return status;
  return parent ? DiscoverIncludedServices(walk, filter, parent, discovered)
                : DiscoverRootServices(walk, filter, discovered);
}

Status ServiceDiscovery::DiscoverRootServices(Walk& walk, const std::vector<Uuid>& filter,
                                              std::vector<ServicePtr>& discovered) {
  parts_.base.log.Write(Information, kDiscovery, "Beginning discovery of root services.");
  const auto ask = [&](auto query) {
    const Session::DevicePtr device = walk.session->Device();
    return device ? query(*device) : Unreachable();
  };
  const Source source{"root",
                      [&] {
                        return ask([](BluetoothLEDevice& device) {
                          return device.GetGattServicesAsync(BluetoothCacheMode::Uncached);
                        });
                      },
                      [&](const Uuid& uuid) {
                        return ask([&](BluetoothLEDevice& device) {
                          return device.GetGattServicesForUuidAsync(uuid,
                                                                    BluetoothCacheMode::Uncached);
                        });
                      }};
  Services found;
  if (Status status = Collect(source, filter, found); !status.Ok()) return status;
  if (Status status = Register(walk, found, nullptr, discovered); !status.Ok()) return status;
  parts_.base.log.Write(Information, kDiscovery, "Finished discovering root services.");
  parts_.base.log.Write(Detail, kDiscovery, "Discovered ", found.size(), " root services.");
  return {};
}

Status ServiceDiscovery::DiscoverIncludedServices(Walk& walk, const std::vector<Uuid>& filter,
                                                  const ServicePtr& parent,
                                                  std::vector<ServicePtr>& discovered) {
  const bool descends = parts_.base.settings.Flag(Setting::AutoDiscoverIncludedServices);
  if (descends) {
    if (Status status = Descend(walk, *parent); !status.Ok()) return status;
  }
  const Quoted id{parent->id.View()};
  parts_.base.log.Write(Information, kDiscovery,
                        "Beginning discovery of services included by service ID ", id, ".");
  GattDeviceService& service = *parent->platform;
  const Source source{
      "included", [&] { return service.GetIncludedServicesAsync(BluetoothCacheMode::Uncached); },
      [&](const Uuid& uuid) {
        return service.GetIncludedServicesForUuidAsync(uuid, BluetoothCacheMode::Uncached);
      }};
  Services found;
  if (Status status = Collect(source, filter, found); !status.Ok()) return status;
  if (Status status = Register(walk, found, parent, discovered); !status.Ok()) return status;
  if (descends) walk.inclusionPath.pop_back();
  parts_.base.log.Write(Information, kDiscovery,
                        "Finished discovering services included by service ID ", id, ".");
  parts_.base.log.Write(Detail, kDiscovery, "Discovered ", found.size(),
                        " services included by service ID ", id, ".");
  return {};
}

Status ServiceDiscovery::Descend(Walk& walk, const ServiceEntry& parent) {
  std::vector<GattId>& path = walk.inclusionPath;
  if (std::find(path.begin(), path.end(), parent.id) != path.end()) {
    std::string text = Concat("A cycle of included services was detected: ", parent.id.View());
    for (const GattId& id : path)
      text += Concat(" < ", id.View());
    return {error::kInclusionCycle, std::move(text)};
  }
  const bool isIncluded = !path.empty();
  if (path.size() == kDeepestInclusion || (isIncluded && ++walk.descents > kMostDescents)) {
    return failure::kTooManyInclusions;
  }
  path.push_back(parent.id);
  return {};
}

Status ServiceDiscovery::Collect(const Source& source, const std::vector<Uuid>& filter,
                                 Services& found) {
  const std::string_view kind = source.kind;
  if (filter.empty()) {
    parts_.base.log.Write(Detail, kDiscovery, "Attempting to discover all ", kind, " services.");
    auto [status, all] = parts_.gatt.Run(kDiscovery, source.all);
    if (status.Ok()) found = all->services;
    return status;
  }
  for (const Uuid& uuid : filter) {
    const UuidText text = FormatUuid(uuid);
    parts_.base.log.Write(Detail, kDiscovery, "Attempting to discover ", kind,
                          " services with UUID ", Quoted{text.View()}, ".");
    const auto [status, some] = parts_.gatt.Run(kDiscovery, [&] { return source.withUuid(uuid); });
    if (!status.Ok()) return status;
    const Services& added = some->services;
    found.insert(found.end(), added.begin(), added.end());
    parts_.base.log.Write(Debug, kDiscovery, "Discovered ", added.size(), " ", kind,
                          " services with UUID ", Quoted{text.View()}, ".");
  }
  return {};
}

Status ServiceDiscovery::Register(Walk& walk, const Services& found, const ServicePtr& parent,
                                  std::vector<ServicePtr>& discovered) {
  for (const auto& object : found) {
    ServicePtr record;
    if (Status status = RegisterService(walk, object, parent, record); !status.Ok()) return status;
    discovered.push_back(std::move(record));
  }
  return {};
}

Status ServiceDiscovery::RegisterService(Walk& walk, std::shared_ptr<GattDeviceService> object,
                                         const ServicePtr& parent, ServicePtr& record) {
  if (Status status = parts_.connection.RequireSame(*walk.session); !status.Ok()) return status;
  const auto [invalid, id] = GattObjectTree::MakeGattId(object->AttributeHandle(), 0, 0);
  if (!invalid.Ok()) return invalid;
  bool isNew = false;
  std::tie(record, isNew) = walk.session->tree.AddService(std::move(object), id);
  if (!record) return failure::kTooManyAttributes;
  if (parent) walk.session->tree.Link(record, parent);
  if (isNew || parts_.base.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.base.events.FireDiscovered(
        GattType::Service, {record->id.c_str(), "", "", record->uuidText.c_str(), record->name});
  }
  if (parts_.base.settings.Flag(Setting::AutoDiscoverIncludedServices)) {
    std::vector<ServicePtr> included;
    if (Status status = DiscoverIncludedServices(walk, {}, record, included); !status.Ok())
      return status;
  }
  if (parts_.base.settings.Flag(Setting::AutoDiscoverCharacteristics)) {
    return parts_.attributes.DiscoverCharacteristicsOf(*walk.session, record, {});
  }
  return {};
}

}  // namespace ble
