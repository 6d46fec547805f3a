#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "platform/faults/FaultInjectingRadio.h"
#include "support/Host.h"

namespace corvaneble::tests {
namespace {

using platform::GattCommunicationStatus;
using platform::faults::Fault;
using platform::faults::FaultInjectingRadio;

constexpr const char* kScene = R"({"peripherals": [
  {"address": "00A050C4E2F1", "name": "Meter",
   "advertising": {"interval": 100, "data": {"name": "Meter"}},
   "services": [
     {"id": "in", "uuid": "180A", "handle": 16, "primary": false},
     {"uuid": "180F", "handle": 32, "includes": ["in"], "characteristics": [
       {"uuid": "2A19", "handle": 48, "properties": ["read", "notify"], "value": "64"}]}]}]})";

/// The codes a program of calls ended with, step by step.
std::vector<int> RunProgram(Host& host) {
  std::string value;
  std::vector<int> codes{host.Do(CORVANEBLE_METHOD_START_SCANNING)};
  host.Pump(200);
  codes.push_back(host.Do(CORVANEBLE_METHOD_STOP_SCANNING));
  codes.push_back(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}));
  codes.push_back(host.Discover("180F", "2A19", true));
  codes.push_back(host.Discover("", "", false, "002000000000"));
  codes.push_back(host.Read("002000300000", "", value));
  codes.push_back(host.Do(CORVANEBLE_METHOD_DISCONNECT));
  return codes;
}

struct FaultyHost {
  explicit FaultyHost(const Fault& fault) : opened(OpenScenario(kScene)) {
    radio = std::make_shared<FaultInjectingRadio>(opened.radio, opened.timeline, fault);
    host = std::make_unique<Host>(platform::OpenedRadio{radio, opened.clock, opened.pump});
    host->Set(CORVANEBLE_PROPERTY_TIMEOUT, 5);
  }

  platform::simulated::OpenedSimulatedRadio opened;
  std::shared_ptr<FaultInjectingRadio> radio;
  std::unique_ptr<Host> host;
};

TEST(Faults, EveryPlatformCallMayGoWrongInEveryWay) {
  FaultyHost sound({});
  for (const int code : RunProgram(*sound.host))
    EXPECT_EQ(code, 0);
  const std::uint32_t calls = sound.radio->CallCount();
  ASSERT_GT(calls, 8U);

  using Kind = Fault::Kind;
  const struct {
    Kind kind;
    platform::GattResult gatt;
    std::set<int> codes;  // what a failing step may end with
  } ways[] = {
      {Kind::Throw, {}, {614}},
      {Kind::Fail, {}, {614}},
      {Kind::Hang, {}, {301, 604, 613, 614}},
      {Kind::Late, {}, {301, 613}},
      {Kind::Null, {}, {301, 604, 613, 614}},
      {Kind::GattStatus, {GattCommunicationStatus::Unreachable, {}}, {604, 607, 613, 614}},
      {Kind::GattStatus, {GattCommunicationStatus::AccessDenied, {}}, {604, 606, 613, 614}},
      {Kind::GattStatus, {GattCommunicationStatus::ProtocolError, 0x02}, {604, 613, 614, 702}},
      {Kind::OtherThread, {}, {}},
  };
  for (const auto& way : ways) {
    for (std::uint32_t call = 1; call <= calls; ++call) {
      SCOPED_TRACE("call " + std::to_string(call) + ", kind " +
                   std::to_string(static_cast<int>(way.kind)));
      FaultyHost faulty({call, way.kind, std::chrono::seconds(20), way.gatt, -1, "Injected."});
      const std::vector<int> codes = RunProgram(*faulty.host);
      for (const int code : codes) {
        // One failure makes later steps fail for want of what it should have provided.
        EXPECT_TRUE(code == 0 || code == 601 || code == 605 || way.codes.contains(code)) << code;
      }
      faulty.host->Pump(30'000);  // whatever is late arrives
      for (const int code : RunProgram(*faulty.host))
        EXPECT_EQ(code, 0);
    }
  }
}

}  // namespace
}  // namespace corvaneble::tests
