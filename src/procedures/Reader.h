#pragma once

#include <string>

#include "base/Bytes.h"
#include "frame/ErrorState.h"
#include "frame/Log.h"
#include "gatt/GattObjectTree.h"
#include "procedures/CccdReconciler.h"
#include "procedures/GattCall.h"
#include "radio/Connection.h"

namespace ble {

/// Reads values from the server, or from the platform's cache. Runs on the thread that calls a
/// method or reads a property. A read that fails leaves `value` as it was.
class Reader {
 public:
  struct Parts {
    ErrorState& errors;
    Events& events;
    Log& log;
    Connection& connection;
    GattCall& gatt;
    CccdReconciler& reconciler;
  };

  explicit Reader(const Parts& parts) : parts_(parts) {}

  /// Method 11. Reads from the device; the value is announced by the Value event before it is
  /// returned. An empty descriptor id reads the characteristic.
  [[nodiscard]] ErrorCode ReadValue(const std::string& serviceId,
                                    const std::string& characteristicId,
                                    const std::string& descriptorId, Bytes& value);

  [[nodiscard]] ErrorCode ReadCharacteristicValue(const CharacteristicEntry& characteristic,
                                                  BluetoothCacheMode mode, Bytes& value);
  [[nodiscard]] ErrorCode ReadDescriptorValue(const GattObjectTree& tree,
                                              const DescriptorEntry& descriptor,
                                              BluetoothCacheMode mode, Bytes& value);

 private:
  template <class Entry>
  [[gnu::hot]] ErrorCode Read(const Entry& entry, const char* noun, BluetoothCacheMode mode,
                              Bytes& value);

  Parts parts_;
};

}  // namespace ble
