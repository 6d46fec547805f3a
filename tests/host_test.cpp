// Tests rules that hold for all properties, methods and radios.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "frame/MethodTable.h"
#include "frame/PropertyTable.h"
#include "platform/Radio.h"
#include "platform/TextConverter.h"
#include "support/Environment.h"
#include "support/Host.h"

namespace ble::tests {
namespace {

constexpr const char* kScene = R"({"peripherals": [
  {"address": "00A050C4E2F1", "name": "M\u00e4\u00dfger\u00e4t", "services": [
    {"id": "in", "uuid": "180A", "handle": 16, "primary": false},
    {"uuid": "180F", "handle": 32, "includes": ["in"], "characteristics": [
      {"uuid": "2A19", "handle": 48, "properties": ["read", "notify"], "value": "64",
       "descriptors": [{"userDescription": "F\u00fcllstand"},
                       {"presentationFormat": {"format": "uint8", "unit": "27AD"}}]}]}]}]})";

std::unique_ptr<Host> Discovered() {
  auto host = std::make_unique<Host>(kScene);
  host->Config("AutoDiscoverIncludedServices=True");
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  EXPECT_EQ(host->Discover("180F", "", true), 0);
  EXPECT_EQ(host->Do(CORVANEBLE_METHOD_SELECT, {"002000000000", "002000300000"}), 0);
  std::string value;
  EXPECT_EQ(host->Read("002000300000", "", value), 0);
  return host;
}

std::u16string WideText(const Host& host, std::int32_t property) {
  return reinterpret_cast<const char16_t*>(host.Get(CORVANEBLE_WIDE + property));
}

TEST(Properties, WideTextsAreTheNarrowOnesConverted) {
  const auto host = Discovered();
  std::u16string expected;
  for (const PropertyInfo& info : kPropertyTable) {
    if (info.type != PropertyType::Text) continue;
    const auto property = static_cast<std::int32_t>(info.id);
    const std::string narrow = host->Text(property);
    ASSERT_EQ(SystemTextConverter().ToWide(0, narrow, expected), ConversionError::None);
    EXPECT_EQ(WideText(*host, property), expected) << info.name;
  }
  EXPECT_EQ(WideText(*host, CORVANEBLE_PROPERTY_SERVER_NAME), u"M\u00e4\u00dfger\u00e4t");
  EXPECT_EQ(WideText(*host, CORVANEBLE_PROPERTY_CHARACTERISTIC_USER_DESCRIPTION),
            u"F\u00fcllstand");
  EXPECT_EQ(host->Config("CodePage=1252"), "");
  EXPECT_EQ(host->Text(CORVANEBLE_PROPERTY_SERVER_NAME), "M\xE4\xDFger\xE4t");
}

TEST(Properties, OnlyTheWritableOnesAreWritten) {
  const auto host = Discovered();
  for (const PropertyInfo& info : kPropertyTable) {
    const auto property = static_cast<std::int32_t>(info.id);
    if (info.access == PropertyAccess::Read) {
      for (const int offset : {0, CORVANEBLE_WIDE, CORVANEBLE_BYTES_AS_WIDE}) {
        EXPECT_EQ(host->Set(offset + property, 0), -1) << info.name;
      }
    }
    EXPECT_EQ(CorvaneBLE_BLEClient_CheckIndex(host->Handle(), property, 5),
              info.collection == Collection::None ? 0 : 280)
        << info.name;
    EXPECT_EQ(CorvaneBLE_BLEClient_CheckIndex(host->Handle(), property, 0), 0) << info.name;
    if (info.type != PropertyType::Text) continue;
    const char16_t lone[] = {0xD800, 0};  // invalid text: checked before anything else
    EXPECT_EQ(host->Set(CORVANEBLE_WIDE + property, reinterpret_cast<std::intptr_t>(lone), 99),
              1113)
        << info.name;
  }
}

TEST(Properties, EverythingIsEmptyAfterDisconnecting) {
  const auto host = Discovered();
  const auto id = host->Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_ID);
  ASSERT_EQ(host->Do(CORVANEBLE_METHOD_DISCONNECT), 0);
  EXPECT_STREQ(reinterpret_cast<const char*>(id), "002000300000");  // until this thread asks again
  for (const PropertyInfo& info : kPropertyTable) {
    if (info.id == Property::Timeout) continue;
    std::int32_t length = 0;
    const auto value = CorvaneBLE_BLEClient_Get(host->Handle(), static_cast<std::int32_t>(info.id),
                                                0, &length, nullptr);
    if (info.type == PropertyType::Integer) {
      EXPECT_EQ(value, 0) << info.name;
    } else {
      EXPECT_STREQ(reinterpret_cast<const char*>(value), "") << info.name;
    }
    EXPECT_EQ(length, 0);
    EXPECT_EQ(CorvaneBLE_BLEClient_GetLastErrorCode(host->Handle()),
              info.collection == Collection::None ? 0 : 432)
        << info.name;
  }
}

TEST(Methods, ThoseOfAServerNeedAConnection) {
  Host host(kScene);
  for (const MethodInfo& info : kMethodTable) {
    const bool needsNone = info.id == Method::Config || info.id == Method::Connect ||
                           info.id == Method::Disconnect || info.id == Method::DoEvents ||
                           info.id == Method::StartScanning || info.id == Method::StopScanning;
    if (needsNone) continue;
    EXPECT_EQ(host.Do(static_cast<std::int32_t>(info.id), {"", "", nullptr, nullptr}), 605)
        << info.name;
    EXPECT_EQ(host.LastError(),
              "You must be connected to a server to perform the requested action.");
  }
}

TEST(Methods, WideTextsDoWhatNarrowOnesDo) {
  Host host(kScene);
  std::intptr_t params[4] = {reinterpret_cast<std::intptr_t>(u"00a050c4e2f1")};
  std::int32_t lengths[4] = {};
  const auto call = [&](int method, const char16_t* first, const char16_t* second) {
    params[0] = reinterpret_cast<std::intptr_t>(first);
    params[1] = reinterpret_cast<std::intptr_t>(second);
    params[2] = 0;
    return CorvaneBLE_BLEClient_Do(host.Handle(), CORVANEBLE_WIDE + method, 2, params, lengths,
                                   nullptr);
  };
  EXPECT_EQ(call(CORVANEBLE_METHOD_CONNECT, u" 00a050c4e2f1 ", nullptr), 0);
  EXPECT_EQ(call(CORVANEBLE_METHOD_DISCOVER_SERVICES, u"180F", nullptr), 0);
  EXPECT_EQ(call(CORVANEBLE_METHOD_DISCOVER_CHARACTERISTICS, u"002000000000", u"2a19"), 0);
  EXPECT_EQ(call(CORVANEBLE_METHOD_READ_VALUE, u"002000000000", u"002000300000"), 0);
  EXPECT_EQ(lengths[3], 1);
  EXPECT_EQ(*reinterpret_cast<const char*>(params[3]), 'd');
  EXPECT_EQ(host.Set(CORVANEBLE_WIDE + CORVANEBLE_PROPERTY_SERVICE,
                     reinterpret_cast<std::intptr_t>(u"002000000000")),
            0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), 1);
}

TEST(Discover, IncludesThatNestWithoutEndAreGivenUp) {
  std::string services;
  for (int i = 0; i < 80; ++i) {
    services += (i == 0 ? "" : ",") + std::string(R"({"id": "s)") + std::to_string(i) +
                R"(", "uuid": "180F", "primary": )" + (i == 0 ? "true" : "false") +
                R"(, "includes": [)" +
                (i < 79 ? "\"s" + std::to_string(i + 1) + "\"" : std::string()) + "]}";
  }
  Host host(R"({"peripherals": [{"address": "00A050C4E2F1", "services": [)" + services + "]}]}");
  host.Config("AutoDiscoverIncludedServices=True");
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"00A050C4E2F1"}), 0);
  EXPECT_EQ(host.Do(CORVANEBLE_METHOD_DISCOVER_SERVICES, {"180F", ""}), 609);
  EXPECT_EQ(host.LastError(), "The included services are nested too deeply.");
}

TEST(Radios, TheNameDecides) {
  SetEnvironment("DBUS_SYSTEM_BUS_ADDRESS",
                 "unix:path=/nowhere");  // ignores the bus of this machine
  const struct {
    const char* name;
    int code;
    const char* text;  // part of it
  } cases[] = {
      {"auto", 613, "No Bluetooth adapter found."},
      {"", 613, "No Bluetooth adapter found."},
      {"simulated", 0, ""},
      {"simulated:", 614, "scenario file"},
      {"simulated:/nowhere/scene.json", 614, "/nowhere/scene.json"},
#ifdef CORVANEBLE_LINUX_RADIO
      {"linux", 614, "message bus cannot be reached"},
      {"linux:hci7", 614, "message bus cannot be reached"},
#endif
      {"windows", 614, "no radio \"windows\""},
      {"martian", 614, "no radio with the name \"martian\""},
  };
  for (const auto& [name, code, text] : cases) {
    Host host(OpenRadio(name));
    EXPECT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), code) << name;
    EXPECT_NE(host.LastError().find(text), std::string::npos) << host.LastError();
    EXPECT_EQ(host.Do(CORVANEBLE_METHOD_CONNECT, {"000000000001"}), code == 614 ? 614 : 604);
    EXPECT_EQ(host.Do(CORVANEBLE_METHOD_DO_EVENTS), 0);
  }
}

}  // namespace
}  // namespace ble::tests
