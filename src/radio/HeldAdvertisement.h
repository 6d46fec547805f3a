#pragma once

#include <string>
#include <vector>

#include "frame/Events.h"
#include "frame/TextCodec.h"
#include "gatt/UuidText.h"
#include "platform/BluetoothAdvertisement.h"
#include "radio/ServerId.h"

namespace ble {

/// One advertisement while it is being reported: the packet, and the texts decoded from it for the
/// event. Reused packet after packet, so that decoding allocates nothing in the long run. Used by
/// one thread at a time.
class HeldAdvertisement {
 public:
  /// Decodes a packet. The report's texts live in this object, and the packet must outlive its
  /// use. Malformed sections give empty texts and are no failure.
  AdvertisementReport Hold(const BluetoothLEAdvertisementReceivedEventArgs& args,
                           const TextCodec& codec);

  void Release() { advertisement_ = nullptr; }

  const std::vector<BluetoothLEManufacturerData>& ManufacturerData() const {
    return advertisement_->ManufacturerData();
  }

  /// The data of the first service-data section with a UUID; null when there is none.
  const ByteView* ServiceData(const Uuid& uuid) const;

 private:
  const BluetoothLEAdvertisement* advertisement_ = nullptr;
  std::vector<Uuid> serviceDataUuids_;
  std::vector<ByteView> serviceDataValues_;
  std::vector<Uuid> solicitedUuids_;
  ServerId serverId_;
  std::string name_;
  std::string serviceUuids_;
  std::string servicesWithData_;
  std::string solicitedServiceUuids_;
};

}  // namespace ble
