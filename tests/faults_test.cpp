// Whole programs of host calls, with every platform call in them going wrong in every way.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/FaultInjectingRadio.h"
#include "support/Host.h"
#include "support/Script.h"

namespace ble::tests {
namespace {
using simulated::Fault;
using simulated::FaultInjectingRadio;

constexpr const char* kServices = R"([
  {"id": "in", "uuid": "180A", "handle": 16, "primary": false},
  {"uuid": "180F", "handle": 32, "includes": ["in"], "characteristics": [
    {"uuid": "2A19", "handle": 48, "properties": ["read", "write", "writeWithoutResponse"],
     "value": "64"},
    {"uuid": "2A1A", "handle": 64, "properties": ["notify"],
     "stream": {"interval": 100, "values": ["01", "02"]}},
    {"uuid": "2A1B", "handle": 80, "properties": ["read", "writableAuxiliaries"], "maxLength": 512,
     "value": {"utf8": "a value that is longer than the smallest of packets can carry"},
     "descriptors": [{"userDescription": "Old", "writable": true}]}]}])";

std::string Scene(const std::string& events, const std::string& faults = "",
                  const std::string& adapterFaults = "") {
  return R"({"adapter": {"faults": [)" + adapterFaults + R"(]}, "peripherals": [
    {"address": "00A050C4E2F1", "name": "Meter", "mtu": 23,
     "advertising": {"interval": 100, "data": {"name": "Meter"}}, "services": )" +
         kServices + R"(, "events": [)" + events + R"(], "faults": [)" + faults + "]}]}";
}

const std::string kConnect = "> Connect 00A050C4E2F1\n";
const std::string kDisconnect = "> Disconnect\n";
const std::string kWait = "> Pass 400\n";
const std::string kRead = "> ReadValue 002000000000 002000300000\n";
const std::string kDiscoverAll =
    "> Config AutoDiscoverIncludedServices=True\n"
    "> Discover '' '' 1\n";
const std::string kDiscoverSome = "> Discover 180F,1812 2A19,2A1A,2A1B\n";
const std::string kConnectAndDiscover = kConnect + kDiscoverSome;
const std::string kWriteTwo = "> WriteValue 002000000000 002000300000 '' xx\n";
const std::string kSubscribe = "> Subscribe 002000000000 002000400000\n";
const std::string kSelect = "> Select 002000000000\n";

/// A host program; the first call that fails ends it.
struct Program {
  const char* name;
  std::string calls;
  std::set<int> codes = {};  ///< what a look-up that failed unnoticed makes of it
  std::string events = "";   ///< of the device
};

std::vector<Program> Programs() {
  return {
      {"scan", "> StartScanning\n" + kWait + "> StopScanning\n"},
      {"connect", kConnect + kDisconnect},
      {"discover everything", kConnect + kDiscoverAll},
      {"discover filtered", kConnectAndDiscover},
      {"read", kConnectAndDiscover + kRead},
      {"read long", kConnectAndDiscover + "> ReadValue 002000000000 002000500000\n"},
      {"write", kConnectAndDiscover + kWriteTwo},
      {"write long",
       kConnectAndDiscover + "> WriteValue 002000000000 002000300000 '' " + std::string(90, 'x')},
      {"post", kConnectAndDiscover + "> PostValue 002000000000 002000300000 xx\n"},
      {"describe",
       kConnectAndDiscover + kSelect + "> Set CharacteristicUserDescription[2] New\n",
       {602, 611}},
      {"properties", kConnectAndDiscover + kSelect +
                         "> Get CharacteristicFlags[1] CharacteristicUserDescription[1] "
                         "CharacteristicValueFormat[1] CharacteristicSubscribed[1] "
                         "CharacteristicCachedValue[1]\n"},
      {"subscribe", kConnectAndDiscover + kSubscribe + kWait + "> Unsubscribe\n"},
      {"services changed",
       kConnectAndDiscover + kWait + kDiscoverSome + kRead,
       {},
       R"({"kind": "changeServices", "at": 200, "services": )" + std::string(kServices) + "}"},
      {"reconnect", kConnectAndDiscover + kDisconnect + kConnectAndDiscover},
  };
}

/// Whatever went wrong before, this must succeed.
void ExpectUsable(Host& host) {
  host.Pump(30'000);  // what is late arrives
  host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 60);
  EXPECT_EQ(
      Play(host, "> StopScanning\n" + kDisconnect + kConnect + kDiscoverAll + kRead + kDisconnect),
      0)
      << host.LastError();
}

struct FaultyHost {
  FaultyHost(const Program& program, const std::vector<Fault>& faults)
      : opened(OpenScenario(Scene(program.events))) {
    radio = std::make_shared<FaultInjectingRadio>(opened.radio, opened.timeline, faults);
    host = std::make_unique<Host>(OpenedRadio{radio, opened.clock, opened.pump});
    host->Set(CORVANEBLE_PROPERTY_TIMEOUT, 5);
  }

  simulated::OpenedSimulatedRadio opened;
  std::shared_ptr<FaultInjectingRadio> radio;
  std::unique_ptr<Host> host;
};

/// A way to go wrong, and the codes that a program may then end with. 0 is always among them: some
/// failures only leave a property at its default.
struct Way {
  Fault::Kind kind;
  GattResult gatt;
  std::set<int> codes;
};

std::vector<Way> Ways() {
  using Kind = Fault::Kind;
  using enum GattCommunicationStatus;
  return {
      {Kind::Throw, {}, {614}},
      {Kind::Fail, {}, {614}},
      {Kind::Hang, {}, {301, 613, 614}},
      {Kind::Late, {}, {301, 613}},
      {Kind::Null, {}, {301, 604, 613, 614}},
      {Kind::GattStatus, {Unreachable, {}}, {604, 607, 613, 614}},
      {Kind::GattStatus, {AccessDenied, {}}, {604, 606, 613, 614}},
      {Kind::GattStatus, {ProtocolError, 0x02}, {604, 613, 614, 702}},
      {Kind::GattStatus, {ProtocolError, 0x85}, {604, 612, 613, 614}},
      {Kind::GattStatus, {ProtocolError, 0xFF}, {604, 613, 614, 955}},
      {Kind::GattStatus, {ProtocolError, {}}, {604, 606, 613, 614}},
      {Kind::OtherThread, {}, {}},
  };
}

TEST(Faults, EveryPlatformCallMayGoWrongInEveryWay) {
  int combinations = 0;
  for (const Program& program : Programs()) {
    FaultyHost sound(program, {});
    ASSERT_EQ(Play(*sound.host, program.calls), 0)
        << program.name << ": " << sound.host->LastError();
    for (const Way& way : Ways()) {
      for (std::uint32_t call = 1; call <= sound.radio->CallCount(); ++call) {
        SCOPED_TRACE(std::string(program.name) + ", call " + std::to_string(call) + ", kind " +
                     std::to_string(static_cast<int>(way.kind)));
        const std::chrono::seconds delay(way.kind == Fault::Kind::Late ? 20 : 0);
        FaultyHost faulty(program, {{way.kind, {}, call, 1, delay, way.gatt, -1, "Injected."}});
        const int code = Play(*faulty.host, program.calls);
        EXPECT_TRUE(code == 0 || way.codes.contains(code) || program.codes.contains(code)) << code;
        EXPECT_TRUE(code == 0 || !faulty.host->LastError().empty());
        ExpectUsable(*faulty.host);
        ++combinations;
      }
    }
  }
  RecordProperty("combinations", combinations);
  std::printf("%d combinations of program, call and fault\n", combinations);
}

TEST(Faults, TheLinkMayDropAtEveryRequest) {
  for (const Program& program : Programs()) {
    for (int request = 1; request < 100; ++request) {
      SCOPED_TRACE(std::string(program.name) + ", request " + std::to_string(request));
      const std::string drop =
          R"({"kind": "dropLink", "afterRequests": )" + std::to_string(request) + "}";
      Host host(Scene(program.events.empty() ? drop : program.events + "," + drop));
      host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 5);
      const int code = Play(host, program.calls);
      EXPECT_TRUE(code == 0 || code == 605 || code == 607 || program.codes.contains(code)) << code;
      const auto lost = host.Lines(CORVANEBLE_EVENT_DISCONNECTED);
      if (std::find(lost.begin(), lost.end(), "Disconnected|0|Offline") == lost.end()) break;
      ExpectUsable(host);
    }
  }
}

TEST(ScenarioFaults, AHostMeetsWhatTheyDescribe) {
  const std::string scan = "> StartScanning\n";
  const std::string discover = kConnect + kDiscoverAll;
  const std::string read = kConnectAndDiscover + kRead;
  const std::string write = kConnectAndDiscover + kWriteTwo;
  const std::string subscribe = kConnectAndDiscover + kSubscribe;
  const std::string isSubscribed =
      kConnectAndDiscover + kSelect + "> Get CharacteristicSubscribed[1]\n";
  constexpr const char* kNobody = "Connection to server ID 00A050C4E2F1 was unsuccessful.";
  constexpr const char* kNoAdapter = "No Bluetooth adapter found.";
  constexpr const char* kDenied = "Error attempting communication: Access denied by system.";
  constexpr const char* kUnreachable = "Error attempting communication: Device unreachable.";
  constexpr const char* kFailed = "Platform failure [0x80070005]: Access is denied.";
  const std::string failure = R"("result": {"failure": "0x80070005", "text": "Access is denied."})";
  const struct {
    const std::string& calls;
    const char* operation;
    std::string fault;
    int code;
    const char* text;
  } cases[] = {
      {scan, "lookUp", R"("delay": 900)", 0, ""},
      {scan, "lookUp", R"("delay": 1100)", 613, kNoAdapter},
      {scan, "lookUp", R"("result": "never")", 613, kNoAdapter},
      {scan, "lookUp", R"("result": "none")", 613, kNoAdapter},
      {scan, "lookUp", failure, 614, kFailed},
      {kConnect, "lookUp", R"("delay": 900)", 0, ""},
      {kConnect, "lookUp", R"("delay": 1100)", 301, "Timeout."},
      {kConnect, "lookUp", R"("result": "never")", 301, "Timeout."},
      {kConnect, "lookUp", R"("result": "none", "delay": 500)", 604, kNobody},
      {kConnect, "lookUp", failure, 614, kFailed},
      {discover, "discoverServices", R"("result": "unreachable")", 607, kUnreachable},
      {discover, "discoverIncludedServices", R"("result": "accessDenied")", 606, kDenied},
      {discover, "discoverCharacteristics", failure + R"(, "delay": 900)", 614, kFailed},
      {discover, "discoverDescriptors", failure + R"(, "delay": 1100)", 301, "Timeout."},
      {read, "read", R"("result": "accessDenied", "delay": 900)", 606, kDenied},
      {read, "read", R"("result": "unreachable")", 607, kUnreachable},
      {read, "read", failure, 614, kFailed},
      {read, "write", failure, 0, ""},
      {write, "write", R"("result": "never")", 301, "Timeout."},
      {isSubscribed, "readConfiguration", R"("delay": 1100)", 301, "Timeout."},
      {subscribe, "writeConfiguration", R"("result": "accessDenied")", 606, kDenied},
  };
  for (const auto& each : cases) {
    const std::string fault =
        R"({"operation": ")" + std::string(each.operation) + "\", " + each.fault + "}";
    SCOPED_TRACE(fault);
    const bool ofAdapter = &each.calls == &scan;
    Host host(Scene("", ofAdapter ? "" : fault, ofAdapter ? fault : ""));
    host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 1);
    EXPECT_EQ(Play(host, each.calls), each.code);
    EXPECT_EQ(each.code == 0 ? "" : host.LastError(), each.text);
  }
}

TEST(ScenarioFaults, BeginAndEndWhenTheySay) {
  Host host(Scene("", R"({"operation": "read", "result": 7, "first": 2, "count": 1},
                         {"operation": "read", "result": "accessDenied", "first": 2, "count": 2})"));
  host.Config("LogLevel=3");
  ASSERT_EQ(Play(host, kConnectAndDiscover), 0);
  std::vector<std::string> reads;
  for (int i = 0; i < 4; ++i) {
    host.Forget();
    std::string value;
    const int code = host.Read("002000300000", "", value);
    reads.push_back(std::to_string(code) + "|" + value);
    for (const HostEvent& log : host.Events(CORVANEBLE_EVENT_LOG))
      if (log.Text(1).starts_with("BLE Result")) reads.back() += "|" + log.Text(1);
  }
  EXPECT_EQ(reads, (std::vector<std::string>{
                       "0|d|BLE Result Status: Success (Protocol Code: 0).",
                       "0||BLE Result Status: Windows.Devices.Bluetooth.GenericAttributeProfile."
                       "GattCommunicationStatus (Protocol Code: 0).",
                       "606||BLE Result Status: AccessDenied (Protocol Code: 0).",
                       "0|d|BLE Result Status: Success (Protocol Code: 0).",
                   }));
}

}  // namespace
}  // namespace ble::tests
