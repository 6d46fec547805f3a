#pragma once

#include <memory>
#include <utility>

#include "backends/StatefulWatcher.h"
#include "backends/linux/HciMonitor.h"
#include "backends/linux/LinuxSession.h"

namespace ble::linux_radio {

/// The advertisement watcher of the Linux radio: BlueZ discovers; the packets come from the
/// controller itself where this process may listen to it, else they are rebuilt from what BlueZ
/// tells of the devices. All events are raised on the radio's thread.
class LinuxWatcher final : public StatefulWatcher,
                           public std::enable_shared_from_this<LinuxWatcher> {
 public:
  explicit LinuxWatcher(std::shared_ptr<LinuxSession> session) : session_(std::move(session)) {}
  ~LinuxWatcher() override;

 private:
  class Scan;

  void BeginScan(ScanOrderPtr order) override;
  void EndScan() override;
  void Begin(LinuxSession& session, const ScanOrderPtr& order);
  void OnStarted(BluetoothError error);
  void LetGoOfScan();

  const std::shared_ptr<LinuxSession> session_;
  std::shared_ptr<Scan> scan_;  // the radio's thread alone
};

}  // namespace ble::linux_radio
