#include "att/GattContext.h"

#include <algorithm>
#include <utility>

#include "att/AttCharacteristic.h"
#include "att/AttStatus.h"
#include "base/GattUuids.h"
#include "base/HexText.h"

namespace ble::att {

namespace {

template <class Records>
auto FindUuid(const Records& records, std::uint16_t number) {
  return std::ranges::find(records, Uuid::FromAssignedNumber(number),
                           [](const auto& record) { return record.uuid; });
}

}  // namespace

std::shared_ptr<GattContext> GattContext::Create(std::shared_ptr<AttConnector> connector,
                                                 std::shared_ptr<Executor> executor,
                                                 GattClientEvents events) {
  const std::shared_ptr<GattContext> context(new GattContext(std::move(events)));
  context->link_ = std::make_shared<AttLink>(std::move(connector), std::move(executor),
                                             std::weak_ptr<AttLink::Observer>(context));
  return context;
}

void GattContext::Close() {
  closed_ = true;
  link_->Close();
}

void GattContext::OnLinkOpened() {
  ++databaseVersion_;
  watching_ = false;
  if (!closed_ && events_.linkChanged) events_.linkChanged(true);
}

void GattContext::OnLinkClosed() {
  if (!closed_ && events_.linkChanged) events_.linkChanged(false);
}

[[gnu::hot]] void GattContext::OnValue(std::uint16_t valueHandle, ByteView value) {
  if (valueHandle != 0 && valueHandle == serviceChangedHandle_) ReportServiceChanged(value);
  if (const auto characteristic = attributes_.FindByValueHandle(valueHandle))
    characteristic->Deliver(value);
}

void GattContext::WatchServiceChanged(const BearerPtr& bearer,
                                      const std::vector<ServiceRecord>& services) {
  const auto service = FindUuid(services, gatt_uuid::kGenericAttribute);
  if (service == services.end() || watching_.exchange(true)) return;
  DiscoverCharacteristics(bearer, service->handle, service->end,
                          [self = shared_from_this(), bearer](
                              const GattResult&, const std::vector<CharacteristicRecord>& found) {
                            const auto changed = FindUuid(found, gatt_uuid::kServiceChanged);
                            if (changed != found.end())
                              self->FindServiceChangedConfiguration(bearer, *changed);
                          });
}

void GattContext::FindServiceChangedConfiguration(const BearerPtr& bearer,
                                                  const CharacteristicRecord& serviceChanged) {
  serviceChangedHandle_ = serviceChanged.valueHandle;
  DiscoverDescriptors(
      bearer, static_cast<std::uint16_t>(serviceChanged.valueHandle + 1), serviceChanged.end,
      [bearer](const GattResult&, const std::vector<DescriptorRecord>& found) {
        const auto configuration = FindUuid(found, gatt_uuid::kClientConfiguration);
        if (configuration == found.end()) return;
        const std::uint8_t indicate[] = {0x02, 0x00};
        bearer->Request(
            Build(HandleValue{Opcode::WriteRequest, configuration->handle, indicate}),
            [](const AttReply&) {}, AttBearer::OnRefusal::Stands);
      });
}

void GattContext::ReportServiceChanged(ByteView value) {
  ++databaseVersion_;
  if (closed_ || !events_.servicesChanged || value.size() != 4) return;
  const auto handle = [&](std::size_t at) {
    return HexNumber<std::u16string>(LoadU16(value.subspan(at)), 4);
  };
  events_.servicesChanged(handle(0) + u'-' + handle(2));
}

}  // namespace ble::att
