#pragma once

#include <string>

#include "frame/Events.h"
#include "frame/Status.h"
#include "gatt/GattObjectTree.h"
#include "radio/Connection.h"

namespace ble {

/// The ids with which a host names what to read or write, as it wrote them. An empty descriptor id
/// names the characteristic.
struct ValueIds {
  const std::string& service;
  const std::string& characteristic;
  const std::string& descriptor;
};

/// What they name in the current session: the descriptor, or else the characteristic. The other one
/// is null.
struct ValueTarget {
  SessionPtr session;
  CharacteristicPtr characteristic;
  DescriptorPtr descriptor;
};

/// Checks the connection and the ids in the documented order and finds the record: 605, 202 or 601.
Result<ValueTarget> FindValueTarget(const ValueIds& ids, const Connection& connection);

/// What an event about the target says: the host's own ids, the record's UUID and name. Valid as
/// long as both.
AttributeNames NamesOf(const ValueIds& ids, const ValueTarget& target);

}  // namespace ble
