#include "backends/simulated/FaultInjectingGatt.h"

namespace ble::simulated {
namespace {

template <class T>
std::shared_ptr<T> Unchanged(const std::shared_ptr<T>& result) {
  return result;
}

/// Results that carry objects: copies with every object wrapped.
template <class Wrapper, class Result, class Object>
auto Wrapping(FaultPlan& plan, std::vector<std::shared_ptr<Object>> Result::*objects) {
  return [plan = plan.shared_from_this(), objects](const std::shared_ptr<Result>& result) {
    auto wrapped = std::make_shared<Result>(*result);
    for (std::shared_ptr<Object>& object : (*wrapped).*objects)
      object = plan->template Wrap<Wrapper>(object);
    return wrapped;
  };
}

template <class Start>
auto ServicesOperation(FaultPlan& plan, CallKind call, Start start) {
  return plan.Operation<GattDeviceServicesResult>(
      call, start, Wrapping<FaultInjectingService>(plan, &GattDeviceServicesResult::services));
}

template <class Start>
auto CharacteristicsOperation(FaultPlan& plan, Start start) {
  return plan.Operation<GattCharacteristicsResult>(
      CallKind::DiscoverCharacteristics, start,
      Wrapping<FaultInjectingCharacteristic>(plan, &GattCharacteristicsResult::characteristics));
}

template <class Start>
auto DescriptorsOperation(FaultPlan& plan, Start start) {
  return plan.Operation<GattDescriptorsResult>(
      CallKind::DiscoverDescriptors, start,
      Wrapping<FaultInjectingDescriptor>(plan, &GattDescriptorsResult::descriptors));
}

}  // namespace

AsyncOperationPtr<GattReadResult> FaultInjectingDescriptor::ReadValueAsync(
    BluetoothCacheMode mode) {
  return plan_->Operation<GattReadResult>(
      CallKind::Read, [&] { return inner_->ReadValueAsync(mode); }, Unchanged<GattReadResult>);
}

AsyncOperationPtr<GattWriteResult> FaultInjectingDescriptor::WriteValueWithResultAsync(
    ByteView value) {
  return plan_->Operation<GattWriteResult>(
      CallKind::Write, [&] { return inner_->WriteValueWithResultAsync(value); },
      Unchanged<GattWriteResult>);
}

AsyncOperationPtr<GattDescriptorsResult> FaultInjectingCharacteristic::GetDescriptorsAsync(
    BluetoothCacheMode mode) {
  return DescriptorsOperation(*plan_, [&] { return inner_->GetDescriptorsAsync(mode); });
}

AsyncOperationPtr<GattDescriptorsResult> FaultInjectingCharacteristic::GetDescriptorsForUuidAsync(
    const Uuid& uuid, BluetoothCacheMode mode) {
  return DescriptorsOperation(*plan_,
                              [&] { return inner_->GetDescriptorsForUuidAsync(uuid, mode); });
}

AsyncOperationPtr<GattReadResult> FaultInjectingCharacteristic::ReadValueAsync(
    BluetoothCacheMode mode) {
  return plan_->Operation<GattReadResult>(
      CallKind::Read, [&] { return inner_->ReadValueAsync(mode); }, Unchanged<GattReadResult>);
}

AsyncOperationPtr<GattWriteResult> FaultInjectingCharacteristic::WriteValueWithResultAsync(
    ByteView value, GattWriteOption option) {
  return plan_->Operation<GattWriteResult>(
      CallKind::Write, [&] { return inner_->WriteValueWithResultAsync(value, option); },
      Unchanged<GattWriteResult>);
}

AsyncOperationPtr<GattReadClientCharacteristicConfigurationDescriptorResult>
FaultInjectingCharacteristic::ReadClientCharacteristicConfigurationDescriptorAsync() {
  using Result = GattReadClientCharacteristicConfigurationDescriptorResult;
  return plan_->Operation<Result>(
      CallKind::ReadConfiguration,
      [&] { return inner_->ReadClientCharacteristicConfigurationDescriptorAsync(); },
      Unchanged<Result>);
}

AsyncOperationPtr<GattWriteResult>
FaultInjectingCharacteristic::WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
    GattClientCharacteristicConfigurationDescriptorValue value) {
  return plan_->Operation<GattWriteResult>(
      CallKind::WriteConfiguration,
      [&] {
        return inner_->WriteClientCharacteristicConfigurationDescriptorWithResultAsync(value);
      },
      Unchanged<GattWriteResult>);
}

EventToken FaultInjectingCharacteristic::OnValueChanged(ValueChanged::Handler handler) {
  return inner_->OnValueChanged(
      [weak = weak_from_this(), handler = std::move(handler)](GattCharacteristic&, ByteView value) {
        if (const auto self = weak.lock()) handler(*self, value);
      });
}

AsyncOperationPtr<GattDeviceServicesResult> FaultInjectingService::GetIncludedServicesAsync(
    BluetoothCacheMode mode) {
  return ServicesOperation(*plan_, CallKind::DiscoverIncludedServices,
                           [&] { return inner_->GetIncludedServicesAsync(mode); });
}

AsyncOperationPtr<GattDeviceServicesResult> FaultInjectingService::GetIncludedServicesForUuidAsync(
    const Uuid& uuid, BluetoothCacheMode mode) {
  return ServicesOperation(*plan_, CallKind::DiscoverIncludedServices,
                           [&] { return inner_->GetIncludedServicesForUuidAsync(uuid, mode); });
}

AsyncOperationPtr<GattCharacteristicsResult> FaultInjectingService::GetCharacteristicsAsync(
    BluetoothCacheMode mode) {
  return CharacteristicsOperation(*plan_, [&] { return inner_->GetCharacteristicsAsync(mode); });
}

AsyncOperationPtr<GattCharacteristicsResult> FaultInjectingService::GetCharacteristicsForUuidAsync(
    const Uuid& uuid, BluetoothCacheMode mode) {
  return CharacteristicsOperation(
      *plan_, [&] { return inner_->GetCharacteristicsForUuidAsync(uuid, mode); });
}

AsyncOperationPtr<GattDeviceServicesResult> FaultInjectingDevice::GetGattServicesAsync(
    BluetoothCacheMode mode) {
  return ServicesOperation(*plan_, CallKind::DiscoverServices,
                           [&] { return inner_->GetGattServicesAsync(mode); });
}

AsyncOperationPtr<GattDeviceServicesResult> FaultInjectingDevice::GetGattServicesForUuidAsync(
    const Uuid& uuid, BluetoothCacheMode mode) {
  return ServicesOperation(*plan_, CallKind::DiscoverServices,
                           [&] { return inner_->GetGattServicesForUuidAsync(uuid, mode); });
}

}  // namespace ble::simulated
