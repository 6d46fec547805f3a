#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "frame/Status.h"
#include "gatt/GattEntries.h"
#include "gatt/GattId.h"

namespace ble {

/// What has been discovered on one server. Records are only ever added, in discovery order; finding
/// one costs the same however many there are.
///
/// Any thread. One mutex guards the lists and indexes; no platform call, event or log line happens
/// under it. Records are shared: one that was handed out may outlive the tree.
class GattObjectTree {
 public:
  using ValueChanged = GattCharacteristic::ValueChanged;

  /// More records than a server can have attributes, one for each handle (Bluetooth Core 5.4,
  /// Vol 3 Part F, 3.2.2), come from one whose services lie about what they contain.
  static constexpr std::size_t kMostRecords = 0xFFFF;

  /// `valueChanged` is registered on every platform characteristic, once, for as long as its first
  /// record lives.
  explicit GattObjectTree(ValueChanged::Handler valueChanged)
      : valueChanged_(std::move(valueChanged)) {}

  /// Builds an id from attribute handles; a zero handle above a non-zero one fails with 202.
  static Result<GattId> MakeGattId(std::uint16_t service, std::uint16_t characteristic,
                                   std::uint16_t descriptor);

  /// Find the record with the id, or store a new one; the second value tells whether it is new. A
  /// record found is not replaced. Null when there are `kMostRecords` already.
  std::pair<ServicePtr, bool> AddService(std::shared_ptr<GattDeviceService> object,
                                         const GattId& id);
  std::pair<CharacteristicPtr, bool> AddCharacteristic(std::shared_ptr<GattCharacteristic> object,
                                                       const ServicePtr& service, const GattId& id);
  std::pair<DescriptorPtr, bool> AddDescriptor(std::shared_ptr<GattDescriptor> object,
                                               const CharacteristicPtr& characteristic,
                                               const GattId& id);

  /// Notes on both records that `parent` includes `child`.
  void Link(const ServicePtr& child, const ServicePtr& parent);

  /// The record with an id of either letter case, or 601.
  Result<ServicePtr> FindService(std::string_view serviceId) const;
  Result<CharacteristicPtr> FindCharacteristic(std::string_view serviceId,
                                               std::string_view characteristicId) const;
  Result<DescriptorPtr> FindDescriptor(std::string_view characteristicId,
                                       std::string_view descriptorId) const;

  /// 0 when the id names a characteristic of any service, else 601 with the message for
  /// `serviceId`.
  Status RequireCharacteristic(std::string_view serviceId, std::string_view characteristicId) const;

  /// The record of a platform object; null when there is none.
  CharacteristicPtr FindCharacteristicByObject(const GattCharacteristic& object) const;

  /// Snapshots in discovery order.
  std::vector<ServicePtr> Services() const;
  std::vector<CharacteristicPtr> CharacteristicsOf(const ServiceEntry& service) const;
  std::vector<DescriptorPtr> DescriptorsOf(const CharacteristicEntry& characteristic) const;

  std::size_t ServiceCount() const;
  std::size_t CharacteristicCount(const ServiceEntry& service) const;
  std::size_t DescriptorCount(const CharacteristicEntry& characteristic) const;

  /// The record at a position of a list; null past its end.
  ServicePtr ServiceAt(std::size_t index) const;
  CharacteristicPtr CharacteristicAt(const ServiceEntry& service, std::size_t index) const;
  DescriptorPtr DescriptorAt(const CharacteristicEntry& characteristic, std::size_t index) const;

  /// The ids joined with ",".
  std::string ParentIds(const ServiceEntry& service) const;
  std::string IncludedIds(const ServiceEntry& service) const;

 private:
  template <class Entry>
  using Index = std::unordered_map<GattId::Key, std::shared_ptr<Entry>>;

  /// Stores `entry` unless there is a record with its id, or no room.
  template <class Entry>
  std::pair<std::shared_ptr<Entry>, bool> Store(Index<Entry>& index, std::shared_ptr<Entry> entry)
      REQUIRES(mutex_);

  const ValueChanged::Handler valueChanged_;

  mutable Mutex mutex_;  // guards the lists inside the records too
  std::vector<ServicePtr> services_ GUARDED_BY(mutex_);
  Index<ServiceEntry> serviceIndex_ GUARDED_BY(mutex_);
  Index<CharacteristicEntry> characteristicIndex_ GUARDED_BY(mutex_);
  Index<DescriptorEntry> descriptorIndex_ GUARDED_BY(mutex_);
  /// The first record of each platform object.
  std::unordered_map<const GattCharacteristic*, CharacteristicPtr> objectIndex_ GUARDED_BY(mutex_);
};

}  // namespace ble
