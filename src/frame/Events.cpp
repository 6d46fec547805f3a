#include "frame/Events.h"

#include <algorithm>
#include <array>

namespace ble {
namespace {

/// A copy of some bytes with a 0 byte behind the last one. Attribute values and advertising
/// sections fit the buffer inside, so that the usual event allocates nothing.
class TerminatedBytes {
 public:
  explicit TerminatedBytes(ByteView bytes) : size_(bytes.size()) {
    if (bytes.size() >= inline_.size()) {
      heap_.reserve(bytes.size() + 1);
      heap_.assign(bytes.begin(), bytes.end());
      heap_.push_back(0);
    } else {
      *std::copy(bytes.begin(), bytes.end(), inline_.begin()) = 0;
    }
  }

  ByteView View() const { return {heap_.empty() ? inline_.data() : heap_.data(), size_}; }

 private:
  static constexpr std::size_t kLongestAttributeValue = 512;  // Bluetooth Core 5.4, ATT

  std::size_t size_;
  std::array<std::uint8_t, kLongestAttributeValue + 1> inline_;
  Bytes heap_;
};

}  // namespace

template <class... Values>
void Events::Fire(EventId event, Values... values) {
  const std::array<EventValue, sizeof...(Values)> parameters{EventValue::Of(values)...};
  sink_.Fire(event, parameters);
}

[[gnu::hot]] void Events::FireAdvertisement(const AdvertisementReport& report) {
  const TerminatedBytes data(report.manufacturerData);
  Fire(EventId::Advertisement, report.serverId, report.name, report.rssi, report.txPower,
       report.serviceUuids, report.servicesWithData, report.solicitedServiceUuids,
       report.manufacturerCompanyId, data.View(), std::int32_t{report.isConnectable},
       std::int32_t{report.isScanResponse});
}

void Events::FireConnected(ErrorCode status, const char* description) {
  Fire(EventId::Connected, status, description);
}

void Events::FireDisconnected(ErrorCode status, const char* description) {
  Fire(EventId::Disconnected, status, description);
}

void Events::FireDiscovered(GattType type, const AttributeNames& names) {
  Fire(EventId::Discovered, static_cast<std::int32_t>(type), names.serviceId,
       names.characteristicId, names.descriptorId, names.uuid, names.description);
}

void Events::FireError(ErrorCode code, const char* description) {
  Fire(EventId::Error, code, description);
}

[[gnu::hot]] void Events::FireLog(std::int32_t level, const char* message, const char* type) {
  Fire(EventId::Log, level, message, type);
}

void Events::FireServerUpdate(const char* name, const char* changedServices) {
  Fire(EventId::ServerUpdate, name, changedServices);
}

void Events::FireStartScan(const char* serviceUuids) {
  Fire(EventId::StartScan, serviceUuids);
}

void Events::FireStopScan(ErrorCode code, const char* description) {
  Fire(EventId::StopScan, code, description);
}

void Events::FireSubscribed(const AttributeNames& names) {
  Fire(EventId::Subscribed, names.serviceId, names.characteristicId, names.uuid, names.description);
}

void Events::FireUnsubscribed(const AttributeNames& names) {
  Fire(EventId::Unsubscribed, names.serviceId, names.characteristicId, names.uuid,
       names.description);
}

[[gnu::hot]] void Events::FireValue(const AttributeNames& names, ByteView value) {
  const TerminatedBytes bytes(value);
  Fire(EventId::Value, names.serviceId, names.characteristicId, names.descriptorId, names.uuid,
       names.description, bytes.View());
}

void Events::FireWriteResponse(const AttributeNames& names) {
  Fire(EventId::WriteResponse, names.serviceId, names.characteristicId, names.descriptorId,
       names.uuid, names.description);
}

}  // namespace ble
