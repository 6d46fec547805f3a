#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/Host.h"

namespace ble::tests {
namespace {

constexpr const char* kScene = R"({"peripherals": [
  {"address": "00A050C4E2F1", "name": "Sensor", "mtu": 64, "services": [
    {"uuid": "181A", "handle": 32, "characteristics": [
      {"uuid": "2A6E", "handle": 48, "properties": ["read", "notify"], "value": "0A00",
       "stream": {"interval": 1000, "values": ["0100", "0200", "0300"], "repeat": false},
       "descriptors": [
         {"handle": 50, "presentationFormat": {"format": "sint16", "exponent": -2, "unit": "272F"}},
         {"handle": 51, "presentationFormat": {"format": "uint8", "exponent": 3, "unit": "2700"}},
         {"handle": 52, "presentationFormat": {"format": 28}},
         {"aggregateFormat": [51, 50, 52]}]},
      {"uuid": "2A6F", "handle": 64, "properties": ["indicate"], "value": "00"},
      {"uuid": "2A6D", "handle": 80, "properties": ["notify", "indicate", "write"], "echo": true},
      {"uuid": "2A1D", "handle": 96, "properties": ["read", "write"], "value": "07"},
      {"uuid": "2A1E", "handle": 112, "properties": ["notify"],
       "descriptors": [{"uuid": "2902", "value": "0000", "writable": true,
                        "writeError": "0xFD"}]}]},
    {"uuid": "180F", "handle": 256, "characteristics": [
      {"uuid": "2A19", "handle": 257, "properties": ["read", "writableAuxiliaries"],
       "descriptors": [{"userDescription": "Cell", "writable": true}]},
      {"uuid": "2A1A", "handle": 300, "properties": ["read", "writableAuxiliaries"]}]}]}]})";

constexpr const char* kEnvironment = "002000000000";
constexpr const char* kTemperature = "002000300000";
constexpr const char* kHumidity = "002000400000";
constexpr const char* kPressure = "002000500000";
constexpr const char* kPlain = "002000600000";
constexpr const char* kRejecting = "002000700000";

class Subscription : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
    ASSERT_EQ(host.Discover("181A,180F"), 0);
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_SELECT, {kEnvironment, ""}), 0);
    host.Forget();
  }

  int Subscribe(const char* characteristic) {
    return host.Do(CORVANEBLE_METHOD_SUBSCRIBE, {kEnvironment, characteristic});
  }

  /// The value of a characteristic's configuration descriptor on the device.
  std::string Cccd(const std::string& characteristic) {
    EXPECT_EQ(
        host.Do(CORVANEBLE_METHOD_DISCOVER_DESCRIPTORS, {kEnvironment, characteristic.c_str()}), 0);
    for (const HostEvent& event : host.Events(CORVANEBLE_EVENT_DISCOVERED)) {
      if (event.Text(2) != characteristic || event.Text(4).substr(4, 4) != "2902") continue;
      std::string value;
      EXPECT_EQ(host.Read(characteristic, event.Text(3), value), 0);
      return value;
    }
    return "none";
  }

  Host host{kScene};
};

TEST_F(Subscription, ValuesArriveOnTheRadiosThreadUntilUnsubscribed) {
  ASSERT_EQ(Subscribe(kTemperature), 0);
  const std::string names = std::string("|") + kEnvironment + "|" + kTemperature +
                            "|00002A6E-0000-1000-8000-00805F9B34FB|Temperature";
  EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_SUBSCRIBED).front(), "Subscribed" + names);
  ASSERT_TRUE(host.PumpUntil(CORVANEBLE_EVENT_VALUE, 2));
  const HostEvent value = host.Events(CORVANEBLE_EVENT_VALUE).front();
  EXPECT_EQ(value.Line(), std::string("Value|") + kEnvironment + "|" + kTemperature +
                              "||00002A6E-0000-1000-8000-00805F9B34FB|Temperature|" +
                              std::string("\1\0", 2));
  EXPECT_NE(value.thread, std::this_thread::get_id());
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_UNSUBSCRIBE, {kEnvironment, kTemperature}), 0);
  EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_UNSUBSCRIBED).front(), "Unsubscribed" + names);
  host.Forget();
  host.Pump(3000);
  EXPECT_TRUE(host.Events(CORVANEBLE_EVENT_VALUE).empty());
}

TEST_F(Subscription, TheConfigurationWrittenFollowsFlagsAndPreference) {
  const struct {
    const char* characteristic;
    const char* prefer;
    char first;
  } cases[] = {{kTemperature, "False", 1},
               {kHumidity, "False", 2},
               {kPressure, "False", 1},
               {kPressure, "True", 2},
               {kTemperature, "True", 1}};
  for (const auto& [characteristic, prefer, first] : cases) {
    host.Config(std::string("PreferIndications=") + prefer);
    ASSERT_EQ(Subscribe(characteristic), 0);
    EXPECT_EQ(Cccd(characteristic), std::string({first, 0})) << characteristic << prefer;
  }
}

TEST_F(Subscription, TheStateIsAskedForOnceAndThenKept) {
  ASSERT_EQ(Subscribe(kPressure), 0);
  ASSERT_EQ(Subscribe(kPressure), 0);  // nothing known yet: written again
  EXPECT_EQ(host.Events(CORVANEBLE_EVENT_SUBSCRIBED).size(), 2U);
  host.Config("LogLevel=3");
  host.Forget();
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 2), 1);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 2), 1);
  const auto logs = host.Lines(CORVANEBLE_EVENT_LOG);
  EXPECT_EQ(std::count(logs.begin(), logs.end(),
                       "Log|3|Getting CCCD state for characteristic ID \"002000500000\" from "
                       "device.|Subscriptions"),
            1);
  host.Forget();
  ASSERT_EQ(Subscribe(kPressure), 0);  // known now: nothing happens
  EXPECT_TRUE(host.Events().empty());
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 0, 2), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 2), 0);
  EXPECT_EQ(host.Events(CORVANEBLE_EVENT_UNSUBSCRIBED).size(), 1U);
}

TEST_F(Subscription, UnsubscribingAServiceOrEverything) {
  for (const char* characteristic : {kTemperature, kHumidity}) {
    ASSERT_EQ(Subscribe(characteristic), 0);
  }
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_UNSUBSCRIBE, {"", kHumidity}), 202);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_UNSUBSCRIBE, {"010000000000", ""}), 0);
  EXPECT_TRUE(host.Events(CORVANEBLE_EVENT_UNSUBSCRIBED).empty());
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_UNSUBSCRIBE), 953);  // in tree order, to the first failure
  std::vector<std::string> ids;
  for (const HostEvent& event : host.Events(CORVANEBLE_EVENT_UNSUBSCRIBED)) {
    ids.push_back(event.Text(1));
  }
  EXPECT_EQ(ids, (std::vector<std::string>{kTemperature, kHumidity, kPressure}));
}

TEST_F(Subscription, FailuresChangeNothing) {
  EXPECT_EQ(Subscribe(kRejecting), 953);
  EXPECT_TRUE(host.Events(CORVANEBLE_EVENT_SUBSCRIBED).empty());
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 4), 0);
  for (const int method : {CORVANEBLE_METHOD_SUBSCRIBE, CORVANEBLE_METHOD_UNSUBSCRIBE}) {
    EXPECT_EQ(host.Do(method, {kEnvironment, kPlain}), 602);
    EXPECT_EQ(host.LastError(),
              "A characteristic cannot be subscribed to unless it has the 'Notify' and/or "
              "'Indicate' flag set.");
  }
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_SUBSCRIBE, {"", kPlain}), 601);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_DISCONNECT), 0);
  EXPECT_EQ(Subscribe(kTemperature), 605);
}

TEST_F(Subscription, IndicationsEchoedByTheDeviceAreDelivered) {
  host.Config("PreferIndications=True");
  ASSERT_EQ(Subscribe(kPressure), 0);
  ASSERT_EQ(host.Write(CORVANEBLE_METHOD_WRITE_VALUE, kPressure, "abc"), 0);
  ASSERT_TRUE(host.PumpUntil(CORVANEBLE_EVENT_VALUE));
  EXPECT_EQ(host.Events(CORVANEBLE_EVENT_VALUE)[0].Text(5), "abc");
}

TEST_F(Subscription, WritingAndPosting) {
  ASSERT_EQ(host.Write(CORVANEBLE_METHOD_WRITE_VALUE, kPlain, std::string(200, 'x')), 0);
  EXPECT_EQ(host.Lines(),
            (std::vector<std::string>{
                "Log|1|Writing value to characteristic ID \"002000600000\".|Write",
                "Log|1|Successfully wrote value to characteristic ID \"002000600000\".|Write",
                "WriteResponse|002000000000|002000600000||00002A1D-0000-1000-8000-00805F9B34FB|"
                "Temperature Type"}));
  host.Forget();
  EXPECT_EQ(host.Write(CORVANEBLE_METHOD_POST_VALUE, kPressure, std::string(62, 'x')), 713);
  ASSERT_EQ(host.Write(CORVANEBLE_METHOD_POST_VALUE, kPressure, std::string(61, 'x')), 0);
  EXPECT_TRUE(host.Events(CORVANEBLE_EVENT_WRITE_RESPONSE).empty());
  EXPECT_EQ(host.Lines().back(),
            "Log|1|Successfully posted value to characteristic ID \"002000500000\".|Write");
  std::string value;
  ASSERT_EQ(host.Write(CORVANEBLE_METHOD_WRITE_VALUE, kPlain, ""), 0);
  ASSERT_EQ(host.Read(kPlain, "", value), 0);
  EXPECT_EQ(value, "");
  EXPECT_EQ(host.Write(CORVANEBLE_METHOD_WRITE_VALUE, kTemperature, "x"), 703);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_POST_VALUE, {"", "", nullptr}), 202);
  EXPECT_EQ(host.LastError(), "Must supply a characteristic ID.");
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_WRITE_VALUE, {"", "", "", nullptr}), 202);
  EXPECT_EQ(host.LastError(), "Must supply a service ID.");
}

TEST_F(Subscription, ValueFormatsFollowTheAggregate) {
  const auto format = [&](int property) { return host.Get(property, 0); };
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX), 0);
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_COUNT), 3);
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT), CORVANEBLE_FORMAT_UINT8);
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_EXPONENT), 3);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, 1, 0), 0);
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT), CORVANEBLE_FORMAT_SINT16);
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_EXPONENT), -2);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT, 0),
            "0000272F-0000-1000-8000-00805F9B34FB");
  for (const int index : {3, -1}) {
    EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, index, 0), 202);
    EXPECT_EQ(host.LastError(), "Invalid value format index.");
  }
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX), 1);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, 2, 0), 0);
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT), CORVANEBLE_FORMAT_UNKNOWN);
  ASSERT_EQ(host.SetText(CORVANEBLE_PROPERTY_SERVICE, kEnvironment), 0);  // shown anew
  EXPECT_EQ(format(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX), 0);

  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, 3), -1);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, -1, 3), 0);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, 0, 3), 202);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT, 3), "");
}

TEST_F(Subscription, UserDescriptionsAreWrittenWhereTheyMayBe) {
  EXPECT_EQ(host.SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, "x", 3), 602);
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_SELECT, {"010000000000", ""}), 0);
  EXPECT_EQ(host.SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, "x", 1), 611);
  EXPECT_EQ(host.LastError(),
            "Characteristic with ID \"0100012C0000\" does not have a Characteristic User "
            "Description descriptor despite having the 'Writable Auxiliaries' flag set.");
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, 0), "Cell");
  // What is written is written as it is; what is read is UTF-8, in the system's code page.
  EXPECT_EQ(host.SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, "Pack \xC3\xA9", 0),
            0);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, 0),
            Narrow(u"Pack \u00E9"));
}

TEST_F(Subscription, TheReportShowsWhatTheRecordsHold) {
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_DISCOVER_DESCRIPTORS, {kEnvironment, kHumidity}), 0);
  const std::string before = host.Config("GattObjTreeInfo");
  EXPECT_NE(before.find(">0000181A-0000-1000-8000-00805F9B34FB \"Environmental Sensing\" "
                        "[ID=002000000000, ParentSvcIds=\"\", IncludedSvcIds=\"\"]\r\n"),
            std::string::npos);
  EXPECT_NE(before.find("\"Humidity\" [ID=002000400000, Flags=0x0 (), Subscribed=False, "
                        "UserDescr=\"\", VFCount=0]\r\n>>>00002902-0000-1000-8000-00805F9B34FB "
                        "\"Client Characteristic Configuration\" [ID=002000400042]\r\n"),
            std::string::npos);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 1), 0);
  ASSERT_EQ(Subscribe(kHumidity), 0);
  EXPECT_NE(host.Config("GattObjTreeInfo").find("Flags=0x20 (I), Subscribed=True"),
            std::string::npos);
}

}  // namespace
}  // namespace ble::tests
