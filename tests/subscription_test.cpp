#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/Host.h"
#include "support/Script.h"

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
constexpr const char* kPressure = "002000500000";
constexpr const char* kPlain = "002000600000";

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

  Host host{kScene};
};

TEST_F(Subscription, TheConfigurationWrittenFollowsFlagsAndPreference) {
  const struct {
    const char* characteristic;
    const char* configuration;
    const char* prefer;
    char first;
  } cases[] = {{kTemperature, "002000300036", "False", 1},
               {"002000400000", "002000400042", "False", 2},
               {kPressure, "002000500052", "False", 1},
               {kPressure, "002000500052", "True", 2},
               {kTemperature, "002000300036", "True", 1}};
  for (const auto& [characteristic, configuration, prefer, first] : cases) {
    host.Config(std::string("PreferIndications=") + prefer);
    ASSERT_EQ(Subscribe(characteristic), 0);
    std::string value;
    ASSERT_EQ(host.Read(characteristic, configuration, value), 0);
    EXPECT_EQ(value, std::string({first, 0})) << characteristic << prefer;
  }
}

TEST_F(Subscription, IsWrittenAgainUntilItsStateIsKnown) {
  host.Config("LogLevel=0");
  ExpectPlayed(host, R"(
> Subscribe 002000000000 002000500000
  Discovered|2|002000000000|002000500000|002000500052|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
  Subscribed|002000000000|002000500000|00002A6D-0000-1000-8000-00805F9B34FB|Pressure
> Subscribe 002000000000 002000500000
  Subscribed|002000000000|002000500000|00002A6D-0000-1000-8000-00805F9B34FB|Pressure
> Get CharacteristicSubscribed[2]
  = 1
> Subscribe 002000000000 002000500000
> Set CharacteristicSubscribed[2] 0
  Unsubscribed|002000000000|002000500000|00002A6D-0000-1000-8000-00805F9B34FB|Pressure
> Get CharacteristicSubscribed[2]
  = 0
> Set CharacteristicSubscribed[2] 0
)");
}

TEST_F(Subscription, UnsubscribingAServiceOrEverything) {
  host.Config("LogLevel=0");
  ExpectPlayed(host, R"(
> Subscribe 002000000000 002000300000
  Discovered|2|002000000000|002000300000|002000300036|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
  Subscribed|002000000000|002000300000|00002A6E-0000-1000-8000-00805F9B34FB|Temperature
> Subscribe 002000000000 002000400000
  Discovered|2|002000000000|002000400000|002000400042|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
  Subscribed|002000000000|002000400000|00002A6F-0000-1000-8000-00805F9B34FB|Humidity
> Unsubscribe 010000000000
  Discovered|2|010000000000|010001010000|010001010104|00002900-0000-1000-8000-00805F9B34FB|Characteristic Extended Properties
  Discovered|2|010000000000|0100012C0000|0100012C012E|00002900-0000-1000-8000-00805F9B34FB|Characteristic Extended Properties
> Unsubscribe
  = 953 Protocol error returned during communication: [253] {253}. Client characteristic configuration descriptor (CCCD) improperly configured.
  Unsubscribed|002000000000|002000300000|00002A6E-0000-1000-8000-00805F9B34FB|Temperature
  Unsubscribed|002000000000|002000400000|00002A6F-0000-1000-8000-00805F9B34FB|Humidity
  Discovered|2|002000000000|002000500000|002000500052|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
  Unsubscribed|002000000000|002000500000|00002A6D-0000-1000-8000-00805F9B34FB|Pressure
  Discovered|2|002000000000|002000700000|002000700072|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
> Subscribe 002000000000 002000600000
  = 602 A characteristic cannot be subscribed to unless it has the 'Notify' and/or 'Indicate' flag set.
> Unsubscribe 002000000000 002000600000
  = 602 A characteristic cannot be subscribed to unless it has the 'Notify' and/or 'Indicate' flag set.
> Subscribe 002000000000 002000700000
  = 953 Protocol error returned during communication: [253] {253}. Client characteristic configuration descriptor (CCCD) improperly configured.
> Get CharacteristicSubscribed[4]
  = 0
> Disconnect
  Disconnected|0|OK
> Subscribe 002000000000 002000300000
  = 605 You must be connected to a server to perform the requested action.
)");
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
  EXPECT_EQ(host.Write(CORVANEBLE_METHOD_POST_VALUE, kPressure, std::string(62, 'x')), 713);
  ASSERT_EQ(host.Write(CORVANEBLE_METHOD_POST_VALUE, kPressure, std::string(61, 'x')), 0);
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
  ExpectPlayed(host, R"(
> Get CharacteristicValueFormatIndex[0] CharacteristicValueFormatCount[0]
  = 0, 3
  Discovered|2|002000000000|002000300000|002000300035|00002905-0000-1000-8000-00805F9B34FB|Characteristic Aggregate Format
  Discovered|2|002000000000|002000300000|002000300032|00002904-0000-1000-8000-00805F9B34FB|Characteristic Presentation Format
  Discovered|2|002000000000|002000300000|002000300033|00002904-0000-1000-8000-00805F9B34FB|Characteristic Presentation Format
  Discovered|2|002000000000|002000300000|002000300034|00002904-0000-1000-8000-00805F9B34FB|Characteristic Presentation Format
> Get CharacteristicValueFormat[0] CharacteristicValueExponent[0]
  = 4, 3
> Set CharacteristicValueFormatIndex[0] 1
> Get CharacteristicValueFormat[0] CharacteristicValueExponent[0] CharacteristicValueUnit[0]
  = 14, -2, "0000272F-0000-1000-8000-00805F9B34FB"
> Set CharacteristicValueFormatIndex[0] 3
  = 202 Invalid value format index.
> Set CharacteristicValueFormatIndex[0] -1
  = 202 Invalid value format index.
> Get CharacteristicValueFormatIndex[0]
  = 1
> Set CharacteristicValueFormatIndex[0] 2
> Select 002000000000 002000300000
> Get CharacteristicValueFormat[0] CharacteristicValueFormatIndex[0]
  = 0, 2
> Select 002000000000
> Get CharacteristicValueFormatIndex[0] CharacteristicValueFormatIndex[3]
  = 0, -1
> Set CharacteristicValueFormatIndex[3] -1
> Set CharacteristicValueFormatIndex[3] 0
  = 202 Invalid value format index.
> Get CharacteristicValueFormat[3] CharacteristicValueExponent[3] CharacteristicValueUnit[3]
  = 0, 0, ""
)");
}

/// What is written is written as it is; what is read is UTF-8, in the system's code page.
TEST_F(Subscription, UserDescriptionsAreWrittenWhereTheyMayBe) {
  ExpectPlayed(host, R"(
> Set CharacteristicUserDescription[3] x
  = 602 A characteristic's user description cannot be changed unless it has the 'Writable Auxiliaries' flag set.
> Select 010000000000
> Set CharacteristicUserDescription[1] x
  = 611 Characteristic with ID "0100012C0000" does not have a Characteristic User Description descriptor despite having the 'Writable Auxiliaries' flag set.
  Discovered|2|010000000000|0100012C0000|0100012C012E|00002900-0000-1000-8000-00805F9B34FB|Characteristic Extended Properties
> Get CharacteristicUserDescription[0] CharacteristicFlags[0]
  = "Cell", 258
  Discovered|2|010000000000|010001010000|010001010103|00002901-0000-1000-8000-00805F9B34FB|Characteristic User Description
  Discovered|2|010000000000|010001010000|010001010104|00002900-0000-1000-8000-00805F9B34FB|Characteristic Extended Properties
> Config LogLevel=3
> Set CharacteristicUserDescription[0] 'Pack A'
  Log|3|Writing new value to User Description descriptor.|Debug
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Debug
  Log|3|Successfully wrote new value to Characteristic User Description descriptor for characteristic ID "010001010000".|Debug
> Get CharacteristicUserDescription[0]
  = "Pack A"
)");
}

}  // namespace
}  // namespace ble::tests
