#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "att/AttBearer.h"
#include "platform/Gatt.h"

/// The searches of GATT (Bluetooth Core 5.4, Vol 3 Part G, 4.4 to 4.7), each over one bearer from
/// first to last request.
///
/// A search ends with success when the server says that there is nothing more. It ends with the
/// server's error, with `Unreachable` or `AccessDenied` when the bearer ends, and with the
/// protocol error Invalid PDU (0x04) when an answer does not fit what was asked: lengths that do
/// not add up, handles outside of the range, not increasing, or ends before their starts. Since
/// handles must increase, a search takes at most 65535 requests whatever the server does.
namespace ble::att {

struct ServiceRecord {
  std::uint16_t handle = 0;  ///< of the declaration
  std::uint16_t end = 0;     ///< the last handle of the service
  Uuid uuid;
};

struct CharacteristicRecord {
  std::uint16_t handle = 0;  ///< of the declaration
  std::uint8_t properties = 0;
  std::uint16_t valueHandle = 0;
  std::uint16_t end = 0;  ///< the last handle before the next declaration
  Uuid uuid;
};

struct DescriptorRecord {
  std::uint16_t handle = 0;
  Uuid uuid;
};

/// Told once how a search ended; the records are empty unless it succeeded.
template <class Record>
using Found = std::function<void(const GattResult& status, std::vector<Record> records)>;

/// All primary services of the server.
void DiscoverPrimaryServices(const BearerPtr& bearer, Found<ServiceRecord> found);

/// The primary services with one UUID.
void DiscoverPrimaryServicesByUuid(const BearerPtr& bearer, const Uuid& uuid,
                                   Found<ServiceRecord> found);

/// The services that the service with these handles includes. An include declaration has no room
/// for a 128-bit UUID; such a one is read from the included service's own declaration.
void DiscoverIncludedServices(const BearerPtr& bearer, std::uint16_t start, std::uint16_t end,
                              Found<ServiceRecord> found);

/// The characteristics of the service with these handles.
void DiscoverCharacteristics(const BearerPtr& bearer, std::uint16_t start, std::uint16_t end,
                             Found<CharacteristicRecord> found);

/// The descriptors between these handles; none, without asking, when the range is empty. `start`
/// 0 stands for the handle behind the last one.
void DiscoverDescriptors(const BearerPtr& bearer, std::uint16_t start, std::uint16_t end,
                         Found<DescriptorRecord> found);

}  // namespace ble::att
