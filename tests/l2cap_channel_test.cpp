// Tests which thread reads a PDU from an ATT channel: the waiting thread or that of the radio. The
// channel is one end of a local socket pair, which preserves packets like the kernel's ATT sockets.

#include "backends/linux/L2capChannel.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstring>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace ble::linux_radio {
namespace {

using namespace std::chrono_literals;
using att::Opcode;

constexpr auto kLimit = 30s;

/// Records what arrives, and on which thread.
class Recorder final : public att::AttChannel::Listener {
 public:
  struct Arrival {
    std::uint32_t number;
    std::thread::id thread;
  };

  void OnPdu(ByteView pdu) override {
    const std::lock_guard lock(mutex_);
    std::uint32_t number = 0;
    std::memcpy(&number, pdu.data() + 1, sizeof number);
    const bool isResponse = att::IsResponse(att::OpcodeOf(pdu));
    (isResponse ? responses : values).push_back({number, std::this_thread::get_id()});
    if (isResponse && answered_ != nullptr) answered_->Set();
    arrived_.notify_all();
  }
  void OnClosed(att::ChannelError error) override {
    reason = error;
    closed.Set();
  }
  bool WaitForValues(std::size_t count) {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, kLimit, [&] { return values.size() >= count; });
  }
  void SetAnswered(WakeSignal* signal) {
    const std::lock_guard lock(mutex_);
    answered_ = signal;
  }

  std::vector<Arrival> responses;
  std::vector<Arrival> values;
  att::ChannelError reason{};  // set before `closed`
  WakeSignal closed;

 private:
  std::mutex mutex_;  // guards what has arrived
  std::condition_variable arrived_;
  WakeSignal* answered_ = nullptr;
};

class L2capChannelTest : public testing::Test {
 protected:
  L2capChannelTest() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    channel = std::make_shared<L2capChannel>(loop, FileDescriptor(ends[0]), nullptr);
    peer = FileDescriptor(ends[1]);
    channel->Start(recorder);
    std::promise<std::thread::id> started;
    loop->Post([&] { started.set_value(std::this_thread::get_id()); });
    radioThread = started.get_future().get();
  }
  ~L2capChannelTest() override { loop->Stop(); }

  void Say(Opcode opcode, std::uint32_t number) const {
    std::uint8_t pdu[5] = {static_cast<std::uint8_t>(opcode)};
    std::memcpy(pdu + 1, &number, sizeof number);
    EXPECT_EQ(::send(peer.Get(), pdu, sizeof pdu, 0), 5);
  }
  /// Blocks until `release` has a value.
  void HoldRadiosThread() {
    loop->Post([held = release.get_future().share()] { held.wait(); });
  }
  /// Waits for the signal, with a very long limit.
  void WaitFor(const WakeSignal& signal) const {
    const auto begin = std::chrono::steady_clock::now();
    loop->Step(kLimit, &signal);
    EXPECT_TRUE(signal.IsSet());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kLimit);
  }
  /// Every value, in the order it was sent, on the radio's thread.
  void ExpectValues(std::uint32_t count) const {
    ASSERT_TRUE(recorder->WaitForValues(count));
    for (std::uint32_t i = 0; i < count; ++i) {
      EXPECT_EQ(recorder->values[i].number, i);
      EXPECT_EQ(recorder->values[i].thread, radioThread);
    }
  }

  std::shared_ptr<EventLoop> loop = std::make_shared<EventLoop>();
  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  std::shared_ptr<L2capChannel> channel;
  FileDescriptor peer;
  std::thread::id radioThread;
  std::promise<void> release;
};

TEST_F(L2capChannelTest, AWaitingThreadTakesItsResponseAndLeavesEventsToTheRadiosThread) {
  HoldRadiosThread();
  WakeSignal answered;
  recorder->SetAnswered(&answered);
  Say(Opcode::HandleValueNotification, 0);
  Say(Opcode::ReadResponse, 7);
  Say(Opcode::HandleValueIndication, 1);
  WaitFor(answered);
  ASSERT_EQ(recorder->responses.size(), 1U);
  EXPECT_EQ(recorder->responses[0].thread, std::this_thread::get_id());
  EXPECT_TRUE(recorder->values.empty());

  Say(Opcode::HandleValueNotification, 2);
  release.set_value();
  ExpectValues(3);
}

TEST_F(L2capChannelTest, TheAnswerToTheAttMtuIsTheRadiosThreads) {
  WakeSignal answered;
  recorder->SetAnswered(&answered);
  const std::jthread later([&] { Say(Opcode::ExchangeMtuResponse, 0); });
  WaitFor(answered);
  recorder->SetAnswered(nullptr);
  EXPECT_EQ(recorder->responses.at(0).thread, radioThread);
}

TEST_F(L2capChannelTest, AWaitEndsForWhateverSetsItsSignal) {
  WakeSignal elsewhere;
  const std::jthread other([&] { elsewhere.Set(); });
  WaitFor(elsewhere);
  WakeSignal onTheLoop;
  loop->PostAfter(5ms, [&] { onTheLoop.Set(); });
  WaitFor(onTheLoop);
  const std::jthread gone([this] { peer.Reset(); });
  WaitFor(recorder->closed);
  EXPECT_EQ(recorder->reason, att::ChannelError::Unreachable);
  EXPECT_FALSE(channel->Send(std::array<std::uint8_t, 1>{0x0A}));
}

TEST_F(L2capChannelTest, AWaitLastsAsLongAsItShould) {
  WakeSignal answered, never;
  recorder->SetAnswered(&answered);
  Say(Opcode::ReadResponse, 0);
  loop->Step(30ms, &answered);  // leaves a timer that fires too early for the next wait
  EXPECT_TRUE(answered.IsSet());
  for (const auto wait : {60ms, 5ms}) {
    const auto begin = std::chrono::steady_clock::now();
    loop->Step(wait, &never);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, wait);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kLimit);
  }
}

TEST_F(L2capChannelTest, WhatDoesNotFitIntoTheSocketFollowsInOrder) {
  constexpr std::uint16_t kCommands = 2000;  // the socket holds a few hundred
  for (std::uint16_t i = 0; i < kCommands; ++i)
    ASSERT_TRUE(channel->Send(std::array{std::uint8_t{0x52}, static_cast<std::uint8_t>(i),
                                         static_cast<std::uint8_t>(i >> 8)}));
  WakeSignal sent;
  channel->WhenSent([&] { sent.Set(); });
  EXPECT_FALSE(sent.IsSet());
  for (std::uint16_t i = 0; i < kCommands; ++i) {
    std::uint8_t pdu[8];
    ASSERT_EQ(::recv(peer.Get(), pdu, sizeof pdu, 0), 3);
    ASSERT_EQ(pdu[1] | pdu[2] << 8, i);
  }
  WaitFor(sent);
}

TEST_F(L2capChannelTest, NothingIsKeptForALinkThatHasEnded) {
  FileDescriptor unconnected(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
  const auto ended = std::make_shared<L2capChannel>(loop, std::move(unconnected), nullptr);
  EXPECT_FALSE(ended->Send(std::array{std::uint8_t{0x52}}));  // ENOTCONN, as during pairing
}

TEST_F(L2capChannelTest, AWaitOnTheRadiosThreadEndsForWhatAnotherThreadSets) {
  WakeSignal elsewhere, ended;
  loop->Post([&] {
    loop->Step(kLimit, &elsewhere);
    ended.Set();
  });
  elsewhere.Set();
  WaitFor(ended);
}

TEST_F(L2capChannelTest, APduWithoutAByteIsNoEnd) {
  const auto sayNothing = [this] { EXPECT_EQ(::send(peer.Get(), "", 0, 0), 0); };
  sayNothing();
  Say(Opcode::HandleValueNotification, 0);
  ExpectValues(1);
  HoldRadiosThread();
  WakeSignal answered;
  recorder->SetAnswered(&answered);
  sayNothing();
  Say(Opcode::ReadResponse, 0);
  WaitFor(answered);
  EXPECT_EQ(recorder->responses.at(0).thread, std::this_thread::get_id());
  EXPECT_FALSE(recorder->closed.IsSet());
  release.set_value();
}

TEST_F(L2capChannelTest, WhatCameBeforeTheEndIsHandledBeforeIt) {
  HoldRadiosThread();
  for (std::uint32_t i = 0; i < 3; ++i)
    Say(Opcode::HandleValueNotification, i);
  peer.Reset();
  release.set_value();
  WaitFor(recorder->closed);
  ExpectValues(3);
}

TEST_F(L2capChannelTest, AWaitingThreadKeepsOnlySoMuchForARadiosThreadThatIsHeldUp) {
  constexpr std::uint32_t kMore = 270;  // the channel keeps fewer; the socket takes the rest
  HoldRadiosThread();
  WakeSignal answered;
  recorder->SetAnswered(&answered);
  std::jthread server([this] {
    for (std::uint32_t i = 0; i < kMore; ++i)
      Say(Opcode::HandleValueNotification, i);
    Say(Opcode::ReadResponse, 0);
  });
  loop->Step(20ms, &answered);
  EXPECT_FALSE(answered.IsSet());
  release.set_value();
  WaitFor(answered);
  server.join();
  recorder->SetAnswered(nullptr);
  ExpectValues(kMore);
}

TEST_F(L2capChannelTest, NothingIsLostOrOvertakenBetweenTheThreads) {
  constexpr std::uint32_t kRounds = 300;
  constexpr std::uint32_t kValues = 3;  // per round, before and after its response
  const std::jthread server([this] {
    std::uint8_t request[8];
    for (std::uint32_t next = 0; ::recv(peer.Get(), request, sizeof request, 0) > 0;) {
      Say(Opcode::HandleValueNotification, next++);
      Say(Opcode::HandleValueNotification, next++);
      Say(Opcode::ReadResponse, next);
      Say(Opcode::HandleValueNotification, next++);
    }
  });
  for (std::uint32_t round = 0; round < kRounds; ++round) {
    WakeSignal answered;
    recorder->SetAnswered(&answered);
    ASSERT_TRUE(channel->Send(std::array<std::uint8_t, 3>{0x0A, 0x01, 0x00}));
    WaitFor(answered);
    recorder->SetAnswered(nullptr);
  }
  EXPECT_EQ(recorder->responses.size(), kRounds);
  ExpectValues(kRounds * kValues);
  channel->Close();
  WaitFor(recorder->closed);
}

}  // namespace
}  // namespace ble::linux_radio
