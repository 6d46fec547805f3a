#include "backends/UnavailableRadio.h"

#include <system_error>

namespace ble {
namespace {

class UnavailableRadio final : public Radio {
 public:
  UnavailableRadio(std::int32_t result, const std::string& text) : failure_(result, text) {}

  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override { throw failure_; }
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    throw failure_;
  }
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(std::uint64_t) override {
    throw failure_;
  }

 private:
  const PlatformFailure failure_;
};

class AbsentRadio final : public Radio {
 public:
  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override {
    return CompletedOperation<BluetoothAdapter>(nullptr);
  }
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    throw PlatformFailure(static_cast<std::int32_t>(std::errc::no_such_device),
                          "This machine has no Bluetooth adapter.");
  }
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(std::uint64_t) override {
    return CompletedOperation<BluetoothLEDevice>(nullptr);
  }
};

}  // namespace

std::shared_ptr<Radio> MakeUnavailableRadio(std::int32_t result, const std::string& text) {
  return std::make_shared<UnavailableRadio>(result, text);
}

std::shared_ptr<Radio> MakeAbsentRadio() {
  return std::make_shared<AbsentRadio>();
}

}  // namespace ble
