#include "backends/simulated/AttServer.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/Gatt.h"

namespace ble::simulated {
namespace {

namespace property = gatt_characteristic_properties;

Uuid Uuid16(std::uint16_t number) {
  return Uuid::FromAssignedNumber(number);
}
constexpr Uuid kVendor{0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};

CharacteristicScenario Characteristic(Uuid uuid, std::uint32_t properties, Bytes value) {
  CharacteristicScenario characteristic;
  characteristic.uuid = uuid;
  characteristic.properties = properties;
  characteristic.value = std::move(value);
  return characteristic;
}

ServiceScenario Service(Uuid uuid, std::optional<std::uint16_t> handle = {}) {
  ServiceScenario service;
  service.uuid = uuid;
  service.handle = handle;
  return service;
}

/// Generic Access has the handles 1 to 5, Generic Attribute 6 to 9; the two services below follow.
std::vector<ServiceScenario> Services() {
  ServiceScenario heart = Service(Uuid16(0x180D), 0x0010);
  heart.id = "heart";
  heart.includes = {"vendor"};
  heart.characteristics = {
      Characteristic(Uuid16(0x2A37), property::kNotify | property::kIndicate, {}),  // 13, CCCD 14
      Characteristic(Uuid16(0x2A38), property::kRead | property::kWrite, Bytes(40, 7)),  // 16
      Characteristic(Uuid16(0x2A39), property::kWriteWithoutResponse, {}),               // 18
  };
  heart.characteristics[1].maxLength = 50;
  ServiceScenario vendor = Service(kVendor, 0x0030);
  vendor.id = "vendor";
  vendor.includes = {"heart"};  // a cycle
  vendor.characteristics = {
      Characteristic(kVendor, property::kRead | property::kReliableWrites, {1, 2}),  // 33, EPD 34
      Characteristic(kVendor, property::kRead, {9}),                                 // 36
  };
  vendor.characteristics[1].readError = 0x80;
  vendor.characteristics[1].responseDelay = milliseconds(70);
  vendor.characteristics[0].neverResponds = true;
  return {heart, vendor};
}

class AttServerTest : public testing::Test, protected AttServer::Host {
 protected:
  AttServerTest() : database_(*Build(Services())), server_(database_, 64, *this) {}

  static std::optional<AttributeDatabase> Build(const std::vector<ServiceScenario>& services) {
    std::string error;
    auto database = AttributeDatabase::Build(services, "Strap", error);
    EXPECT_EQ(error, "");
    return database;
  }

  Bytes Ask(const Bytes& pdu) {
    const AttServer::Reply reply = server_.Handle(pdu);
    if (!reply.pdu) return {};
    const ByteView bytes = *reply.pdu;
    return {bytes.begin(), bytes.end()};
  }
  Bytes Find(std::uint16_t handle) { return database_.Find(handle)->value; }

  void SendPdu(ByteView pdu) override { sent_.emplace_back(pdu.begin(), pdu.end()); }
  void OnConfigured(const HostedCharacteristic& characteristic, std::uint16_t value) override {
    configured_.emplace_back(characteristic.valueHandle, value);
  }
  void OnValueWritten(const HostedCharacteristic&, ByteView value) override {
    written_.emplace_back(value.begin(), value.end());
  }

  AttributeDatabase database_;
  AttServer server_;
  std::vector<Bytes> sent_;
  std::vector<Bytes> written_;
  std::vector<std::pair<std::uint16_t, std::uint16_t>> configured_;
};

TEST_F(AttServerTest, AnswersRequests) {
  const Bytes vendor{8, 7, 6, 5, 4, 3, 2, 1, 0xF0, 0xDE, 0xBC, 0x9A, 0x78, 0x56, 0x34, 0x12};
  const auto with = [](Bytes front, const Bytes& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
  };
  struct {
    const char* what;
    Bytes request;
    Bytes response;
  } const cases[] = {
      {"16-bit services come first, in one list of equal elements",
       {0x10, 1, 0, 0xFF, 0xFF, 0x00, 0x28},
       {0x11, 6, 1, 0, 5, 0, 0x00, 0x18, 6, 0, 9, 0, 0x01, 0x18, 0x10, 0, 0x18, 0, 0x0D, 0x18}},
      {"then the 128-bit one",
       {0x10, 0x11, 0, 0xFF, 0xFF, 0x00, 0x28},
       with({0x11, 20, 0x30, 0, 0x36, 0}, vendor)},
      {"no secondary services", {0x10, 1, 0, 0xFF, 0xFF, 1, 0x28}, {1, 0x10, 1, 0, 0x0A}},
      {"not a group", {0x10, 1, 0, 0xFF, 0xFF, 3, 0x28}, {1, 0x10, 1, 0, 0x10}},
      {"a service by UUID", {6, 1, 0, 0xFF, 0xFF, 0, 0x28, 0x0D, 0x18}, {7, 0x10, 0, 0x18, 0}},
      {"by 128-bit UUID", with({6, 1, 0, 0xFF, 0xFF, 0, 0x28}, vendor), {7, 0x30, 0, 0x36, 0}},
      {"an include of a 128-bit service has no UUID",
       {8, 0x10, 0, 0x18, 0, 2, 0x28},
       {9, 6, 0x11, 0, 0x30, 0, 0x36, 0}},
      {"an include of a 16-bit service has",
       {8, 0x30, 0, 0x36, 0, 2, 0x28},
       {9, 8, 0x31, 0, 0x10, 0, 0x18, 0, 0x0D, 0x18}},
      {"characteristics, as many as fit",
       {8, 0x12, 0, 0x16, 0, 3, 0x28},
       {9, 7, 0x12, 0, 0x30, 0x13, 0, 0x37, 0x2A, 0x15, 0, 0x0A, 0x16, 0, 0x38, 0x2A}},
      {"extended properties show in the declaration and have a descriptor",
       {0x0A, 0x34, 0},
       {0x0B, 1, 0}},
      {"descriptors", {4, 0x14, 0, 0x14, 0}, {5, 1, 0x14, 0, 0x02, 0x29}},
      {"128-bit types", {4, 0x36, 0, 0xFF, 0xFF}, with({5, 2, 0x36, 0}, vendor)},
      {"none there", {4, 0x37, 0, 0xFF, 0xFF}, {1, 4, 0x37, 0, 0x0A}},
      {"an empty range", {4, 5, 0, 4, 0}, {1, 4, 5, 0, 0x01}},
      {"handle 0", {8, 0, 0, 4, 0, 3, 0x28}, {1, 8, 0, 0, 0x01}},
      {"the device name", {8, 1, 0, 0xFF, 0xFF, 0, 0x2A}, {9, 7, 3, 0, 'S', 't', 'r', 'a', 'p'}},
      {"no such handle", {0x0A, 0x40, 0}, {1, 0x0A, 0x40, 0, 0x01}},
      {"not readable", {0x0A, 0x13, 0}, {1, 0x0A, 0x13, 0, 0x02}},
      {"the scenario's error", {0x0A, 0x36, 0}, {1, 0x0A, 0x36, 0, 0x80}},
      {"the same in Read By Type", with({8, 0x36, 0, 0x36, 0}, vendor), {1, 8, 0x36, 0, 0x80}},
      {"a blob", {0x0C, 0x16, 0, 38, 0}, {0x0D, 7, 7}},
      {"its end", {0x0C, 0x16, 0, 40, 0}, {0x0D}},
      {"behind it", {0x0C, 0x16, 0, 41, 0}, {1, 0x0C, 0x16, 0, 0x07}},
      {"several", {0x0E, 3, 0, 5, 0}, {0x0F, 'S', 't', 'r', 'a', 'p', 0, 0}},
      {"several, one of them unreadable", {0x0E, 3, 0, 0x13, 0}, {1, 0x0E, 0x13, 0, 0x02}},
      {"not writable", {0x12, 3, 0, 1}, {1, 0x12, 3, 0, 0x03}},
      {"too long", with({0x12, 0x16, 0}, Bytes(51, 1)), {1, 0x12, 0x16, 0, 0x0D}},
      {"a configuration of one byte", {0x12, 0x14, 0, 1}, {1, 0x12, 0x14, 0, 0x0D}},
      {"one that means nothing", {0x12, 0x14, 0, 4, 0}, {1, 0x12, 0x14, 0, 0x13}},
      {"wrong sizes", {0x0A, 1}, {1, 0x0A, 0, 0, 0x04}},
      {"an unknown request", {0x3C, 1, 2, 3}, {1, 0x3C, 0, 0, 0x06}},
      {"an unknown command", {0x7C, 1, 2, 3}, {}},
      {"a signed write", {0xD2, 0x18, 0, 3}, {}},
      {"a response", {0x0B, 1}, {}},
      {"nothing", {}, {}},
      {"an attribute that never answers", {0x0A, 0x33, 0}, {}},
      {"the offer", {2, 0, 2}, {3, 64, 0}},
  };
  for (const auto& [what, request, response] : cases)
    EXPECT_EQ(Ask(request), response) << what;
  EXPECT_EQ(server_.Handle(Bytes{0x0A, 0x36, 0}).delay, milliseconds(70));
}

TEST_F(AttServerTest, ResponsesKeepToTheMtu) {
  EXPECT_EQ(Ask({0x0A, 0x16, 0}).size(), 23U);  // before the exchange
  EXPECT_EQ(Ask({8, 0x16, 0, 0x16, 0, 0x38, 0x2A}).size(), 23U);
  EXPECT_EQ(Ask({0x0E, 0x16, 0, 0x16, 0}).size(), 23U);
  Ask({2, 30, 0});
  EXPECT_EQ(Ask({0x0A, 0x16, 0}).size(), 30U);
  EXPECT_EQ(Ask({4, 1, 0, 0xFF, 0xFF}).size(), 30U);
  Ask({2, 5, 0});  // an offer below the minimum counts as the minimum
  EXPECT_EQ(Ask({0x0A, 0x16, 0}).size(), 23U);
}

TEST_F(AttServerTest, WritesArePreparedAndExecutedTogether) {
  EXPECT_EQ(Ask({0x12, 0x16, 0, 5}), Bytes{0x13});
  EXPECT_EQ(Find(0x16), Bytes{5});
  EXPECT_EQ(Ask({0x16, 0x16, 0, 0, 0, 1, 2}), (Bytes{0x17, 0x16, 0, 0, 0, 1, 2}));
  EXPECT_EQ(Ask({0x16, 0x16, 0, 2, 0, 3}), (Bytes{0x17, 0x16, 0, 2, 0, 3}));
  EXPECT_EQ(Find(0x16), Bytes{5});
  EXPECT_EQ(Ask({0x18, 1}), Bytes{0x19});
  EXPECT_EQ(Find(0x16), (Bytes{1, 2, 3}));

  Ask({0x16, 0x16, 0, 0, 0, 9});
  EXPECT_EQ(Ask({0x18, 0}), Bytes{0x19});
  EXPECT_EQ(Ask({0x18, 1}), Bytes{0x19});  // nothing is left to execute
  EXPECT_EQ(Find(0x16), (Bytes{1, 2, 3}));

  Ask({0x16, 0x16, 0, 0, 0, 9});
  Ask({0x16, 0x16, 0, 5, 0, 9});
  EXPECT_EQ(Ask({0x18, 1}), (Bytes{1, 0x18, 0x16, 0, 0x07}));
  EXPECT_EQ(Find(0x16), (Bytes{1, 2, 3}));
  EXPECT_EQ(Ask({0x16, 3, 0, 0, 0, 9}), (Bytes{1, 0x16, 3, 0, 0x03}));

  Bytes last;
  for (int i = 0; i < 65; ++i)
    last = Ask({0x16, 0x16, 0, 0, 0, 9});
  EXPECT_EQ(last, (Bytes{1, 0x16, 0x16, 0, 0x09}));

  EXPECT_EQ(Ask({0x52, 0x18, 0, 4}), Bytes{});
  EXPECT_EQ(Ask({0x52, 0x16, 0, 4}), Bytes{});  // takes no commands
  EXPECT_EQ(written_, (std::vector<Bytes>{{5}, {1, 2, 3}, {4}}));
}

TEST_F(AttServerTest, SendsValuesAsTheClientSubscribed) {
  const HostedCharacteristic& heart = *database_.FindByValue(0x13);
  server_.SendValue(heart, Bytes{1});
  EXPECT_TRUE(sent_.empty());
  Ask({0x12, 0x14, 0, 1, 0});
  EXPECT_EQ(Ask({0x0A, 0x14, 0}), (Bytes{0x0B, 1, 0}));
  server_.SendValue(heart, Bytes(30, 2));
  ASSERT_EQ(sent_.size(), 1U);
  EXPECT_EQ(sent_[0].size(), 23U);
  EXPECT_EQ(sent_[0][0], 0x1B);

  sent_.clear();
  Ask({0x12, 0x14, 0, 2, 0});
  server_.SendValue(heart, Bytes{3});
  server_.SendValue(heart, Bytes{4});
  EXPECT_EQ(sent_, (std::vector<Bytes>{{0x1D, 0x13, 0, 3}}));  // only one until it is confirmed
  Ask({0x1E});
  Ask({0x1E});
  Ask({0x1E});
  EXPECT_EQ(sent_, (std::vector<Bytes>{{0x1D, 0x13, 0, 3}, {0x1D, 0x13, 0, 4}}));
  EXPECT_EQ(configured_,
            (std::vector<std::pair<std::uint16_t, std::uint16_t>>{{0x13, 1}, {0x13, 2}}));

  AttServer other(database_, 64, *this);  // each connection has its own subscriptions
  EXPECT_EQ(other.Configuration(heart), 0);

  sent_.clear();
  Ask({0x12, 9, 0, 2, 0});
  database_ = *Build({});
  server_.OnServicesReplaced();
  EXPECT_EQ(sent_, (std::vector<Bytes>{{0x1D, 8, 0, 1, 0, 0xFF, 0xFF}}));
}

TEST(AttributeDatabase, RefusesHandlesThatCollide) {
  ServiceScenario wide = Service(Uuid16(0x180D), 0x10);
  wide.characteristics = {Characteristic(Uuid16(1), property::kNotify, {})};  // up to 13
  ServiceScenario backwards = wide;
  backwards.characteristics[0].handle = 0x10;
  ServiceScenario lost = Service(Uuid16(0x180D));
  lost.includes = {"nobody"};
  ServiceScenario named = Service(Uuid16(0x180D));
  named.id = "a";
  ServiceScenario last = Service(Uuid16(0x180D), 0xFFFF);
  last.characteristics = wide.characteristics;
  struct {
    std::vector<ServiceScenario> services;
    const char* error;
  } const cases[] = {
      {{wide, Service(Uuid16(0x180F), 0x14)}, nullptr},
      {{wide, Service(Uuid16(0x180F), 0x02)}, nullptr},  // the generic services follow
      {{wide, Service(Uuid16(0x180F), 0x13)}, "0x0013: the service lies inside"},
      {{wide, wide}, "0x0010: the service lies inside"},
      {{backwards}, "0x0010: handle 0x0010 is not behind"},
      {{lost}, "no service has the id \"nobody\""},
      {{named, named}, "another service has the id \"a\""},
      {{last}, "0xFFFF: no attribute handles are left"},
      {{Service(Uuid16(0x180D), 0)}, "0x0000: 0 is not an attribute handle"},
  };
  for (const auto& [services, error] : cases) {
    const auto refused = CheckDatabase(services);
    EXPECT_EQ(refused.has_value(), error != nullptr);
    if (refused && error) {
      EXPECT_NE(refused->find(error), std::string::npos) << *refused;
    }
  }
}

}  // namespace
}  // namespace ble::simulated
