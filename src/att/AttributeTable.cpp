#include "att/AttributeTable.h"

#include "att/AttCharacteristic.h"
#include "att/AttDescriptor.h"
#include "att/AttService.h"

namespace ble::att {

template <class T, class Same, class Make>
std::shared_ptr<T> AttributeTable::FindOrMake(ByHandle<T> AttributeTable::*objects,
                                              std::uint16_t handle, Same same, Make make) {
  std::shared_ptr<T> known;  // may be the last reference: dies after the lock
  const MutexLock lock(mutex_);
  std::weak_ptr<T>& slot = (this->*objects)[handle];
  known = slot.lock();
  if (known && same(*known)) return known;
  std::shared_ptr<T> made = make();
  slot = made;
  return made;
}

std::shared_ptr<AttService> AttributeTable::Service(const std::shared_ptr<GattContext>& context,
                                                    const ServiceRecord& record,
                                                    std::uint32_t declaredIn) {
  auto service = FindOrMake(
      &AttributeTable::services_, record.handle,
      [&](const AttService& known) { return known.AttributeUuid() == record.uuid; },
      [&] { return std::make_shared<AttService>(context, record); });
  service->Update(record, declaredIn);
  return service;
}

std::shared_ptr<AttCharacteristic> AttributeTable::Characteristic(
    const std::shared_ptr<GattContext>& context, const CharacteristicRecord& record) {
  auto characteristic = FindOrMake(
      &AttributeTable::characteristics_, record.valueHandle,
      [&](const AttCharacteristic& known) {
        return known.AttributeHandle() == record.handle && known.AttributeUuid() == record.uuid;
      },
      [&] { return std::make_shared<AttCharacteristic>(context, record); });
  characteristic->Update(record);
  return characteristic;
}

std::shared_ptr<AttDescriptor> AttributeTable::Descriptor(
    const std::shared_ptr<GattContext>& context,
    const std::shared_ptr<AttCharacteristic>& characteristic, const DescriptorRecord& record) {
  return FindOrMake(
      &AttributeTable::descriptors_, record.handle,
      [&](const AttDescriptor& known) {
        return known.AttributeUuid() == record.uuid && known.BelongsTo(characteristic);
      },
      [&] { return std::make_shared<AttDescriptor>(context, characteristic, record); });
}

std::vector<ServiceRecord> AttributeTable::Corrected(std::vector<ServiceRecord> includes,
                                                     std::uint32_t version) const {
  for (ServiceRecord& include : includes) {
    std::shared_ptr<AttService> known;  // may be the last reference: dies after the lock
    const MutexLock lock(mutex_);
    const auto found = services_.find(include.handle);
    if (found != services_.end()) known = found->second.lock();
    if (known && known->DeclaredIn() == version) include = known->Record();
  }
  return includes;
}

std::shared_ptr<AttCharacteristic> AttributeTable::FindByValueHandle(
    std::uint16_t valueHandle) const {
  const MutexLock lock(mutex_);
  const auto found = characteristics_.find(valueHandle);
  return found == characteristics_.end() ? nullptr : found->second.lock();
}

}  // namespace ble::att
