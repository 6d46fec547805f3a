#pragma once

#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "frame/ComponentBase.h"
#include "gatt/GattObjectTree.h"
#include "procedures/CccdReconciler.h"
#include "procedures/GattCall.h"
#include "radio/Connection.h"

namespace ble {

/// Writes values to the server. Runs on the thread that calls a method or sets a property.
class Writer {
 public:
  struct Parts {
    ComponentBase& base;
    RadioLink& link;
    Connection& connection;
    GattCall& gatt;
    CccdReconciler& reconciler;
  };

  explicit Writer(const Parts& parts) : parts_(parts) {}

  /// Method 17. Writes with response and announces it by the WriteResponse event. An empty
  /// descriptor id writes the characteristic.
  Status WriteValue(const std::string& serviceId, const std::string& characteristicId,
                    const std::string& descriptorId, ByteView value);

  /// Method 10. Writes a characteristic without response; nothing is announced.
  Status PostValue(const std::string& serviceId, const std::string& characteristicId,
                   ByteView value);

  /// Writes the text's bytes to the first user description descriptor discovered; 611 when there is
  /// none.
  Status WriteUserDescription(const GattObjectTree& tree, const CharacteristicEntry& characteristic,
                              std::string_view text);

 private:
  Status WriteCharacteristicValue(const CharacteristicEntry& characteristic, ByteView value,
                                  GattWriteOption option);
  Status WriteDescriptorValue(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                              ByteView value);

  Parts parts_;
};

}  // namespace ble
