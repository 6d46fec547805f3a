#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "api/Stream.h"
#include "support/Host.h"

namespace ble::tests {
namespace {

constexpr const char* kEmptyScene = "{}";

TEST(Exports, NullHandlesGetTheDocumentedAnswers) {
  EXPECT_EQ(CorvaneBLE_BLEClient_Destroy(nullptr), 0);
  EXPECT_EQ(CorvaneBLE_BLEClient_Get(nullptr, 32, 0, nullptr, nullptr), 0);
  EXPECT_EQ(CorvaneBLE_BLEClient_Set(nullptr, 32, 0, 1, 0), 200);
  EXPECT_EQ(CorvaneBLE_BLEClient_Do(nullptr, 4, 0, nullptr, nullptr, nullptr), 200);
  EXPECT_EQ(CorvaneBLE_BLEClient_CheckIndex(nullptr, 4, 0), 200);
  EXPECT_EQ(CorvaneBLE_BLEClient_GetLastError(nullptr), nullptr);
  EXPECT_EQ(CorvaneBLE_BLEClient_GetLastErrorCode(nullptr), 200);
  EXPECT_EQ(CorvaneBLE_BLEClient_SetLastErrorAndCode(nullptr, 5, "x"), 200);
  EXPECT_EQ(CorvaneBLE_BLEClient_GetEventError(nullptr), nullptr);
  EXPECT_EQ(CorvaneBLE_BLEClient_GetEventErrorCode(nullptr), 200);
  EXPECT_EQ(CorvaneBLE_BLEClient_SetEventErrorAndCode(nullptr, 5, "x"), 200);
  EXPECT_EQ(CorvaneBLE_EvtStr(nullptr, 0, nullptr, 1), nullptr);
}

TEST(Exports, AFreshInstanceHasItsDefaults) {
  Host host(kEmptyScene);
  EXPECT_EQ(CorvaneBLE_BLEClient_GetLastErrorCode(host.Handle()), 0);
  EXPECT_EQ(host.LastError(), "");
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_TIMEOUT), 60);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_VERSION), "CORVANEBLE_VERSION_20_0_7928");
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CODE_PAGE), 0);
  EXPECT_EQ(host.Get(33), 0);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_SERVER_ID), "");
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_TIMEOUT, -5), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_TIMEOUT), 0);
}

TEST(Exports, ErrorPairsKeepTextAndCodeApart) {
  Host host(kEmptyScene);
  EXPECT_EQ(CorvaneBLE_BLEClient_SetLastErrorAndCode(host.Handle(), 7, "mine"), 7);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_SERVICE_COUNT, 5), -1);  // read-only: nothing changes
  EXPECT_EQ(host.Set(99, 5), -1);
  EXPECT_EQ(CorvaneBLE_BLEClient_GetLastErrorCode(host.Handle()), 7);
  EXPECT_EQ(host.Do(99), 0);  // an unknown method succeeds
  EXPECT_EQ(CorvaneBLE_BLEClient_GetLastErrorCode(host.Handle()), 0);
  EXPECT_EQ(host.LastError(), "mine");
  EXPECT_EQ(CorvaneBLE_BLEClient_SetLastErrorAndCode(host.Handle(), 3, nullptr), 3);
  EXPECT_EQ(host.LastError(), "");
  EXPECT_EQ(host.SetText(CORVANEBLE_PROPERTY_CHARACTERISTIC, "000100020000"), 602);
  EXPECT_EQ(host.LastError(), "You must select a service before selecting a characteristic.");
  EXPECT_EQ(host.SetText(CORVANEBLE_PROPERTY_SERVICE, "0001"), 601);
  EXPECT_EQ(host.LastError(), "No service with the ID \"0001\" has been discovered.");
}

TEST(Exports, AFailureWithoutTextGetsTheDefaultText) {
  Host host(kEmptyScene);
  EXPECT_EQ(host.Config("CodePage=1200"), "");
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(u"C0FFEE000001")};
  EXPECT_EQ(CorvaneBLE_BLEClient_Do(host.Handle(), CORVANEBLE_WIDE + CORVANEBLE_METHOD_CONNECT, 1,
                                    params, nullptr, nullptr),
            87);
  EXPECT_EQ(host.LastError(), "[87] (no description available)");
}

TEST(Exports, BadIndexesAreRefusedByEveryCollection) {
  Host host(kEmptyScene);
  const struct {
    int property;
    const char* text;
  } cases[] = {
      {CORVANEBLE_PROPERTY_SERVICE_ID, "Invalid ServiceIndex (out of bounds)."},
      {CORVANEBLE_PROPERTY_CHARACTERISTIC_ID, "Invalid CharacteristicIndex (out of bounds)."},
      {CORVANEBLE_PROPERTY_DESCRIPTOR_ID, "Invalid DescriptorIndex (out of bounds)."}};
  for (const auto& [property, text] : cases) {
    for (const int index : {-1, 0, 1 << 30}) {
      EXPECT_EQ(host.Text(property, index), "");
      EXPECT_EQ(CorvaneBLE_BLEClient_GetLastErrorCode(host.Handle()), 432);
      EXPECT_EQ(host.LastError(), text);
      EXPECT_EQ(*reinterpret_cast<const char16_t*>(host.Get(CORVANEBLE_WIDE + property, index)), 0);
      EXPECT_EQ(CorvaneBLE_BLEClient_CheckIndex(host.Handle(), property, index), 280);
    }
  }
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 1, 0), 432);
  EXPECT_EQ(CorvaneBLE_BLEClient_CheckIndex(host.Handle(), CORVANEBLE_PROPERTY_TIMEOUT, 9), 0);
}

TEST(Exports, TheCharacteristicListCanBeResizedToAnything) {
  Host host(kEmptyScene);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT, INT32_MAX), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), INT32_MAX);
  EXPECT_EQ(host.Text(CORVANEBLE_PROPERTY_CHARACTERISTIC_UUID, INT32_MAX - 1), "");
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_FLAGS, 5), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_VALUE_FORMAT_INDEX, 5), -1);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_SUBSCRIBED, 1, 5), 602);
  EXPECT_EQ(host.Set(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT, -3), 0);
  EXPECT_EQ(host.Get(CORVANEBLE_PROPERTY_CHARACTERISTIC_COUNT), 0);
}

TEST(Exports, ConvertToWide) {
  Host host(kEmptyScene);
  host.Config("CodePage=65001");
  char16_t buffer[8] = {};
  std::intptr_t params[] = {reinterpret_cast<std::intptr_t>("abc"),
                            reinterpret_cast<std::intptr_t>(buffer), -1};
  const auto convert = [&](int count, int size, int capacity) {
    std::int32_t lengths[] = {size, capacity, 0};
    return CorvaneBLE_BLEClient_Do(host.Handle(), CORVANEBLE_METHOD_CONVERT_TO_WIDE, count, params,
                                   lengths, nullptr);
  };
  EXPECT_EQ(convert(1, 3, 8), -1);
  EXPECT_EQ(convert(2, 3, 0), 0);
  EXPECT_EQ(params[2], 3);
  EXPECT_EQ(convert(2, 3, 8), 0);
  EXPECT_EQ(std::u16string(buffer, 3), u"abc");
  EXPECT_EQ(convert(2, 3, 2), 122);
  EXPECT_EQ(params[2], 0);
  EXPECT_EQ(convert(2, -1, 8), 87);
  params[0] = reinterpret_cast<std::intptr_t>("\xFF\xFE\xFD");
  EXPECT_EQ(convert(2, 3, 8), 1113);
}

TEST(Exports, EventStringConvertsOnceAndKeepsWhatItOwns) {
  CorvaneBLE_EventString record{};
  record.codePage = 65001;
  CorvaneBLE_EvtStr(&record, CORVANEBLE_STRING_ATTACH, u"abc", CORVANEBLE_STRING_WIDE);
  const void* narrow = CorvaneBLE_EvtStr(&record, 0, nullptr, CORVANEBLE_STRING_NARROW);
  ASSERT_STREQ(static_cast<const char*>(narrow), "abc");
  EXPECT_EQ(CorvaneBLE_EvtStr(&record, 0, nullptr, CORVANEBLE_STRING_NARROW), narrow);
  EXPECT_EQ(record.ownership, 1U);
  CorvaneBLE_EvtStr(&record, CORVANEBLE_STRING_ATTACH, "abc", CORVANEBLE_STRING_NARROW);
  EXPECT_EQ(record.narrow, narrow);  // an equal text keeps the owned copy
  CorvaneBLE_EvtStr(&record, CORVANEBLE_STRING_COPY, "other", CORVANEBLE_STRING_NARROW);
  EXPECT_EQ(record.wide, nullptr);
  CorvaneBLE_EvtStr(&record, CORVANEBLE_STRING_ATTACH, nullptr, CORVANEBLE_STRING_WIDE);
  EXPECT_STREQ(record.narrow, "other");  // there was no wide text before: nothing new
  CorvaneBLE_EvtStr(&record, CORVANEBLE_STRING_COPY, nullptr, CORVANEBLE_STRING_NARROW);
  EXPECT_EQ(record.ownership, 0U);
  EXPECT_EQ(CorvaneBLE_EvtStr(&record, 0, nullptr, CORVANEBLE_STRING_WIDE), nullptr);

  CorvaneBLE_EvtStr(&record, CORVANEBLE_STRING_ATTACH, "\xFF", CORVANEBLE_STRING_NARROW);
  EXPECT_EQ(CorvaneBLE_EvtStr(&record, 0, nullptr, CORVANEBLE_STRING_WIDE), nullptr);
  EXPECT_EQ(record.conversionError, 1113);
  EXPECT_EQ(CorvaneBLE_EvtStr(&record, 0, nullptr, CORVANEBLE_STRING_NARROW), nullptr);
}

TEST(Exports, NullStreamsAnswerEveryOperation) {
  const char* text = nullptr;
  std::int32_t code = 0;
  std::uint8_t flag = 9;
  EXPECT_EQ(CorvaneBLE_Stream(nullptr, 504, nullptr, nullptr), 0);
  EXPECT_EQ(CorvaneBLE_Stream(nullptr, 505, nullptr, &flag), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(CorvaneBLE_Stream(nullptr, 508, nullptr, &text), 0);
  EXPECT_STREQ(text, "Invalid stream pointer.");
  EXPECT_EQ(CorvaneBLE_Stream(nullptr, 509, nullptr, &code), 0);
  EXPECT_EQ(code, -1);
  for (const int operation : {500, 501, 502, 503, 506, 507, 499, 510}) {
    EXPECT_EQ(CorvaneBLE_Stream(nullptr, operation, nullptr, nullptr), -1) << operation;
  }
}

/// Records the operations and their arguments; returns recognisable results.
class NotingStream final : public Stream {
 public:
  explicit NotingStream(std::string& notes) : notes_(notes) {}
  ~NotingStream() override { notes_ += "gone "; }
  std::int32_t Read(std::intptr_t a, std::intptr_t b, void*) override { return Note("read", a, b); }
  std::int32_t Write(std::intptr_t a, std::intptr_t b, void*) override {
    return Note("write", a, b);
  }
  std::int32_t Seek(std::int64_t a, std::intptr_t b, void*) override { return Note("seek", a, b); }
  std::int32_t Flush() override { return Note("flush", 0, 0); }
  void Close() override { Note("close", 0, 0); }
  bool Can(std::intptr_t a) override { return Note("can", a, 0) != 0; }
  std::int64_t Length() override { return std::int64_t{1} << 40; }
  std::int32_t SetLength(std::int64_t a) override { return Note("length", a, 0); }
  const char* ErrorText() override { return "torn"; }
  std::int32_t Error() override { return -7; }

 private:
  std::int32_t Note(const char* what, std::int64_t a, std::int64_t b) {
    notes_ += std::string(what) + std::to_string(a) + "," + std::to_string(b) + " ";
    return 42;
  }

  std::string& notes_;
};

TEST(Exports, StreamOperationsReachTheStream) {
  std::string notes;
  Stream* stream = new NotingStream(notes);
  std::int64_t wide = std::int64_t{5} << 32;
  std::intptr_t plain[] = {3, 4};
  std::intptr_t pointed[] = {reinterpret_cast<std::intptr_t>(&wide), 2};
  for (const int operation : {500, 501, 503}) {
    EXPECT_EQ(CorvaneBLE_Stream(stream, operation, plain, nullptr), 42);
  }
  for (const int operation : {502, 507}) {
    EXPECT_EQ(CorvaneBLE_Stream(stream, operation, pointed, nullptr), 42);
  }
  std::uint8_t flag = 0;
  std::int32_t code = 0;
  const char* text = nullptr;
  EXPECT_EQ(CorvaneBLE_Stream(stream, 505, plain, &flag), 0);
  EXPECT_EQ(CorvaneBLE_Stream(stream, 506, nullptr, &wide), 0);
  EXPECT_EQ(CorvaneBLE_Stream(stream, 508, nullptr, &text), 0);
  EXPECT_EQ(CorvaneBLE_Stream(stream, 509, nullptr, &code), 0);
  EXPECT_EQ(CorvaneBLE_Stream(stream, 510, nullptr, nullptr), 0);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(wide, std::int64_t{1} << 40);
  EXPECT_STREQ(text, "torn");
  EXPECT_EQ(code, -7);
  EXPECT_EQ(CorvaneBLE_Stream(stream, 504, nullptr, nullptr), 0);
  EXPECT_EQ(
      notes,
      "read3,4 write3,4 flush0,0 seek21474836480,2 length21474836480,0 can3,0 close0,0 gone ");
}

TEST(Exports, InstancesComeAndGoOnManyThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 25; ++round) {
        auto* client = CorvaneBLE_BLEClient_Create(nullptr, nullptr, nullptr, 2);
        EXPECT_EQ(
            CorvaneBLE_BLEClient_Get(client, CORVANEBLE_PROPERTY_TIMEOUT, 0, nullptr, nullptr), 60);
        CorvaneBLE_BLEClient_Destroy(client);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace
}  // namespace ble::tests
