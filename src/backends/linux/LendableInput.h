#pragma once

#include <atomic>
#include <functional>

#include "backends/linux/EventFd.h"
#include "backends/linux/FileDescriptor.h"
#include "backends/linux/TimerFd.h"
#include "platform/Clock.h"

namespace ble::linux_radio {

/// Input of the radio that a waiting thread may take by itself, which costs less than to be woken
/// by the radio's thread.
///
/// The two threads do not synchronize for a wait. Both watch the descriptor `EPOLLEXCLUSIVE`, and
/// of those that do the kernel wakes the first that has a thread waiting: hence the radio's thread
/// is left asleep while another waits here, provided that it began to watch later than this was
/// made. What arrives may still wake both, so taking must be safe on both at once.
class LendableInput {
 public:
  using TimePoint = TimerFd::TimePoint;

  enum class Taken {
    One,
    Nothing,  ///< there was none
    Enough,   ///< no more can be kept for the radio's thread
    End,      ///< none will come
  };
  /// Takes what has arrived, one piece at most, on the calling thread; keeps for the radio's thread
  /// what only that may handle.
  using TakeOne = std::function<Taken()>;
  /// Has the radio's thread take all that is left, and the end if it has come, after what was
  /// kept: no thread that waits will be told of it again.
  using GiveBack = std::function<void(bool ended)>;

  /// The descriptor must live as long as this.
  LendableInput(int descriptor, TakeOne takeOne, GiveBack giveBack);
  LendableInput(const LendableInput&) = delete;
  LendableInput& operator=(const LendableInput&) = delete;

  /// Takes input until `signal` is set or `end` has come; not on the radio's thread. False at once
  /// when another thread does so already, and as soon as the input can give no more.
  bool TakeUntil(const WakeSignal& signal, TimePoint end);

 private:
  static constexpr auto kNoAlarm = TimePoint::max();

  bool Take(const WakeSignal& signal, TimePoint end);
  void SetAlarm(TimePoint latest);
  Taken TakeNext(const WakeSignal& signal);
  Taken TakeAll();

  const TakeOne takeOne_;
  const GiveBack giveBack_;
  const EventFd wake_;
  const TimerFd alarm_;
  const FileDescriptor epoll_;      ///< of the input and those two; none if the system gave none
  std::atomic<bool> inUse_{false};  ///< a thread is in here
  TimePoint alarmAt_ = kNoAlarm;    ///< belongs to the thread in here
};

}  // namespace ble::linux_radio
