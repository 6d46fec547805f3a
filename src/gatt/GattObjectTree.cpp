#include "gatt/GattObjectTree.h"

#include <algorithm>

#include "base/Text.h"

namespace ble {
namespace {

template <class Entry>
[[gnu::hot]] std::shared_ptr<Entry> Find(
    const std::unordered_map<GattId::Key, std::shared_ptr<Entry>>& index,
    std::optional<GattId::Key> key) {
  if (!key) return nullptr;
  const auto found = index.find(*key);
  return found != index.end() ? found->second : nullptr;
}

template <class Entry>
std::shared_ptr<Entry> At(const std::vector<std::shared_ptr<Entry>>& list, std::size_t position) {
  return position < list.size() ? list[position] : nullptr;
}

void AddUnlessPresent(std::vector<GattId>& list, const GattId& id) {
  if (std::find(list.begin(), list.end(), id) == list.end()) list.push_back(id);
}

Status NoCharacteristic(std::string_view serviceId, std::string_view characteristicId) {
  return {error::kNotDiscovered,
          Concat("No characteristic with the ID ", Quoted{characteristicId},
                 " has been discovered for the service with ID ", Quoted{serviceId}, ".")};
}

std::string Join(const std::vector<GattId>& ids) {
  std::string text;
  for (const GattId& id : ids) {
    if (!text.empty()) text += ',';
    text += id.View();
  }
  return text;
}

}  // namespace

Result<GattId> GattObjectTree::MakeGattId(std::uint16_t service, std::uint16_t characteristic,
                                          std::uint16_t descriptor) {
  if (service == 0) return failure::kZeroServiceHandle;
  if (characteristic == 0 && descriptor != 0) return failure::kZeroCharacteristicHandle;
  return GattId(service, characteristic, descriptor);
}

template <class Entry>
std::pair<std::shared_ptr<Entry>, bool> GattObjectTree::Store(Index<Entry>& index,
                                                              std::shared_ptr<Entry> entry) {
  if (auto known = Find(index, entry->id.ToKey())) return {std::move(known), false};
  if (serviceIndex_.size() + characteristicIndex_.size() + descriptorIndex_.size() >= kMostRecords)
    return {nullptr, false};
  index.emplace(entry->id.ToKey(), entry);
  return {std::move(entry), true};
}

std::pair<ServicePtr, bool> GattObjectTree::AddService(std::shared_ptr<GattDeviceService> object,
                                                       const GattId& id) {
  auto entry = std::make_shared<ServiceEntry>(std::move(object), id);
  const MutexLock lock(mutex_);
  auto [record, isNew] = Store(serviceIndex_, std::move(entry));
  if (isNew) services_.push_back(record);
  return {std::move(record), isNew};
}

std::pair<CharacteristicPtr, bool> GattObjectTree::AddCharacteristic(
    std::shared_ptr<GattCharacteristic> object, const ServicePtr& service, const GattId& id) {
  {
    const MutexLock lock(mutex_);
    if (auto known = Find(characteristicIndex_, id.ToKey())) return {std::move(known), false};
  }
  auto entry = std::make_shared<CharacteristicEntry>(std::move(object), id);
  if (!FindCharacteristicByObject(*entry->platform))
    entry->valueChanged = entry->platform->OnValueChanged(valueChanged_);
  const MutexLock lock(mutex_);
  auto [record, isNew] = Store(characteristicIndex_, std::move(entry));
  if (!isNew) return {std::move(record), false};
  service->characteristics.push_back(record);
  objectIndex_.try_emplace(record->platform.get(), record);
  return {std::move(record), true};
}

std::pair<DescriptorPtr, bool> GattObjectTree::AddDescriptor(
    std::shared_ptr<GattDescriptor> object, const CharacteristicPtr& characteristic,
    const GattId& id) {
  auto entry = std::make_shared<DescriptorEntry>(std::move(object), id);
  const MutexLock lock(mutex_);
  auto [record, isNew] = Store(descriptorIndex_, std::move(entry));
  if (isNew) characteristic->descriptors.push_back(record);
  return {std::move(record), isNew};
}

void GattObjectTree::Link(const ServicePtr& child, const ServicePtr& parent) {
  const MutexLock lock(mutex_);
  AddUnlessPresent(child->parentIds, parent->id);
  AddUnlessPresent(parent->includedIds, child->id);
}

Result<ServicePtr> GattObjectTree::FindService(std::string_view serviceId) const {
  {
    const MutexLock lock(mutex_);
    if (auto found = Find(serviceIndex_, GattId::ParseKey(serviceId))) return found;
  }
  return Status(error::kNotDiscovered,
                Concat("No service with the ID ", Quoted{serviceId}, " has been discovered."));
}

[[gnu::hot]] Result<CharacteristicPtr> GattObjectTree::FindCharacteristic(
    std::string_view serviceId, std::string_view characteristicId) const {
  const auto service = GattId::ParseKey(serviceId);
  const auto id = GattId::ParseKey(characteristicId);
  if (service && id && GattId::ServiceOf(*id) == *service) {
    const MutexLock lock(mutex_);
    if (auto found = Find(characteristicIndex_, id)) return found;
  }
  return NoCharacteristic(serviceId, characteristicId);
}

Result<DescriptorPtr> GattObjectTree::FindDescriptor(std::string_view characteristicId,
                                                     std::string_view descriptorId) const {
  const auto characteristic = GattId::ParseKey(characteristicId);
  const auto id = GattId::ParseKey(descriptorId);
  if (characteristic && id && GattId::CharacteristicOf(*id) == *characteristic) {
    const MutexLock lock(mutex_);
    if (auto found = Find(descriptorIndex_, id)) return found;
  }
  return Status(error::kNotDiscovered,
                Concat("No descriptor with the ID ", Quoted{descriptorId},
                       " has been discovered for the characteristic with ID ",
                       Quoted{characteristicId}, "."));
}

Status GattObjectTree::RequireCharacteristic(std::string_view serviceId,
                                             std::string_view characteristicId) const {
  {
    const MutexLock lock(mutex_);
    if (Find(characteristicIndex_, GattId::ParseKey(characteristicId))) return {};
  }
  return NoCharacteristic(serviceId, characteristicId);
}

[[gnu::hot]] CharacteristicPtr GattObjectTree::FindCharacteristicByObject(
    const GattCharacteristic& object) const {
  const MutexLock lock(mutex_);
  const auto found = objectIndex_.find(&object);
  return found != objectIndex_.end() ? found->second : nullptr;
}

std::vector<ServicePtr> GattObjectTree::Services() const {
  const MutexLock lock(mutex_);
  return services_;
}

std::vector<CharacteristicPtr> GattObjectTree::CharacteristicsOf(
    const ServiceEntry& service) const {
  const MutexLock lock(mutex_);
  return service.characteristics;
}

std::vector<DescriptorPtr> GattObjectTree::DescriptorsOf(
    const CharacteristicEntry& characteristic) const {
  const MutexLock lock(mutex_);
  return characteristic.descriptors;
}

std::size_t GattObjectTree::ServiceCount() const {
  const MutexLock lock(mutex_);
  return services_.size();
}

std::size_t GattObjectTree::CharacteristicCount(const ServiceEntry& service) const {
  const MutexLock lock(mutex_);
  return service.characteristics.size();
}

std::size_t GattObjectTree::DescriptorCount(const CharacteristicEntry& characteristic) const {
  const MutexLock lock(mutex_);
  return characteristic.descriptors.size();
}

ServicePtr GattObjectTree::ServiceAt(std::size_t index) const {
  const MutexLock lock(mutex_);
  return At(services_, index);
}

CharacteristicPtr GattObjectTree::CharacteristicAt(const ServiceEntry& service,
                                                   std::size_t index) const {
  const MutexLock lock(mutex_);
  return At(service.characteristics, index);
}

DescriptorPtr GattObjectTree::DescriptorAt(const CharacteristicEntry& characteristic,
                                           std::size_t index) const {
  const MutexLock lock(mutex_);
  return At(characteristic.descriptors, index);
}

std::string GattObjectTree::ParentIds(const ServiceEntry& service) const {
  const MutexLock lock(mutex_);
  return Join(service.parentIds);
}

std::string GattObjectTree::IncludedIds(const ServiceEntry& service) const {
  const MutexLock lock(mutex_);
  return Join(service.includedIds);
}

}  // namespace ble
