#include "support/Backend.h"
#include "support/FaultInjectingRadio.h"
#include "support/Host.h"

namespace ble::tests {
namespace {

constexpr std::uint64_t kAddress = 0xC0FFEE000042;
constexpr const char* kPeripheral = R"({"peripherals": [
  {"address": "C0FFEE000042", "addressType": "random", "name": "Conformant", "mtu": 64,
   "advertising": {"interval": 100, "data": {"services": ["180F"], "name": "Conformant"},
                   "scanResponse": {"txPower": 3}},
   "services": [
     {"id": "in", "uuid": "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40", "primary": false},
     {"uuid": "180F", "includes": ["in"], "characteristics": [
       {"uuid": "2A19", "properties": ["read", "write", "writeWithoutResponse", "notify"],
        "value": "64", "echo": true, "descriptors": [
          {"userDescription": "Charge"},
          {"presentationFormat": {"format": "uint8", "exponent": -1, "unit": "27AD"}}]},
       {"uuid": "2A1C", "properties": ["read", "write", "indicate", "writableAuxiliaries"],
        "value": "01", "echo": true},
       {"uuid": "2A1D", "properties": ["read", "write"], "value": "00", "readError": "0x80",
        "writeError": "insufficientAuthorization"}]},
     {"uuid": "180A", "characteristics": [
       {"uuid": "2A29", "properties": ["read"], "value": {"utf8": "A manufacturer whose name is so long that one packet of this link cannot carry it"}}]}]},
  {"address": "C0FFEE000043", "advertising": {"interval": 100, "data": {"name": "Other"}}}]})";

OpenedRadio Decorated() {
  const auto inner = OpenScenario(kPeripheral);
  return {std::make_shared<simulated::FaultInjectingRadio>(inner.radio, inner.timeline,
                                                           std::vector<simulated::Fault>{}),
          inner.clock, inner.pump};
}

}  // namespace

std::vector<Backend> Backends() {
  Backend simulated{"simulated", [] { return OpenScenario(kPeripheral); }, kAddress,
                    Uuid::FromAssignedNumber(0x180A)};
  simulated.others = simulated.responses = 8;
  Backend decorated = simulated;
  decorated.name = "decorated";
  decorated.open = &Decorated;
  return {simulated, decorated};
}

}  // namespace ble::tests
