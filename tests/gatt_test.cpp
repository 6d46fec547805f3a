#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/Host.h"
#include "support/Script.h"

namespace ble::tests {
namespace {

/// A meter at a fixed set of handles, and a second device.
constexpr const char* kMeter = R"({"peripherals": [
  {"address": "00A050C4E2F1", "name": "Meter", "services": [
    {"uuid": "180F", "handle": 32, "characteristics": [
      {"uuid": "2A19", "handle": 33, "properties": ["read", "notify"], "value": "64"},
      {"uuid": "12345678-1234-5678-1234-56789ABCDEF0", "handle": 48,
       "properties": ["read", "write", "indicate", "notify", "writableAuxiliaries"], "value": "",
       "descriptors": [{"userDescription": "Zone"}]},
      {"uuid": "2A1C", "handle": 64, "properties": ["read"], "readError": "0x85"}]},
    {"id": "inner", "uuid": "180A", "handle": 80, "primary": false, "characteristics": [
      {"uuid": "2A29", "handle": 81, "properties": ["read"], "value": {"utf8": "Corvane"}}]},
    {"uuid": "1809", "handle": 96, "includes": ["inner"]}]},
  {"address": "00A050C4E2F2", "name": "Other"}]})";

constexpr const char* kMeterId = "00A050C4E2F1";

std::unique_ptr<Host> ConnectedTo(const std::string& scene, const char* id = kMeterId) {
  auto host = std::make_unique<Host>(scene);
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_CONNECT, {id}), 0);
  return host;
}

TEST(Connect, OneServerAtATime) {
  Host host(kMeter);
  ExpectPlayed(host, R"(
> Connect '  '
> Disconnect
> StartScanning
  Log|1|Scanning started.|Scanning
  StartScan|
> Connect ' 00a050C4E2F1'
~ Log|1|Scanning stopped.|Scanning
~ StopScan|0|
  Log|1|Successfully connected to server ID 00a050C4E2F1.|Connection
  Connected|0|OK
> Get Scanning ServerId ServerName
  = 0, "00A050C4E2F1", "Meter"
> Connect '  00a050c4e2f1 '
> Connect 00A050C4E2F2
  Log|1|Disconnecting from server ID 00A050C4E2F1.|Connection
  Log|1|Disconnected from server ID 00A050C4E2F1.|Connection
  Disconnected|0|OK
  Log|1|Successfully connected to server ID 00A050C4E2F2.|Connection
  Connected|0|OK
> Disconnect
  Log|1|Disconnecting from server ID 00A050C4E2F2.|Connection
  Log|1|Disconnected from server ID 00A050C4E2F2.|Connection
  Disconnected|0|OK
> Get ServerName
  = ""
> Connect 12
  = 604 Connection to server ID 12 was unsuccessful.
  Log|1|Connection to server ID 12 was unsuccessful.|Connection
  Connected|604|Connection to server ID 12 was unsuccessful.
> ReadValue 002000000000 002000210000
  = 605 You must be connected to a server to perform the requested action.
> Select
  = 605 You must be connected to a server to perform the requested action.
)");
}

TEST(Connect, LinkNameAndServiceChangesBecomeEvents) {
  Host host(R"({"peripherals": [{"address": "00A050C4E2F1", "name": "Old",
    "services": [{"uuid": "180F"}], "events": [
      {"kind": "changeName", "at": 1000, "name": "New"},
      {"kind": "changeServices", "at": 2000, "services": [{"uuid": "180A"}]},
      {"kind": "dropLink", "at": 3000}, {"kind": "restoreLink", "at": 1000}]}]})");
  ExpectPlayed(host, R"(
> Config LogLevel=0
> Connect 00A050C4E2F1
  Connected|0|OK
> DiscoverServices
  Discovered|0|000100000000|||00001800-0000-1000-8000-00805F9B34FB|Generic Access
  Discovered|0|000600000000|||00001801-0000-1000-8000-00805F9B34FB|Generic Attribute
  Discovered|0|000A00000000|||0000180F-0000-1000-8000-00805F9B34FB|Battery Service
> Config LogLevel=3
> Pass 1000
~ Log|2|Server's name has changed to New.|Verbose
~ ServerUpdate|New|
> Get ServerName
  = "New"
> Pass 1000
~ Log|2|Server's services have changed.|Verbose
~ ServerUpdate||0x0001-0xFFFF
> Pass 1000
~ Log|3|System updated device connection status to "Disconnected".|Debug
~ Disconnected|0|Offline
> DiscoverServices
  = 605 You must be connected to a server to perform the requested action.
> Pass 1000
~ Log|3|System updated device connection status to "Connected".|Debug
~ Connected|0|Online
> Config LogLevel=0
> DiscoverServices 1812
> Disconnect
  Disconnected|0|OK
> Get ServiceCount
  = 0
)");
}

TEST(Connect, WhatTheHostConnectsToInsideDisconnectedIsLeftWhole) {
  for (const int times : {1, 2}) {  // a handler that does it always would never come to an end
    const auto host = ConnectedTo(R"({"peripherals": [
      {"address": "00A050C4E2F1", "services": [{"uuid": "180F"}]},
      {"address": "00A050C4E2F2"}, {"address": "00A050C4E2F3"}]})",
                                  "00A050C4E2F2");
    int left = times;
    host->onEvent = [&](const HostEvent& event) {
      if (event.id != CORVANEBLE_EVENT_DISCONNECTED || left-- <= 0) return 0;
      EXPECT_EQ(host->Do(CORVANEBLE_METHOD_CONNECT, {kMeterId}), 0);
      EXPECT_EQ(host->Discover(), 0);
      EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_SERVICE_COUNT), 3);
      return 0;
    };
    EXPECT_EQ(host->Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F3"}), 0);
    EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVER_ID), "00A050C4E2F3");
    EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_SERVICE_COUNT), 0);
    EXPECT_EQ(host->Lines(CORVANEBLE_EVENT_DISCONNECTED).size(), 2U);
    EXPECT_EQ(host->Lines(CORVANEBLE_EVENT_CONNECTED).size(), times == 1 ? 3U : 4U);
  }
}

TEST(Connect, ALinkLostInsideConnectedIsTold) {
  Host host(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [{"uuid": "180F"}],
    "events": [{"kind": "dropLink", "at": 500}]}]})");
  host.onEvent = [&](const HostEvent& event) {
    if (event.id != CORVANEBLE_EVENT_CONNECTED) return 0;
    EXPECT_EQ(host.Discover(), 0);
    host.Pump(1000);
    return 0;
  };
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {kMeterId}), 0);
  EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_DISCONNECTED),
            std::vector<std::string>{"Disconnected|0|Offline"});
  EXPECT_EQ(host.Discover(), 605);
}

TEST(Discover, WhatIsFoundIsShownAndSelected) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("180F", "", true), 0);
  EXPECT_EQ(host->Config("AutoDiscoverDescriptors"), "False");
  ASSERT_EQ(host->SetText(CORVANEBLE_PROPERTY_SERVICE, "002000000000"), 0);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), 3);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_CAN_SUBSCRIBE, 2), 0);
  const auto first = host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, 0);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, 1), "002000300000");
  EXPECT_STREQ(reinterpret_cast<const char*>(first), "002000210000");  // still what it was
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(
                host->Get(CORVANEBLE_WIDE + CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, 1))),
            u"002000300000");

  ASSERT_EQ(host->SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC, "002000210000"), 0);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT), 1);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_DESCRIPTOR_ID, 0), "002000210023");
  EXPECT_EQ(host->SetText(CORVANEBLE_PROPERTY_SERVICE, "FFFF00000000"), 601);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_CHARACTERISTIC), "");
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT), 0);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVICE), "002000000000");
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), 3);
}

TEST(Discover, SelectTakesServiceAndCharacteristicTogether) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("", "", true), 0);
  ExpectPlayed(*host, R"(
> Select '' 002000210000
  = 202 Must supply a service ID.
> Select 002000000000 002000300000
> Get Characteristic DescriptorCount DescriptorId[0] DescriptorUuid[2] DescriptorDescription[2]
  = "002000300000", 3, "002000300032", "00002900-0000-1000-8000-00805F9B34FB", "Characteristic Extended Properties"
> Select 006000000000 002000300000
  = 601 No characteristic with the ID "002000300000" has been discovered for the service with ID "006000000000".
> Get Service Characteristic CharacteristicCount DescriptorCount
  = "006000000000", "", 0, 0
> Select
> Get Service CharacteristicCount
  = "", 0
)");
}

TEST(Discover, IncludedServicesAreLinkedAndCyclesEnd) {
  const auto host = ConnectedTo(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [
    {"id": "s1", "uuid": "180D", "handle": 256, "includes": ["s2", "s3"]},
    {"id": "s2", "uuid": "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40", "handle": 512, "primary": false,
     "includes": ["s4"]},
    {"id": "s3", "uuid": "180A", "handle": 768, "primary": false, "includes": ["s4"]},
    {"id": "s4", "uuid": "1805", "handle": 1024, "primary": false},
    {"id": "loop", "uuid": "1812", "handle": 1280, "includes": ["loop"]}]}]})");
  ExpectPlayed(*host, R"(
> Config LogLevel=0
> Config AutoDiscoverIncludedServices=True
> Config AutoDiscoverCharacteristics=True
> DiscoverServices 180D
  Discovered|0|010000000000|||0000180D-0000-1000-8000-00805F9B34FB|Heart Rate
  Discovered|0|020000000000|||5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40|
  Discovered|0|040000000000|||00001805-0000-1000-8000-00805F9B34FB|Current Time Service
  Discovered|0|030000000000|||0000180A-0000-1000-8000-00805F9B34FB|Device Information
  Discovered|0|040000000000|||00001805-0000-1000-8000-00805F9B34FB|Current Time Service
> Get ServiceCount ServiceIncludedSvcIds[0] ServiceUuid[1] ServiceParentSvcIds[2]
  = 4, "020000000000,030000000000", "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40", "020000000000,030000000000"
> DiscoverServices 1812
  = 609 A cycle of included services was detected: 050000000000 < 050000000000
  Discovered|0|050000000000|||00001812-0000-1000-8000-00805F9B34FB|Human Interface Device
  Discovered|0|050000000000|||00001812-0000-1000-8000-00805F9B34FB|Human Interface Device
> Config AutoDiscoverIncludedServices=False
> DiscoverServices '' 050000000000
  Discovered|0|050000000000|||00001812-0000-1000-8000-00805F9B34FB|Human Interface Device
> DiscoverServices 180A 010000000000
  Discovered|0|030000000000|||0000180A-0000-1000-8000-00805F9B34FB|Device Information
> Get ServiceCount
  = 5
)");
}

TEST(Discover, ServicesThatNobodyIncludesAreNotCounted) {
  std::string services;
  for (int i = 0; i < 4200; ++i)
    services += R"({"uuid": "180F"},)";
  services.back() = ']';
  const auto host = ConnectedTo(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [)" +
                                services + "}]}");
  host->Config("LogLevel=0");
  host->Config("AutoDiscoverIncludedServices=True");
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {"", ""}), 0) << host->LastError();
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_SERVICE_COUNT), 4202);  // with the two of every device
}

TEST(Discover, ADescriptionThatCannotBeReadHidesNothing) {
  const auto host = ConnectedTo(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [
    {"uuid": "180F", "handle": 32, "characteristics": [
      {"uuid": "2A1C", "handle": 48, "properties": ["read"], "descriptors": [
        {"uuid": "2901", "value": "41", "readError": "insufficientAuthentication"}]}]}]}]})");
  ASSERT_EQ(host->Discover("", "", true), 0);
  EXPECT_NE(host->Config("GattObjTreeInfo").find("[ID=002000300032]\r\n"), std::string::npos);
  const auto logs = host->Lines(CORVANEBLE_EVENT_LOG);
  EXPECT_EQ(std::count(logs.begin(), logs.end(),
                       "Log|1|The descriptor with handle 0x0032 could not be read: protocol error "
                       "0x05.|Radio"),
            1);
}

TEST(Read, ReturnsTheValueAndKeepsTheCache) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("180F", "", true), 0);
  std::string value;
  ASSERT_EQ(host->Read("002000210000", "", value), 0);
  EXPECT_EQ(value, "d");
  ASSERT_EQ(host->Do(CORVANEBLE_METHOD_SELECT, {"002000000000", ""}), 0);
  std::int32_t length = -1;
  const auto bytes = CorvaneBLE_BLEClient_Get(
      host->Handle(), CORVANEBLE_PROPERTY_CHARACTERISTIC_CACHED_VALUE, 0, &length, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes), 1), "d");
  EXPECT_EQ(length, 1);
  const auto wide = CorvaneBLE_BLEClient_Get(
      host->Handle(), CORVANEBLE_BYTES_AS_WIDE + CORVANEBLE_PROPERTY_CHARACTERISTIC_CACHED_VALUE, 0,
      &length, nullptr);
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(wide)), u"d");
  EXPECT_EQ(length, 1);

  EXPECT_EQ(host->Read("002000300000", "", value), 0);
  EXPECT_EQ(value, "");
  value = "kept";
  EXPECT_EQ(host->Read("002000400000", "", value), 612);
  EXPECT_EQ(value, "kept");
}

TEST(Read, IdsAreChecked) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("", "", true), 0);
  ExpectPlayed(*host, R"(
> ReadValue
  = 202 Must supply a service ID.
> ReadValue '' 002000210000
  = 202 Must supply a service ID.
> ReadValue 002000000000
  = 202 Must supply a characteristic ID.
> ReadValue 001F00000000 002000210000
  = 601 No service with the ID "001F00000000" has been discovered.
> ReadValue 006000000000 002000210000
  = 601 No characteristic with the ID "002000210000" has been discovered for the service with ID "006000000000".
> ReadValue 002000000000 002000210000 002000210099
  = 601 No descriptor with the ID "002000210099" has been discovered for the characteristic with ID "002000210000".
> PostValue
  = 202 Must supply a characteristic ID.
> PostValue 002000000000
  = 202 Must supply a characteristic ID.
> PostValue '' 002000210000
  = 202 Must supply a service ID.
> WriteValue
  = 202 Must supply a service ID.
> WriteValue 002000000000
  = 202 Must supply a characteristic ID.
> DiscoverCharacteristics 000100000000 18
  = 600 UUIDs hexadecimal strings must represent either 16-, 32-, or 128-bit values.
> DiscoverCharacteristics FFFF00000000
  = 601 No service with the ID "FFFF00000000" has been discovered.
> DiscoverServices '' FFFF00000000
  = 601 No service with the ID "FFFF00000000" has been discovered.
> DiscoverDescriptors FFFF00000000 002000210000
  = 601 No service with the ID "FFFF00000000" has been discovered.
> DiscoverDescriptors 006000000000 002000210000
  = 601 No characteristic with the ID "002000210000" has been discovered for the service with ID "006000000000".
> Discover '' '' 0 FFFF00000000
  = 601 No service with the ID "FFFF00000000" has been discovered.
> Subscribe '' 002000210000
  = 601 No service with the ID "" has been discovered.
> Unsubscribe '' 002000210000
  = 202 Must supply a service ID.
> Unsubscribe FFFF00000000
  = 601 No service with the ID "FFFF00000000" has been discovered.
)");
}

}  // namespace
}  // namespace ble::tests
