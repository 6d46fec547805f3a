#include "backends/simulated/ScenarioLoader.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/Radio.h"

namespace ble::simulated {
namespace {

std::string ErrorOf(std::string_view text) {
  const ScenarioResult result = ParseScenario(text, "desk.json");
  const auto* const error = std::get_if<std::string>(&result);
  return error ? *error : "";
}

Scenario Parse(const std::string& text) {
  ScenarioResult result = ParseScenario(text, "desk.json");
  if (const auto* const error = std::get_if<std::string>(&result)) {
    ADD_FAILURE() << *error;
    return {};
  }
  return std::get<Scenario>(std::move(result));
}

Bytes AdvertisingData(const std::string& data) {
  return Parse(R"({"peripherals": [{"address": "000000000001", "advertising": {"data": )" + data +
               "}}]}")
      .peripherals.at(0)
      .advertising->data;
}

TEST(Scenario, MalformedOnesNameFileAndPlace) {
  std::ifstream file(CORVANEBLE_SOURCE_DIR "/tests/data/malformed_scenarios.json");
  const auto cases = nlohmann::json::parse(file);
  ASSERT_GT(cases.size(), 30U);
  for (const auto& each : cases) {
    const std::string expected = "desk.json: " + each["error"].get<std::string>();
    const std::string error = ErrorOf(each["scenario"].dump());
    EXPECT_EQ(error.substr(0, expected.size()), expected) << each["scenario"] << "\n" << error;
  }
}

TEST(Scenario, MalformedTextNamesLineAndColumn) {
  const std::string nested(100'000, '[');
  const std::pair<std::string, std::string> cases[] = {
      {"{\n  \"time\": real\n}", "desk.json: line 2, column 11: value - invalid literal"},
      {"{} {}", "desk.json: line 1, column 4: "},
      {"{\"time\": \"\xC3\"}", "desk.json: line 1, column "},
      {"{\"adapter\": {\"address\": 1e999}}", "desk.json: line 1, column "},
      {std::string("{}\0{", 4), "desk.json: line 1, column 3: a NUL byte"},
      {"{\"captures\": [{\"file\": \"a\", \"file\": \"b\"}]}",
       "desk.json: captures[0]: the key \"file\" is given twice"},
      {nested, "desk.json: [0][0]"},
      {"[" + std::string(5 << 20, ' ') + "]", "desk.json: the file is larger than 4 MiB"},
  };
  for (const auto& [text, expected] : cases)
    EXPECT_EQ(ErrorOf(text).substr(0, expected.size()), expected) << ErrorOf(text);
  EXPECT_NE(ErrorOf(nested).find("nested too deeply"), std::string::npos);
}

TEST(Scenario, TruncatedAnywhereIsRefused) {
  const std::string_view scene = BuiltInSceneText();
  const std::size_t end = scene.rfind('}');
  for (std::size_t size = 0; size <= end; size += size < 2000 || end - size < 200 ? 1 : 97)
    ASSERT_NE(ErrorOf(scene.substr(0, size)), "") << size;
}

TEST(Scenario, AdvertisingFieldsBecomeSectionsInTheirOrder) {
  const Bytes expected = {2,    0x0A, 0xFC, 2,    0x01, 6,    3,    0x03, 0x0D, 0x18, 5,
                          0x05, 0x78, 0x56, 0x34, 0x12, 4,    0xFF, 0x4C, 0x00, 0x01, 3,
                          0x09, 'h',  'i',  5,    0x20, 0x78, 0x56, 0x34, 0x12, 0xAA, 0x55};
  // The last section lacks its last byte on purpose: raw bytes are copied unchanged.
  const Bytes data =
      AdvertisingData(R"({"txPower": -4, "flags": 6, "services": ["180D", "12345678"],
      "manufacturer": [{"company": "0x004C", "data": [1]}], "name": "hi",
      "raw": "05 20 78563412 AA 55"})");
  EXPECT_EQ(data, expected);
  EXPECT_EQ(AdvertisingData(R"({"solicited": ["00112233-4455-6677-8899-AABBCCDDEEFF"]})"),
            (Bytes{17, 0x15, 0xFF, 0xEE, 0xDD, 0xCC, 0xBB, 0xAA, 0x99, 0x88, 0x77, 0x66, 0x55, 0x44,
                   0x33, 0x22, 0x11, 0x00}));
  EXPECT_EQ(AdvertisingData(R"({"serviceData": [{"uuid": "180F", "data": {"utf8": "é"}}]})"),
            (Bytes{5, 0x16, 0x0F, 0x18, 0xC3, 0xA9}));
}

TEST(Scenario, EveryKeyReachesItsField) {
  const Scenario scenario = Parse(R"({"time": "virtual",
    "adapter": {"present": false, "startError": "disabledByUser"},
    "radioEvents": [{"at": 250}], "captures": ["a.btsnoop", {"file": "b", "pace": "fast"}],
    "peripherals": [{"address": "C0:FF:EE:00:00:0a", "addressType": "random", "mtu": 23,
      "services": [{"uuid": "180D", "primary": false, "characteristics": [{
        "uuid": "2A37", "handle": "0x0010", "properties": ["notify", "writableAuxiliaries"],
        "maxLength": 7, "readError": "insufficientEncryption", "writeError": "0x80",
        "stream": {"interval": 5, "values": ["01", [2]], "repeat": false},
        "descriptors": [
          {"userDescription": "Puls", "writable": true},
          {"presentationFormat": {"format": "sint16", "exponent": -2, "unit": "272F",
                                  "namespace": 2, "description": "0x0102"}},
          {"aggregateFormat": [18, 19]}]}]}],
      "events": [{"kind": "dropLink", "afterRequests": 3}]}]})");
  EXPECT_TRUE(scenario.virtualTime);
  EXPECT_FALSE(scenario.adapter.present);
  EXPECT_EQ(scenario.adapter.startError, BluetoothError::DisabledByUser);
  EXPECT_EQ(scenario.radioEvents.at(0).at, milliseconds(250));
  EXPECT_EQ(scenario.captures.at(0).pace, CaptureScenario::Pace::Recorded);
  EXPECT_EQ(scenario.captures.at(1).pace, CaptureScenario::Pace::Fast);
  const PeripheralScenario& peripheral = scenario.peripherals.at(0);
  EXPECT_EQ(peripheral.address, 0xC0FFEE00000AU);
  EXPECT_TRUE(peripheral.randomAddress);
  EXPECT_EQ(peripheral.events.at(0).afterRequests, 3U);
  EXPECT_FALSE(peripheral.services.at(0).primary);
  const CharacteristicScenario& characteristic = peripheral.services.at(0).characteristics.at(0);
  EXPECT_EQ(characteristic.handle, 0x10);
  EXPECT_EQ(characteristic.properties, 0x210U);
  EXPECT_EQ(characteristic.maxLength, 7U);
  EXPECT_EQ(characteristic.readError, 0x0F);
  EXPECT_EQ(characteristic.writeError, 0x80);
  EXPECT_EQ(characteristic.stream->values, (std::vector<Bytes>{{1}, {2}}));
  EXPECT_FALSE(characteristic.stream->repeat);
  EXPECT_TRUE(characteristic.descriptors.at(0).writable);
  EXPECT_EQ(characteristic.descriptors.at(0).value, (Bytes{'P', 'u', 'l', 's'}));
  EXPECT_EQ(characteristic.descriptors.at(1).value,
            (Bytes{0x0E, 0xFE, 0x2F, 0x27, 0x02, 0x02, 0x01}));
  EXPECT_EQ(characteristic.descriptors.at(2).value, (Bytes{18, 0, 19, 0}));
}

TEST(Scenario, BuiltInSceneIsOneARadioCouldSend) {
  const ScenarioResult result = BuiltInScene();
  ASSERT_TRUE(std::holds_alternative<Scenario>(result)) << std::get<std::string>(result);
  const Scenario& scene = std::get<Scenario>(result);
  EXPECT_FALSE(scene.virtualTime);
  EXPECT_EQ(scene.peripherals.size(), 5U);
  for (const PeripheralScenario& peripheral : scene.peripherals) {
    // The limit of a legacy advertising packet.
    EXPECT_LE(peripheral.advertising->data.size(), 31U) << peripheral.name;
    EXPECT_LE(peripheral.advertising->scanResponse.value_or(Bytes()).size(), 31U);
    // A random static address has its two highest bits set; the others are locally administered.
    const std::uint64_t first = peripheral.address >> 40;
    EXPECT_EQ(first & (peripheral.randomAddress ? 0xC0U : 0x03U),
              peripheral.randomAddress ? 0xC0U : 0x02U);
  }
}

TEST(OpenRadio, SaysWhyThereIsNoRadio) {
  const std::pair<const char*, const char*> cases[] = {
      {"simulated:/nowhere/desk.json", "/nowhere/desk.json: no such file"},
      {"simulated:", "lacks the name"},
      {"windows", "no radio \"windows\""},
      {"toaster", "\"toaster\""},
  };
  for (const auto& [name, text] : cases) {
    const OpenedRadio opened = OpenRadio(name);
    try {
      (void)opened.radio->GetDefaultAdapterAsync();
      ADD_FAILURE() << name;
    } catch (const PlatformFailure& failure) {
      EXPECT_NE(std::string(failure.what()).find(text), std::string::npos) << failure.what();
    }
  }
}

}  // namespace
}  // namespace ble::simulated
