#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "att/AttChannel.h"
#include "backends/linux/LinuxSession.h"

namespace ble::linux_radio {

/// Opens the kernel's ATT channel to one device. While another program holds that channel, or the
/// device does not answer, it tries again until the session's `SearchLimit` has passed.
class L2capConnector final : public att::AttConnector {
 public:
  L2capConnector(std::shared_ptr<LinuxSession> session, const DeviceObject& device)
      : session_(std::move(session)), peer_(device) {}
  ~L2capConnector() override;

  void Open(Opened opened) override;

 private:
  class Attempt;

  /// Who a device is: BlueZ may forget it, and learn that it has another address than it showed.
  struct Peer {
    explicit Peer(const DeviceObject& device)
        : path(device.path),
          adapterPath(device.adapterPath),
          address(device.address),
          randomAddress(device.randomAddress) {}

    std::string path;
    std::string adapterPath;
    std::uint64_t address;
    bool randomAddress;
  };

  const std::shared_ptr<LinuxSession> session_;
  const Peer peer_;
  std::weak_ptr<Attempt> attempt_;  // set by `Open`, of which there is one at a time
};

}  // namespace ble::linux_radio
