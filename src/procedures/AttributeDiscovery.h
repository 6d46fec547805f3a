#pragma once

#include <string_view>
#include <vector>

#include "frame/ComponentBase.h"
#include "gatt/GattObjectTree.h"
#include "procedures/GattCall.h"
#include "radio/Connection.h"

namespace ble {

/// Discovers the characteristics of a service and the descriptors of a characteristic, records them
/// and announces them. Always asks the device, never a cache. Runs on the thread that calls a
/// method; the first failure ends it and what was recorded before stays. Ends with 605 when the
/// session is over.
class AttributeDiscovery {
 public:
  struct Parts {
    ComponentBase& base;
    Connection& connection;
    GattCall& gatt;
  };

  explicit AttributeDiscovery(const Parts& parts) : parts_(parts) {}

  /// Methods 6 and 7.
  Status DiscoverCharacteristics(std::string_view serviceId, std::string_view characteristicUuids);
  Status DiscoverDescriptors(std::string_view serviceId, std::string_view characteristicId);

  /// The characteristics with the listed UUIDs, in the order of the list; all when it is empty.
  Status DiscoverCharacteristicsOf(Session& session, const ServicePtr& service,
                                   const std::vector<Uuid>& filter);

  /// Makes sure that a kind of descriptor has been looked for: queries the device unless a record
  /// with the UUID is there already.
  Status EnsureDescriptorDiscovered(Session& session, const CharacteristicPtr& characteristic,
                                    const Uuid& uuid);

 private:
  using Characteristics = std::vector<std::shared_ptr<GattCharacteristic>>;
  using Descriptors = std::vector<std::shared_ptr<GattDescriptor>>;

  Status Collect(const ServiceEntry& service, const std::vector<Uuid>& filter,
                 Characteristics& found);
  Status RegisterCharacteristic(Session& session, std::shared_ptr<GattCharacteristic> object,
                                const ServicePtr& service);
  Status DiscoverDescriptorsOf(Session& session, const ServiceEntry& service,
                               const CharacteristicPtr& characteristic);
  Status RegisterDescriptor(Session& session, std::shared_ptr<GattDescriptor> object,
                            const ServiceEntry& service, const CharacteristicPtr& characteristic);
  Status RegisterDescriptors(Session& session, const Descriptors& objects,
                             const ServiceEntry& service, const CharacteristicPtr& characteristic);
  Status DiscoverDescriptorsWithUuid(Session& session, const ServiceEntry& service,
                                     const CharacteristicPtr& characteristic, const Uuid& uuid);

  Parts parts_;
};

}  // namespace ble
