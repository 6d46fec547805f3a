#include "procedures/ServiceDiscovery.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

namespace ble {
namespace {

using enum LogLevel;
using log_type::kDiscovery;

/// Bounds on what a hostile server's includes can cost: each level is a level of recursion, and a
/// ladder of services that share their includes doubles the work with every rung. Services that are
/// not reached through an include do not count.
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

/// What asking a device gives that has just been released.
AsyncOperationPtr<GattDeviceServicesResult> Unreachable() {
  auto result = std::make_shared<GattDeviceServicesResult>();
  result->status = GattCommunicationStatus::Unreachable;
  return CompletedOperation(std::move(result));
}

}  // namespace

ErrorCode ServiceDiscovery::Discover(std::string_view serviceUuids,
                                     std::string_view characteristicUuids, bool discoverDescriptors,
                                     std::string_view includedByServiceId) {
  Walk walk;
  if (const ErrorCode code = parts_.connection.RequireConnection(walk.session)) return code;
  ServicePtr parent;
  if (!includedByServiceId.empty()) {
    parent = walk.session->tree.FindService(includedByServiceId);
    if (!parent) return error::kNotDiscovered;
  }
  std::vector<Uuid> serviceFilter;
  std::vector<Uuid> characteristicFilter;
  if (const ErrorCode code = ParseUuidList(serviceUuids, serviceFilter, parts_.errors)) return code;
  if (const ErrorCode code =
          ParseUuidList(characteristicUuids, characteristicFilter, parts_.errors)) {
    return code;
  }

  const RaisedDescriptorDiscovery raised(parts_.settings, discoverDescriptors);
  std::vector<ServicePtr> found;
  if (const ErrorCode code = DiscoverFrom(walk, serviceFilter, parent, found)) return code;
  if (parts_.settings.Flag(Setting::AutoDiscoverCharacteristics)) return error::kSuccess;
  for (const ServicePtr& service : found) {
    if (const ErrorCode code = parts_.attributes.DiscoverCharacteristicsOf(*walk.session, service,
                                                                           characteristicFilter)) {
      return code;
    }
  }
  return error::kSuccess;
}

ErrorCode ServiceDiscovery::DiscoverServices(std::string_view serviceUuids,
                                             std::string_view includedByServiceId) {
  Walk walk;
  if (const ErrorCode code = parts_.connection.RequireConnection(walk.session)) return code;
  std::vector<Uuid> filter;
  if (const ErrorCode code = ParseUuidList(serviceUuids, filter, parts_.errors)) return code;
  ServicePtr parent;
  if (!includedByServiceId.empty()) {
    parent = walk.session->tree.FindService(includedByServiceId);
    if (!parent) return error::kNotDiscovered;
  }
  std::vector<ServicePtr> found;
  return DiscoverFrom(walk, filter, parent, found);
}

ErrorCode ServiceDiscovery::DiscoverFrom(Walk& walk, const std::vector<Uuid>& filter,
                                         const ServicePtr& parent,
                                         std::vector<ServicePtr>& discovered) {
  if (const ErrorCode code = parts_.connection.RequireSame(*walk.session)) return code;
  return parent ? DiscoverIncludedServices(walk, filter, parent, discovered)
                : DiscoverRootServices(walk, filter, discovered);
}

ErrorCode ServiceDiscovery::DiscoverRootServices(Walk& walk, const std::vector<Uuid>& filter,
                                                 std::vector<ServicePtr>& discovered) {
  parts_.log.Write(Information, kDiscovery, "Beginning discovery of root services.");
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
  if (const ErrorCode code = Collect(source, filter, found)) return code;
  if (const ErrorCode code = Register(walk, found, nullptr, discovered)) return code;
  parts_.log.Write(Information, kDiscovery, "Finished discovering root services.");
  parts_.log.Write(Detail, kDiscovery, "Discovered ", found.size(), " root services.");
  return error::kSuccess;
}

ErrorCode ServiceDiscovery::DiscoverIncludedServices(Walk& walk, const std::vector<Uuid>& filter,
                                                     const ServicePtr& parent,
                                                     std::vector<ServicePtr>& discovered) {
  const bool descends = parts_.settings.Flag(Setting::AutoDiscoverIncludedServices);
  if (descends) {
    if (const ErrorCode code = Descend(walk, *parent)) return code;
  }
  const Quoted id{parent->id.View()};
  parts_.log.Write(Information, kDiscovery,
                   "Beginning discovery of services included by service ID ", id, ".");
  GattDeviceService& service = *parent->platform;
  const Source source{
      "included", [&] { return service.GetIncludedServicesAsync(BluetoothCacheMode::Uncached); },
      [&](const Uuid& uuid) {
        return service.GetIncludedServicesForUuidAsync(uuid, BluetoothCacheMode::Uncached);
      }};
  Services found;
  if (const ErrorCode code = Collect(source, filter, found)) return code;
  if (const ErrorCode code = Register(walk, found, parent, discovered)) return code;
  if (descends) walk.inclusionPath.pop_back();
  parts_.log.Write(Information, kDiscovery, "Finished discovering services included by service ID ",
                   id, ".");
  parts_.log.Write(Detail, kDiscovery, "Discovered ", found.size(),
                   " services included by service ID ", id, ".");
  return error::kSuccess;
}

ErrorCode ServiceDiscovery::Descend(Walk& walk, const ServiceEntry& parent) {
  std::vector<GattId>& path = walk.inclusionPath;
  if (std::find(path.begin(), path.end(), parent.id) != path.end()) {
    std::string text = Concat("A cycle of included services was detected: ", parent.id.View());
    for (const GattId& id : path)
      text += Concat(" < ", id.View());
    return parts_.errors.Raise(error::kInclusionCycle, text);
  }
  const bool isIncluded = !path.empty();
  if (path.size() == kDeepestInclusion || (isIncluded && ++walk.descents > kMostDescents)) {
    return parts_.errors.Raise(failure::kTooManyInclusions);
  }
  path.push_back(parent.id);
  return error::kSuccess;
}

ErrorCode ServiceDiscovery::Collect(const Source& source, const std::vector<Uuid>& filter,
                                    Services& found) {
  const std::string_view kind = source.kind;
  if (filter.empty()) {
    parts_.log.Write(Detail, kDiscovery, "Attempting to discover all ", kind, " services.");
    auto all = parts_.gatt.Run(kDiscovery, source.all);
    if (all.code == error::kSuccess) found = all.result->services;
    return all.code;
  }
  for (const Uuid& uuid : filter) {
    const UuidText text = FormatUuid(uuid);
    parts_.log.Write(Detail, kDiscovery, "Attempting to discover ", kind, " services with UUID ",
                     Quoted{text.View()}, ".");
    const auto some = parts_.gatt.Run(kDiscovery, [&] { return source.withUuid(uuid); });
    if (some.code != error::kSuccess) return some.code;
    const Services& added = some.result->services;
    found.insert(found.end(), added.begin(), added.end());
    parts_.log.Write(Debug, kDiscovery, "Discovered ", added.size(), " ", kind,
                     " services with UUID ", Quoted{text.View()}, ".");
  }
  return error::kSuccess;
}

ErrorCode ServiceDiscovery::Register(Walk& walk, const Services& found, const ServicePtr& parent,
                                     std::vector<ServicePtr>& discovered) {
  for (const auto& object : found) {
    ServicePtr record;
    if (const ErrorCode code = RegisterService(walk, object, parent, record)) return code;
    discovered.push_back(std::move(record));
  }
  return error::kSuccess;
}

ErrorCode ServiceDiscovery::RegisterService(Walk& walk, std::shared_ptr<GattDeviceService> object,
                                            const ServicePtr& parent, ServicePtr& record) {
  if (const ErrorCode code = parts_.connection.RequireSame(*walk.session)) return code;
  GattId id;
  if (const ErrorCode code = walk.session->tree.MakeGattId(object->AttributeHandle(), 0, 0, id)) {
    return code;
  }
  bool isNew = false;
  std::tie(record, isNew) = walk.session->tree.AddService(std::move(object), id);
  if (!record) return parts_.errors.Raise(failure::kTooManyAttributes);
  if (parent) walk.session->tree.Link(record, parent);
  if (isNew || parts_.settings.Flag(Setting::IncludeRediscovered)) {
    parts_.events.FireDiscovered(
        GattType::Service, {record->id.c_str(), "", "", record->uuidText.c_str(), record->name});
  }
  if (parts_.settings.Flag(Setting::AutoDiscoverIncludedServices)) {
    std::vector<ServicePtr> included;
    if (const ErrorCode code = DiscoverIncludedServices(walk, {}, record, included)) return code;
  }
  if (parts_.settings.Flag(Setting::AutoDiscoverCharacteristics)) {
    return parts_.attributes.DiscoverCharacteristicsOf(*walk.session, record, {});
  }
  return error::kSuccess;
}

}  // namespace ble
