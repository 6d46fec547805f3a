#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "frame/ComponentBase.h"
#include "platform/Radio.h"
#include "radio/HeldAdvertisement.h"
#include "radio/RadioLink.h"

namespace ble {

/// Listens for advertisements and reports each one, at once, on the platform's thread.
class Scanner {
 public:
  struct Parts {
    ComponentBase& base;
    RadioLink& link;
  };

  explicit Scanner(const Parts& parts) : parts_(parts) {}
  ~Scanner();
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  /// Starts scanning for advertisers of all the listed services (a UUID list; empty: everything)
  /// and waits `ScanStartedTimeout` seconds for the radio to listen. Does nothing while scanning.
  Status StartScanning(std::string_view serviceUuids);

  /// Stops scanning and waits until the radio has stopped, at most `Timeout` seconds. A scan that
  /// the radio has not begun in time does not begin any more.
  Status StopScanning();

  /// Whether the radio listens, or is about to stop listening.
  bool IsScanning() const;

  std::int32_t ActiveScanning() const { return activeScanning_; }
  /// Takes effect at the next start; 602 when it would change during a scan.
  Status SetActiveScanning(std::int32_t value);

  /// The advertisement that the calling thread is reporting; null outside its Advertisement event
  /// and on every other thread.
  const HeldAdvertisement* CurrentAdvertisement() const;

 private:
  using Watcher = BluetoothLEAdvertisementWatcher;

  /// One scan: its watcher, which has been asked for it, listens, or is over, and the handlers on
  /// it. Without a watcher there was no scan.
  struct Scan {
    std::shared_ptr<Watcher> watcher;
    EventToken received;
    EventToken stopped;
  };

  Status CheckAdapter();
  Scan MakeScan();
  /// Makes `next` the scan of this instance. The one before it, if it is not over, ends without an
  /// event: it was late to begin.
  void Replace(Scan next);
  std::shared_ptr<Watcher> LatestWatcher() const;

  void OnReceived(const BluetoothLEAdvertisementReceivedEventArgs& args);
  void OnStopped(const Watcher& watcher,
                 const BluetoothLEAdvertisementWatcherStoppedEventArgs& args);

  /// An advertisement that the calling thread reports until it puts it back.
  struct Return {
    Scanner* scanner;
    void operator()(HeldAdvertisement* held) const { scanner->PutBack(held); }
  };
  using Lease = std::unique_ptr<HeldAdvertisement, Return>;

  Lease TakeIdle();
  void PutBack(HeldAdvertisement* held);

  Parts parts_;
  std::atomic<std::int32_t> activeScanning_{0};

  mutable Mutex mutex_;
  Scan scan_ GUARDED_BY(mutex_);  ///< the latest
  std::vector<std::pair<std::thread::id, const HeldAdvertisement*>> reporting_ GUARDED_BY(mutex_);
  std::vector<std::unique_ptr<HeldAdvertisement>> idle_ GUARDED_BY(mutex_);
};

}  // namespace ble
