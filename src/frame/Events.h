#pragma once

#include <cstdint>

#include "base/Bytes.h"
#include "corvaneble/corvaneble.h"
#include "frame/ErrorCode.h"
#include "frame/EventSink.h"

namespace ble {

enum class GattType : std::int32_t {
  Service = CORVANEBLE_GATT_SERVICE,
  Characteristic = CORVANEBLE_GATT_CHARACTERISTIC,
  Descriptor = CORVANEBLE_GATT_DESCRIPTOR,
};

/// Everything an Advertisement event says. Texts are NUL-terminated and owned by the caller.
struct AdvertisementReport {
  const char* serverId = "";
  const char* name = "";
  std::int32_t rssi = 0;
  std::int32_t txPower = 0;
  const char* serviceUuids = "";
  const char* servicesWithData = "";
  const char* solicitedServiceUuids = "";
  std::int32_t manufacturerCompanyId = -1;
  ByteView manufacturerData;
  bool isConnectable = false;
  bool isScanResponse = false;
};

/// Names one attribute in Discovered, Value, WriteResponse, Subscribed and Unsubscribed events.
/// Ids that do not apply are empty.
struct AttributeNames {
  const char* serviceId = "";
  const char* characteristicId = "";
  const char* descriptorId = "";
  const char* uuid = "";
  const char* description = "";
};

/// The engine's side of the events: one operation for each, callable from any thread. An event
/// never fails the operation that raised it, so nothing is returned.
class Events {
 public:
  explicit Events(EventSink& sink) : sink_(sink) {}

  void FireAdvertisement(const AdvertisementReport& report);
  void FireConnected(ErrorCode status, const char* description);
  void FireDisconnected(ErrorCode status, const char* description);
  void FireDiscovered(GattType type, const AttributeNames& names);
  void FireError(ErrorCode code, const char* description);
  void FireLog(std::int32_t level, const char* message, const char* type);
  void FireServerUpdate(const char* name, const char* changedServices);
  void FireStartScan(const char* serviceUuids);
  void FireStopScan(ErrorCode code, const char* description);
  void FireSubscribed(const AttributeNames& names);
  void FireUnsubscribed(const AttributeNames& names);
  void FireValue(const AttributeNames& names, ByteView value);
  void FireWriteResponse(const AttributeNames& names);

 private:
  template <class... Values>
  void Fire(EventId event, Values... values);

  EventSink& sink_;
};

}  // namespace ble
