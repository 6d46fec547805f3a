#pragma once

#include <cstdint>
#include <memory>

#include "att/GattContext.h"
#include "att/GattOperation.h"
#include "att/ValueRead.h"
#include "platform/Gatt.h"

namespace ble::att {

class AttCharacteristic;

/// A descriptor found on a server. Its characteristic learns from every value that is read from it
/// or written to it.
class AttDescriptor final : public GattDescriptor,
                            public ValueKeeper,
                            public std::enable_shared_from_this<AttDescriptor> {
 public:
  AttDescriptor(std::shared_ptr<GattContext> context,
                const std::shared_ptr<AttCharacteristic>& characteristic,
                const DescriptorRecord& record);

  bool BelongsTo(const std::shared_ptr<AttCharacteristic>& characteristic) const;

  std::uint16_t AttributeHandle() const override { return handle_; }
  Uuid AttributeUuid() const override { return uuid_; }

  AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value) override;

  /// Reads the value over `bearer` although the host did not ask for it, so no pairing is started.
  AsyncOperationPtr<GattReadResult> ReadUnasked(const BearerPtr& bearer) {
    return ReadWholeValue(bearer, handle_, shared_from_this(), AttBearer::OnRefusal::Stands);
  }
  void Keep(ByteView value) override;

 private:
  void TellCharacteristic(ByteView value) const;

  const std::shared_ptr<GattContext> context_;
  const std::weak_ptr<AttCharacteristic> characteristic_;
  const std::uint16_t handle_;
  const Uuid uuid_;
  KnownValue value_;
};

}  // namespace ble::att
