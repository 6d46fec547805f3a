#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/Mutex.h"
#include "frame/Status.h"
#include "gatt/GattObjectTree.h"

namespace ble {

/// A characteristic as the indexed properties show it: the shared record and this showing's own
/// lazily filled fields.
struct ExposedCharacteristic {
  CharacteristicPtr entry;
  std::shared_ptr<CharacteristicState> state;
};

/// What the host has selected, and the two lists that the indexed characteristic and descriptor
/// properties read. A list is a snapshot of the first records of one service or characteristic:
/// showing another costs nothing per record.
///
/// Any thread. Its mutex may be held while the tree's is taken, never the other way round.
class Selection {
 public:
  explicit Selection(GattObjectTree& tree) : tree_(tree) {}

  /// Selects a service and shows its characteristics; an empty id selects none. Clears the
  /// characteristic selection first. Fails with 601.
  Status SelectService(std::string_view serviceId);

  /// Selects a characteristic of the selected service and shows its descriptors; an empty id
  /// selects none. Fails with 602 or 601.
  Status SelectCharacteristic(std::string_view characteristicId);

  /// Selects both, the service first; fails with 202 when only the characteristic is given.
  Status Select(std::string_view serviceId, std::string_view characteristicId);

  std::string ServiceId() const;
  std::string CharacteristicId() const;

  /// Shows all records of a service, or of a characteristic, whatever is selected.
  void ExposeCharacteristics(const ServicePtr& service);
  void ExposeDescriptors(const CharacteristicPtr& characteristic);

  std::int32_t CharacteristicCount() const;
  std::int32_t DescriptorCount() const;

  /// Resizes the characteristic list; slots beyond the records shown hold empty records.
  void SetCharacteristicCount(std::int32_t count);

  /// The record in a slot; the empty record for a slot without one. The index must be valid.
  CharacteristicPtr CharacteristicAt(std::int32_t index) const;
  DescriptorPtr DescriptorAt(std::int32_t index) const;

  /// The same with the slot's own fields, which start as a copy of the record's.
  ExposedCharacteristic ExposedAt(std::int32_t index);

 private:
  /// `shown` slots hold the first records of `owner`; the slots up to `count` are empty.
  template <class Owner>
  struct ExposedList {
    std::shared_ptr<Owner> owner;
    std::int32_t shown = 0;
    std::int32_t count = 0;
  };

  CharacteristicPtr CharacteristicIn(std::int32_t index) const REQUIRES(mutex_);

  GattObjectTree& tree_;
  mutable Mutex mutex_;
  std::string serviceId_ GUARDED_BY(mutex_);
  std::string characteristicId_ GUARDED_BY(mutex_);
  ExposedList<ServiceEntry> characteristics_ GUARDED_BY(mutex_);
  ExposedList<CharacteristicEntry> descriptors_ GUARDED_BY(mutex_);
  std::unordered_map<std::int32_t, std::shared_ptr<CharacteristicState>> states_ GUARDED_BY(mutex_);
};

}  // namespace ble
