#include "procedures/ValueTarget.h"

namespace ble {

[[gnu::hot]] ErrorCode FindValueTarget(const ValueIds& ids, const Connection& connection,
                                       ErrorState& errors, ValueTarget& target) {
  if (const ErrorCode code = connection.RequireConnection(target.session)) return code;
  const GattObjectTree& tree = target.session->tree;
  if (ids.service.empty()) return errors.Raise(failure::kNoServiceId);
  if (ids.characteristic.empty()) return errors.Raise(failure::kNoCharacteristicId);
  if (ids.descriptor.empty()) {
    // A characteristic that is known has a service that is known.
    target.characteristic = tree.FindCharacteristic(ids.service, ids.characteristic);
    if (target.characteristic) return error::kSuccess;
    (void)tree.FindService(ids.service);  // a missing service is the first thing to be told of
    return error::kNotDiscovered;
  }
  if (!tree.FindService(ids.service)) return error::kNotDiscovered;
  // A descriptor's characteristic may belong to any service, as long as it is known.
  if (const ErrorCode code = tree.RequireCharacteristic(ids.service, ids.characteristic)) {
    return code;
  }
  target.descriptor = tree.FindDescriptor(ids.characteristic, ids.descriptor);
  return target.descriptor ? error::kSuccess : error::kNotDiscovered;
}

AttributeNames NamesOf(const ValueIds& ids, const ValueTarget& target) {
  const auto names = [&](const auto& entry) {
    return AttributeNames{ids.service.c_str(), ids.characteristic.c_str(), ids.descriptor.c_str(),
                          entry.uuidText.c_str(), entry.name};
  };
  return target.descriptor ? names(*target.descriptor) : names(*target.characteristic);
}

}  // namespace ble
