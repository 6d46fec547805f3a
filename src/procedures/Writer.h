#pragma once

#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "frame/ErrorState.h"
#include "frame/Log.h"
#include "gatt/GattObjectTree.h"
#include "procedures/CccdReconciler.h"
#include "procedures/GattCall.h"
#include "radio/Connection.h"

namespace ble {

/// Writes values to the server. Runs on the thread that calls a method or sets a property.
class Writer {
 public:
  struct Parts {
    ErrorState& errors;
    Events& events;
    Log& log;
    Connection& connection;
    GattCall& gatt;
    AsyncWait& wait;
    ResultReporter& reporter;
    CccdReconciler& reconciler;
  };

  explicit Writer(const Parts& parts) : parts_(parts) {}

  /// Method 17. Writes with response and announces it by the WriteResponse event. An empty
  /// descriptor id writes the characteristic.
  [[nodiscard]] ErrorCode WriteValue(const std::string& serviceId,
                                     const std::string& characteristicId,
                                     const std::string& descriptorId, ByteView value);

  /// Method 10. Writes a characteristic without response; nothing is announced.
  [[nodiscard]] ErrorCode PostValue(const std::string& serviceId,
                                    const std::string& characteristicId, ByteView value);

  /// Writes the text's bytes to the first user description descriptor discovered; 611 when there is
  /// none.
  [[nodiscard]] ErrorCode WriteUserDescription(const GattObjectTree& tree,
                                               const CharacteristicEntry& characteristic,
                                               std::string_view text);

 private:
  ErrorCode WriteCharacteristicValue(const CharacteristicEntry& characteristic, ByteView value,
                                     GattWriteOption option);
  ErrorCode WriteDescriptorValue(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                                 ByteView value);

  Parts parts_;
};

}  // namespace ble
