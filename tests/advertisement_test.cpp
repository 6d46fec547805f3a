#include "platform/BluetoothAdvertisement.h"

#include <gtest/gtest.h>

#include "base/Utf.h"

namespace ble {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

TEST(Advertisement, KeepsSectionsInOrderAndReadsThem) {
  const Bytes payload{2,  0x01, 0x06,                                    // flags
                      5,  0x02, 0x0D, 0x18, 0x0F, 0x18,                  // 180D, 180F
                      4,  0xFF, 0x4C, 0x00, 0x02,                        // company 004C
                      4,  0x08, 'a',  'b',  'c',                         // shortened name
                      6,  0x05, 0x78, 0x56, 0x34, 0x12, 0x99,            // 32-bit and a stray
                      3,  0xFF, 0x4C, 0x00,                              // the same again
                      2,  0xFF, 0x01,                                    // too short
                      17, 0x07, 1,    2,    3,    4,    5,    6,  7, 8,  // 128-bit
                      9,  10,   11,   12,   13,   14,   15,   16,        //
                      3,  0x09, 'a',  0xFF,                              // complete name
                      1,  0x0A};                                         // empty section
  const BluetoothLEAdvertisement advertisement(payload);
  ASSERT_EQ(advertisement.DataSections().size(), 10U);
  EXPECT_EQ(advertisement.DataSections()[0].data[0], 0x06);
  EXPECT_EQ(advertisement.DataSections()[9].dataType, 0x0A);
  EXPECT_TRUE(advertisement.DataSections()[9].data.empty());
  EXPECT_EQ(advertisement.LocalName(), u"a\uFFFD");
  const std::vector<Uuid> uuids{Uuid::FromAssignedNumber(0x180D), Uuid::FromAssignedNumber(0x180F),
                                Uuid::FromAssignedNumber(0x12345678),
                                Uuid{0x100F0E0D, 0x0C0B, 0x0A09, {8, 7, 6, 5, 4, 3, 2, 1}}};
  EXPECT_EQ(advertisement.ServiceUuids(), uuids);
  ASSERT_EQ(advertisement.ManufacturerData().size(), 2U);
  EXPECT_EQ(advertisement.ManufacturerData()[0].companyId, 0x004C);
  EXPECT_EQ(advertisement.ManufacturerData()[0].data.size(), 1U);
  EXPECT_TRUE(advertisement.ManufacturerData()[1].data.empty());
}

TEST(Advertisement, StopsAtAZeroLengthAndAtALengthThatRunsOut) {
  struct {
    Bytes payload;
    std::size_t sections;
  } const cases[] = {{{}, 0},
                     {{0, 2, 0x01, 0x06}, 0},
                     {{2, 0x01, 0x06, 0, 2, 0x01, 0x06}, 1},
                     {{2, 0x01, 0x06, 3, 0x09, 'x'}, 1},
                     {{2, 0x01, 0x06, 1}, 1},
                     {{255}, 0},
                     {{1, 0x09}, 1}};
  BluetoothLEAdvertisement advertisement;  // reused: nothing of one packet may stay for the next
  for (const auto& [payload, sections] : cases) {
    advertisement.Assign(Bytes{3, 0x09, 'o', 'k', 3, 0x03, 1, 2, 3, 0xFF, 1, 2});
    ASSERT_EQ(advertisement.LocalName(), u"ok");
    advertisement.Assign(payload);
    EXPECT_EQ(advertisement.DataSections().size(), sections);
    EXPECT_TRUE(advertisement.LocalName().empty());
    EXPECT_TRUE(advertisement.ServiceUuids().empty());
    EXPECT_TRUE(advertisement.ManufacturerData().empty());
  }
}

TEST(Utf, ReplacesEachInvalidPieceOnce) {
  const std::pair<std::string_view, std::u16string_view> cases[] = {
      {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"sv, u"a\u00E9\u20AC\U0001F600"sv},
      {"\0x"sv, u"\0x"sv},
      {"\xC0\xAF"sv, u"\uFFFD\uFFFD"sv},                      // overlong
      {"\xED\xA0\x80"sv, u"\uFFFD\uFFFD\uFFFD"sv},            // a surrogate
      {"\xF4\x90\x80\x80"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},  // above U+10FFFF
      {"\xE2\x82"sv, u"\uFFFD"sv},                            // cut off
      {"\xF0\x9F\x98"
       "A"sv,
       u"\uFFFDA"sv},
      {"\x80"
       "A\xE2\xE2\x82\xAC"sv,
       u"\uFFFDA\uFFFD\u20AC"sv},
  };
  for (const auto& [utf8, utf16] : cases) {
    std::u16string converted = u"kept ";
    AppendUtf16(utf8, converted);
    EXPECT_EQ(converted, u"kept "s.append(utf16));
  }
  std::string narrow = "kept ";
  const char16_t unpaired[] = {0xD83D, u'x', 0xDE00, 0xD83D};
  AppendUtf8(u"a\u00E9\u20AC\U0001F600", narrow);
  AppendUtf8({unpaired, 4}, narrow);
  EXPECT_EQ(narrow,
            "kept a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD");
}

}  // namespace
}  // namespace ble
