#include "backends/simulated/ScenarioJson.h"

namespace ble::simulated {
namespace {

constexpr NamedValue<bool> kAddressTypes[] = {{"public", false}, {"random", true}};

constexpr NamedValue<PeripheralEvent::Kind> kEventKinds[] = {
    {"dropLink", PeripheralEvent::Kind::DropLink},
    {"restoreLink", PeripheralEvent::Kind::RestoreLink},
    {"changeName", PeripheralEvent::Kind::ChangeName},
    {"changeServices", PeripheralEvent::Kind::ChangeServices},
};

constexpr std::size_t kMaxName = 248;  // Bluetooth Core 5.4, Vol 3 Part C, 3.2.2.1

/// A key that belongs to one kind of event must be there for it and for no other.
void CheckBelongs(const JsonNode& node, const JsonObject& object, std::string_view key,
                  bool belongs) {
  if (belongs)
    (void)object.At(key);
  else if (node.Has(key))
    object.At(key).Fail("does not belong to an event of this kind");
}

PeripheralEvent ReadPeripheralEvent(const JsonNode& node) {
  const JsonObject object(node, {"kind", "at", "afterRequests", "name", "services"});
  PeripheralEvent event;
  event.kind = object.At("kind").OneOf(kEventKinds);
  object.Read("at", event.at, ReadDuration);
  object.Read("afterRequests", event.afterRequests, ReadUnsigned<std::uint32_t, 1>);
  object.Read("name", event.name, ReadText<kMaxName>);
  object.Read("services", event.services, ReadServices);
  if (node.Has("at") == node.Has("afterRequests"))
    node.Fail("must have either at or afterRequests");
  CheckBelongs(node, object, "name", event.kind == PeripheralEvent::Kind::ChangeName);
  CheckBelongs(node, object, "services", event.kind == PeripheralEvent::Kind::ChangeServices);
  if (event.kind == PeripheralEvent::Kind::RestoreLink && event.afterRequests)
    object.At("afterRequests").Fail("no requests arrive while the link is down");
  return event;
}

}  // namespace

PeripheralScenario ReadPeripheral(const JsonNode& node) {
  const JsonObject object(
      node, {"address", "addressType", "name", "advertising", "connectable", "connectLatency",
             "responseDelay", "mtu", "services", "events", "faults"});
  PeripheralScenario peripheral;
  peripheral.address = ReadAddress(object.At("address"));
  object.ReadName("addressType", peripheral.randomAddress, kAddressTypes);
  object.Read("name", peripheral.name, ReadText<kMaxName>);
  object.Read("advertising", peripheral.advertising, ReadAdvertising);
  object.Read("connectable", peripheral.connectable);
  object.Read("connectLatency", peripheral.connectLatency, ReadDuration);
  object.Read("responseDelay", peripheral.responseDelay, ReadDuration);
  object.Read("mtu", peripheral.mtu, ReadInteger<std::uint16_t, 23, 517>);
  object.Read("services", peripheral.services, ReadServices);
  object.ReadAll("events", peripheral.events, ReadPeripheralEvent);
  object.Read("faults", peripheral.faults, ReadPeripheralFaults);
  return peripheral;
}

}  // namespace ble::simulated
