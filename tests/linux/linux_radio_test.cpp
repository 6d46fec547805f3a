// Tests the Linux radio end to end: the exported functions, BlueZ, two virtual controllers and the
// peripheral of vm/peripheral.py. scripts/vm runs it, in real time.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "linux/Peripheral.h"
#include "support/Host.h"

namespace ble::tests {
namespace {

using namespace std::chrono_literals;

constexpr const char* kOwnService = "5C0A180A-7D2E-4B1F-9A63-1E5F2C8D7B40";
constexpr const char* kLongValue = "5C0A0002-7D2E-4B1F-9A63-1E5F2C8D7B40";
constexpr const char* kSecret = "5C0A0003-7D2E-4B1F-9A63-1E5F2C8D7B40";
constexpr const char* kNotified = "5C0A0004-7D2E-4B1F-9A63-1E5F2C8D7B40";
constexpr const char* kIndicated = "5C0A0005-7D2E-4B1F-9A63-1E5F2C8D7B40";
constexpr const char* kForbidden = "5C0A0006-7D2E-4B1F-9A63-1E5F2C8D7B40";

/// Calls a method of BlueZ.
void CallBluez(const std::string& path, const std::string& interfaceMethodArguments) {
  Shell("busctl call org.bluez /org/bluez/" + path + " org.bluez." + interfaceMethodArguments +
        " >/dev/null 2>&1");
}

void Power(bool on) {
  Shell(std::string("busctl set-property org.bluez /org/bluez/hci0 org.bluez.Adapter1 Powered b ") +
        (on ? "true" : "false"));
}

/// Removes the devices, and so the keys, on both sides.
void Forget() {
  for (const char* const side : {"hci0 dev_00_AA_01_01_00_01", "hci1 dev_00_AA_01_00_00_00"}) {
    const std::string adapter(side, 4);
    const std::string device = "/org/bluez/" + adapter + "/" + (side + 5);
    try {
      CallBluez(adapter, "Adapter1 RemoveDevice o " + device);
    } catch (const std::runtime_error&) {
      // There was no such device.
    }
  }
}

class LinuxRadio : public testing::Test {
 protected:
  LinuxRadio() { host.Config("LogLevel=1"); }
  void TearDown() override {
    for (const char* const repair : {"power on", "pairing off", "advertise"})
      EXPECT_TRUE(Within([&] { return Succeeds([&] { Tell(repair); }); })) << repair;
  }

  void Connect() {
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {kPeripheralId}), 0) << host.LastError();
  }

  /// The id of a characteristic of the peripheral, found over the air.
  std::string Find(const std::string& service, const std::string& characteristic) {
    EXPECT_EQ(host.Discover(service.c_str(), characteristic.c_str(), true), 0) << host.LastError();
    for (const HostEvent& event : host.Events(CORVANEBLE_EVENT_DISCOVERED))
      if (event.Integer(0) == 1 && event.Text(4).find(characteristic) != std::string::npos)
        return event.Text(2);
    ADD_FAILURE() << "no " << characteristic;
    return "";
  }

  /// Runs an action. Returns whether it threw no exception.
  template <class Action>
  static bool Succeeds(Action action) {
    try {
      action();
      return true;
    } catch (const std::runtime_error&) {
      return false;
    }
  }

  /// Lets real time pass until a condition is true. Returns whether it became true.
  template <class Condition>
  bool Within(Condition condition, std::chrono::seconds limit = kLongTime) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      host.Do(CORVANEBLE_METHOD_DO_EVENTS);
    }
    return true;
  }
  bool Sees(std::int32_t event, const std::string& part, std::chrono::seconds limit = kLongTime) {
    const auto hasPart = [&](const auto& line) { return line.find(part) != std::string::npos; };
    return Within([&] { return std::ranges::any_of(host.Lines(event), hasPart); }, limit);
  }
  /// The same, but repeats a command to the peripheral: this sends each packet only once.
  bool SeesAfter(const std::string& command, std::int32_t event, const std::string& part) {
    return Within([&] { return Succeeds([&] { Tell(command); }) && Sees(event, part, 5s); });
  }

  /// BlueZ may need some time before it can scan, and again before the scan begins.
  bool IsScanning() {
    if (host.Get(CORVANEBLE_PROPERTY_SCANNING) == 0)
      host.Do(CORVANEBLE_METHOD_START_SCANNING, {""});
    return host.Get(CORVANEBLE_PROPERTY_SCANNING) != 0;
  }
  bool HearsThePeripheral() {
    return Within([&] {
      return IsScanning() && Succeeds([] { Tell("advertise"); }) &&
             Sees(CORVANEBLE_EVENT_ADVERTISEMENT, kPeripheralId, 1s);
    });
  }
  /// Connects to the peripheral as soon as that is possible again.
  bool DiscoversAgain() {
    return Within([&] { return Succeeds([] { Tell("advertise"); }) && host.Discover() == 0; });
  }

  Host host{OpenLinux()};
};

/// Tests that need root.
class LinuxRadioAsRoot : public LinuxRadio {};

TEST_F(LinuxRadio, AScanTellsWhatADeviceAdvertises) {
  ASSERT_EQ(host.Set(CORVANEBLE_PROPERTY_ACTIVE_SCANNING, 1), 0);
  ASSERT_TRUE(HearsThePeripheral());
  ASSERT_TRUE(Sees(CORVANEBLE_EVENT_ADVERTISEMENT, "Conformant"));
  ASSERT_TRUE(
      Sees(CORVANEBLE_EVENT_ADVERTISEMENT, "0000180F-0000-1000-8000-00805F9B34FB,0000180D"));
  for (const HostEvent& heard : host.Events(CORVANEBLE_EVENT_ADVERTISEMENT)) {
    EXPECT_EQ(heard.Text(0), kPeripheralId);
    if (heard.Text(4).empty()) continue;  // the scan response, which has the name
    EXPECT_EQ(heard.Integer(7), 0xFFFF);
    EXPECT_EQ(heard.Text(8), "\x02\x15");
    EXPECT_EQ(heard.Integer(9), 1);
  }
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_STOP_SCANNING), 0);
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_STOP_SCAN, ""));
}

TEST_F(LinuxRadio, ADeviceNeverHeardIsSearchedFor) {
  Forget();
  std::jthread advertiser([](const std::stop_token& heard) {
    for (; !heard.stop_requested(); std::this_thread::sleep_for(500ms))
      Succeeds([] { Tell("advertise"); });
  });
  Connect();
  advertiser.request_stop();
  advertiser.join();
  EXPECT_EQ(host.Discover(), 0) << host.LastError();
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_DISCONNECT), 0);
  host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 10);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00AA010100FF"}), CORVANEBLE_ERROR_CONNECT_FAILED);
}

TEST_F(LinuxRadio, DiscoveryFindsWhatThePeripheralRegistered) {
  Connect();
  host.Config("AutoDiscoverIncludedServices=True");
  ASSERT_EQ(host.Discover("", "", true), 0) << host.LastError();
  std::string found;
  for (const HostEvent& event : host.Events(CORVANEBLE_EVENT_DISCOVERED)) {
    constexpr const char* kMarks[] = {" S", " c", " d"};
    found += kMarks[event.Integer(0)] + event.Text(4).substr(4, 4);
  }
  const auto contains = [&](const std::string& part) {
    EXPECT_NE(found.find(part), std::string::npos) << part << " in " << found;
  };
  contains("S1800 S1801 S180A S180F S0001 S180A c2A00");
  contains(
      "c2A19 d2902 d2901 d2904 c2A1C d2902 d2900 c2A1D "
      "c2A29 c0002 c0003 c0004 d2902 c0005 d2902 c0006");
}

TEST_F(LinuxRadio, ValuesShortAndLong) {
  Connect();
  const std::string level = Find("180F", "2A19");
  std::string value;
  ASSERT_EQ(host.Read(level, "", value), 0) << host.LastError();
  EXPECT_EQ(value, "d");
  const std::string longValue = Find(kOwnService, kLongValue);
  ASSERT_EQ(host.Read(longValue, "", value), 0) << host.LastError();
  ASSERT_EQ(value.size(), 300U);
  for (std::size_t i = 0; i < value.size(); ++i)
    ASSERT_EQ(static_cast<std::uint8_t>(value[i]), static_cast<std::uint8_t>(i));
  const std::string other(400, 'x');
  ASSERT_EQ(host.Write(CORVANEBLE_METHOD_WRITE_VALUE, longValue, other), 0) << host.LastError();
  ASSERT_EQ(host.Read(longValue, "", value), 0);
  EXPECT_EQ(value, other);
  ASSERT_EQ(host.Write(CORVANEBLE_METHOD_POST_VALUE, level, "p"), 0) << host.LastError();
  EXPECT_TRUE(Within([&] { return host.Read(level, "", value) == 0 && value == "p"; }));
}

TEST_F(LinuxRadio, RefusalsAreToldApart) {
  Connect();
  std::string value;
  const std::string refusing = Find("180F", "2A1D");
  EXPECT_EQ(host.Read(refusing, "", value), CORVANEBLE_ERROR_APPLICATION);
  EXPECT_EQ(host.Write(CORVANEBLE_METHOD_WRITE_VALUE, refusing, "x"),
            CORVANEBLE_ERROR_INSUFFICIENT_AUTHORIZATION);
  EXPECT_EQ(host.Read(Find(kOwnService, kForbidden), "", value),
            CORVANEBLE_ERROR_READ_NOT_PERMITTED);
  EXPECT_EQ(host.Write(CORVANEBLE_METHOD_WRITE_VALUE, Find("180A", "2A50"), "x"),
            CORVANEBLE_ERROR_WRITE_NOT_PERMITTED);
  const int refusal = host.Read(Find(kOwnService, kSecret), "", value);  // pairing is rejected
  EXPECT_TRUE(refusal == CORVANEBLE_ERROR_INSUFFICIENT_AUTHENTICATION ||
              refusal == CORVANEBLE_ERROR_INSUFFICIENT_ENCRYPTION)
      << host.LastError();
}

TEST_F(LinuxRadio, AThousandValuesArriveInOrder) {
  Connect();
  // In bursts that fit into the buffer of the kernel's socket: the kernel drops the rest if this
  // process does not run in time.
  constexpr std::size_t kBurst = 100;
  const struct {
    const char* uuid;
    const char* command;
  } cases[] = {{kNotified, "notify 100"}, {kIndicated, "indicate 100"}};
  for (const auto& [uuid, command] : cases) {
    const std::string id = Find(kOwnService, uuid);
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_SUBSCRIBE, {ServiceIdOf(id).c_str(), id.c_str()}), 0)
        << host.LastError();
    host.Forget();
    for (std::size_t count = kBurst; count <= 1000; count += kBurst) {
      Tell(command);
      ASSERT_TRUE(Within([&] { return host.Count(CORVANEBLE_EVENT_VALUE) >= count; }));
    }
    std::size_t next = 0;
    for (const HostEvent& event : host.Events(CORVANEBLE_EVENT_VALUE)) {
      std::uint32_t number = 0;
      ASSERT_EQ(event.Text(5).size(), sizeof number);
      std::memcpy(&number, event.Text(5).data(), sizeof number);
      ASSERT_EQ(number, next++ % kBurst);
    }
    EXPECT_EQ(next, 1000U);
    EXPECT_EQ(host.Do(CORVANEBLE_METHOD_UNSUBSCRIBE, {ServiceIdOf(id).c_str(), id.c_str()}), 0);
  }
}

TEST_F(LinuxRadio, ChangesOfNameAndServicesAreReported) {
  Connect();
  ASSERT_EQ(host.Discover(), 0);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_SERVER_NAME), "Conformant");
  Tell("extra on");
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_SERVER_UPDATE, "0x"));
  Tell("extra off");
  ASSERT_EQ(host.Set(CORVANEBLE_PROPERTY_ACTIVE_SCANNING, 1), 0);
  ASSERT_TRUE(Within([&] { return IsScanning(); }));
  EXPECT_TRUE(SeesAfter("name Renamed", CORVANEBLE_EVENT_SERVER_UPDATE, "Renamed"));
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_SERVER_NAME), "Renamed");
  EXPECT_TRUE(SeesAfter("name Conformant", CORVANEBLE_EVENT_SERVER_UPDATE, "Conformant"));
}

TEST_F(LinuxRadio, ALostLinkIsReportedAndComesBack) {
  Connect();
  const std::string level = Find("180F", "2A19");
  Tell("drop");
  ASSERT_TRUE(Sees(CORVANEBLE_EVENT_DISCONNECTED, "Offline"));
  ASSERT_TRUE(SeesAfter("advertise", CORVANEBLE_EVENT_CONNECTED, "Online"));
  std::string value;
  EXPECT_EQ(host.Read(level, "", value), 0) << host.LastError();
  EXPECT_EQ(value, "d");
}

TEST_F(LinuxRadio, APeripheralThatGoesAwayDuringAReadEndsIt) {
  Connect();
  // Reads the name, which BlueZ answers itself: BlueZ 5.66 crashes some seconds after a link ends
  // during a request to another program.
  const std::string name = Find("1800", "2A00");
  std::thread leaver([] {
    std::this_thread::sleep_for(100ms);
    Tell("power off");
  });
  std::string value;
  int code = 0;
  EXPECT_TRUE(Within([&] { return (code = host.Read(name, "", value)) != 0; }));
  leaver.join();
  EXPECT_TRUE(code == CORVANEBLE_ERROR_UNREACHABLE || code == CORVANEBLE_ERROR_NOT_CONNECTED)
      << host.LastError();
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_DISCONNECTED, "Offline"));
}

TEST_F(LinuxRadio, AnotherProgramsConnectionIsNamedAndWaitedFor) {
  Tell("advertise");
  Connect();
  const auto callDevice = [](const char* method) {
    return Succeeds([&] { CallBluez("hci0/dev_00_AA_01_01_00_01", method); });
  };
  ASSERT_TRUE(Within(
      [&] { return callDevice("Device1 Connect") || (callDevice("Device1 Disconnect"), false); }));
  host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 10);
  host.Do(CORVANEBLE_METHOD_DISCONNECT);
  Connect();
  EXPECT_EQ(host.Discover(), CORVANEBLE_ERROR_UNREACHABLE) << host.LastError();
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_LOG, "Another program holds the connection"));
  ASSERT_TRUE(Within([&] { return callDevice("Device1 Disconnect"); }));
  EXPECT_TRUE(DiscoversAgain()) << host.LastError();
}

TEST_F(LinuxRadio, AnAdapterThatIsSwitchedOffEndsAScan) {
  ASSERT_TRUE(Within([&] { return IsScanning(); }));
  Power(false);
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_STOP_SCAN, "RadioNotAvailable"));
  host.Forget();
  host.Do(CORVANEBLE_METHOD_START_SCANNING, {""});
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_LOG, "switched off; switch it on"));
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_STOP_SCAN, "RadioNotAvailable"));
  Power(true);
  EXPECT_TRUE(HearsThePeripheral());
}

TEST_F(LinuxRadio, AnAdapterThatIsSwitchedOffEndsASearch) {
  std::thread off([] {
    std::this_thread::sleep_for(300ms);
    Power(false);
  });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"C0FFEE00FFFF"}), CORVANEBLE_ERROR_CONNECT_FAILED);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);  // the search itself takes 30 s
  off.join();
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_LOG, "switched off; switch it on"));
  Power(true);
  EXPECT_TRUE(HearsThePeripheral());
}

TEST_F(LinuxRadioAsRoot, ADaemonThatDiesEndsAScanAndMayComeBack) {
  ASSERT_TRUE(Within([&] { return IsScanning(); }));
  Shell("tests/vm/daemon kill");
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_STOP_SCAN, "RadioNotAvailable"));
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {kPeripheralId}), 614);
  EXPECT_NE(host.LastError().find("bluetoothd"), std::string::npos) << host.LastError();
  Shell("tests/vm/daemon start");
  host.Forget();
  // The kernel ends the scan of the dead daemon after some seconds; until then it is busy.
  EXPECT_TRUE(HearsThePeripheral());
  Connect();
  EXPECT_EQ(host.Discover(), 0) << host.LastError();
}

TEST_F(LinuxRadioAsRoot, ADaemonThatDoesNotAnswerHoldsNobodyUp) {
  constexpr const char* kNobody = "00AA010100FF";
  Host newcomer(OpenLinux());  // has not called the daemon yet
  Connect();
  Shell("tests/vm/daemon halt");
  for (Host* const each : {&host, &newcomer})
    EXPECT_EQ(each->Set(CORVANEBLE_PROPERTY_TIMEOUT, 10), 0);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {kNobody}), CORVANEBLE_ERROR_CONNECT_FAILED);
  EXPECT_EQ(newcomer.Do(CORVANEBLE_METHOD_CONNECT, {kNobody}), CORVANEBLE_ERROR_PLATFORM_FAILURE);
  Shell("tests/vm/daemon goon");
  EXPECT_TRUE(HearsThePeripheral());
  EXPECT_EQ(newcomer.Do(CORVANEBLE_METHOD_CONNECT, {kPeripheralId}), 0) << newcomer.LastError();
}

TEST_F(LinuxRadioAsRoot, ABlockedAdapterIsNamed) {
  Shell("for s in /sys/class/rfkill/*/soft; do echo 1 >$s; done");
  EXPECT_TRUE(Within([&] {
    host.Do(CORVANEBLE_METHOD_START_SCANNING, {""});
    return Sees(CORVANEBLE_EVENT_LOG, "is blocked; unblock it", 1s);
  }));
  Shell("for s in /sys/class/rfkill/*/soft; do echo 0 >$s; done");
  EXPECT_TRUE(Within([&] { return Succeeds([] { Power(true); }); }));
  EXPECT_TRUE(Within([&] { return Succeeds([] { Tell("power on"); }); }));
}

/// The last test: Linux 6.1 may crash some seconds after two of its own adapters have paired.
class LinuxRadioPairing : public LinuxRadio {
 protected:
  void TearDown() override {
    host.Do(CORVANEBLE_METHOD_DISCONNECT);
    Forget();  // a key on only one side would disturb all later links
    LinuxRadio::TearDown();
  }
};

TEST_F(LinuxRadioPairing, ASecretIsReadOnceTheLinkIsSecured) {
  Tell("pairing on");
  Connect();
  const std::string secret = Find(kOwnService, kSecret);
  std::string value;
  ASSERT_EQ(host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 1), 0);
  EXPECT_EQ(host.Read(secret, "", value), CORVANEBLE_ERROR_TIMEOUT);  // pairing is pending
  ASSERT_EQ(host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 60), 0);
  EXPECT_EQ(host.Read(secret, "", value), 0) << host.LastError();
  EXPECT_EQ(value, "secret");
  EXPECT_TRUE(host.Lines(CORVANEBLE_EVENT_DISCONNECTED).empty());

  host.Do(CORVANEBLE_METHOD_DISCONNECT);  // with the key the next link needs no pairing
  Tell("pairing off");
  WaitUntilNoLink();
  Connect();
  // BlueZ's server does not respond on a channel if it sees the channel before the link and has a
  // key for the device.
  ASSERT_TRUE(DiscoversAgain()) << host.LastError();
  EXPECT_EQ(host.Read(Find(kOwnService, kSecret), "", value), 0) << host.LastError();

  host.Do(CORVANEBLE_METHOD_DISCONNECT);
  CallBluez("hci1", "Adapter1 RemoveDevice o /org/bluez/hci1/dev_00_AA_01_00_00_00");
  WaitUntilNoLink();
  Tell("advertise");
  Connect();
  EXPECT_TRUE(DiscoversAgain()) << host.LastError();
  EXPECT_TRUE(Sees(CORVANEBLE_EVENT_LOG, "does not accept the key of its pairing"));
}

}  // namespace
}  // namespace ble::tests
