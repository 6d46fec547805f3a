#include "gatt/Selection.h"

#include <algorithm>

#include "base/Text.h"

namespace ble {

Status Selection::SelectService(std::string_view serviceId) {
  {
    const MutexLock lock(mutex_);
    characteristicId_.clear();
    descriptors_ = {};
    if (serviceId.empty()) {
      serviceId_.clear();
      characteristics_ = {};
      states_.clear();
      return {};
    }
  }
  const auto [noService, service] = tree_.FindService(serviceId);
  if (!service) return noService;
  ExposeCharacteristics(service);
  const MutexLock lock(mutex_);
  serviceId_ = serviceId;
  return {};
}

Status Selection::SelectCharacteristic(std::string_view characteristicId) {
  const std::string serviceId = ServiceId();
  if (characteristicId.empty()) {
    const MutexLock lock(mutex_);
    characteristicId_.clear();
    descriptors_ = {};
    return {};
  }
  if (serviceId.empty()) return failure::kNoServiceSelected;
  const auto [noCharacteristic, characteristic] =
      tree_.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return noCharacteristic;
  ExposeDescriptors(characteristic);
  const MutexLock lock(mutex_);
  characteristicId_ = characteristicId;
  return {};
}

Status Selection::Select(std::string_view serviceId, std::string_view characteristicId) {
  if (serviceId.empty() && !characteristicId.empty()) return failure::kNoServiceId;
  const bool keepsService = !characteristicId.empty() && EqualsIgnoringCase(serviceId, ServiceId());
  if (!keepsService) {
    if (Status status = SelectService(serviceId); !status.Ok()) return status;
  }
  return characteristicId.empty() ? Status() : SelectCharacteristic(characteristicId);
}

std::string Selection::ServiceId() const {
  const MutexLock lock(mutex_);
  return serviceId_;
}

std::string Selection::CharacteristicId() const {
  const MutexLock lock(mutex_);
  return characteristicId_;
}

void Selection::ExposeCharacteristics(const ServicePtr& service) {
  const auto count = static_cast<std::int32_t>(tree_.CharacteristicCount(*service));
  const MutexLock lock(mutex_);
  characteristics_ = {service, count, count};
  states_.clear();
}

void Selection::ExposeDescriptors(const CharacteristicPtr& characteristic) {
  const auto count = static_cast<std::int32_t>(tree_.DescriptorCount(*characteristic));
  const MutexLock lock(mutex_);
  descriptors_ = {characteristic, count, count};
}

std::int32_t Selection::CharacteristicCount() const {
  const MutexLock lock(mutex_);
  return characteristics_.count;
}

std::int32_t Selection::DescriptorCount() const {
  const MutexLock lock(mutex_);
  return descriptors_.count;
}

void Selection::SetCharacteristicCount(std::int32_t count) {
  const MutexLock lock(mutex_);
  characteristics_.count = std::max(count, 0);
  characteristics_.shown = std::min(characteristics_.shown, characteristics_.count);
  const std::int32_t shown = characteristics_.shown;
  std::erase_if(states_, [shown](const auto& slot) { return slot.first >= shown; });
}

CharacteristicPtr Selection::CharacteristicIn(std::int32_t index) const {
  if (index >= characteristics_.shown) return std::make_shared<CharacteristicEntry>();
  return tree_.CharacteristicAt(*characteristics_.owner, static_cast<std::size_t>(index));
}

CharacteristicPtr Selection::CharacteristicAt(std::int32_t index) const {
  const MutexLock lock(mutex_);
  return CharacteristicIn(index);
}

ExposedCharacteristic Selection::ExposedAt(std::int32_t index) {
  const MutexLock lock(mutex_);
  CharacteristicPtr entry = CharacteristicIn(index);
  std::shared_ptr<CharacteristicState>& state = states_[index];
  if (!state) state = std::make_shared<CharacteristicState>(entry->state);
  return {std::move(entry), state};
}

DescriptorPtr Selection::DescriptorAt(std::int32_t index) const {
  const MutexLock lock(mutex_);
  if (index >= descriptors_.shown) return std::make_shared<DescriptorEntry>();
  return tree_.DescriptorAt(*descriptors_.owner, static_cast<std::size_t>(index));
}

}  // namespace ble
