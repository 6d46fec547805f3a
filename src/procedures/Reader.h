#pragma once

#include <string>

#include "base/Bytes.h"
#include "frame/ComponentBase.h"
#include "gatt/GattObjectTree.h"
#include "procedures/CccdReconciler.h"
#include "procedures/GattCall.h"
#include "radio/Connection.h"

namespace ble {

/// Reads values from the server, or from the platform's cache. Runs on the thread that calls a
/// method or reads a property.
class Reader {
 public:
  struct Parts {
    ComponentBase& base;
    Connection& connection;
    GattCall& gatt;
    CccdReconciler& reconciler;
  };

  explicit Reader(const Parts& parts) : parts_(parts) {}

  /// Method 11. Reads from the device; the value is announced by the Value event before it is
  /// returned. An empty descriptor id reads the characteristic.
  Result<Bytes> ReadValue(const std::string& serviceId, const std::string& characteristicId,
                          const std::string& descriptorId);

  Result<Bytes> ReadCharacteristicValue(const CharacteristicEntry& characteristic,
                                        BluetoothCacheMode mode);
  Result<Bytes> ReadDescriptorValue(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                                    BluetoothCacheMode mode);

 private:
  template <class Entry>
  Result<Bytes> Read(const Entry& entry, const char* noun, BluetoothCacheMode mode);

  Parts parts_;
};

}  // namespace ble
