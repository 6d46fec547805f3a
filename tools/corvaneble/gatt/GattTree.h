#pragma once

#include <corvaneble/corvaneble.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "gatt/Attributes.h"
#include "text/ValueText.h"

namespace corvaneble::tool {

/// The outcome of reading an attribute: bytes, or the code and text of the failure.
struct ReadOutcome {
  int code = 0;
  std::string error;
  Bytes bytes;
};

struct DescriptorInfo : Descriptor {
  std::optional<ReadOutcome> value;
};

struct CharacteristicInfo : Characteristic {
  std::string userDescription;
  std::vector<Format> formats;
  std::vector<DescriptorInfo> descriptors;
  std::optional<ReadOutcome> value;
};

struct ServiceInfo : Service {
  std::vector<CharacteristicInfo> characteristics;
};

struct GattTree {
  std::string serverId;
  std::string serverName;
  std::vector<ServiceInfo> services;
  /// Set if the link was lost before every value was read.
  std::optional<ReadOutcome> interruptedBy;
};

/// Discovers the primary services and, recursively, all that they include.
void DiscoverAllServices(Client& client);

/// Discovers everything on the connected server, descriptors only if wanted.
void DiscoverAll(Client& client, bool descriptors);

/// Everything discovered so far. `descriptors` adds descriptors and the fields that need them.
GattTree Snapshot(Client& client, bool descriptors);

/// Reads every value that can be read. A refusal is recorded as the outcome of that value. When the
/// link is lost, reading ends and `interruptedBy` is set. `progress` gets the number of values
/// read.
void ReadValues(Client& client, GattTree& tree, const std::function<void(int)>& progress);

/// The presentation formats of the characteristic at `index` of the selected service.
std::vector<Format> FormatsOf(Client& client, int index);

}  // namespace corvaneble::tool
