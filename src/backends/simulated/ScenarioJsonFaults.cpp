#include "backends/simulated/ScenarioJson.h"

namespace ble::simulated {
namespace {

constexpr NamedValue<CallKind> kAdapterCalls[] = {{"lookUp", CallKind::AdapterLookUp}};
constexpr NamedValue<CallKind> kPeripheralCalls[] = {
    {"lookUp", CallKind::DeviceLookUp},
    {"discoverServices", CallKind::DiscoverServices},
    {"discoverIncludedServices", CallKind::DiscoverIncludedServices},
    {"discoverCharacteristics", CallKind::DiscoverCharacteristics},
    {"discoverDescriptors", CallKind::DiscoverDescriptors},
    {"read", CallKind::Read},
    {"write", CallKind::Write},
    {"readConfiguration", CallKind::ReadConfiguration},
    {"writeConfiguration", CallKind::WriteConfiguration},
};

struct Ending {
  Fault::Kind kind;
  GattCommunicationStatus status = GattCommunicationStatus::Success;
};
constexpr NamedValue<Ending> kEndings[] = {
    {"none", {Fault::Kind::Null}},
    {"never", {Fault::Kind::Hang}},
    {"unreachable", {Fault::Kind::GattStatus, GattCommunicationStatus::Unreachable}},
    {"accessDenied", {Fault::Kind::GattStatus, GattCommunicationStatus::AccessDenied}},
};
constexpr std::int64_t kLowestUnknownStatus = 4;

/// A name, the number of a status that nobody knows, or a failure with number and text.
void ReadResult(const JsonNode& node, Fault& fault) {
  if (node.IsObject()) {
    const JsonObject object(node, {"failure", "text"});
    fault.kind = Fault::Kind::Fail;
    fault.failureResult =
        static_cast<std::int32_t>(ReadUnsigned<std::uint32_t>(object.At("failure")));
    fault.failureText = object.At("text").Text(255);
  } else if (node.IsString() && !node.Text(64).starts_with("0x")) {
    const Ending ending = node.OneOf(kEndings);
    fault.kind = ending.kind;
    fault.gatt.status = ending.status;
  } else {
    fault.kind = Fault::Kind::GattStatus;
    fault.gatt.status = GattCommunicationStatus{
        static_cast<std::int32_t>(node.IntegerOrHex(kLowestUnknownStatus, INT32_MAX))};
  }
}

template <std::size_t N>
std::vector<Fault> ReadFaults(const JsonNode& list, const NamedValue<CallKind> (&calls)[N]) {
  return ReadAll(list, [&](const JsonNode& node) {
    const JsonObject object(node, {"operation", "delay", "result", "first", "count"});
    Fault fault;
    fault.call = object.At("operation").OneOf(calls);
    object.Read("delay", fault.delay, ReadDuration);
    object.Read("first", fault.first, ReadUnsigned<std::uint32_t, 1>);
    object.Read("count", fault.count, ReadUnsigned<std::uint32_t, 1>);
    if (node.Has("result"))
      ReadResult(object.At("result"), fault);
    else if (!node.Has("delay"))
      node.Fail("must have delay, result or both");
    const bool isLookUp =
        fault.call == CallKind::AdapterLookUp || fault.call == CallKind::DeviceLookUp;
    if (isLookUp && fault.kind == Fault::Kind::GattStatus)
      object.At("result").Fail("a look-up has no status: must be none, never or a failure");
    if (fault.kind == Fault::Kind::Hang && node.Has("delay"))
      object.At("delay").Fail("does not belong to an operation that never ends");
    return fault;
  });
}

}  // namespace

std::vector<Fault> ReadAdapterFaults(const JsonNode& node) {
  return ReadFaults(node, kAdapterCalls);
}

std::vector<Fault> ReadPeripheralFaults(const JsonNode& node) {
  return ReadFaults(node, kPeripheralCalls);
}

}  // namespace ble::simulated
