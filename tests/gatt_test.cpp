#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/Host.h"

namespace ble::tests {
namespace {

/// A meter with fixed handles, and a second device.
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
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"  "}), 0);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_DISCONNECT), 0);
  EXPECT_TRUE(host.Events().empty());
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {" 00a050C4E2F1"}), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SCANNING), 0);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_SERVER_ID), kMeterId);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_SERVER_NAME), "Meter");
  host.Forget();
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"  00a050c4e2f1 "}), 0);
  EXPECT_TRUE(host.Events().empty());
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F2"}), 0);
  EXPECT_EQ(
      host.Lines(),
      (std::vector<std::string>{
          "Log|1|Disconnecting from server ID 00A050C4E2F1.|Connection",
          "Log|1|Disconnected from server ID 00A050C4E2F1.|Connection", "Disconnected|0|OK",
          "Log|1|Successfully connected to server ID 00A050C4E2F2.|Connection", "Connected|0|OK"}));
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_DISCONNECT), 0);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_SERVER_NAME), "");
}

TEST(Connect, UnknownServersAre604) {
  Host host(kMeter);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"12"}), 604);
  EXPECT_EQ(host.LastError(), "Connection to server ID 12 was unsuccessful.");
  EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_CONNECTED).front(),
            "Connected|604|Connection to server ID 12 was unsuccessful.");
  std::string value;
  EXPECT_EQ(host.Read("002000210000", "", value), 605);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_SELECT, {"", ""}), 605);
  EXPECT_EQ(host.LastError(), "You must be connected to a server to perform the requested action.");
}

TEST(Connect, LinkNameAndServiceChangesBecomeEvents) {
  const auto host = ConnectedTo(R"({"peripherals": [{"address": "00A050C4E2F1", "name": "Old",
    "services": [{"uuid": "180F"}], "events": [
      {"kind": "changeName", "at": 1000, "name": "New"},
      {"kind": "changeServices", "at": 2000, "services": [{"uuid": "180A"}]},
      {"kind": "dropLink", "at": 3000}, {"kind": "restoreLink", "at": 1000}]}]})");
  ASSERT_EQ(host->Discover(), 0);
  ASSERT_TRUE(host->PumpUntil(CORVANEBLE_EVENT_SERVER_UPDATE));
  EXPECT_EQ(host->Lines(CORVANEBLE_EVENT_SERVER_UPDATE).front(), "ServerUpdate|New|");
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVER_NAME), "New");
  ASSERT_TRUE(host->PumpUntil(CORVANEBLE_EVENT_SERVER_UPDATE, 2));
  EXPECT_EQ(host->Events(CORVANEBLE_EVENT_SERVER_UPDATE)[1].Text(0), "");
  ASSERT_TRUE(host->PumpUntil(CORVANEBLE_EVENT_DISCONNECTED));
  EXPECT_EQ(host->Lines(CORVANEBLE_EVENT_DISCONNECTED).front(), "Disconnected|0|Offline");
  EXPECT_EQ(host->Discover(), 605);
  host->Forget();
  ASSERT_TRUE(host->PumpUntil(CORVANEBLE_EVENT_CONNECTED));
  EXPECT_EQ(host->Lines(CORVANEBLE_EVENT_CONNECTED).front(), "Connected|0|Online");
  EXPECT_EQ(host->Discover(), 0);
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_DISCONNECT), 0);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_SERVICE_COUNT), 0);
}

TEST(Connect, WhatTheHostConnectsToInsideDisconnectedIsLeftWhole) {
  for (const int times : {1, 2}) {  // a handler that always connects would never end
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

TEST(Discover, AnnouncesServicesCharacteristicsAndDescriptorsInOrder) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("180F", "", true), 0);
  const std::string battery = "0000180F-0000-1000-8000-00805F9B34FB|Battery Service";
  const std::string cccd =
      "00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration";
  const auto lines = host->Lines(CORVANEBLE_EVENT_DISCOVERED);
  ASSERT_GE(lines.size(), 7U);
  EXPECT_EQ(lines[0], "Discovered|0|002000000000|||" + battery);
  EXPECT_EQ(lines[1],
            "Discovered|1|002000000000|002000210000||00002A19-0000-1000-8000-00805F9B34FB|"
            "Battery Level");
  EXPECT_EQ(lines[2], "Discovered|2|002000000000|002000210000|002000210023|" + cccd);
  EXPECT_EQ(lines[3],
            "Discovered|1|002000000000|002000300000||12345678-1234-5678-1234-56789ABCDEF0|");
  EXPECT_EQ(host->Config("AutoDiscoverDescriptors"), "False");

  ASSERT_EQ(host->SetText(CORVANEBLE_PROPERTY_SERVICE, "002000000000"), 0);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), 3);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS, 0), 0x12);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS, 1), 0x13A);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_CAN_SUBSCRIBE, 2), 0);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, 1), "Zone");
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
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_SELECT, {"", "002000210000"}), 202);
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_SELECT, {"002000000000", "002000300000"}), 0);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_CHARACTERISTIC), "002000300000");
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT), 3);
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_SELECT, {"006000000000", "002000300000"}), 601);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVICE), "006000000000");
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_SELECT, {"", ""}), 0);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), 0);
}

TEST(Discover, RediscoveredAttributesAreAnnouncedOnlyWhenWanted) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("", "", true), 0);
  const auto first = host->Lines(CORVANEBLE_EVENT_DISCOVERED);
  host->Forget();
  ASSERT_EQ(host->Discover("", "", true), 0);
  EXPECT_EQ(host->Lines(CORVANEBLE_EVENT_DISCOVERED), first);
  host->Config("IncludeRediscovered=False");
  host->Forget();
  ASSERT_EQ(host->Discover("", "", true), 0);
  EXPECT_TRUE(host->Events(CORVANEBLE_EVENT_DISCOVERED).empty());
}

TEST(Discover, FiltersLogTheirCountsAndMalformedOnesFailFirst) {
  const auto host = ConnectedTo(kMeter);
  host->Config("LogLevel=3");
  host->Forget();
  ASSERT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {",,1811,0x1811,", ""}), 0);
  const std::string uuid = "\"00001811-0000-1000-8000-00805F9B34FB\".|Discovery";
  EXPECT_EQ(host->Lines(CORVANEBLE_EVENT_LOG),
            (std::vector<std::string>{
                "Log|1|Beginning discovery of root services.|Discovery",
                "Log|2|Attempting to discover root services with UUID " + uuid,
                "Log|3|System updated device connection status to \"Connected\".|Debug",
                "Log|3|BLE Result Status: Success (Protocol Code: 0).|Discovery",
                "Log|3|Discovered 0 root services with UUID " + uuid,
                "Log|1|Finished discovering root services.|Discovery",
                "Log|2|Discovered 0 root services.|Discovery"}));
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, {"000100000000", "18"}), 600);
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, {"FFFF00000000", ""}), 601);
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {"", "FFFF00000000"}), 601);
  EXPECT_EQ(host->Discover("", "", false, "FFFF00000000"), 601);
}

TEST(Discover, IncludedServicesAreLinkedAndCyclesEnd) {
  const auto host = ConnectedTo(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [
    {"id": "s1", "uuid": "180D", "handle": 256, "includes": ["s2", "s3"]},
    {"id": "s2", "uuid": "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40", "handle": 512, "primary": false,
     "includes": ["s4"]},
    {"id": "s3", "uuid": "180A", "handle": 768, "primary": false, "includes": ["s4"]},
    {"id": "s4", "uuid": "1805", "handle": 1024, "primary": false},
    {"id": "loop", "uuid": "1812", "handle": 1280, "includes": ["loop"]}]}]})");
  host->Config("AutoDiscoverIncludedServices=True");
  host->Config("AutoDiscoverCharacteristics=True");
  ASSERT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {"180D", ""}), 0);
  std::vector<std::string> ids;
  for (const HostEvent& event : host->Events(CORVANEBLE_EVENT_DISCOVERED)) {
    ids.push_back(event.Text(1).substr(0, 4));
  }
  EXPECT_EQ(ids, (std::vector<std::string>{"0100", "0200", "0400", "0300", "0400"}));
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_SERVICE_COUNT), 4);
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVICE_INCLUDED_SVC_IDS, 0),
            "020000000000,030000000000");
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVICE_UUID, 1),
            "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40");
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVICE_PARENT_SVC_IDS, 2), "020000000000,030000000000");
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {"1812", ""}), 609);
  EXPECT_EQ(host->LastError(),
            "A cycle of included services was detected: 050000000000 < 050000000000");
  host->Config("AutoDiscoverIncludedServices=False");
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {"", "050000000000"}), 0);
  host->Forget();
  ASSERT_EQ(host->Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {"180A", "010000000000"}), 0);
  ASSERT_EQ(host->Events(CORVANEBLE_EVENT_DISCOVERED).size(),
            1U);  // 512 is included, not requested
  EXPECT_EQ(host->Events(CORVANEBLE_EVENT_DISCOVERED)[0].Text(1), "030000000000");
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_SERVICE_COUNT), 5);
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

TEST(Discover, WhatADescriptionSaysCannotHideTheRest) {
  const auto host = ConnectedTo(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [
    {"uuid": "180F", "handle": 32, "characteristics": [
      {"uuid": "2A19", "handle": 33, "properties": ["read"],
       "descriptors": [{"userDescription": "Zone\u0000]"}]},
      {"uuid": "2A1C", "handle": 48, "properties": ["read"], "descriptors": [
        {"uuid": "2901", "value": "41", "readError": "insufficientAuthentication"}]}]}]}]})");
  ASSERT_EQ(host->Discover("", "", true), 0);
  const std::string report = host->Config("GattObjTreeInfo");
  EXPECT_NE(report.find(", UserDescr=\"Zone\", VFCount=0]\r\n>>>"), std::string::npos) << report;
  EXPECT_NE(report.find("[ID=002000300032]\r\n"), std::string::npos) << report;
  const auto logs = host->Lines(CORVANEBLE_EVENT_LOG);
  EXPECT_EQ(std::count(logs.begin(), logs.end(),
                       "Log|1|The descriptor with handle 0x0032 could not be read: protocol error "
                       "0x05.|Radio"),
            1);
}

TEST(Read, DeliversTheValueTwiceAndKeepsTheCache) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("180F", "", true), 0);
  host->Forget();
  std::string value;
  ASSERT_EQ(host->Read("002000210000", "", value), 0);
  EXPECT_EQ(value, "d");
  EXPECT_EQ(host->Lines(),
            (std::vector<std::string>{
                "Log|1|Reading value for characteristic ID \"002000210000\".|Read",
                "Log|1|Successfully read value for characteristic ID \"002000210000\".|Read",
                "Value|002000000000|002000210000||00002A19-0000-1000-8000-00805F9B34FB|"
                "Battery Level|d"}));
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
  const struct {
    const char *service, *characteristic, *descriptor;
    int code;
    const char* text;
  } cases[] = {
      {"", "", "", 202, "Must supply a service ID."},
      {"", "002000210000", "", 202, "Must supply a service ID."},
      {"002000000000", nullptr, "", 202, "Must supply a characteristic ID."},
      {"001F00000000", "002000210000", "", 601,
       "No service with the ID \"001F00000000\" has been discovered."},
      {"006000000000", "002000210000", "", 601,
       "No characteristic with the ID \"002000210000\" has been discovered for the service with ID "
       "\"006000000000\"."},
      {"002000000000", "002000210000", "002000210099", 601,
       "No descriptor with the ID \"002000210099\" has been discovered for the characteristic with "
       "ID \"002000210000\"."},
  };
  for (const auto& [service, characteristic, descriptor, code, text] : cases) {
    EXPECT_EQ(host->Do(CORVANEBLE_METHOD_READ_VALUE, {service, characteristic, descriptor}), code);
    EXPECT_EQ(host->LastError(), text);
  }
}

TEST(Read, ConfigurationDescriptorsTellTheSubscriptionState) {
  const auto host = ConnectedTo(kMeter);
  ASSERT_EQ(host->Discover("180F", "2A19", true), 0);
  ASSERT_EQ(host->Do(CORVANEBLE_METHOD_SELECT, {"002000000000", ""}), 0);
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 0), 0);
  host->Forget();
  const std::string on("\x01\x00", 2);
  ASSERT_EQ(host->Write(CORVANEBLE_METHOD_WRITE_VALUE, "002000210000", on, "002000210023"), 0);
  const std::string names =
      "|002000000000|002000210000|00002A19-0000-1000-8000-00805F9B34FB|Battery Level";
  const auto lines = host->Lines();
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[2],
            "Log|1|Successfully subscribed to characteristic ID \"002000210000\".|"
            "Subscriptions");
  EXPECT_EQ(lines[3], "Subscribed" + names);
  EXPECT_EQ(lines[4].substr(0, 13), "WriteResponse");
  std::string value;
  host->Forget();
  ASSERT_EQ(host->Read("002000210000", "002000210023", value), 0);
  EXPECT_EQ(value, on);
  EXPECT_TRUE(host->Events(CORVANEBLE_EVENT_SUBSCRIBED).empty());
  EXPECT_EQ(host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 0), 1);
}

}  // namespace
}  // namespace ble::tests
