#include "att/AttService.h"

#include <utility>

#include "att/AttCharacteristic.h"

namespace ble::att {

AttService::AttService(std::shared_ptr<GattContext> context, const ServiceRecord& record)
    : context_(std::move(context)), handle_(record.handle), uuid_(record.uuid), end_(record.end) {}

AsyncOperationPtr<GattDeviceServicesResult> AttService::QueryIncludedServices(
    const Wanted& wanted, BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached) return Completed({}, Publish(includes_.Get(), wanted));
  return OverLink<GattDeviceServicesResult>(
      context_->Link(),
      [self = shared_from_this(), wanted](const BearerPtr& bearer, const auto& operation) {
        DiscoverIncludedServices(
            bearer, self->handle_, self->end_,
            [=, &context = *self->context_](const GattResult& status,
                                            const std::vector<ServiceRecord>& found) {
              if (!Succeeded(status)) return Complete(*operation, status);
              const auto records = context.Attributes().Corrected(found, context.DatabaseVersion());
              self->includes_.Store(records);
              Complete(*operation, status, self->Publish(records, wanted));
            });
      });
}

AsyncOperationPtr<GattCharacteristicsResult> AttService::QueryCharacteristics(
    const Wanted& wanted, BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached)
    return Completed({}, Publish(characteristics_.Get(), wanted));
  return OverLink<GattCharacteristicsResult>(
      context_->Link(),
      [self = shared_from_this(), wanted](const BearerPtr& bearer, const auto& operation) {
        DiscoverCharacteristics(
            bearer, self->handle_, self->end_,
            [=](const GattResult& status, const std::vector<CharacteristicRecord>& records) {
              if (!Succeeded(status)) return Complete(*operation, status);
              self->characteristics_.Store(records);
              Complete(*operation, status, self->Publish(records, wanted));
            });
      });
}

GattDeviceServicesResult AttService::Publish(const std::vector<ServiceRecord>& records,
                                             const Wanted& wanted) const {
  GattDeviceServicesResult result;
  const auto make = [this](const auto& record) {
    return context_->Attributes().Service(context_, record, 0);
  };
  AppendObjects(records, wanted, make, result.services);
  return result;
}

GattCharacteristicsResult AttService::Publish(const std::vector<CharacteristicRecord>& records,
                                              const Wanted& wanted) const {
  GattCharacteristicsResult result;
  const auto make = [this](const auto& record) {
    return context_->Attributes().Characteristic(context_, record);
  };
  AppendObjects(records, wanted, make, result.characteristics);
  return result;
}

}  // namespace ble::att
