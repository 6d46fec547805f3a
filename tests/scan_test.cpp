#include <gtest/gtest.h>

#include <algorithm>

#include "support/Environment.h"
#include "support/Host.h"

namespace ble::tests {
namespace {

/// A strap with everything in its packet, and a beacon with nothing.
constexpr const char* kTraffic = R"({"peripherals": [
  {"address": "00:A0:50:C4:E2:F1", "advertising": {"interval": 100, "rssi": -42,
    "data": {"services": ["180D", "180F"], "name": "Strap", "txPower": -12,
             "manufacturer": [{"company": 76, "data": "0102"}, {"company": "0xFFFF", "data": "AB00"}],
             "serviceData": [{"uuid": "180F", "data": "64"}], "solicited": ["1805"]},
    "scanResponse": {"name": "Strap, answering"}}},
  {"address": "00:00:00:00:00:02", "advertising": {"interval": 100,
    "type": "nonConnectableUndirected", "data": {"raw": "0216"}}}]})";

constexpr const char* kStrap =
    "Advertisement|00A050C4E2F1|Strap|-42|-12|"
    "0000180D-0000-1000-8000-00805F9B34FB,0000180F-0000-1000-8000-00805F9B34FB|"
    "0000180F-0000-1000-8000-00805F9B34FB|00001805-0000-1000-8000-00805F9B34FB|76|\x01\x02|1|0";
constexpr const char* kResponse =
    "Advertisement|00A050C4E2F1|Strap, answering|-42|-2147483648||||-1||0|1";
constexpr const char* kBeacon = "Advertisement|000000000002||-60|-2147483648||||-1||0|0";

TEST(Scan, ReportsEveryFieldOfEveryPacket) {
  Host host(kTraffic);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SCANNING), 1);
  host.Pump(500);
  const auto lines = host.Lines(CORVANEBLE_EVENT_ADVERTISEMENT);
  EXPECT_GE(std::count(lines.begin(), lines.end(), kStrap), 4);
  EXPECT_GE(std::count(lines.begin(), lines.end(), kBeacon), 4);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), kResponse), 0);
  for (const HostEvent& event : host.Events(CORVANEBLE_EVENT_ADVERTISEMENT)) {
    EXPECT_NE(event.thread, std::this_thread::get_id());
  }
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);  // already scanning: nothing happens
  EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_START_SCAN).size(), 1U);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_STOP_SCANNING), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SCANNING), 0);
}

TEST(Scan, ActiveScansHearScanResponsesAndFiltersHold) {
  Host host(kTraffic);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_ACTIVE_SCANNING, 1), 0);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING, {"180f, 180D"}), 0);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_ACTIVE_SCANNING, 1), 0);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_ACTIVE_SCANNING, 0), 602);
  host.Pump(300);
  const auto filtered = host.Lines(CORVANEBLE_EVENT_ADVERTISEMENT);
  EXPECT_EQ(std::count(filtered.begin(), filtered.end(), kBeacon), 0);
  EXPECT_GE(std::count(filtered.begin(), filtered.end(), kStrap), 2);
  EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_START_SCAN).front(),
            "StartScan|0000180F-0000-1000-8000-00805F9B34FB,0000180D-0000-1000-8000-00805F9B34FB");
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_STOP_SCANNING), 0);
  ASSERT_TRUE(host.PumpUntil(CORVANEBLE_EVENT_STOP_SCAN));
  host.Forget();
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  host.Pump(300);
  const auto all = host.Lines(CORVANEBLE_EVENT_ADVERTISEMENT);
  EXPECT_GE(std::count(all.begin(), all.end(), kResponse), 2);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING, {"XYZ"}), 0);  // scanning: not even parsed
}

TEST(Scan, SettingsOfTheAdvertisementBeingReported) {
  Host host(kTraffic);
  std::vector<std::string> answers;
  host.onEvent = [&](const HostEvent& event) {
    if (event.id == CORVANEBLE_EVENT_ADVERTISEMENT && event.Text(1) == "Strap" && answers.empty()) {
      for (const char* text :
           {"ManufacturerDataCount", "ManufacturerCompanyId[1]", "ManufacturerData( 1 )",
            "ManufacturerData[2]", "manufacturerdata[-1]", "ServiceData=180F", "ServiceData=1805",
            "ServiceData=18"}) {
        answers.push_back(host.Config(text));
      }
    }
    return 0;
  };
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  host.Pump(300);
  EXPECT_EQ(answers,
            (std::vector<std::string>{"2", "65535", "\xAB", "!202", "!202", "d", "!202", "!600"}));
  EXPECT_EQ(host.Config("ManufacturerDataCount"), "!602");  // not on this thread, nor afterwards
}

TEST(Scan, RadiosThatCannotScan) {
  const struct {
    const char* adapter;
    int code;
    const char* text;
  } cases[] = {
      {R"({"present": false})", 613, "No Bluetooth adapter found."},
      {R"({"lowEnergy": false})", 613, "Bluetooth adapter does not support Low Energy."},
      {R"({"neverStarts": true})", 0, ""},
      {R"({"startError": "disabledByUser"})", 0, ""},
  };
  for (const auto& [adapter, code, text] : cases) {
    Host host(std::string(R"({"adapter": )") + adapter + "}");
    EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), code) << adapter;
    EXPECT_EQ(host.LastError(), text);
    EXPECT_TRUE(host.Events(CORVANEBLE_EVENT_START_SCAN).empty());
    if (code != 0) continue;
    const auto logs = host.Lines(CORVANEBLE_EVENT_LOG);
    EXPECT_EQ(logs.back(), "Log|1|Scanning failed to start.|Scanning");
  }
}

TEST(Scan, OneThatBeginsLateBeginsByItselfUnlessItWasStopped) {
  for (const bool stopped : {false, true}) {
    Host host(R"({"adapter": {"scanStartLatency": 3000}})");
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
    EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SCANNING), 0);
    EXPECT_EQ(host.Do(stopped ? CORVANEBLE_METHOD_STOP_SCANNING : CORVANEBLE_METHOD_DO_EVENTS), 0);
    host.Pump(5000);
    EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SCANNING), stopped ? 0 : 1);
    EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_STOP_SCAN).size(), stopped ? 1U : 0U);
  }
}

TEST(Scan, ASecondOneReplacesOneThatHasNotBegun) {
  Host host(std::string(R"({"adapter": {"scanStartLatency": 3000}, )") + (kTraffic + 1));
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING, {"1809"}), 0);
  ASSERT_EQ(host.Set(CORVANEBLE_PROPERTY_ACTIVE_SCANNING, 1), 0);
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING, {"180D"}), 0);
  host.Pump(4000);
  const auto lines = host.Lines(CORVANEBLE_EVENT_ADVERTISEMENT);
  EXPECT_GE(std::count(lines.begin(), lines.end(), kStrap), 4);
  EXPECT_TRUE(host.Events(CORVANEBLE_EVENT_STOP_SCAN).empty());
}

TEST(Scan, WaitingForOnesEndIsNotWaitingForTheNext) {
  for (const int method : {CORVANEBLE_METHOD_STOP_SCANNING, CORVANEBLE_METHOD_CONNECT}) {
    Host host(kTraffic);
    ASSERT_EQ(host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 2), 0);
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
    host.onEvent = [&](const HostEvent& event) {
      return event.id == CORVANEBLE_EVENT_STOP_SCAN ? host.Do(CORVANEBLE_METHOD_START_SCANNING) : 0;
    };
    EXPECT_EQ(host.Do(method, {"00A050C4E2F1"}), 0);
    ASSERT_TRUE(host.PumpUntil(CORVANEBLE_EVENT_START_SCAN, 2));
    EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SCANNING), 1);
    host.onEvent = {};
    EXPECT_EQ(host.Do(CORVANEBLE_METHOD_STOP_SCANNING), 0);
  }
}

TEST(Scan, NothingIsLeftToStopOfOneThatWasRefused) {
  Host host(R"({"time": "real", "adapter": {"startError": "disabledByUser"}})");
  for (int round = 0; round < 200; ++round) {
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
    host.Config("LogLevel=2");
    host.Forget();
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_STOP_SCANNING), 0);
    ASSERT_TRUE(host.Events(CORVANEBLE_EVENT_LOG).empty()) << round;
    host.Config("LogLevel=0");
  }
}

TEST(Scan, AnAbortedScanSaysWhyAndCanBeRepeated) {
  Host host(R"({"radioEvents": [{"at": 200, "error": "radioNotAvailable"}]})");
  for (int round = 0; round < 2; ++round) {
    host.Forget();
    ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
    ASSERT_TRUE(host.PumpUntil(CORVANEBLE_EVENT_STOP_SCAN));
    EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_ERROR).front(),
              "Error|603|Scanning was aborted for the following reason: RadioNotAvailable");
    EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_STOP_SCAN).front(), "StopScan|603|RadioNotAvailable");
    EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SCANNING), 0);
  }
}

TEST(Events, AFailingHandlerIsRecordedOnceAndReported) {
  Host host("{}");
  host.onEvent = [](const HostEvent& event) {
    return event.id == CORVANEBLE_EVENT_START_SCAN || event.id == CORVANEBLE_EVENT_ERROR ? 7 : 0;
  };
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  EXPECT_EQ(host.Lines(CORVANEBLE_EVENT_ERROR),
            (std::vector<std::string>{
                "Error|7|An unhandled error occurred in the StartScan event handler"}));
  EXPECT_EQ(CorvaneBLE_BLEClient_GetEventErrorCode(host.Handle()), 7);
  EXPECT_STREQ(CorvaneBLE_BLEClient_GetEventError(host.Handle()),
               "An unhandled error occurred in the StartScan event handler");

  Host own("{}");
  own.onEvent = [&](const HostEvent& event) {
    return event.id == CORVANEBLE_EVENT_START_SCAN
               ? CorvaneBLE_BLEClient_SetEventErrorAndCode(own.Handle(), 9, "mine")
               : 0;
  };
  ASSERT_EQ(own.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  EXPECT_TRUE(own.Events(CORVANEBLE_EVENT_ERROR).empty());
  EXPECT_STREQ(CorvaneBLE_BLEClient_GetEventError(own.Handle()), "mine");
}

/// Adds the texts of Log and StartScan events, which come as UTF-16; a null one as "-".
int32_t CORVANEBLE_CALL AddWideTexts(void* userData, int32_t eventId, int32_t /*paramCount*/,
                                     const intptr_t* params, const int32_t* /*lengths*/) {
  auto& texts = *static_cast<std::u16string*>(userData);
  const auto add = [&](intptr_t text) {
    texts += text != 0 ? reinterpret_cast<const char16_t*>(text) : u"-";
    texts += u'|';
  };
  if (eventId == CORVANEBLE_EVENT_LOG) add(params[1]), add(params[2]);
  if (eventId == CORVANEBLE_EVENT_START_SCAN) add(params[0]);
  return 0;
}

/// What the events of the beginning of a scan say, after a configuration text.
std::u16string TextsOfAStart(const char* config) {
  SetEnvironment("CORVANEBLE_RADIO", "simulated");
  std::u16string texts;
  auto* client =
      CorvaneBLE_BLEClient_Create(&AddWideTexts, &texts, nullptr, CORVANEBLE_UNICODE_EVENTS);
  SetEnvironment("CORVANEBLE_RADIO", "");
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(config), 0};
  for (const int method : {CORVANEBLE_METHOD_CONFIG, CORVANEBLE_METHOD_START_SCANNING}) {
    EXPECT_EQ(CorvaneBLE_BLEClient_Do(client, method, 1, params, nullptr, nullptr), 0);
    params[0] = 0;
  }
  CorvaneBLE_BLEClient_Destroy(client);
  return texts;
}

TEST(Events, UnicodeEventsCarryUtf16AndNullForWhatCannotBeConverted) {
  EXPECT_EQ(TextsOfAStart("CodePage=65001"), u"Scanning started.|Scanning||");
  EXPECT_EQ(TextsOfAStart("CodePage=1200"), u"-|-||");
}

}  // namespace
}  // namespace ble::tests
