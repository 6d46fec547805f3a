#pragma once

#include <memory>
#include <optional>

#include "att/AttChannel.h"
#include "att/GattContext.h"
#include "att/GattOperation.h"
#include "base/Executor.h"
#include "platform/Gatt.h"

namespace ble::att {

/// The GATT client of one device: everything of `BluetoothLEDevice` that goes over ATT.
///
/// The first operation opens the channel; operations that arrive meanwhile wait for it. After a
/// loss the next operation opens it again. Statuses: an error response is `ProtocolError` with its
/// byte, a channel that the operating system refuses `AccessDenied`, no channel or a lost one
/// `Unreachable`; an answer that does not make sense is `ProtocolError` 0x04, Invalid PDU.
///
/// All operations may be called from any thread and complete on the channel's, on the calling one
/// or on another that waits for an answer of this device. The objects handed out may outlive the
/// client; their operations are then unreachable.
class GattClient {
 public:
  GattClient(std::shared_ptr<AttConnector> connector, std::shared_ptr<Executor> executor,
             GattClientEvents events = {});
  ~GattClient();
  GattClient(const GattClient&) = delete;
  GattClient& operator=(const GattClient&) = delete;

  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesAsync(BluetoothCacheMode mode);
  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesForUuidAsync(const Uuid& uuid,
                                                                          BluetoothCacheMode mode);

  bool IsLinkOpen() const { return context_->Link().IsOpen(); }

  /// Closes the link for good; pending operations complete as unreachable before this returns.
  void Close();

 private:
  const std::shared_ptr<GattContext> context_;
  const std::shared_ptr<LastKnown<ServiceRecord>> services_;
};

}  // namespace ble::att
