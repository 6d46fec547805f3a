#pragma once

#include <memory>
#include <utility>

#include "backends/simulated/FaultPlan.h"
#include "platform/Radio.h"

/// The objects that a `FaultInjectingRadio` hands out: each passes everything on to the object it
/// wraps, its operations by way of the plan.
namespace ble::simulated {

class FaultInjectingDescriptor final : public GattDescriptor {
 public:
  FaultInjectingDescriptor(std::shared_ptr<GattDescriptor> inner, std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

  std::uint16_t AttributeHandle() const override { return inner_->AttributeHandle(); }
  Uuid AttributeUuid() const override { return inner_->AttributeUuid(); }
  AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value) override;

 private:
  const std::shared_ptr<GattDescriptor> inner_;
  const std::shared_ptr<FaultPlan> plan_;
};

class FaultInjectingCharacteristic final
    : public GattCharacteristic,
      public std::enable_shared_from_this<FaultInjectingCharacteristic> {
 public:
  FaultInjectingCharacteristic(std::shared_ptr<GattCharacteristic> inner,
                               std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

  std::uint16_t AttributeHandle() const override { return inner_->AttributeHandle(); }
  Uuid AttributeUuid() const override { return inner_->AttributeUuid(); }
  std::uint32_t CharacteristicProperties() const override {
    return inner_->CharacteristicProperties();
  }
  std::u16string UserDescription() const override { return inner_->UserDescription(); }
  std::vector<GattPresentationFormat> PresentationFormats() const override {
    return inner_->PresentationFormats();
  }
  AsyncOperationPtr<GattDescriptorsResult> GetDescriptorsAsync(BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattDescriptorsResult> GetDescriptorsForUuidAsync(
      const Uuid& uuid, BluetoothCacheMode mode) override;
  bool MissesDescription(const Uuid& descriptorUuid) const override {
    return inner_->MissesDescription(descriptorUuid);
  }
  AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value,
                                                               GattWriteOption option) override;
  AsyncOperationPtr<GattReadClientCharacteristicConfigurationDescriptorResult>
  ReadClientCharacteristicConfigurationDescriptorAsync() override;
  AsyncOperationPtr<GattWriteResult>
  WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
      GattClientCharacteristicConfigurationDescriptorValue value) override;
  EventToken OnValueChanged(ValueChanged::Handler handler) override;

 private:
  const std::shared_ptr<GattCharacteristic> inner_;
  const std::shared_ptr<FaultPlan> plan_;
};

class FaultInjectingService final : public GattDeviceService {
 public:
  FaultInjectingService(std::shared_ptr<GattDeviceService> inner, std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

  std::uint16_t AttributeHandle() const override { return inner_->AttributeHandle(); }
  Uuid AttributeUuid() const override { return inner_->AttributeUuid(); }
  AsyncOperationPtr<GattDeviceServicesResult> GetIncludedServicesAsync(
      BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattDeviceServicesResult> GetIncludedServicesForUuidAsync(
      const Uuid& uuid, BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattCharacteristicsResult> GetCharacteristicsAsync(
      BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattCharacteristicsResult> GetCharacteristicsForUuidAsync(
      const Uuid& uuid, BluetoothCacheMode mode) override;

 private:
  const std::shared_ptr<GattDeviceService> inner_;
  const std::shared_ptr<FaultPlan> plan_;
};

class FaultInjectingDevice final : public BluetoothLEDevice {
 public:
  FaultInjectingDevice(std::shared_ptr<BluetoothLEDevice> inner, std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

  std::uint64_t BluetoothAddress() const override { return inner_->BluetoothAddress(); }
  BluetoothConnectionStatus ConnectionStatus() const override { return inner_->ConnectionStatus(); }
  std::u16string Name() const override { return inner_->Name(); }
  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesAsync(
      BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattDeviceServicesResult> GetGattServicesForUuidAsync(
      const Uuid& uuid, BluetoothCacheMode mode) override;
  EventToken OnConnectionStatusChanged(Changed::Handler handler) override {
    return inner_->OnConnectionStatusChanged(std::move(handler));
  }
  EventToken OnNameChanged(Changed::Handler handler) override {
    return inner_->OnNameChanged(std::move(handler));
  }
  EventToken OnGattServicesChanged(GattServicesChanged::Handler handler) override {
    return inner_->OnGattServicesChanged(std::move(handler));
  }

 private:
  const std::shared_ptr<BluetoothLEDevice> inner_;
  const std::shared_ptr<FaultPlan> plan_;
};

}  // namespace ble::simulated
