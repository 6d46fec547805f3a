#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "frame/ComponentBase.h"
#include "gatt/GattObjectTree.h"
#include "procedures/AttributeDiscovery.h"
#include "procedures/GattCall.h"
#include "radio/Connection.h"

namespace ble {

/// Discovers the services of the connected server and the services they include, depth first: a
/// service is announced, then (if the settings ask for it) everything it includes, then its
/// characteristics, before its next sibling. Runs on the thread that calls a method; the first
/// failure ends it and what was recorded before stays.
class ServiceDiscovery {
 public:
  struct Parts {
    ComponentBase& base;
    Connection& connection;
    GattCall& gatt;
    AttributeDiscovery& attributes;
  };

  explicit ServiceDiscovery(const Parts& parts) : parts_(parts) {}

  /// Method 5. With `includedByServiceId` the services included by that one, else the root
  /// services; and their characteristics, with descriptors if asked for.
  Status Discover(std::string_view serviceUuids, std::string_view characteristicUuids,
                  bool discoverDescriptors, std::string_view includedByServiceId);

  /// Method 8.
  Status DiscoverServices(std::string_view serviceUuids, std::string_view includedByServiceId);

 private:
  using Services = std::vector<std::shared_ptr<GattDeviceService>>;
  using Operation = AsyncOperationPtr<GattDeviceServicesResult>;

  /// One method call's way through the included services.
  struct Walk {
    SessionPtr session;
    std::vector<GattId> inclusionPath;  ///< the services being descended into, outermost first
    int descents = 0;                   ///< into services that others include
  };

  /// Where services are asked for: of the device, or included by a service.
  struct Source {
    const char* kind;  ///< "root" or "included", for the log
    std::function<Operation()> all;
    std::function<Operation(const Uuid&)> withUuid;
  };

  Status DiscoverFrom(Walk& walk, const std::vector<Uuid>& filter, const ServicePtr& parent,
                      std::vector<ServicePtr>& discovered);
  Status DiscoverRootServices(Walk& walk, const std::vector<Uuid>& filter,
                              std::vector<ServicePtr>& discovered);
  Status DiscoverIncludedServices(Walk& walk, const std::vector<Uuid>& filter,
                                  const ServicePtr& parent, std::vector<ServicePtr>& discovered);
  Status Collect(const Source& source, const std::vector<Uuid>& filter, Services& found);
  Status Register(Walk& walk, const Services& found, const ServicePtr& parent,
                  std::vector<ServicePtr>& discovered);
  Status RegisterService(Walk& walk, std::shared_ptr<GattDeviceService> object,
                         const ServicePtr& parent, ServicePtr& record);
  Status Descend(Walk& walk, const ServiceEntry& parent);

  Parts parts_;
};

}  // namespace ble
