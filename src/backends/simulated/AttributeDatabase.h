#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "att/AttPdu.h"
#include "backends/simulated/Scenario.h"
#include "base/Bytes.h"
#include "base/GattUuids.h"
#include "base/Uuid.h"

namespace ble::simulated {

/// One attribute of a server. The value of a client configuration belongs to a connection instead.
struct Attribute : AttributeRules {
  std::uint16_t handle = 0;
  Uuid type;
  bool readable = true;
  bool writable = false;         ///< by Write Request, Prepare Write
  bool writableCommand = false;  ///< by Write Command
  std::uint16_t groupEnd = 0;    ///< service declarations: the last handle of the service

  /// Why the attribute cannot be read, if it cannot.
  std::optional<att::AttError> ReadRefusal() const {
    if (readError) return static_cast<att::AttError>(*readError);
    if (!readable) return att::AttError::ReadNotPermitted;
    return std::nullopt;
  }
  bool IsType(std::uint16_t number) const { return type == Uuid::FromAssignedNumber(number); }
  bool IsService() const {
    return IsType(gatt_uuid::kPrimaryService) || IsType(gatt_uuid::kSecondaryService);
  }
};

/// A characteristic as its peripheral sees it: where its value is and what happens to it.
struct HostedCharacteristic {
  std::uint16_t valueHandle = 0;
  std::uint16_t configurationHandle = 0;  ///< 0: it cannot be subscribed to
  std::uint32_t properties = 0;
  std::shared_ptr<const ValueStream> stream;  ///< null: none
  bool echo = false;
};

/// The attributes of one server, ordered by handle (Bluetooth Core 5.4, Vol 3 Part G, 2.5.1).
class AttributeDatabase {
 public:
  /// Lays out `services`: declarations, includes, characteristics and descriptors, on the handles
  /// they ask for, else on the next free ones. Generic Access and Generic Attribute services are
  /// put in front (behind, where the handles in front are taken) when none is listed. Without a
  /// result `error` says which service cannot be placed, and why.
  static std::optional<AttributeDatabase> Build(const std::vector<ServiceScenario>& services,
                                                std::string_view deviceName, std::string& error);

  const std::vector<HostedCharacteristic>& Characteristics() const { return characteristics_; }

  /// The attributes with handles from `start` to `end`, both included.
  std::span<const Attribute> InRange(std::uint16_t start, std::uint16_t end) const;
  /// The attribute with this handle, or null.
  Attribute* Find(std::uint16_t handle);

  /// The characteristic with this value handle or this configuration handle, or null.
  const HostedCharacteristic* FindByValue(std::uint16_t valueHandle) const;
  const HostedCharacteristic* FindByConfiguration(std::uint16_t configurationHandle) const;

  /// The value handle of the first characteristic with an assigned number, or 0.
  std::uint16_t ValueHandleOf(std::uint16_t assignedNumber) const;

 private:
  friend class DatabaseBuilder;

  std::vector<Attribute> attributes_;
  std::vector<HostedCharacteristic> characteristics_;  // ordered by handle
};

/// Why `services` cannot be laid out, or nothing.
[[nodiscard]] std::optional<std::string> CheckDatabase(
    const std::vector<ServiceScenario>& services);

}  // namespace ble::simulated
