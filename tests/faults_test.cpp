// Runs whole host programs, and injects every fault into each of their platform calls.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "support/FaultInjectingRadio.h"
#include "support/Host.h"

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

constexpr const char* kService = "002000000000";
constexpr const char* kLevel = "002000300000";
constexpr const char* kStream = "002000400000";
constexpr const char* kLong = "002000500000";

/// A host program: steps that each return a code. The first failure ends it.
using Step = std::function<int(Host&)>;
struct Program {
  const char* name;
  std::vector<Step> steps;
  std::set<int> codes = {};  ///< further codes, after a look-up that failed unnoticed
  std::string events = "";   ///< of the device
};

Step Call(int method, std::vector<const char*> texts = {}) {
  return [method, texts = std::move(texts)](Host& host) {
    switch (texts.size()) {
      case 0:
        return host.Do(method);
      case 1:
        return host.Do(method, {texts[0]});
      default:
        return host.Do(method, {texts[0], texts[1]});
    }
  };
}

const Step kConnect = Call(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"});
const Step kDisconnect = Call(CORVANEBLE_METHOD_DISCONNECT);
const Step kDiscoverAll = [](Host& host) {
  host.Config("AutoDiscoverIncludedServices=True");
  return host.Discover("", "", true);
};
const Step kDiscoverSome = [](Host& host) { return host.Discover("180F,1812", "2A19,2A1A,2A1B"); };
const Step kWait = [](Host& host) {
  host.Pump(400);
  return 0;
};

Step Read(const char* id) {
  return [id](Host& host) {
    std::string value;
    return host.Read(id, "", value);
  };
}

Step Write(int method, std::size_t size) {
  return [=](Host& host) { return host.Write(method, kLevel, std::string(size, 'x')); };
}

std::vector<Program> Programs() {
  const Step select = Call(CORVANEBLE_METHOD_SELECT, {kService, ""});
  const Step describe = [](Host& host) {
    return host.SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, "New", 2);
  };
  const Step properties = [](Host& host) {
    for (int property = 4; property <= 16; ++property)
      host.Get(property, 1);
    return 0;
  };
  return {
      {"scan",
       {Call(CORVANEBLE_METHOD_START_SCANNING), kWait, Call(CORVANEBLE_METHOD_STOP_SCANNING)}},
      {"connect", {kConnect, kDisconnect}},
      {"discover everything", {kConnect, kDiscoverAll}},
      {"discover filtered", {kConnect, kDiscoverSome}},
      {"read", {kConnect, kDiscoverSome, Read(kLevel)}},
      {"read long", {kConnect, kDiscoverSome, Read(kLong)}},
      {"write", {kConnect, kDiscoverSome, Write(CORVANEBLE_METHOD_WRITE_VALUE, 2)}},
      {"write long", {kConnect, kDiscoverSome, Write(CORVANEBLE_METHOD_WRITE_VALUE, 90)}},
      {"post", {kConnect, kDiscoverSome, Write(CORVANEBLE_METHOD_POST_VALUE, 2)}},
      {"describe", {kConnect, kDiscoverSome, select, describe}, {602, 611}},
      {"properties", {kConnect, kDiscoverSome, select, properties}},
      {"subscribe",
       {kConnect, kDiscoverSome, Call(CORVANEBLE_METHOD_SUBSCRIBE, {kService, kStream}), kWait,
        Call(CORVANEBLE_METHOD_UNSUBSCRIBE)}},
      {"services changed",
       {kConnect, kDiscoverSome, kWait, kDiscoverSome, Read(kLevel)},
       {},
       R"({"kind": "changeServices", "at": 200, "services": )" + std::string(kServices) + "}"},
      {"reconnect", {kConnect, kDiscoverSome, kDisconnect, kConnect, kDiscoverSome}},
  };
}

int RunProgram(const Program& program, Host& host) {
  for (const Step& step : program.steps) {
    if (const int code = step(host)) return code;
  }
  return 0;
}

/// Must succeed after any fault.
void ExpectUsable(Host& host) {
  host.Pump(30'000);  // late completions arrive
  host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 60);
  EXPECT_EQ(RunProgram({"usable",
                        {Call(CORVANEBLE_METHOD_STOP_SCANNING), kDisconnect, kConnect, kDiscoverAll,
                         Read(kLevel), kDisconnect}},
                       host),
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

/// A fault, and the codes that a program may then end with. 0 is always allowed: some failures only
/// leave a property at its default.
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
    ASSERT_EQ(RunProgram(program, *sound.host), 0)
        << program.name << ": " << sound.host->LastError();
    for (const Way& way : Ways()) {
      for (std::uint32_t call = 1; call <= sound.radio->CallCount(); ++call) {
        SCOPED_TRACE(std::string(program.name) + ", call " + std::to_string(call) + ", kind " +
                     std::to_string(static_cast<int>(way.kind)));
        const std::chrono::seconds delay(way.kind == Fault::Kind::Late ? 20 : 0);
        FaultyHost faulty(program, {{way.kind, {}, call, 1, delay, way.gatt, -1, "Injected."}});
        const int code = RunProgram(program, *faulty.host);
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
      const int code = RunProgram(program, host);
      EXPECT_TRUE(code == 0 || code == 605 || code == 607 || program.codes.contains(code)) << code;
      const auto lost = host.Lines(CORVANEBLE_EVENT_DISCONNECTED);
      if (std::find(lost.begin(), lost.end(), "Disconnected|0|Offline") == lost.end()) break;
      ExpectUsable(host);
    }
  }
}

TEST(ScenarioFaults, AHostMeetsWhatTheyDescribe) {
  const std::vector<Step> scan = {Call(CORVANEBLE_METHOD_START_SCANNING)};
  const std::vector<Step> connect = {kConnect};
  const std::vector<Step> discover = {kConnect, kDiscoverAll};
  const std::vector<Step> read = {kConnect, kDiscoverSome, Read(kLevel)};
  const std::vector<Step> write = {kConnect, kDiscoverSome,
                                   Write(CORVANEBLE_METHOD_WRITE_VALUE, 2)};
  const std::vector<Step> subscribe = {kConnect, kDiscoverSome,
                                       Call(CORVANEBLE_METHOD_SUBSCRIBE, {kService, kStream})};
  const std::vector<Step> isSubscribed = {
      kConnect, kDiscoverSome, Call(CORVANEBLE_METHOD_SELECT, {kService, ""}), [](Host& host) {
        host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 1);
        return CorvaneBLE_BLEClient_GetLastErrorCode(host.Handle());
      }};
  constexpr const char* kNobody = "Connection to server ID 00A050C4E2F1 was unsuccessful.";
  constexpr const char* kNoAdapter = "No Bluetooth adapter found.";
  constexpr const char* kDenied = "Error attempting communication: Access denied by system.";
  constexpr const char* kUnreachable = "Error attempting communication: Device unreachable.";
  constexpr const char* kFailed = "Platform failure [0x80070005]: Access is denied.";
  const std::string failure = R"("result": {"failure": "0x80070005", "text": "Access is denied."})";
  const struct {
    const std::vector<Step>& steps;
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
      {connect, "lookUp", R"("delay": 900)", 0, ""},
      {connect, "lookUp", R"("delay": 1100)", 301, "Timeout."},
      {connect, "lookUp", R"("result": "never")", 301, "Timeout."},
      {connect, "lookUp", R"("result": "none", "delay": 500)", 604, kNobody},
      {connect, "lookUp", failure, 614, kFailed},
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
    const bool ofAdapter = &each.steps == &scan;
    Host host(Scene("", ofAdapter ? "" : fault, ofAdapter ? fault : ""));
    host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 1);
    EXPECT_EQ(RunProgram({"", each.steps}, host), each.code);
    EXPECT_EQ(each.code == 0 ? "" : host.LastError(), each.text);
  }
}

TEST(ScenarioFaults, BeginAndEndWhenTheySay) {
  Host host(Scene("", R"({"operation": "read", "result": 7, "first": 2, "count": 1},
                         {"operation": "read", "result": "accessDenied", "first": 2, "count": 2})"));
  host.Config("LogLevel=3");
  ASSERT_EQ(RunProgram({"", {kConnect, kDiscoverSome}}, host), 0);
  std::vector<std::string> reads;
  for (int i = 0; i < 4; ++i) {
    host.Forget();
    std::string value;
    const int code = host.Read(kLevel, "", value);
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

TEST(Faults, APlatformFailureSaysWhatThePlatformSaid) {
  FaultyHost faulty({}, {{Fault::Kind::Throw, {}, 1, 1, {}, {}, -5, "Injected."}});
  EXPECT_EQ(faulty.host->Do(CORVANEBLE_METHOD_START_SCANNING), 614);
  EXPECT_EQ(faulty.host->LastError(), "Platform failure [0xfffffffb]: Injected.");
}

}  // namespace
}  // namespace ble::tests
