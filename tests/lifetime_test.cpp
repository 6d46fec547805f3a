#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "api/ReturnSlots.h"
#include "support/Host.h"
#include "support/StormRadio.h"

namespace ble::tests {
namespace {

constexpr const char* kSlowMeter = R"({"peripherals": [
  {"address": "00A050C4E2F1", "name": "Meter", "responseDelay": 50,
   "advertising": {"interval": 50, "data": {"name": "Meter"}},
   "services": [{"uuid": "180F", "handle": 32, "characteristics": [
     {"uuid": "2A19", "handle": 33, "properties": ["read", "notify"], "value": "64"}]}]}]})";

TEST(Wait, ExpiresAfterTheTimeoutAndLeavesTheInstanceUsable) {
  Host host(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [
    {"uuid": "180F", "handle": 32, "characteristics": [
      {"uuid": "2A19", "handle": 33, "properties": ["read"], "value": "64"},
      {"uuid": "2A1A", "handle": 40, "properties": ["read"], "responseDelay": 1500,
       "value": "01"}]}]}]})");
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  ASSERT_EQ(host.Discover("180F"), 0);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 1), 0);
  std::string value;
  EXPECT_EQ(host.Read("002000280000", "", value), 301);
  EXPECT_EQ(host.LastError(), "Timeout.");
  EXPECT_EQ(host.Read("002000210000", "", value), 0);  // a late response has no effect
  EXPECT_EQ(value, "d");
  EXPECT_EQ(CorvaneBLE_BLEClient_GetLastErrorCode(host.Handle()), 0);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_TIMEOUT, 0), 0);  // no limit
  EXPECT_EQ(host.Read("002000280000", "", value), 0);
}

TEST(Callback, MethodsWorkFromInsideIt) {
  Host host(kSlowMeter);
  std::atomic<int> code = -1;
  std::string name;
  host.onEvent = [&](const HostEvent& event) {
    if (event.id == CORVANEBLE_EVENT_ADVERTISEMENT && code.exchange(0) == -1) {
      code = host.Do(CORVANEBLE_METHOD_CONNECT, {event.Text(0).c_str()});
      if (code == 0) code = host.Discover("180F");
      name = host.Text(CORVANEBLE_PROPERTY_SERVER_NAME);
    }
    return 0;
  };
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  ASSERT_TRUE(host.PumpUntil(CORVANEBLE_EVENT_DISCOVERED));
  host.Pump(1000);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(name, "Meter");
}

TEST(Callback, DisconnectingInTheMiddleOfADiscoveryEndsIt) {
  for (const char* const how : {"", "AutoDiscoverCharacteristics=True"})
    for (const int gattType : {0, 1, 2}) {
      SCOPED_TRACE(how + std::to_string(gattType));
      Host host(kSlowMeter);
      host.Config(how);
      ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
      host.onEvent = [&](const HostEvent& event) {
        if (event.id != CORVANEBLE_EVENT_DISCOVERED || event.Integer(0) != gattType) return 0;
        return host.Do(CORVANEBLE_METHOD_DISCONNECT);
      };
      EXPECT_EQ(host.Discover("", "", true), 605);
      EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_SERVICE_COUNT), 0);
      EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), 0);
      EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_DESCRIPTOR_COUNT), 0);
    }
}

TEST(Destroy, WorksFromInsideAnyCallback) {
  for (const int where :
       {CORVANEBLE_EVENT_ADVERTISEMENT, CORVANEBLE_EVENT_START_SCAN, CORVANEBLE_EVENT_CONNECTED,
        CORVANEBLE_EVENT_DISCOVERED, CORVANEBLE_EVENT_VALUE, CORVANEBLE_EVENT_LOG}) {
    // Real time: virtual time would need a call to the destroyed instance.
    const auto radio = OpenScenario(std::string(R"({"time": "real", )") + (kSlowMeter + 1));
    Host host(radio);
    std::atomic<int> after = 0;
    std::atomic<bool> destroyed = false;
    host.onEvent = [&](const HostEvent& event) {
      if (destroyed) ++after;
      if (event.id == where && !destroyed) {
        host.Destroy();
        destroyed = true;
        return 7;  // after Destroy, the return value has no effect
      }
      return 0;
    };
    std::string value;
    if (where == CORVANEBLE_EVENT_ADVERTISEMENT || where == CORVANEBLE_EVENT_START_SCAN) {
      host.Do(CORVANEBLE_METHOD_START_SCANNING);
      while (!destroyed)
        std::this_thread::yield();
    } else {
      const auto step = [&](auto action) {
        if (!destroyed) action();
      };
      step([&] { host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}); });
      step([&] { host.Discover("180F"); });
      step([&] { host.Read("002000210000", "", value); });
    }
    EXPECT_TRUE(destroyed) << where;
    EXPECT_EQ(after, 0) << where;
  }
}

TEST(Destroy, EndsWhatAnotherThreadWaitsFor) {
  Host host(R"({"time": "real", "peripherals": [{"address": "00A050C4E2F1", "services": [
    {"uuid": "180F", "handle": 32, "characteristics": [
      {"uuid": "2A19", "handle": 33, "properties": ["read"], "neverResponds": true}]}]}]})");
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  ASSERT_EQ(host.Discover("180F"), 0);
  std::atomic<bool> reading = false;
  host.onEvent = [&](const HostEvent&) {
    return reading = true, 0;
  };  // the first Log event of the read
  std::thread destroyer([&] {
    while (!reading)
      std::this_thread::yield();
    host.Destroy();
  });
  const auto begin = std::chrono::steady_clock::now();
  std::string value;
  EXPECT_NE(host.Read("002000210000", "", value), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
  destroyer.join();
}

TEST(Destroy, ReleasesTheInstanceEvenIfThePlatformThrows) {
  std::shared_ptr<StormRadio> radio;
  Host host(StormRadio::Open(radio));
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  EXPECT_GT(radio.use_count(), 1);
  radio->isBroken = true;
  host.Destroy();
  EXPECT_EQ(radio.use_count(), 1);
}

TEST(ReturnSlots, BelongToAThreadAndEndWithItOrWithTheirInstance) {
  const auto record = std::make_shared<int>();  // every slot holds one reference
  std::optional<ReturnSlots> first{std::in_place};
  ReturnSlots second;
  const auto use = [&] { first->OfConfig().record = second.OfConfig().record = record; };
  for (int i = 0; i < 3000; ++i)
    std::thread(use).join();
  EXPECT_EQ(record.use_count(), 1);

  const ReturnSlot* const mine = &first->OfConfig();
  std::atomic<bool> isUsed = false;
  std::atomic<bool> mayEnd = false;
  std::thread thread([&] {
    use();
    EXPECT_NE(&first->OfConfig(), mine);
    isUsed = true;
    while (!mayEnd)
      std::this_thread::yield();
  });
  while (!isUsed)
    std::this_thread::yield();
  EXPECT_EQ(record.use_count(), 3);
  first.reset();
  EXPECT_EQ(record.use_count(), 2);
  mayEnd = true;
  thread.join();
  EXPECT_EQ(record.use_count(), 1);
}

TEST(ReturnedTexts, OfSeveralRecordsAreValidAtOnce) {
  Host host(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [
    {"id": "a", "uuid": "180A", "handle": 1},
    {"id": "b", "uuid": "180F", "handle": 16, "includes": ["a"], "characteristics": [
      {"uuid": "2A19", "handle": 18, "properties": ["read"], "value": "00", "descriptors": [
        {"userDescription": "First"}, {"presentationFormat": {"format": "uint8", "unit": "27AD"}}]},
      {"uuid": "2A1C", "handle": 32, "properties": ["read"], "value": "00", "descriptors": [
        {"userDescription": "Second"},
        {"presentationFormat": {"format": "uint8", "unit": "272F"}}]}]},
    {"id": "c", "uuid": "1809", "handle": 64, "includes": ["b"]}]}]})");
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  ASSERT_EQ(host.Discover(), 0);
  for (const char* including : {"001000000000", "004000000000"})
    ASSERT_EQ(host.Discover("", "", false, including), 0);
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_SELECT, {"001000000000", ""}), 0);
  const struct {
    std::int32_t property;
    std::int32_t indexes[2];
    const char* texts[2];
  } cases[] = {
      {CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION, {0, 1}, {"First", "Second"}},
      {CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_UNIT,
       {0, 1},
       {"000027AD-0000-1000-8000-00805F9B34FB", "0000272F-0000-1000-8000-00805F9B34FB"}},
      {CORVANEBLE_PROPERTY_SERVICE_INCLUDED_SVC_IDS, {1, 2}, {"000100000000", "001000000000"}},
      {CORVANEBLE_PROPERTY_SERVICE_PARENT_SVC_IDS, {0, 1}, {"001000000000", "004000000000"}},
  };
  std::vector<std::pair<const char*, const char*>> held;  // what was returned, what it says
  for (const auto& [property, indexes, texts] : cases) {
    for (int i : {0, 1, 1, 0}) {
      held.emplace_back(reinterpret_cast<const char*>(host.Get(property, indexes[i])), texts[i]);
    }
  }
  for (const auto& [returned, text] : held)
    EXPECT_STREQ(returned, text);
}

/// Exits the process during eight scans, whose threads convert device names.
[[noreturn]] void EndInTheMiddleOfScans() {
  static std::atomic<int> heard;
  std::string devices;
  for (int i = 0; i < 20; ++i)
    devices +=
        std::string(i == 0 ? "" : ", ") + R"({"address": "00A050C4E2)" + std::to_string(10 + i) +
        R"(", "advertising": {"interval": 20, "data": {"name": "M\u00e4\u00dfger\u00e4t"}}})";
  auto& hosts = *new std::vector<std::unique_ptr<Host>>;
  for (int i = 0; i < 8; ++i) {
    hosts.push_back(std::make_unique<Host>(
        OpenScenario(R"({"time": "real", "peripherals": [)" + devices + "]}")));
    hosts.back()->Config("CodePage=1252");
    hosts.back()->onEvent = [](const HostEvent&) { return ++heard, 0; };
    hosts.back()->Do(CORVANEBLE_METHOD_START_SCANNING);
  }
  while (heard < 100)
    std::this_thread::yield();
  std::exit(0);
}

TEST(ProcessEnd, WithInstancesThatScanIsNoCrash) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (int i = 0; i < 10; ++i)
    EXPECT_EXIT(EndInTheMiddleOfScans(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace ble::tests
