#pragma once

#include <functional>
#include <memory>
#include <string>

#include "backends/linux/EventLoop.h"
#include "hci/AdvertisingReports.h"

namespace ble::linux_radio {

/// Listens to a controller's own advertising reports while somebody else has it scan. Reports are
/// delivered on the radio's thread.
class HciMonitor {
 public:
  /// Null where the process may not listen (it lacks CAP_NET_RAW) or the adapter is gone.
  static std::unique_ptr<HciMonitor> Open(const std::shared_ptr<EventLoop>& loop,
                                          const std::string& adapterName,
                                          hci::AdvertisingReports::Sink sink);
  ~HciMonitor();
  HciMonitor(const HciMonitor&) = delete;
  HciMonitor& operator=(const HciMonitor&) = delete;

 private:
  struct Listening;

  HciMonitor(std::shared_ptr<EventLoop> loop, std::shared_ptr<Listening> listening);

  const std::shared_ptr<EventLoop> loop_;
  const std::shared_ptr<Listening> listening_;  // a report being delivered may outlive this
  EventLoop::WatchId watch_ = 0;
};

}  // namespace ble::linux_radio
