#pragma once

#include <string_view>
#include <vector>

#include "frame/ErrorState.h"
#include "frame/Log.h"
#include "frame/Settings.h"
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
    ErrorState& errors;
    Events& events;
    Log& log;
    const Settings& settings;
    Connection& connection;
    GattCall& gatt;
  };

  explicit AttributeDiscovery(const Parts& parts) : parts_(parts) {}

  /// Methods 6 and 7.
  [[nodiscard]] ErrorCode DiscoverCharacteristics(std::string_view serviceId,
                                                  std::string_view characteristicUuids);
  [[nodiscard]] ErrorCode DiscoverDescriptors(std::string_view serviceId,
                                              std::string_view characteristicId);

  /// The characteristics with the listed UUIDs, in the order of the list; all when it is empty.
  [[nodiscard]] ErrorCode DiscoverCharacteristicsOf(Session& session, const ServicePtr& service,
                                                    const std::vector<Uuid>& filter);

  /// Makes sure that a kind of descriptor has been looked for: queries the device unless a record
  /// with the UUID is there already.
  [[nodiscard]] ErrorCode EnsureDescriptorDiscovered(Session& session,
                                                     const CharacteristicPtr& characteristic,
                                                     const Uuid& uuid);

 private:
  using Characteristics = std::vector<std::shared_ptr<GattCharacteristic>>;
  using Descriptors = std::vector<std::shared_ptr<GattDescriptor>>;

  ErrorCode Collect(const ServiceEntry& service, const std::vector<Uuid>& filter,
                    Characteristics& found);
  ErrorCode RegisterCharacteristic(Session& session, std::shared_ptr<GattCharacteristic> object,
                                   const ServicePtr& service);
  ErrorCode DiscoverDescriptorsOf(Session& session, const ServiceEntry& service,
                                  const CharacteristicPtr& characteristic);
  ErrorCode RegisterDescriptor(Session& session, std::shared_ptr<GattDescriptor> object,
                               const ServiceEntry& service,
                               const CharacteristicPtr& characteristic);
  ErrorCode RegisterDescriptors(Session& session, const Descriptors& objects,
                                const ServiceEntry& service,
                                const CharacteristicPtr& characteristic);
  ErrorCode DiscoverDescriptorsWithUuid(Session& session, const ServiceEntry& service,
                                        const CharacteristicPtr& characteristic, const Uuid& uuid);

  Parts parts_;
};

}  // namespace ble
