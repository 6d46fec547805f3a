#pragma once

#include <corvaneble/corvaneble.hpp>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gatt/Attributes.h"
#include "text/ValueText.h"

namespace corvaneble::tool {

/// What reading an attribute gave: bytes, or the code and text of the failure.
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
  /// Set when the link was lost before every value was read.
  std::optional<ReadOutcome> interruptedBy;
};

/// Discovers the primary services and all that they include, however deep, circles too.
void DiscoverAllServices(Client& client);

/// Discovers everything on the connected server; descriptors only when wanted.
void DiscoverAll(Client& client, bool descriptors);

/// Everything discovered so far. Without `descriptors` nothing is asked that would need them.
GattTree Snapshot(Client& client, bool descriptors);

/// Reads every value that can be read. One that the server refuses has its error noted; when the
/// server is gone, reading ends and the tree says so. `progress` hears how many are done.
void ReadValues(Client& client, GattTree& tree, const std::function<void(int)>& progress);

/// The formats, which are asked of the characteristic at `index` of the selected service.
std::vector<Format> FormatsOf(Client& client, int index);

/// Whether a failure means that it would be in vain to ask the server for anything more.
bool LinkIsGone(int code);

/// Connected as long as it lives.
class Link {
 public:
  Link(Client& client, std::string address) : client_(client), address_(std::move(address)) {
    client_.Connect(address_);
  }
  ~Link();
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  /// Connects anew; nothing is discovered then.
  void Renew();

 private:
  Client& client_;
  const std::string address_;
};

}  // namespace corvaneble::tool
