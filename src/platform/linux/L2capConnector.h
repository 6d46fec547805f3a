#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "platform/att/AttChannel.h"
#include "platform/linux/LinuxSession.h"

namespace corvaneble::platform::linux_radio {

/// Where a device is found on the air.
struct DeviceAddress {
  std::uint64_t address = 0;
  bool random = false;
};

/// Opens the kernel's ATT channel to one device. While another program holds that channel, or the
/// device does not answer, it tries again until its time is up.
class L2capConnector final : public att::AttConnector {
 public:
  L2capConnector(std::shared_ptr<LinuxSession> session, DeviceAddress peer,
                 std::chrono::milliseconds limit)
      : session_(std::move(session)), peer_(peer), limit_(limit) {}
  ~L2capConnector() override;

  void Open(Opened opened) override;

 private:
  class Attempt;

  const std::shared_ptr<LinuxSession> session_;
  const DeviceAddress peer_;
  const std::chrono::milliseconds limit_;
  std::weak_ptr<Attempt> attempt_;  // set by `Open`, of which there is one at a time
};

}  // namespace corvaneble::platform::linux_radio
