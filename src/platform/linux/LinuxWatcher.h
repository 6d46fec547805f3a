#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/BluetoothAdvertisement.h"
#include "platform/linux/HciMonitor.h"
#include "platform/linux/LinuxSession.h"

namespace corvaneble::platform::linux_radio {

/// The advertisement watcher of the Linux radio: BlueZ discovers; the packets come from the
/// controller itself where this process may listen to it, else they are rebuilt from what BlueZ
/// tells of the devices. All events are raised on the radio's thread.
class LinuxWatcher final : public BluetoothLEAdvertisementWatcher,
                           public std::enable_shared_from_this<LinuxWatcher> {
 public:
  explicit LinuxWatcher(std::shared_ptr<LinuxSession> session) : session_(std::move(session)) {}
  ~LinuxWatcher() override;

  BluetoothLEAdvertisementWatcherStatus Status() const override;
  void SetScanningMode(BluetoothLEScanningMode mode) override;
  void SetAdvertisementFilter(BluetoothLEAdvertisementFilter filter) override;
  void Start() override;
  void Stop() override;
  EventToken OnReceived(Received::Handler handler) override {
    return received_.Add(std::move(handler));
  }
  EventToken OnStopped(Stopped::Handler handler) override {
    return stopped_.Add(std::move(handler));
  }

 private:
  using WatcherStatus = BluetoothLEAdvertisementWatcherStatus;
  class Scan;

  void Begin(LinuxSession& session, std::uint32_t attempt);
  void OnStarted(std::uint32_t attempt, BluetoothError error);
  /// Ends the scan on the radio's thread: the status changes, then `Stopped` is raised.
  void Finish(WatcherStatus status, BluetoothError error);

  const std::shared_ptr<LinuxSession> session_;
  Received received_;
  Stopped stopped_;

  mutable std::mutex mutex_;  // guards the fields below; not held while anything is called
  WatcherStatus status_ = WatcherStatus::Created;
  BluetoothLEScanningMode mode_ = BluetoothLEScanningMode::Passive;
  BluetoothLEAdvertisementFilter filter_;
  std::uint32_t attempt_ = 0;  ///< counts calls of `Start`
  bool starting_ = false;      ///< `Start` was called and the radio does not listen yet
  std::shared_ptr<Scan> scan_;
};

}  // namespace corvaneble::platform::linux_radio
