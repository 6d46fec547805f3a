#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "att/GattClient.h"

// Tests the GATT client with a peer that follows a script of exact PDUs, in hexadecimal.
namespace ble::att {
namespace {

using std::chrono::milliseconds;

Bytes FromHex(const std::string& text) {
  Bytes bytes;
  std::istringstream words(text);
  for (std::string word; words >> word;)
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
  return bytes;
}

std::string ToHex(ByteView bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string Repeat(const std::string& word, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i)
    text += (i == 0 ? "" : " ") + word;
  return text;
}

// Runs all tasks on the thread of the test; time passes only in Advance.
class ManualExecutor final : public Executor {
 public:
  TimePoint Now() const override { return TimePoint(now_); }
  TaskId Post(Task task) override { return PostAfter(milliseconds(0), std::move(task)); }
  TaskId PostAfter(milliseconds delay, Task task) override {
    tasks_.emplace(std::pair(now_ + delay, ++lastId_), std::move(task));
    return lastId_;
  }
  void Cancel(TaskId id) override {
    std::erase_if(tasks_, [id](const auto& task) { return task.first.second == id; });
  }
  void Advance(milliseconds duration) {
    const milliseconds end = now_ + duration;
    while (!tasks_.empty() && tasks_.begin()->first.first <= end) {
      const auto next = tasks_.extract(tasks_.begin());
      now_ = next.key().first;
      next.mapped()();
    }
    now_ = end;
  }
  std::size_t Pending() const { return tasks_.size(); }

 private:
  milliseconds now_{0};
  TaskId lastId_ = 0;
  std::map<std::pair<milliseconds, TaskId>, Task> tasks_;
};

constexpr const char* kOffer = "02 05 02";  // of the largest ATT_MTU
constexpr const char* kHangsUp = "hangs up";

class Peer final : public AttConnector, public std::enable_shared_from_this<Peer> {
 public:
  explicit Peer(std::shared_ptr<ManualExecutor> executor) : executor_(std::move(executor)) {}

  // Expects a PDU next, and responds with nothing, with one PDU, with several (separated by "|"),
  // or by ending the link.
  Peer& On(const std::string& request, const std::string& answers = "") {
    script_.emplace_back(request, answers);
    return *this;
  }
  // Expects the MTU exchange, with an ATT_MTU of 23.
  Peer& Opens() { return On(kOffer, "03 17 00"); }

  void Say(const std::string& pdu) {
    executor_->Post([self = shared_from_this(), bytes = FromHex(pdu)] {
      if (const auto listener = self->listener_.lock()) listener->OnPdu(bytes);
    });
  }
  void Hangup(ChannelError error) {
    if (!std::exchange(open_, false)) return;
    executor_->Post([listener = listener_, error] {
      if (const auto target = listener.lock()) target->OnClosed(error);
    });
  }
  void ExpectAllSaid() const { EXPECT_EQ(script_.size(), 0U) << script_.front().first; }

  void Open(Opened opened) override {
    ++opens;
    executor_->Post([self = shared_from_this(), opened] {
      if (self->refusal != ChannelError::None) return opened(nullptr, self->refusal);
      self->open_ = true;
      opened(std::make_shared<Channel>(self), ChannelError::None);
    });
  }

  bool IsOpen() const { return open_; }
  ChannelError refusal = ChannelError::None;
  bool canRaiseSecurity = false;
  bool hangsUpWhenSecured = false;
  milliseconds pairingTakes{0};
  int opens = 0;
  int raises = 0;

 private:
  class Channel final : public AttChannel {
   public:
    explicit Channel(std::shared_ptr<Peer> peer) : peer_(std::move(peer)) {}
    void Start(std::weak_ptr<Listener> listener) override { peer_->listener_ = listener; }
    bool Send(ByteView pdu) override { return peer_->Receive(ToHex(pdu)); }
    void Close() override { peer_->Hangup(ChannelError::None); }
    void RaiseSecurity(std::function<void(bool)> done) override {
      ++peer_->raises;
      if (peer_->hangsUpWhenSecured) return peer_->Hangup(ChannelError::Unreachable);
      peer_->executor_->PostAfter(peer_->pairingTakes,
                                  [done, raised = peer_->canRaiseSecurity] { done(raised); });
    }

   private:
    const std::shared_ptr<Peer> peer_;
  };

  bool Receive(const std::string& pdu) {
    if (!open_) return false;
    if (script_.empty()) {
      ADD_FAILURE() << "nothing expected, got " << pdu;
      return true;
    }
    const auto [request, answers] = script_.front();
    script_.pop_front();
    EXPECT_EQ(pdu, request);
    if (answers == kHangsUp) {
      Hangup(ChannelError::Unreachable);
      return true;
    }
    std::istringstream each(answers);
    for (std::string answer; std::getline(each, answer, '|');)
      Say(answer);
    return true;
  }

  const std::shared_ptr<ManualExecutor> executor_;
  std::deque<std::pair<std::string, std::string>> script_;
  std::weak_ptr<AttChannel::Listener> listener_;
  bool open_ = false;
};

constexpr auto kUncached = BluetoothCacheMode::Uncached;
const Uuid kBattery = Uuid::FromAssignedNumber(0x180F);

class AttTest : public testing::Test {
 protected:
  AttTest() {
    GattClientEvents events;
    events.linkChanged = [this](bool open) { linkChanges += open ? "open " : "closed "; };
    events.servicesChanged = [this](const std::u16string& range) { changedServices += range; };
    events.notice = [this](const std::string& text) { notices += text; };
    client = std::make_unique<GattClient>(peer, executor, std::move(events));
  }
  ~AttTest() override { peer->ExpectAllSaid(); }

  void Run() { executor->Advance(milliseconds(0)); }

  // The result of a completed operation; null if it has not completed.
  template <class T>
  std::shared_ptr<T> Finish(const AsyncOperationPtr<T>& operation) {
    const auto result = std::make_shared<std::shared_ptr<T>>();
    operation->OnCompleted([result](auto& finished) { *result = finished.GetResults(); });
    Run();
    return *result;
  }

  // The battery service, handles 0x10 to 0x1F, found by UUID over a fresh link.
  std::shared_ptr<GattDeviceService> OpenService() {
    peer->Opens().On("06 01 00 FF FF 00 28 0F 18", "07 10 00 1F 00");
    peer->On("06 20 00 FF FF 00 28 0F 18", "01 06 20 00 0A");
    const auto found = Finish(client->GetGattServicesForUuidAsync(kBattery, kUncached));
    return found && found->services.size() == 1 ? found->services[0] : nullptr;
  }

  // Its characteristic: declaration 0x11, value 0x12, descriptors from 0x13 to 0x1F.
  std::shared_ptr<GattCharacteristic> OpenCharacteristic() {
    const auto service = OpenService();
    peer->On("08 10 00 1F 00 03 28", "09 07 11 00 3A 12 00 19 2A");
    peer->On("08 13 00 1F 00 03 28", "01 08 13 00 0A");
    const auto found = Finish(service->GetCharacteristicsAsync(kUncached));
    return found && found->characteristics.size() == 1 ? found->characteristics[0] : nullptr;
  }

  std::shared_ptr<ManualExecutor> executor = std::make_shared<ManualExecutor>();
  std::shared_ptr<Peer> peer = std::make_shared<Peer>(executor);
  std::string linkChanges;
  std::string notices;
  std::u16string changedServices;
  std::unique_ptr<GattClient> client;
};

template <class Result>
void ExpectProtocolError(const std::shared_ptr<Result>& result, int error) {
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->status, GattCommunicationStatus::ProtocolError);
  EXPECT_EQ(result->protocolError.value_or(0), error);
}

template <class Result>
void ExpectStatus(const std::shared_ptr<Result>& result, GattCommunicationStatus status) {
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->status, status);
  EXPECT_EQ(result->protocolError, std::nullopt);
}

const std::string kCustomUuid = "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F";

TEST_F(AttTest, PrimaryServicesOfBothUuidSizesThenServiceChangedIsWatched) {
  peer->Opens()
      .On("10 01 00 FF FF 00 28", "11 06 01 00 05 00 01 18 10 00 1F 00 0F 18")
      .On("10 20 00 FF FF 00 28", "11 14 20 00 FF FF " + kCustomUuid)
      .On("08 01 00 05 00 03 28", "09 07 02 00 20 03 00 05 2A")
      .On("08 04 00 05 00 03 28", "01 08 04 00 0A")
      .On("04 04 00 05 00", "05 01 04 00 02 29")
      .On("04 05 00 05 00", "01 04 05 00 0A")
      .On("12 04 00 02 00", "13")
      .On("1E");
  const auto found = Finish(client->GetGattServicesAsync(kUncached));
  ExpectStatus(found, GattCommunicationStatus::Success);
  ASSERT_EQ(found->services.size(), 3U);
  EXPECT_EQ(found->services[1]->AttributeHandle(), 0x10);
  EXPECT_EQ(found->services[1]->AttributeUuid(), kBattery);
  EXPECT_EQ(found->services[2]->AttributeUuid(), *Uuid::FromLittleEndian(FromHex(kCustomUuid)));
  peer->Say("1D 03 00 10 00 20 00");
  Run();
  EXPECT_EQ(changedServices, u"0x0010-0x0020");
  EXPECT_EQ(linkChanges, "open ");
}

TEST_F(AttTest, WhatIsFoundAgainIsTheSameObject) {
  const auto service = OpenService();
  peer->On("06 01 00 FF FF 00 28 0F 18", "07 10 00 FF FF");
  const auto again = Finish(client->GetGattServicesForUuidAsync(kBattery, kUncached));
  EXPECT_EQ(again->services.at(0), service);
  peer->On("08 10 00 FF FF 03 28", "01 08 10 00 0A");  // it has another end now
  EXPECT_TRUE(Finish(service->GetCharacteristicsAsync(kUncached))->characteristics.empty());
}

TEST_F(AttTest, AnIncludeDoesNotContradictWhatTheServiceSaysItself) {
  const Uuid custom = *Uuid::FromLittleEndian(FromHex(kCustomUuid));
  peer->Opens()
      .On("10 01 00 FF FF 00 28", "11 06 10 00 1F 00 0F 18")
      .On("10 20 00 FF FF 00 28", "11 14 20 00 2F 00 " + kCustomUuid)
      .On("10 30 00 FF FF 00 28", "01 10 30 00 0A");
  const auto found = Finish(client->GetGattServicesAsync(kUncached));
  const auto include = [&] {  // with two bytes of its UUID and too large a range
    peer->On("08 10 00 1F 00 02 28", "09 08 11 00 20 00 FF FF EF BE")
        .On("08 12 00 1F 00 02 28", "01 08 12 00 0A");
  };
  include();
  const auto included = Finish(found->services.at(0)->GetIncludedServicesAsync(kUncached));
  EXPECT_EQ(included->services.at(0), found->services.at(1));
  include();
  EXPECT_EQ(Finish(found->services[0]->GetIncludedServicesForUuidAsync(custom, kUncached))
                ->services.size(),
            1U);
  peer->On("08 20 00 2F 00 03 28", "01 08 20 00 0A");
  EXPECT_TRUE(
      Finish(included->services[0]->GetCharacteristicsAsync(kUncached))->characteristics.empty());

  // On another link its handles may belong to another service, until its own declaration is read.
  peer->Hangup(ChannelError::Unreachable);
  Run();
  peer->Opens();
  include();
  EXPECT_EQ(Finish(found->services[0]->GetIncludedServicesAsync(kUncached))
                ->services.at(0)
                ->AttributeUuid(),
            Uuid::FromAssignedNumber(0xBEEF));
  peer->On("06 01 00 FF FF 00 28 " + kCustomUuid, "07 20 00 FF FF");
  const auto again = Finish(client->GetGattServicesForUuidAsync(custom, kUncached));
  include();
  EXPECT_EQ(Finish(found->services[0]->GetIncludedServicesAsync(kUncached))->services,
            again->services);
}

TEST_F(AttTest, IncludedServicesWithAndWithoutUuid) {
  const auto service = OpenService();
  peer->On("08 10 00 1F 00 02 28", "09 08 11 00 30 00 3F 00 0A 18")
      .On("08 12 00 1F 00 02 28", "09 06 12 00 40 00 4F 00")
      .On("08 13 00 1F 00 02 28", "01 08 13 00 0A")
      .On("0A 40 00", "0B " + kCustomUuid);
  const auto found = Finish(service->GetIncludedServicesAsync(kUncached));
  ExpectStatus(found, GattCommunicationStatus::Success);
  ASSERT_EQ(found->services.size(), 2U);
  EXPECT_EQ(found->services[0]->AttributeUuid(), Uuid::FromAssignedNumber(0x180A));
  EXPECT_EQ(found->services[1]->AttributeHandle(), 0x40);
  EXPECT_EQ(found->services[1]->AttributeUuid(), *Uuid::FromLittleEndian(FromHex(kCustomUuid)));
}

TEST_F(AttTest, DescriptorQueryReadsWhatDescribesTheCharacteristic) {
  const auto characteristic = OpenCharacteristic();
  peer->On("04 13 00 1F 00", "05 01 13 00 00 29 14 00 01 29 15 00 04 29 16 00 04 29")
      .On("04 17 00 1F 00", "05 01 17 00 05 29 18 00 02 29")
      .On("04 19 00 1F 00", "01 04 19 00 0A")
      .On("0A 13 00", "0B 02 00")
      .On("0A 14 00", "0B 54 C3 A9")
      .On("0A 15 00", "0B 04 FE AD 27 01 00 00")
      .On("0A 16 00", "0B 06 00 00 27 01 00 00")
      .On("0A 17 00", "0B 16 00 15 00 16 00");
  const auto found = Finish(characteristic->GetDescriptorsAsync(kUncached));
  ASSERT_EQ(found->descriptors.size(), 6U);
  EXPECT_EQ(characteristic->CharacteristicProperties(), 0x23AU);
  EXPECT_EQ(characteristic->UserDescription(), u"T\u00E9");
  const auto formats = characteristic->PresentationFormats();
  ASSERT_EQ(formats.size(), 2U);  // in the order of the aggregate
  EXPECT_EQ(formats[0].formatType, 6);
  EXPECT_EQ(formats[1], (GattPresentationFormat{4, -2, 0x27AD, 1, 0}));
  // The handle of the configuration descriptor is known now.
  peer->On("12 18 00 02 00", "13");
  ExpectStatus(
      Finish(characteristic->WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
          GattClientCharacteristicConfigurationDescriptorValue::Indicate)),
      GattCommunicationStatus::Success);
  // A write changes the cached description.
  peer->On("12 14 00 41", "13");
  Finish(found->descriptors[1]->WriteValueWithResultAsync(FromHex("41")));
  EXPECT_EQ(characteristic->UserDescription(), u"A");
}

TEST_F(AttTest, FailingDescriptionDoesNotFailTheQuery) {
  const auto characteristic = OpenCharacteristic();
  peer->On("04 13 00 1F 00", "05 01 1E 00 01 29 1F 00 00 29")
      .On("0A 1E 00", "01 0A 1E 00 02")
      .On("0A 1F 00", "0B 01 00");
  const auto found = Finish(characteristic->GetDescriptorsAsync(kUncached));
  ExpectStatus(found, GattCommunicationStatus::Success);
  EXPECT_EQ(found->descriptors.size(), 2U);
  EXPECT_EQ(characteristic->CharacteristicProperties(), 0x13AU);
}

TEST_F(AttTest, WhatDescribesIsReadWithoutPairingAndReadAgainWhenItWasRefused) {
  const auto characteristic = OpenCharacteristic();
  peer->canRaiseSecurity = true;
  peer->On("04 13 00 1F 00", "05 01 1E 00 01 29 1F 00 00 29")
      .On("0A 1E 00", "01 0A 1E 00 05")
      .On("0A 1F 00", "0B 01 00");
  Finish(characteristic->GetDescriptorsAsync(kUncached));
  EXPECT_EQ(peer->raises, 0);
  const Uuid userDescription = Uuid::FromAssignedNumber(0x2901);
  for (const char* const answer : {"01 0A 1E 00 05", "0B 41"}) {  // reported once
    EXPECT_TRUE(characteristic->MissesDescription(userDescription));
    peer->On("04 13 00 1F 00", "05 01 1E 00 01 29 1F 00 00 29").On("0A 1E 00", answer);
    Finish(characteristic->GetDescriptorsForUuidAsync(userDescription, kUncached));
  }
  EXPECT_EQ(characteristic->UserDescription(), u"A");
  EXPECT_EQ(characteristic->CharacteristicProperties(), 0x13AU);
  EXPECT_FALSE(characteristic->MissesDescription(userDescription));
  EXPECT_EQ(notices, "The descriptor with handle 0x001E could not be read: protocol error 0x05.");

  // A complete query replaces all results; a missing response is reported and not retried.
  notices.clear();
  peer->On("04 13 00 1F 00", "05 01 1F 00 00 29").On("0A 1F 00");
  const auto query = characteristic->GetDescriptorsAsync(kUncached);
  executor->Advance(kTransactionTimeout);
  EXPECT_EQ(Finish(query)->descriptors.size(), 1U);
  EXPECT_EQ(characteristic->UserDescription(), u"");
  EXPECT_EQ(characteristic->CharacteristicProperties(), 0x3AU);
  EXPECT_EQ(notices, "The descriptor with handle 0x001F could not be read: no answer.");
  EXPECT_FALSE(characteristic->MissesDescription(Uuid::FromAssignedNumber(0x2900)));
}

TEST_F(AttTest, ConfigurationIsSearchedWhenUnknownAndMayBeMissing) {
  const auto characteristic = OpenCharacteristic();
  peer->On("04 13 00 1F 00", "01 04 13 00 0A");
  ExpectProtocolError(
      Finish(characteristic->ReadClientCharacteristicConfigurationDescriptorAsync()), 0x0A);
  peer->On("04 13 00 1F 00", "05 01 1F 00 02 29").On("0A 1F 00", "0B 02 00");
  const auto read = Finish(characteristic->ReadClientCharacteristicConfigurationDescriptorAsync());
  EXPECT_EQ(read->clientCharacteristicConfigurationDescriptor,
            GattClientCharacteristicConfigurationDescriptorValue::Indicate);
}

TEST_F(AttTest, LongReadEndsAsServersEndIt) {
  const std::string full = Repeat("AA", 22);
  const auto characteristic = OpenCharacteristic();
  for (const char* end : {"0D BB", "0D", "01 0C 12 00 0B", "01 0C 12 00 07"}) {
    peer->On("0A 12 00", "0B " + full).On("0C 12 00 16 00", end);
    const auto read = Finish(characteristic->ReadValueAsync(kUncached));
    ExpectStatus(read, GattCommunicationStatus::Success);
    EXPECT_EQ(read->value.size(), std::string(end) == "0D BB" ? 23U : 22U) << end;
    EXPECT_EQ(Finish(characteristic->ReadValueAsync(BluetoothCacheMode::Cached))->value,
              read->value);
  }
  peer->On("0A 12 00", "0B " + full).On("0C 12 00 16 00", "01 0C 12 00 80");
  ExpectProtocolError(Finish(characteristic->ReadValueAsync(kUncached)), 0x80);
}

TEST_F(AttTest, ReadThatNeverEndsIsCutOffAt512Bytes) {
  const auto characteristic = OpenCharacteristic();
  peer->On("0A 12 00", "0B " + Repeat("AA", 22));
  for (unsigned offset = 22; offset <= 506; offset += 22) {
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(offset),
                                  static_cast<std::uint8_t>(offset >> 8)};
    peer->On("0C 12 00 " + ToHex(bytes), "0D " + Repeat("AA", 22));
  }
  ExpectProtocolError(Finish(characteristic->ReadValueAsync(kUncached)), 0x04);
}

TEST_F(AttTest, LongestValueIsReadWithoutAskingForMore) {
  const auto characteristic = OpenCharacteristic();
  peer->On("03 05 02");
  peer->Say("02 01 01");  // an ATT_MTU of 257
  Run();
  peer->On("0A 12 00", "0B " + Repeat("AA", 256)).On("0C 12 00 00 01", "0D " + Repeat("BB", 256));
  EXPECT_EQ(Finish(characteristic->ReadValueAsync(kUncached))->value.size(), kMaxValueLength);
}

TEST_F(AttTest, WritesOfEverySize) {
  const auto characteristic = OpenCharacteristic();
  const auto write = [&](std::size_t size, GattWriteOption option) {
    return Finish(characteristic->WriteValueWithResultAsync(Bytes(size, 0xAA), option));
  };
  peer->On("12 12 00 " + Repeat("AA", 20), "13");
  ExpectStatus(write(20, GattWriteOption::WriteWithResponse), GattCommunicationStatus::Success);
  peer->On("16 12 00 00 00 " + Repeat("AA", 18), "17 12 00 00 00 " + Repeat("AA", 18))
      .On("16 12 00 12 00 AA AA AA", "17 12 00 12 00 AA AA AA")
      .On("18 01", "19");
  ExpectStatus(write(21, GattWriteOption::WriteWithResponse), GattCommunicationStatus::Success);
  ExpectProtocolError(write(513, GattWriteOption::WriteWithResponse), 0x0D);
  peer->On("52 12 00 " + Repeat("AA", 20));
  ExpectStatus(write(20, GattWriteOption::WriteWithoutResponse), GattCommunicationStatus::Success);
  ExpectProtocolError(write(21, GattWriteOption::WriteWithoutResponse), 0x0D);
}

TEST_F(AttTest, LongWriteCancelsAfterAWrongEchoOrARefusal) {
  const auto characteristic = OpenCharacteristic();
  const std::string part = " 12 00 00 00 " + Repeat("AA", 18);
  const std::pair<std::string, int> cases[] = {{"17 12 00 01 00 " + Repeat("AA", 18), 0x0E},
                                               {"17 12 00 00 00 " + Repeat("AA", 17), 0x0E},
                                               {"01 16 12 00 09", 0x09}};
  for (const auto& [answer, error] : cases) {
    peer->On("16" + part, answer).On("18 00", "19");
    ExpectProtocolError(Finish(characteristic->WriteValueWithResultAsync(
                            Bytes(40, 0xAA), GattWriteOption::WriteWithResponse)),
                        error);
  }
}

TEST_F(AttTest, LongWritesDoNotMix) {
  const auto characteristic = OpenCharacteristic();
  for (const char* byte : {"AA", "BB"}) {
    const std::string begin = " 12 00 00 00 " + Repeat(byte, 18);
    const std::string rest = " 12 00 12 00 " + Repeat(byte, 3);
    peer->On("16" + begin, "17" + begin).On("16" + rest, "17" + rest).On("18 01", "19");
  }
  const auto option = GattWriteOption::WriteWithResponse;
  const auto first = characteristic->WriteValueWithResultAsync(Bytes(21, 0xAA), option);
  const auto second = characteristic->WriteValueWithResultAsync(Bytes(21, 0xBB), option);
  ExpectStatus(Finish(second), GattCommunicationStatus::Success);
  ExpectStatus(Finish(first), GattCommunicationStatus::Success);
}

TEST_F(AttTest, ValuesFromTheServerReachTheirCharacteristic) {
  const auto characteristic = OpenCharacteristic();
  std::string heard;
  const auto token =
      characteristic->OnValueChanged([&](GattCharacteristic& sender, ByteView value) {
        EXPECT_EQ(&sender, characteristic.get());
        heard += ToHex(value) + ";";
      });
  peer->On("1E").On("1E");
  for (const char* pdu : {"1B 12 00 01", "1D 12 00 02", "1B 12 00", "1D 55 00 06",
                          "23 12 00 01 00 03 12 00 02 00 04 05",
                          // Their contents do not match their types.
                          "1B 12", "23 12 00 01 00 03 12 00 03 00 04 05", "23 12 00 01"})
    peer->Say(pdu);
  Run();
  EXPECT_EQ(heard, "01;02;;03;04 05;");
  EXPECT_EQ(Finish(characteristic->ReadValueAsync(BluetoothCacheMode::Cached))->value,
            (Bytes{4, 5}));
}

TEST_F(AttTest, OneRequestAtATimeAndTheOthersInOrder) {
  const auto characteristic = OpenCharacteristic();
  peer->On("0A 12 00");
  const auto first = characteristic->ReadValueAsync(kUncached);
  const auto second = characteristic->ReadValueAsync(kUncached);
  Run();
  peer->On("0A 12 00", "0B 02");
  peer->Say("0B 01");
  EXPECT_EQ(Finish(second)->value, Bytes{2});
  EXPECT_EQ(Finish(first)->value, Bytes{1});
}

TEST_F(AttTest, WhatWasNotAskedForChangesNothing) {
  const auto characteristic = OpenCharacteristic();
  // Wrong response, error for another request, malformed error, confirmation, command, nothing.
  peer->On("0A 12 00", "13|01 08 12 00 0A|01 0A 12 00|1E|52 12 00 01||0B 07");
  EXPECT_EQ(Finish(characteristic->ReadValueAsync(kUncached))->value, Bytes{7});
}

TEST_F(AttTest, RequestsOfThePeerAreAnswered) {
  OpenService();
  peer->On("01 0A 00 00 06").On("01 3F 00 00 06").On("03 05 02");
  for (const char* request : {"0A 12 00", "3F", "02 40 00"})
    peer->Say(request);
  Run();
}

TEST_F(AttTest, SilenceFor30SecondsEndsTheBearerAndTheNextOperationOpensAnother) {
  const auto characteristic = OpenCharacteristic();
  executor->Advance(milliseconds(10'000));  // no time-out after a response
  peer->On("0A 12 00");
  const auto silent = characteristic->ReadValueAsync(kUncached);
  const auto queued = characteristic->ReadValueAsync(kUncached);
  executor->Advance(kTransactionTimeout - milliseconds(1));
  EXPECT_EQ(linkChanges, "open ");
  AsyncOperationPtr<GattReadResult> retry;  // started while the channel is still closing
  queued->OnCompleted([&](auto& finished) {
    ExpectStatus(finished.GetResults(), GattCommunicationStatus::Unreachable);
    retry = characteristic->ReadValueAsync(kUncached);
  });
  peer->Opens().On("0A 12 00", "0B 01");
  executor->Advance(milliseconds(1));
  ExpectStatus(Finish(silent), GattCommunicationStatus::Unreachable);
  ExpectStatus(Finish(retry), GattCommunicationStatus::Success);
  executor->Advance(kTransactionTimeout);
  EXPECT_EQ(linkChanges, "open closed open ");
  EXPECT_EQ(executor->Pending(), 0U);  // no timer is left behind
}

TEST_F(AttTest, OperationsWaitForOneOpeningAndShareItsFailure) {
  for (const auto& [refusal, status] :
       {std::pair(ChannelError::AccessDenied, GattCommunicationStatus::AccessDenied),
        std::pair(ChannelError::Unreachable, GattCommunicationStatus::Unreachable)}) {
    peer->refusal = refusal;
    peer->opens = 0;
    const auto first = client->GetGattServicesAsync(kUncached);
    const auto second = client->GetGattServicesForUuidAsync(kBattery, kUncached);
    ExpectStatus(Finish(first), status);
    ExpectStatus(Finish(second), status);
    EXPECT_EQ(peer->opens, 1);
  }
  EXPECT_EQ(linkChanges, "");
}

// Happens if the peripheral did not receive the connection request.
TEST_F(AttTest, ALinkThatIsNeverEstablishedIsOpenedTwiceMore) {
  for (int i = 0; i < 3; ++i)
    peer->On(kOffer, kHangsUp);
  ExpectStatus(Finish(client->GetGattServicesAsync(kUncached)),
               GattCommunicationStatus::Unreachable);
  EXPECT_EQ(peer->opens, 3);
  peer->On(kOffer, kHangsUp).On(kOffer, kHangsUp);
  EXPECT_NE(OpenService(), nullptr);
  EXPECT_EQ(peer->opens, 6);
  EXPECT_EQ(linkChanges, "open ");
}

TEST_F(AttTest, APeerThatNeverAgreesOnAnMtuIsNotAskedAgain) {
  peer->On(kOffer);
  const auto operation = client->GetGattServicesAsync(kUncached);
  executor->Advance(kTransactionTimeout);
  ExpectStatus(Finish(operation), GattCommunicationStatus::Unreachable);
  EXPECT_EQ(peer->opens, 1);
}

TEST_F(AttTest, SecurityIsRaisedOncePerChannel) {
  const auto characteristic = OpenCharacteristic();
  peer->canRaiseSecurity = true;
  peer->On("0A 12 00", "01 0A 12 00 05").On("0A 12 00", "0B 01");
  EXPECT_EQ(Finish(characteristic->ReadValueAsync(kUncached))->value, Bytes{1});
  peer->On("0A 12 00", "01 0A 12 00 0F");
  ExpectProtocolError(Finish(characteristic->ReadValueAsync(kUncached)), 0x0F);
  EXPECT_EQ(peer->raises, 1);
}

TEST_F(AttTest, WhatIsAskedDuringPairingHasItsTimeAfterIt) {
  const auto characteristic = OpenCharacteristic();
  peer->canRaiseSecurity = true;
  peer->pairingTakes = milliseconds(29'000);
  peer->On("0A 12 00", "01 0A 12 00 05").On("0A 12 00").On("0A 12 00", "0B 01");
  const auto refused = characteristic->ReadValueAsync(kUncached);
  Run();
  const auto heldBack = characteristic->ReadValueAsync(kUncached);
  executor->Advance(peer->pairingTakes + kTransactionTimeout - milliseconds(1));
  EXPECT_EQ(linkChanges, "open ");
  peer->Say("0B 02");
  EXPECT_EQ(Finish(heldBack)->value, Bytes{2});
  EXPECT_EQ(Finish(refused)->value, Bytes{1});
}

TEST_F(AttTest, SecurityThatCannotBeRaisedIsReported) {
  const auto characteristic = OpenCharacteristic();
  peer->On("0A 12 00", "01 0A 12 00 0F");
  ExpectProtocolError(Finish(characteristic->ReadValueAsync(kUncached)), 0x0F);
}

TEST_F(AttTest, ALinkThatDoesNotSurvivePairingLeavesTheRefusal) {
  const auto characteristic = OpenCharacteristic();
  peer->hangsUpWhenSecured = true;
  peer->On("0A 12 00", "01 0A 12 00 05");
  ExpectProtocolError(Finish(characteristic->ReadValueAsync(kUncached)), 0x05);
  EXPECT_FALSE(peer->IsOpen());
}

TEST_F(AttTest, ClosingInsideACompletionEndsEverythingElse) {
  const auto characteristic = OpenCharacteristic();
  peer->On("0A 12 00", "0B 01").On("0A 12 00");
  const auto first = characteristic->ReadValueAsync(kUncached);
  const auto second = characteristic->ReadValueAsync(kUncached);
  first->OnCompleted([&](auto&) { client.reset(); });
  ExpectStatus(Finish(second), GattCommunicationStatus::Unreachable);
  ExpectStatus(Finish(characteristic->ReadValueAsync(kUncached)),
               GattCommunicationStatus::Unreachable);
  EXPECT_EQ(linkChanges, "open ");
  EXPECT_FALSE(peer->IsOpen());
}

TEST_F(AttTest, ClosingWhileTheChannelOpensEndsTheOperationAndTheChannel) {
  const auto operation = client->GetGattServicesAsync(kUncached);
  client->Close();
  ExpectStatus(Finish(operation), GattCommunicationStatus::Unreachable);
  EXPECT_FALSE(peer->IsOpen());
}

// Responses that make no sense end a discovery with Invalid PDU.
TEST_F(AttTest, HostileAnswersEndTheSearch) {
  const auto characteristic = OpenCharacteristic();
  const auto service =
      Finish(client->GetGattServicesForUuidAsync(kBattery, BluetoothCacheMode::Cached));
  EXPECT_TRUE(service->services.empty());  // only a full discovery fills the cache
  const std::pair<const char*, const char*> services[] = {
      {"no elements", "11 06"},
      {"no length", "11"},
      {"length that is not a service's", "11 05 01 00 02 00 0F"},
      {"length 0", "11 00 01 00 05 00 01 18"},
      {"length that lies", "11 06 01 00 05 00 01 18 06"},
      {"end before start", "11 06 05 00 01 00 01 18"},
      {"handle 0", "11 06 00 00 05 00 01 18"},
      {"repeated handle", "11 06 01 00 05 00 01 18 01 00 05 00 01 18"},
      {"running backwards", "11 06 10 00 15 00 01 18 01 00 05 00 01 18"},
  };
  for (const auto& [what, answer] : services) {
    SCOPED_TRACE(what);
    peer->On("10 01 00 FF FF 00 28", answer);
    ExpectProtocolError(Finish(client->GetGattServicesAsync(kUncached)), 0x04);
  }
  const std::pair<const char*, const char*> descriptors[] = {
      {"unknown format", "05 03 13 00 02 29"},
      {"format that lies", "05 02 13 00 02 29"},
      {"before the range", "05 01 12 00 02 29"},
      {"behind the range", "05 01 20 00 02 29"},
  };
  for (const auto& [what, answer] : descriptors) {
    SCOPED_TRACE(what);
    peer->On("04 13 00 1F 00", answer);
    ExpectProtocolError(Finish(characteristic->GetDescriptorsAsync(kUncached)), 0x04);
  }
}

TEST_F(AttTest, HostileDeclarationsEndTheSearch) {
  const auto service = OpenService();
  for (const char* answer :
       {"09 07 11 00 02 11 00 19 2A", "09 07 11 00 02 20 00 19 2A", "09 06 11 00 02 12 00 19",
        "09 07 11 00 02 15 00 19 2A 13 00 02 16 00 19 2A"}) {
    peer->On("08 10 00 1F 00 03 28", answer);
    ExpectProtocolError(Finish(service->GetCharacteristicsAsync(kUncached)), 0x04);
  }
  for (const char* answer :
       {"09 08 11 00 3F 00 30 00 0A 18", "09 06 11 00 00 00 30 00", "09 07 11 00 30 00 3F 00 0A"}) {
    peer->On("08 10 00 1F 00 02 28", answer);
    ExpectProtocolError(Finish(service->GetIncludedServicesAsync(kUncached)), 0x04);
  }
}

}  // namespace
}  // namespace ble::att
