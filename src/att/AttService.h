#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "att/GattContext.h"
#include "att/GattOperation.h"
#include "platform/Gatt.h"

namespace ble::att {

/// A service found on a server.
class AttService final : public GattDeviceService, public std::enable_shared_from_this<AttService> {
 public:
  using Wanted = std::optional<Uuid>;

  AttService(std::shared_ptr<GattContext> context, const ServiceRecord& record);

  /// Takes over what may differ when the service is found again: where it ends. `declaredIn` is the
  /// version of the database whose declaration of the service says so; 0: something else does.
  void Update(const ServiceRecord& record, std::uint32_t declaredIn) {
    end_ = record.end;
    if (declaredIn != 0) declaredIn_ = declaredIn;
  }
  std::uint32_t DeclaredIn() const { return declaredIn_; }
  ServiceRecord Record() const { return {handle_, end_, uuid_}; }

  std::uint16_t AttributeHandle() const override { return handle_; }
  Uuid AttributeUuid() const override { return uuid_; }

  AsyncOperationPtr<GattDeviceServicesResult> QueryIncludedServices(
      const Wanted& wanted, BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattCharacteristicsResult> QueryCharacteristics(
      const Wanted& wanted, BluetoothCacheMode mode) override;

 private:
  GattDeviceServicesResult Publish(const std::vector<ServiceRecord>& records,
                                   const Wanted& wanted) const;
  GattCharacteristicsResult Publish(const std::vector<CharacteristicRecord>& records,
                                    const Wanted& wanted) const;

  const std::shared_ptr<GattContext> context_;
  const std::uint16_t handle_;
  const Uuid uuid_;
  std::atomic<std::uint16_t> end_;
  std::atomic<std::uint32_t> declaredIn_{0};
  LastKnown<ServiceRecord> includes_;
  LastKnown<CharacteristicRecord> characteristics_;
};

}  // namespace ble::att
