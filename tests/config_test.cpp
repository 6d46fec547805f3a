#include <gtest/gtest.h>

#include "frame/ConfigItem.h"
#include "support/Host.h"

namespace ble::tests {
namespace {

TEST(Config, SettingsAreReadAndWrittenAsText) {
  Host host("{}");
  const struct {
    const char* write;
    const char* read;
    const char* answer;
  } cases[] = {
      {"", "LogLevel", "1"},
      {"LogLevel=3", "loglevel", "3"},
      {"LogLevel=0x10", "LogLevel", "16"},
      {"LogLevel=yes", "LogLevel", "1"},
      {"LogLevel=99999999999", "LogLevel", "2147483647"},
      {"LogLevel=-3x", "LogLevel", "-3"},
      {"LogLevel=+5", "LogLevel", "5"},
      {"LogLevel=+-5", "LogLevel", "0"},
      {"LogLevel=", "LogLevel", "0"},
      {"  AutoDiscoverCharacteristics = \"True\"  ", "AutoDiscoverCharacteristics", "True"},
      {"AutoDiscoverDescriptors=yes", "AutoDiscoverDescriptors", "True"},
      {"AutoDiscoverDescriptors=2", "AutoDiscoverDescriptors", "False"},
      {"", "IncludeRediscovered", "True"},
      {"", "ScanStartedTimeout", "2"},
      {"", "PreferIndications", "False"},
      {"", "buildinfo", "20.0.7928"},
      {"", "WinsockVersion", "2.2"},
      {"QOSTrafficType=Voice", "QOSTrafficType", "Voice"},
      {"LogDebugFile=\"C:\\a \\n.txt\"", "LogDebugFile", "C:\\a \\n.txt"},
      {"CharsetMode=257", "CharsetMode", "1"},
      {"LastError=ignored", "LastError", ""},
      {"", "GattObjTreeInfo",
       "GATT Object Tree Info [>Services, >>Characteristics, >>>Descriptors]:\r\n"},
  };
  for (const auto& [write, read, answer] : cases) {
    if (*write != '\0') {
      EXPECT_EQ(host.Config(write), "") << write;
    }
    EXPECT_EQ(host.Config(read), answer) << write << " then " << read;
  }
}

TEST(Config, TextsAreTakenApart) {
  const struct {
    const char* text;
    ConfigItem item;
  } cases[] = {
      {"Name", {"Name", "", "", -1, true}},
      {" Name ", {" Name ", "", "", -1, true}},
      {" Name =", {" Name ", "", "", -1, false}},
      {" Name = ", {"Name", "", "", -1, false}},
      {"Name[ 7 ]", {"Name", "", "7", 7, true}},
      {"Name(7]", {"Name", "", "7", 7, true}},
      {"Name[x]=1", {"Name", "1", "x", 0, false}},
      {"Name[-2", {"Name", "", "-2", -2, true}},
      {"Name[a=b]=c", {"Name", "c", "a=b", 0, false}},
      {"Name=a=b", {"Name", "a=b", "", -1, false}},
      {"Name = \" quoted \" ", {"Name", " quoted ", "", -1, false}},
      {"Name=\"", {"Name", "", "", -1, false}},
      {"Name=a\"b\"", {"Name", "a\"b\"", "", -1, false}},
      {"=value", {"", "value", "", -1, false}},
  };
  for (const auto& [text, item] : cases) {
    const ConfigItem parsed = ParseConfigItem(text);
    EXPECT_EQ(parsed.name, item.name) << text;
    EXPECT_EQ(parsed.value, item.value) << text;
    EXPECT_EQ(parsed.indexText, item.indexText) << text;
    EXPECT_EQ(parsed.index, item.index) << text;
    EXPECT_EQ(parsed.isRead, item.isRead) << text;
  }
  EXPECT_FALSE(ParseConfigItem({}).isRead);  // no text at all
}

TEST(Config, UnknownNamesFail) {
  Host host("{}");
  for (const char* text : {"NoSuchSetting", "NoSuchSetting=1", "LogLevel ", "", "ServiceData",
                           "GattObjTreeInfo=1", "ManufacturerDataCount=1"}) {
    EXPECT_EQ(host.Config(text), "!-1") << text;
    EXPECT_EQ(host.LastError(), "Unknown config setting.");
  }
}

TEST(Config, CodePageDecidesHowTextsAreConverted) {
  Host host("{}");
  const auto config = [&](const char16_t* text) {
    std::intptr_t params[] = {std::bit_cast<std::intptr_t>(text), 0};
    EXPECT_EQ(CorvaneBLE_BLEClient_Do(host.Handle(), CORVANEBLE_WIDE + CORVANEBLE_METHOD_CONFIG, 1,
                                      params, nullptr, nullptr),
              0);
    return std::u16string(std::bit_cast<const char16_t*>(params[1]));
  };
  struct Case {
    int codePage;
    std::u16string sent;
    const char* narrow;
    const char16_t* wide;  // what comes back: without what the code page lacks
  };
  for (const Case& each :
       {Case{1252, u"\u00E9\u20AC\u4E2D", "\xE9\x80?", u"\u00E9\u20AC?"},
        Case{932, u"\u20AC\u4E2D\uFF71", "?\x92\x86\xB1", u"?\u4E2D\uFF71"},
        Case{65001, u"\u00E9\u4E2D\U0001F30D", "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x8C\x8D",
             u"\u00E9\u4E2D\U0001F30D"}}) {
    EXPECT_EQ(host.Config("CodePage=" + std::to_string(each.codePage)), "");
    EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CODE_PAGE), each.codePage);
    config((u"LogDebugFile=" + each.sent).c_str());
    EXPECT_EQ(host.Config("LogDebugFile"), each.narrow);
    EXPECT_EQ(config(u"LogDebugFile"), each.wide);
  }
}

TEST(Config, ZeroMemoryBelongsToTheProcess) {
  Host one("{}");
  Host other("{}");
  EXPECT_EQ(one.Config("ZeroMemory=True"), "");
  EXPECT_EQ(other.Config("ZeroMemory"), "True");
  EXPECT_EQ(other.Config("ZeroMemory=False"), "");
}

TEST(Config, AdvertisementSettingsNeedTheirEvent) {
  Host host("{}");
  EXPECT_EQ(host.Config("manufacturerDataCount"), "!602");
  EXPECT_EQ(host.LastError(),
            "The manufacturerDataCount setting is only usable within the Advertisement event "
            "handler.");
}

}  // namespace
}  // namespace ble::tests
