#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "att/GattSearch.h"
#include "base/Mutex.h"

namespace ble::att {

class AttCharacteristic;
class AttDescriptor;
class AttService;
class GattContext;

/// The GATT objects that somebody holds, by handle: what is found again while it is held is the
/// same object, so that values reach the handlers registered on it. A handle that has come to mean
/// another attribute gets a new object. Any thread.
class AttributeTable {
 public:
  /// `declaredIn` is the version of the database in which the service's own declaration says this;
  /// 0 when something else does.
  std::shared_ptr<AttService> Service(const std::shared_ptr<GattContext>& context,
                                      const ServiceRecord& record, std::uint32_t declaredIn);
  std::shared_ptr<AttCharacteristic> Characteristic(const std::shared_ptr<GattContext>& context,
                                                    const CharacteristicRecord& record);
  std::shared_ptr<AttDescriptor> Descriptor(
      const std::shared_ptr<GattContext>& context,
      const std::shared_ptr<AttCharacteristic>& characteristic, const DescriptorRecord& record);

  /// Include declarations with what the services say themselves, where their own declarations were
  /// seen in this version of the database and somebody holds the services.
  std::vector<ServiceRecord> Corrected(std::vector<ServiceRecord> includes,
                                       std::uint32_t version) const;

  /// The characteristic whose value has this handle, if somebody holds it.
  std::shared_ptr<AttCharacteristic> FindByValueHandle(std::uint16_t valueHandle) const;

 private:
  template <class T>
  using ByHandle = std::unordered_map<std::uint16_t, std::weak_ptr<T>>;

  template <class T, class Same, class Make>
  std::shared_ptr<T> FindOrMake(ByHandle<T> AttributeTable::*objects, std::uint16_t handle,
                                Same same, Make make);

  mutable Mutex mutex_;  // no object dies under it
  ByHandle<AttService> services_ GUARDED_BY(mutex_);
  ByHandle<AttCharacteristic> characteristics_ GUARDED_BY(mutex_);  ///< by value handle
  ByHandle<AttDescriptor> descriptors_ GUARDED_BY(mutex_);
};

}  // namespace ble::att
