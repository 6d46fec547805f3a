// Tests the C++ wrapper as a host: C++17, the shared library, only the public headers.
#include <corvaneble/corvaneble.hpp>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "gtest/gtest.h"

namespace corvaneble {
namespace {

Client ClientIn(const std::string& scene) {
  const std::string radio = "simulated:" CORVANEBLE_SCENES_DIR "/" + scene;
#if defined(_WIN32)
  _putenv_s("CORVANEBLE_RADIO", radio.c_str());
#else
  setenv("CORVANEBLE_RADIO", radio.c_str(), 1);
#endif
  return Client();
}

/// Collects events of one kind from any thread.
template <class Event>
struct Collected {
  std::mutex mutex;
  std::vector<Event> events;

  Handler<Event> Collector() {
    return [this](const Event& event) {
      const std::lock_guard<std::mutex> lock(mutex);
      events.push_back(event);
    };
  }
  std::size_t Count() {
    const std::lock_guard<std::mutex> lock(mutex);
    return events.size();
  }
};

TEST(CppWrapper, AdvertisementsSayWhatIsAbsent) {
  Client client = ClientIn("advertisers.json");
  Collected<AdvertisementEvent> heard;
  client.OnAdvertisement(heard.Collector());
  client.SetActiveScanning(true);
  client.StartScanning();
  ASSERT_TRUE(client.DoEventsUntil([&] { return heard.Count() >= 12; }, 500));
  client.StopScanning();
  EXPECT_FALSE(client.Scanning());
  bool beacon = false, named = false, serves = false;
  for (const AdvertisementEvent& event : heard.events) {
    if (event.serverId == "E10000000001") {
      beacon = true;
      EXPECT_EQ(event.companyId, 0xFFFF);
      EXPECT_EQ(event.manufacturerData, (Bytes{0x02, 0x15, 0x00, 0x01}));
      EXPECT_EQ(event.txPower, std::nullopt);
    } else if (event.isScanResponse) {
      named = true;
      EXPECT_EQ(event.name, u8"K\u00FCche");
    } else if (event.serverId == "0AC0DE000004") {
      serves = true;
      EXPECT_EQ(event.companyId, std::nullopt);
      EXPECT_EQ(SplitList(event.serviceUuids + ',' + event.servicesWithData).size(), 2u);
    }
  }
  EXPECT_TRUE(beacon && named && serves);
}

TEST(CppWrapper, ListsValuesAndSubscriptions) {
  Client client = ClientIn("echo.json");
  client.Connect("C40E00000003");
  client.Discover("9A1B0001-3C5D-4E7F-8A9B-0C1D2E3F4051", "", true);
  const std::vector<Service> services = client.Services();
  ASSERT_EQ(services.size(), 1u);
  const std::string service = services[0].id;
  const auto found = client.Characteristics(service);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0].flags, Flags::Write | Flags::WriteWithoutResponse | Flags::Notify);
  EXPECT_TRUE(found[0].CanSubscribe() && !found[1].CanSubscribe());
  EXPECT_EQ(client.Descriptors(service, found[1].id).at(0).uuid.substr(4, 4), "2901");

  Collected<ValueEvent> values;
  client.OnValue(values.Collector());
  client.Subscribe(service, found[0].id);
  EXPECT_TRUE(client.CharacteristicSubscribed(0));
  const Bytes sent{0, 1, 0};
  client.PostValue(service, found[0].id, sent);
  ASSERT_TRUE(client.DoEventsUntil([&] { return values.Count() == 1; }, 100));
  EXPECT_EQ(values.events[0].value, sent);
  EXPECT_EQ(client.CharacteristicCachedValue(0), sent);
  client.WriteValue(service, found[1].id, Bytes(300, 7));
  EXPECT_EQ(client.ReadValue(service, found[1].id), Bytes(300, 7));
  client.SetCharacteristicUserDescription(1, "Shopping");
  EXPECT_EQ(client.ReadValue(service, found[1].id, client.DescriptorId(0)), ToBytes("Shopping"));
}

TEST(CppWrapper, FailuresThrowWithCodeAndText) {
  Client client = ClientIn("locked.json");
  try {
    (void)client.ServiceId(3);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), CORVANEBLE_ERROR_INVALID_INDEX);
    EXPECT_STREQ(error.what(), "Invalid ServiceIndex (out of bounds).");
  }
  EXPECT_EQ(client.Version(), "CORVANEBLE_VERSION_20_0_7928");
  EXPECT_EQ(client.ServiceCount(), 0);  // succeeds although the call before failed
  EXPECT_THROW(client.Config("NoSuchSetting"), Error);
  try {
    client.SetSelectedService("0000FFFF0000");
    FAIL();
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), "No service with the ID \"0000FFFF0000\" has been discovered.");
  }
  EXPECT_THROW(client.SetCharacteristicSubscribed(0, true), Error);
}

TEST(CppWrapper, WhatHandlersThrowIsKept) {
  Client client = ClientIn("doorstep.json");
  EXPECT_FALSE(client.EventError());
  client.OnStartScan([](const auto&) { throw Error(4711, "mine"); });
  client.StartScanning();
  ASSERT_TRUE(client.EventError());
  EXPECT_EQ(client.EventError()->Code(), 4711);
  EXPECT_STREQ(client.EventError()->what(), "mine");
  client.ClearEventError();
  client.OnAdvertisement([](const auto&) { throw 1; });  // on a thread of the radio
  EXPECT_TRUE(client.DoEventsUntil([&] { return client.EventError().has_value(); }, 100));
  EXPECT_EQ(client.EventError()->Code(), CORVANEBLE_ERROR_UNKNOWN);
}

TEST(CppWrapper, OneHandlerForAllEventsAndOneForTheEndOfMethods) {
  Client client = ClientIn("echo.json");
  std::vector<AnyEvent> kept;
  client.OnAnyEvent([&](AnyEvent event) {
    if (!std::holds_alternative<LogEvent>(event)) kept.push_back(std::move(event));
  });
  std::vector<std::int32_t> codes;
  std::size_t keptAtTheEnd = 0;
  bool nested = false;
  client.OnMethodEnd([&](const MethodEndEvent& end) {
    codes.push_back(end.code);
    keptAtTheEnd = kept.size();
    nested = !nested;
    if (!nested) return;
    client.Config("BuildInfo");  // neither may change what the method returns or throws
    EXPECT_THROW((void)client.ServiceId(99), Error);
  });
  EXPECT_EQ(client.Config("LogLevel"), "1");
  client.Connect("C40E00000003");
  EXPECT_EQ(keptAtTheEnd, 1u);
  client.DiscoverServices("9A1B0001-3C5D-4E7F-8A9B-0C1D2E3F4051");
  const std::string service = client.ServiceId(0);
  client.DiscoverCharacteristics(service);
  const auto found = client.Characteristics(service);
  client.Subscribe(service, found[0].id);
  client.WriteValue(service, found[1].id, ToBytes("kept"));
  EXPECT_EQ(client.ReadValue(service, found[1].id), ToBytes("kept"));
  client.Unsubscribe();
  client.Disconnect();
  codes.clear();
  try {
    client.Subscribe(service, found[0].id);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(codes, (std::vector<std::int32_t>{error.Code(), 0}));
    EXPECT_STREQ(error.what(),
                 "You must be connected to a server to perform the requested action.");
  }
  client.OnMethodEnd([](const auto&) { throw 1; });
  EXPECT_THROW(client.DoEvents(), int);

  const AnyEvent expected[] = {ConnectedEvent(),    DiscoveredEvent(),    DiscoveredEvent(),
                               DiscoveredEvent(),   DiscoveredEvent(),    DiscoveredEvent(),
                               SubscribedEvent(),   WriteResponseEvent(), ValueEvent(),
                               UnsubscribedEvent(), DisconnectedEvent()};
  ASSERT_EQ(kept.size(), std::size(expected));
  for (std::size_t i = 0; i < kept.size(); ++i)
    EXPECT_EQ(kept[i].index(), expected[i].index()) << i;
  EXPECT_EQ(std::get<ValueEvent>(kept[8]).value, ToBytes("kept"));
}

TEST(CppWrapper, MovesAndEndsInsideAHandler) {
  Client first = ClientIn("strap.json");
  Collected<ConnectedEvent> connected;
  first.OnConnected(connected.Collector());
  Client second = std::move(first);
  second.Connect("C0FFEE000001");
  EXPECT_EQ(connected.Count(), 1u);  // the handlers moved with it
  second = ClientIn("strap.json");
  EXPECT_EQ(second.ServerId(), "");

  auto owned = std::make_unique<Client>(std::move(second));
  owned->OnConnected([&](const auto&) { owned.reset(); });  // inside the call that raises it
  try {
    owned->Connect("C0FFEE000001");
  } catch (const Error&) {
    // The call may fail because of it.
  }
  EXPECT_EQ(owned, nullptr);
}

}  // namespace
}  // namespace corvaneble
