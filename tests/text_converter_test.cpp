#include "platform/TextConverter.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frame/TextCodec.h"
#include "system/SingleBytePages.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace ble {
namespace {

constexpr std::uint32_t kUtf8 = 65001;
constexpr ConversionError kNone = ConversionError::None;
constexpr ConversionError kInvalidText = ConversionError::NoUnicodeTranslation;

const TextConverter& Converter() {
  return SystemTextConverter();
}

TEST(TextConverter, ThereAndBack) {
  struct Case {
    std::uint32_t codePage;
    std::string narrow;
    std::u16string wide;
  };
  const Case cases[] = {
      {0, "", u""},
      {0, "plain ASCII, longer than a block", u"plain ASCII, longer than a block"},
      {65001, "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 eight or more",
       u"\u00E9\u20AC\U0001F600 eight or more"},
      {65001, "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF",
       u"\u0080\u07FF\u0800\uD7FF\uFFFF\U0010FFFF"},
      {1252, "\x80 \xE9", u"\u20AC \u00E9"},
      {1251, "\xCF\xF0", u"\u041F\u0440"},
      {1258, "a\xEC", u"a\u0301"},
      {437, "\x81", u"\u00FC"},
      {932, "\x93\xFA\x96\x7B", u"\u65E5\u672C"},
      {936, "\xD6\xD0", u"\u4E2D"},
      {949, "\xC7\xD1", u"\uD55C"},
      {950, "\xA4\xA4", u"\u4E2D"},
      {28605, "\xA4", u"\u20AC"},
      {20127, "ab", u"ab"},
      {437, "\xFB", u"\u221A"},
      {737, "\x98", u"\u03B1"},
      {775, "\xB5", u"\u0104"},
      {852, "\xA5", u"\u0105"},
      {858, "\xD5", u"\u20AC"},
      {874, "\x80\x9F\xA1", u"\u20AC\u009F\u0E01"},
      {932, "\x80", u"\u0080"},
      {949, "\x80", u"\u0080"},
      {1252, "\x81\x8D\x8F\x90\x9D", u"\u0081\u008D\u008F\u0090\u009D"},
      {1255, "\xCA\xE0", u"\u05BA\u05D0"},
      {1361, "\x5C\x80\x88\x61", u"\\\u0080\uAC00"},
      {10000, "\x8A\xDB", u"\u00E4\u20AC"},
      {20866, "\xC1", u"\u0430"},
      {65000, "a+AOQ-b", u"a\u00E4b"},
#ifndef _WIN32  // Wine does not have this page
      {54936, "\xD6\xD0\x81\x30\x81\x30", u"\u4E2D\u0080"},
#endif
  };
  for (const Case& each : cases) {
    std::u16string wide = u"old";
    std::string narrow = "old";
    if (each.codePage != 1258) {  // combining marks may be composed on the way in
      EXPECT_EQ(Converter().ToWide(each.codePage, each.narrow, wide), kNone) << each.codePage;
      EXPECT_EQ(wide, each.wide) << each.codePage;
    }
    EXPECT_EQ(Converter().ToNarrow(each.codePage, each.wide, narrow), kNone) << each.codePage;
    EXPECT_EQ(narrow, each.narrow) << each.codePage;
  }
}

TEST(TextConverter, RefusesWhatIsNotText) {
  std::u16string wide;
  for (const char* const bad :
       {"\x80", "\xC0\xAF", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\xE2\x82\x41", "12345678\xFF"}) {
    EXPECT_EQ(Converter().ToWide(kUtf8, bad, wide), kInvalidText) << bad;
    EXPECT_TRUE(wide.empty());
  }
  const std::pair<std::uint32_t, const char*> undefined[] = {
      {874, "\xDB"},  {932, "\x93"},  {936, "\xFF"},   {1253, "\xD2"}, {1255, "\xD9"},
      {1257, "\xA1"}, {1361, "\xFF"}, {10000, "\xF0"}, {28593, "\xA5"}};
  for (const auto& [codePage, bad] : undefined)
    EXPECT_EQ(Converter().ToWide(codePage, bad, wide), kInvalidText) << codePage;
  std::string narrow;
  for (const std::u16string& bad : {std::u16string(1, 0xD800), std::u16string(1, 0xDC00),
                                    std::u16string{0xDC00, 0xD800}, std::u16string{0xD800, u'a'}}) {
    EXPECT_EQ(Converter().ToNarrow(kUtf8, bad, narrow), kInvalidText);
    EXPECT_EQ(Converter().ToNarrow(1252, bad, narrow), kInvalidText);
  }
  for (const std::uint32_t codePage : {5U, 37U, 1200U, 1201U, 20932U, 0xFFFFFFFFU}) {
    EXPECT_EQ(Converter().ToWide(codePage, "a", wide), ConversionError::InvalidParameter);
    EXPECT_EQ(Converter().ToNarrow(codePage, u"a", narrow), ConversionError::InvalidParameter);
  }
}

TEST(TextConverter, WhatACodePageLacksBecomesAQuestionMark) {
  std::string narrow;
  EXPECT_EQ(Converter().ToNarrow(1252, u"\u65E5ab\u672C", narrow), kNone);
  EXPECT_EQ(narrow, "?ab?");
  EXPECT_EQ(Converter().ToNarrow(1252, u"\U0001F600", narrow), kNone);
  EXPECT_EQ(narrow, "?");
  for (const std::uint32_t codePage : {1252U, 932U}) {  // no similar character either
    EXPECT_EQ(Converter().ToNarrow(codePage, u"\u0100", narrow), kNone);
    EXPECT_EQ(narrow, "?") << codePage;
  }
}

TEST(TextConverter, EveryByteOfASingleBytePageThatIsTextComesBack) {
  for (const SingleBytePage& page : kSingleBytePages) {
    const char16_t* const upperHalf = page.upperHalf;
    for (int byte = 1; byte < 256; ++byte) {
      const std::string text(1, static_cast<char>(byte));
      const char16_t unit = byte < 128 ? static_cast<char16_t>(byte) : upperHalf[byte - 128];
      std::u16string wide;
      EXPECT_EQ(Converter().ToWide(page.number, text, wide),
                unit == u'\uFFFD' ? kInvalidText : kNone);
      if (wide.empty()) continue;
      EXPECT_EQ(wide, std::u16string(1, unit)) << page.number << " " << byte;
      std::string narrow;
      EXPECT_EQ(Converter().ToNarrow(page.number, wide, narrow), kNone);
      EXPECT_EQ(narrow,
                page.number == 20127 ? std::string(1, static_cast<char>(byte & 0x7F)) : text)
          << page.number << " " << byte;
#ifdef _WIN32
      wchar_t system = 0;  // Wine lacks 858
      if (IsValidCodePage(page.number))
        MultiByteToWideChar(page.number, MB_ERR_INVALID_CHARS, text.data(), 1, &system, 1);
      if (system != 0) {
        EXPECT_EQ(static_cast<char16_t>(system), unit) << page.number << " " << byte;
      }
#endif
    }
  }
}

TEST(TextConverter, ANameFromTheAirIsNeverRefused) {
  Settings settings;
  settings.SetInteger(Setting::CodePage, kUtf8);
  const TextCodec codec(settings, Converter());
  std::string narrow;
  codec.ToNarrowLossy(std::u16string{u'a', 0xD800, 0xD83D, 0xDE00, 0xDC00, u'b', 0xDBFF}, narrow);
  EXPECT_EQ(narrow,
            "a\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
}

TEST(TextConverter, LongTextsOnManyThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      const std::u16string text(1 << 18, i % 2 == 0 ? u'\u00E9' : u'\u65E5');
      std::string narrow;
      std::u16string wide;
      for (const std::uint32_t codePage : {kUtf8, i % 2 == 0 ? 1252U : 932U}) {
        EXPECT_EQ(Converter().ToNarrow(codePage, text, narrow), kNone);
        EXPECT_EQ(Converter().ToWide(codePage, narrow, wide), kNone);
        EXPECT_EQ(wide, text);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace
}  // namespace ble
