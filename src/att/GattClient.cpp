#include "att/GattClient.h"

#include <utility>

#include "att/AttService.h"

namespace ble::att {

namespace {

GattDeviceServicesResult Publish(const std::shared_ptr<GattContext>& context,
                                 const std::vector<ServiceRecord>& records,
                                 std::uint32_t declaredIn,
                                 const std::optional<Uuid>& wanted = std::nullopt) {
  GattDeviceServicesResult result;
  const auto make = [&](const auto& record) {
    return context->Attributes().Service(context, record, declaredIn);
  };
  AppendObjects(records, wanted, make, result.services);
  return result;
}

}  // namespace

GattClient::GattClient(std::shared_ptr<AttConnector> connector, std::shared_ptr<Executor> executor,
                       GattClientEvents events)
    : context_(GattContext::Create(std::move(connector), std::move(executor), std::move(events))),
      services_(std::make_shared<LastKnown<ServiceRecord>>()) {}

GattClient::~GattClient() {
  Close();
}

void GattClient::Close() {
  context_->Close();
}

AsyncOperationPtr<GattDeviceServicesResult> GattClient::GetGattServicesAsync(
    BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached)
    return Completed({}, Publish(context_, services_->Get(), 0));
  return OverLink<GattDeviceServicesResult>(
      context_->Link(),
      [context = context_, services = services_](const BearerPtr& bearer, const auto& operation) {
        const std::uint32_t version = context->DatabaseVersion();
        DiscoverPrimaryServices(
            bearer, [=](const GattResult& status, const std::vector<ServiceRecord>& records) {
              if (!Succeeded(status)) return Complete(*operation, status);
              services->Store(records);
              Complete(*operation, status, Publish(context, records, version));
              context->WatchServiceChanged(bearer, records);
            });
      });
}

AsyncOperationPtr<GattDeviceServicesResult> GattClient::GetGattServicesForUuidAsync(
    const Uuid& uuid, BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached)
    return Completed({}, Publish(context_, services_->Get(), 0, uuid));
  return OverLink<GattDeviceServicesResult>(
      context_->Link(), [context = context_, uuid](const BearerPtr& bearer, const auto& operation) {
        const std::uint32_t version = context->DatabaseVersion();
        DiscoverPrimaryServicesByUuid(
            bearer, uuid, [=](const GattResult& status, const std::vector<ServiceRecord>& records) {
              if (!Succeeded(status)) return Complete(*operation, status);
              Complete(*operation, status, Publish(context, records, version));
            });
      });
}

}  // namespace ble::att
