#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "frame/CallGate.h"
#include "frame/ErrorState.h"
#include "radio/AsyncWait.h"
#include "radio/BLEEvent.h"
#include "support/Host.h"
#include "support/StormRadio.h"

namespace ble::tests {
namespace {

using namespace std::chrono_literals;
using Operation = CompletableOperation<int>;

/// A clock that advances only in steps, and a pump that records the limit of each step.
class ManualTime final : public Clock, public MessagePump {
 public:
  ManualTime(std::uint32_t now, bool hasQueue) : now_(now), hasQueue_(hasQueue) {}

  std::uint32_t TickCount() const override { return now_; }
  void Sleep(std::chrono::milliseconds duration) override { Advance(duration); }
  bool HasMessageQueue() const override { return hasQueue_; }
  bool Step(std::chrono::milliseconds wait, const WakeSignal*) override {
    steps.push_back(wait);
    Advance(wait);
    if (onStep) onStep();
    return false;  // as for a closed window; waits ignore it
  }

  std::vector<std::chrono::milliseconds> steps;
  std::function<void()> onStep;

 private:
  void Advance(std::chrono::milliseconds by) { now_ += static_cast<std::uint32_t>(by.count()); }

  std::uint32_t now_;
  const bool hasQueue_;
};

struct Waiter {
  explicit Waiter(std::shared_ptr<ManualTime> manualTime)
      : time(std::move(manualTime)), radio{nullptr, time, time} {}

  std::shared_ptr<ManualTime> time;
  OpenedRadio radio;
  ErrorState errors;
  std::atomic<std::int32_t> timeout{1};
  AsyncWait wait{errors, radio, timeout};
};

TEST(AsyncWait, StepsAreShortOnlyWhereThreadsHaveMessageQueues) {
  Waiter queued(std::make_shared<ManualTime>(0, true));
  Waiter plain(std::make_shared<ManualTime>(0, false));
  for (Waiter* waiter : {&queued, &plain}) {
    const auto result = waiter->wait.Await(
        []() -> AsyncOperationPtr<int> { return std::make_shared<Operation>(); });
    EXPECT_EQ(result.status.Code(), 301);
    EXPECT_EQ(waiter->errors.LastCode(), 301);
    EXPECT_EQ(result.status.Text(), "Timeout.");
  }
  EXPECT_EQ(queued.time->steps.size(), 51U);
  EXPECT_EQ(queued.time->steps.front(), 20ms);
  EXPECT_EQ(plain.time->steps, std::vector{1001ms});
}

TEST(AsyncWait, TheTickCountMayWrap) {
  for (const std::uint32_t begin : {0U, 0xFFFFFF00U}) {
    Waiter waiter(std::make_shared<ManualTime>(begin, true));
    const auto operation = std::make_shared<Operation>();
    waiter.time->onStep = [&] {
      if (waiter.time->steps.size() == 40) operation->Complete(std::make_shared<int>(7));
    };
    const auto result = waiter.wait.Await([&]() -> AsyncOperationPtr<int> { return operation; });
    ASSERT_EQ(result.status.Code(), 0) << begin;
    EXPECT_EQ(*result.value, 7);
    EXPECT_EQ(waiter.time->steps.size(), 40U);
  }
}

TEST(AsyncWait, ALateCompletionTouchesNothing) {
  Waiter waiter(std::make_shared<ManualTime>(0, true));
  const auto late = std::make_shared<Operation>();
  EXPECT_EQ(waiter.wait.Await([&]() -> AsyncOperationPtr<int> { return late; }).status.Code(), 301);
  const auto next = std::make_shared<Operation>();
  waiter.time->onStep = [&] {
    late->Fail({-1, "too late"});
    if (waiter.time->steps.size() == 60) next->Complete(std::make_shared<int>(1));
  };
  const auto result = waiter.wait.Await([&]() -> AsyncOperationPtr<int> { return next; });
  EXPECT_EQ(result.status.Code(), 0);
  EXPECT_EQ(*result.value, 1);
}

TEST(CallGate, ClosingWaitsForOthersButNotForItself) {
  CallGate gate;
  std::atomic<bool> inside = false;
  std::atomic<bool> left = false;
  std::thread other([&] {
    const CallGate::Pass pass(gate);
    inside = true;
    for (int i = 0; i < 1000; ++i)
      std::this_thread::yield();
    left = true;
  });
  while (!inside)
    std::this_thread::yield();
  {
    const CallGate::Pass outer(gate);
    const CallGate::Pass inner(gate);
    ASSERT_TRUE(outer && inner);
    gate.Close();  // from inside two calls of this thread
    EXPECT_TRUE(left);
  }
  EXPECT_FALSE(CallGate::Pass(gate));
  other.join();
}

TEST(CallGate, PassesOfSeveralGatesMayMixAndALateOneIsRefused) {
  CallGate gate, other;
  const CallGate::Pass first(gate);
  const CallGate::Pass between(other);
  const CallGate::Pass second(gate);
  gate.Close();
  EXPECT_FALSE(CallGate::Pass(gate));
  EXPECT_TRUE(CallGate::Pass(other));
}

TEST(WakeSignal, WhoeverSeesItSetMayDestroyIt) {
  for (int i = 0; i < 2000; ++i) {
    auto signal = std::make_unique<WakeSignal>();
    std::jthread setter([&signal = *signal] { signal.Set(); });
    while (!signal->WaitFor(std::chrono::milliseconds{i % 2}))
      ;
    signal.reset();
  }
}

TEST(BLEEvent, TheEngineLivesAsLongAsItsCallbackAndFailuresEndThere) {
  auto bridge = std::make_shared<BLEEvent>();
  auto engine = std::make_shared<int>(1);
  const std::weak_ptr<int> alive = engine;
  bridge->Attach(engine);
  bridge->Deliver([&] {
    engine.reset();
    EXPECT_FALSE(alive.expired());
    throw PlatformFailure(1, "nobody's business");
  });
  EXPECT_TRUE(alive.expired());
  bridge->Deliver([] { FAIL() << "delivered without an engine"; });
}

TEST(Scanner, EachThreadSeesTheAdvertisementItIsReporting) {
  std::shared_ptr<StormRadio> radio;
  Host host(StormRadio::Open(radio));
  ASSERT_EQ(host.Do(CORVANEBLE_METHOD_START_SCANNING), 0);
  std::atomic<int> reporting = 0;
  std::atomic<int> wrong = 0;
  host.onEvent = [&](const HostEvent& event) {
    if (event.id != CORVANEBLE_EVENT_ADVERTISEMENT) return 0;
    ++reporting;
    for (int i = 0; i < 10'000 && reporting < 2; ++i)
      std::this_thread::yield();  // lets both threads run
    if (host.Config("ManufacturerCompanyId[0]") != "76") ++wrong;
    return 0;
  };
  std::thread first([&] { radio->Hear(); });
  std::thread second([&] { radio->Hear(); });
  first.join();
  second.join();
  EXPECT_EQ(reporting, 2);
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(host.Config("ManufacturerCompanyId[0]"), "!602");
}

}  // namespace
}  // namespace ble::tests
