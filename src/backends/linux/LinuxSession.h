#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "backends/linux/BluezDiscovery.h"
#include "backends/linux/BluezObjects.h"
#include "backends/linux/EventLoop.h"
#include "backends/linux/SystemBus.h"
#include "platform/Radio.h"

namespace ble::linux_radio {

/// What everything of one Linux radio shares: its thread, its connection to BlueZ, the adapter it
/// uses. Lives as long as anything that uses it; apart from `Run`, `Loop`, `Notices` and the limit
/// all of it belongs to the radio's thread.
class LinuxSession : public std::enable_shared_from_this<LinuxSession> {
 public:
  /// `adapterName` is "hci1" and the like; empty for the one that suits best.
  static std::shared_ptr<LinuxSession> Create(std::string adapterName);
  ~LinuxSession();

  const std::shared_ptr<EventLoop>& Loop() const { return loop_; }
  const Radio::Notice& Notices() const { return notices_; }

  /// Runs `task` on the radio's thread once it is known what BlueZ has; the bus is opened by the
  /// first. Any thread.
  void Run(std::function<void(LinuxSession&)> task);

  /// How long callers wait from now on; 0: for ever.
  void SetWaitLimit(std::chrono::milliseconds limit) { waitLimit_ = limit; }
  /// How long a search or the opening of a link lasts at most: it ends before its caller gives up.
  std::chrono::milliseconds SearchLimit() const;

  BluezObjects& Objects() { return objects_; }
  BluezDiscovery& Scanning() { return discovery_; }

  /// The adapter to use: the one with the name, else a powered one before others; null when there
  /// is none.
  const AdapterObject* Adapter() const;
  /// Why `Adapter` is null, or why it cannot be used now; empty when it can.
  std::string WhyNoAdapter() const;

  /// Tells the user something.
  void Notify(const std::string& text);
  /// Tells the user what stands in the way, if anything does.
  void NotifyWhyNoAdapter();

 private:
  static constexpr std::chrono::milliseconds kFirstAnswer{10'000};  ///< of the daemon

  explicit LinuxSession(std::string adapterName);
  void OpenBus();

  const std::string adapterName_;
  const std::shared_ptr<EventLoop> loop_ = std::make_shared<EventLoop>();
  Radio::Notice notices_;
  std::atomic<std::chrono::milliseconds> waitLimit_{std::chrono::milliseconds{0}};
  SystemBus bus_;
  BluezObjects objects_{bus_, [this] { return std::min(kFirstAnswer, SearchLimit()); }};
  BluezDiscovery discovery_{bus_, objects_};
};

}  // namespace ble::linux_radio
