#include "backends/simulated/Timeline.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace ble::simulated {
namespace {

using std::chrono::milliseconds;

milliseconds Elapsed(const Timeline& timeline) {
  return milliseconds(timeline.TickCount());
}

TEST(Timeline, VirtualTimeStandsStillUnlessSomebodyWaits) {
  Timeline timeline(Timeline::Mode::Virtual);
  std::atomic<int> runs{0};
  timeline.Post([&] { ++runs; });
  timeline.PostAfter(milliseconds(50), [&] { ++runs; });
  EXPECT_EQ(timeline.TickCount(), 0U);
  EXPECT_EQ(runs, 0);
  timeline.Sleep(milliseconds(49));
  EXPECT_EQ(runs, 1);
  timeline.Sleep(milliseconds(1));
  EXPECT_EQ(runs, 2);
  timeline.Sleep(std::chrono::hours(1));  // no tasks: only the time changes
  EXPECT_EQ(Elapsed(timeline), std::chrono::hours(1) + milliseconds(50));
}

TEST(Timeline, RunsTasksInOrderOfDueTimeThenOfSubmission) {
  Timeline timeline(Timeline::Mode::Virtual);
  std::vector<std::pair<int, milliseconds>> runs;
  const auto record = [&](int name) {
    return [&, name] { runs.emplace_back(name, Elapsed(timeline)); };
  };
  timeline.PostAfter(milliseconds(20), record(4));
  timeline.PostAfter(milliseconds(10), [&] {
    record(2)();
    timeline.Post(record(3));  // now, after the tasks that are already due
  });
  timeline.PostAfter(milliseconds(5), record(1));
  const auto cancelled = timeline.PostAfter(milliseconds(7), record(99));
  timeline.Cancel(cancelled);
  timeline.Cancel(cancelled + 1000);
  timeline.PostAt(Timeline::TimePoint{}, record(0));
  timeline.Sleep(milliseconds(30));
  const std::vector<std::pair<int, milliseconds>> expected{{0, milliseconds(0)},
                                                           {1, milliseconds(5)},
                                                           {2, milliseconds(10)},
                                                           {3, milliseconds(10)},
                                                           {4, milliseconds(20)}};
  EXPECT_EQ(runs, expected);
}

TEST(Timeline, AWaitEndsWithItsSignalAndTasksBehindItDoNotRun) {
  Timeline timeline(Timeline::Mode::Virtual);
  WakeSignal signal;
  bool behind = false;
  timeline.PostAfter(milliseconds(30), [&] { signal.Set(); });
  timeline.PostAfter(milliseconds(30), [&] { behind = true; });
  EXPECT_TRUE(timeline.Step(std::chrono::seconds(60), &signal));
  EXPECT_EQ(timeline.TickCount(), 30U);
  EXPECT_FALSE(behind);
  EXPECT_TRUE(timeline.Step(milliseconds(0), nullptr));
  EXPECT_TRUE(behind);

  WakeSignal never;
  timeline.Step(milliseconds(20), &never);
  EXPECT_EQ(timeline.TickCount(), 50U);
}

TEST(Timeline, TasksNeverRunOnTheWaitingThread) {
  Timeline timeline(Timeline::Mode::Virtual);
  std::thread::id ran;
  timeline.Post([&] { ran = std::this_thread::get_id(); });
  timeline.Sleep(milliseconds(1));
  EXPECT_NE(ran, std::thread::id());
  EXPECT_NE(ran, std::this_thread::get_id());
}

class TimelineInBothModes : public testing::TestWithParam<Timeline::Mode> {};
INSTANTIATE_TEST_SUITE_P(, TimelineInBothModes,
                         testing::Values(Timeline::Mode::Real, Timeline::Mode::Virtual));

TEST_P(TimelineInBothModes, AWaitInsideATaskRunsTasksNested) {
  WakeSignal outer;
  WakeSignal inner;
  Timeline timeline(GetParam());
  std::vector<int> order;
  std::thread::id first;
  std::thread::id nested;
  timeline.Post([&] {
    first = std::this_thread::get_id();
    timeline.PostAfter(milliseconds(2), [&] {
      nested = std::this_thread::get_id();
      order.push_back(1);
      inner.Set();
    });
    timeline.Step(std::chrono::seconds(60), &inner);
    order.push_back(2);
    outer.Set();
  });
  while (!outer.IsSet())  // a message ends a step too
    timeline.Step(std::chrono::seconds(60), &outer);
  if (GetParam() == Timeline::Mode::Virtual) {
    EXPECT_EQ(timeline.TickCount(), 2U);
  }
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  EXPECT_EQ(first, nested);
}

TEST_P(TimelineInBothModes, MayDieInsideATaskAndDropsWhatIsPending) {
  auto pending = std::make_shared<int>();
  const std::weak_ptr<int> dropped = pending;
  auto timeline = std::make_shared<Timeline>(GetParam());
  auto* raw = timeline.get();
  const auto letGo = std::make_shared<WakeSignal>();
  const auto died = std::make_shared<WakeSignal>();
  raw->PostAfter(std::chrono::hours(9), [pending = std::move(pending)] {});
  raw->Post([letGo, died, last = std::make_shared<std::shared_ptr<Timeline>>(timeline)] {
    letGo->WaitFor(std::chrono::seconds(60));
    last->reset();
    died->Set();
  });
  std::thread waiter([timeline = std::move(timeline)]() mutable {
    timeline->Step(milliseconds(0), nullptr);
    timeline.reset();
  });
  if (GetParam() == Timeline::Mode::Real) waiter.join();
  letGo->Set();
  ASSERT_TRUE(died->WaitFor(std::chrono::seconds(60)));
  if (waiter.joinable()) waiter.join();
  EXPECT_TRUE(dropped.expired());
}

TEST(Timeline, SeveralThreadsWaitAtOnce) {
  Timeline timeline(Timeline::Mode::Virtual);
  std::atomic<int> ticks{0};
  std::function<void()> tick = [&] {
    ++ticks;
    timeline.PostAfter(milliseconds(1), tick);
  };
  timeline.Post(tick);
  std::vector<std::thread> hosts;
  for (int host = 1; host <= 4; ++host) {
    hosts.emplace_back([&timeline, host] {
      for (int i = 0; i < 200; ++i) {
        auto signal = std::make_shared<WakeSignal>();
        const auto before = timeline.Now();
        timeline.PostAfter(milliseconds(host), [signal] { signal->Set(); });
        timeline.Step(milliseconds(host * (1 + i % 2)), signal.get());
        ASSERT_GE(timeline.Now() - before, milliseconds(host));
      }
    });
  }
  for (std::thread& host : hosts)
    host.join();
  EXPECT_GE(ticks, 800);  // the slowest host waited 200 times 4 ms
}

}  // namespace
}  // namespace ble::simulated
