#include "backends/simulated/FaultInjectingGatt.h"

#include <utility>

#include "base/IfAlive.h"

namespace ble::simulated {
namespace {

/// What wraps an object of the platform: it passes operations on by way of the plan.
template <class Interface>
class Wrapping : public Interface {
 public:
  Wrapping(std::shared_ptr<Interface> inner, std::shared_ptr<FaultPlan> plan)
      : inner_(std::move(inner)), plan_(std::move(plan)) {}

 protected:
  Interface& Inner() const { return *inner_; }

  template <class Result, class... Params, class... Args>
  AsyncOperationPtr<Result> Run(CallKind call,
                                AsyncOperationPtr<Result> (Interface::*method)(Params...),
                                const Args&... args) {
    return plan_->Operation<Result>(
        call, [&] { return (*inner_.*method)(args...); },
        [](const std::shared_ptr<Result>& result) { return result; });
  }

  /// The same for an operation whose result carries objects: each of them is wrapped.
  template <class Wrapper, class Result, class Object, class... Params, class... Args>
  AsyncOperationPtr<Result> Run(CallKind call,
                                std::vector<std::shared_ptr<Object>> Result::*objects,
                                AsyncOperationPtr<Result> (Interface::*method)(Params...),
                                const Args&... args) {
    return plan_->Operation<Result>(
        call, [&] { return (*inner_.*method)(args...); },
        [plan = plan_, objects](const std::shared_ptr<Result>& result) {
          auto wrapped = std::make_shared<Result>(*result);
          for (std::shared_ptr<Object>& object : (*wrapped).*objects)
            object = plan->template Wrap<Wrapper>(object);
          return wrapped;
        });
  }

 private:
  const std::shared_ptr<Interface> inner_;
  const std::shared_ptr<FaultPlan> plan_;
};

class FaultyDescriptor final : public Wrapping<GattDescriptor> {
 public:
  using Wrapping::Wrapping;

  std::uint16_t AttributeHandle() const override { return Inner().AttributeHandle(); }
  Uuid AttributeUuid() const override { return Inner().AttributeUuid(); }
  AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) override {
    return Run(CallKind::Read, &GattDescriptor::ReadValueAsync, mode);
  }
  AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value) override {
    return Run(CallKind::Write, &GattDescriptor::WriteValueWithResultAsync, value);
  }
};

class FaultyCharacteristic final : public Wrapping<GattCharacteristic>,
                                   public std::enable_shared_from_this<FaultyCharacteristic> {
 public:
  using Wrapping::Wrapping;

  std::uint16_t AttributeHandle() const override { return Inner().AttributeHandle(); }
  Uuid AttributeUuid() const override { return Inner().AttributeUuid(); }
  std::uint32_t CharacteristicProperties() const override {
    return Inner().CharacteristicProperties();
  }
  std::u16string UserDescription() const override { return Inner().UserDescription(); }
  std::vector<GattPresentationFormat> PresentationFormats() const override {
    return Inner().PresentationFormats();
  }
  AsyncOperationPtr<GattDescriptorsResult> QueryDescriptors(const std::optional<Uuid>& wanted,
                                                            BluetoothCacheMode mode) override {
    return Run<FaultyDescriptor>(CallKind::DiscoverDescriptors, &GattDescriptorsResult::descriptors,
                                 &GattCharacteristic::QueryDescriptors, wanted, mode);
  }
  bool MissesDescription(const Uuid& descriptorUuid) const override {
    return Inner().MissesDescription(descriptorUuid);
  }
  AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) override {
    return Run(CallKind::Read, &GattCharacteristic::ReadValueAsync, mode);
  }
  AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value,
                                                               GattWriteOption option) override {
    return Run(CallKind::Write, &GattCharacteristic::WriteValueWithResultAsync, value, option);
  }
  AsyncOperationPtr<GattReadClientCharacteristicConfigurationDescriptorResult>
  ReadClientCharacteristicConfigurationDescriptorAsync() override {
    return Run(CallKind::ReadConfiguration,
               &GattCharacteristic::ReadClientCharacteristicConfigurationDescriptorAsync);
  }
  AsyncOperationPtr<GattWriteResult>
  WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
      GattClientCharacteristicConfigurationDescriptorValue value) override {
    return Run(CallKind::WriteConfiguration,
               &GattCharacteristic::WriteClientCharacteristicConfigurationDescriptorWithResultAsync,
               value);
  }
  EventToken OnValueChanged(ValueChanged::Handler handler) override {
    const auto raise = [handler = std::move(handler)](GattCharacteristic& self, GattCharacteristic&,
                                                      ByteView value) { handler(self, value); };
    return Inner().OnValueChanged(IfAlive(weak_from_this(), raise));
  }
};

class FaultyService final : public Wrapping<GattDeviceService> {
 public:
  using Wrapping::Wrapping;

  std::uint16_t AttributeHandle() const override { return Inner().AttributeHandle(); }
  Uuid AttributeUuid() const override { return Inner().AttributeUuid(); }
  AsyncOperationPtr<GattDeviceServicesResult> QueryIncludedServices(
      const std::optional<Uuid>& wanted, BluetoothCacheMode mode) override {
    return Run<FaultyService>(CallKind::DiscoverIncludedServices,
                              &GattDeviceServicesResult::services,
                              &GattDeviceService::QueryIncludedServices, wanted, mode);
  }
  AsyncOperationPtr<GattCharacteristicsResult> QueryCharacteristics(
      const std::optional<Uuid>& wanted, BluetoothCacheMode mode) override {
    return Run<FaultyCharacteristic>(CallKind::DiscoverCharacteristics,
                                     &GattCharacteristicsResult::characteristics,
                                     &GattDeviceService::QueryCharacteristics, wanted, mode);
  }
};

class FaultyDevice final : public Wrapping<BluetoothLEDevice> {
 public:
  using Wrapping::Wrapping;

  std::uint64_t BluetoothAddress() const override { return Inner().BluetoothAddress(); }
  BluetoothConnectionStatus ConnectionStatus() const override { return Inner().ConnectionStatus(); }
  std::u16string Name() const override { return Inner().Name(); }
  AsyncOperationPtr<GattDeviceServicesResult> QueryGattServices(const std::optional<Uuid>& wanted,
                                                                BluetoothCacheMode mode) override {
    return Run<FaultyService>(CallKind::DiscoverServices, &GattDeviceServicesResult::services,
                              &BluetoothLEDevice::QueryGattServices, wanted, mode);
  }
  EventToken OnConnectionStatusChanged(Changed::Handler handler) override {
    return Inner().OnConnectionStatusChanged(std::move(handler));
  }
  EventToken OnNameChanged(Changed::Handler handler) override {
    return Inner().OnNameChanged(std::move(handler));
  }
  EventToken OnGattServicesChanged(GattServicesChanged::Handler handler) override {
    return Inner().OnGattServicesChanged(std::move(handler));
  }
};

}  // namespace

std::shared_ptr<BluetoothLEDevice> WithFaults(const std::shared_ptr<BluetoothLEDevice>& device,
                                              const std::shared_ptr<FaultPlan>& plan) {
  return plan->Wrap<FaultyDevice>(device);
}

}  // namespace ble::simulated
