#include "procedures/ValueTarget.h"

#include <utility>

namespace ble {

[[gnu::hot]] Result<ValueTarget> FindValueTarget(const ValueIds& ids,
                                                 const Connection& connection) {
  auto [notConnected, session] = connection.RequireConnection();
  if (!session) return notConnected;
  const GattObjectTree& tree = session->tree;
  if (ids.service.empty()) return failure::kNoServiceId;
  if (ids.characteristic.empty()) return failure::kNoCharacteristicId;
  if (ids.descriptor.empty()) {
    auto [missing, characteristic] = tree.FindCharacteristic(ids.service, ids.characteristic);
    if (characteristic) return ValueTarget{std::move(session), std::move(characteristic), nullptr};
    const auto [noService, service] = tree.FindService(ids.service);
    return service ? missing : noService;  // a missing service is reported first
  }
  if (auto [missing, service] = tree.FindService(ids.service); !service) return missing;
  // A descriptor's characteristic may belong to any service, as long as it is known.
  if (Status status = tree.RequireCharacteristic(ids.service, ids.characteristic); !status.Ok()) {
    return status;
  }
  auto [missing, descriptor] = tree.FindDescriptor(ids.characteristic, ids.descriptor);
  if (!descriptor) return missing;
  return ValueTarget{std::move(session), nullptr, std::move(descriptor)};
}

AttributeNames NamesOf(const ValueIds& ids, const ValueTarget& target) {
  const auto names = [&](const auto& entry) {
    return AttributeNames{ids.service.c_str(), ids.characteristic.c_str(), ids.descriptor.c_str(),
                          entry.uuidText.c_str(), entry.name};
  };
  return target.descriptor ? names(*target.descriptor) : names(*target.characteristic);
}

}  // namespace ble
