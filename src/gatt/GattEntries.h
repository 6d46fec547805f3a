#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "gatt/AssignedNumbers.h"
#include "gatt/GattId.h"
#include "gatt/KeptText.h"
#include "gatt/UuidText.h"
#include "platform/Event.h"
#include "platform/Gatt.h"

namespace ble {

/// What the records of all three levels have: the platform's object, and what it says of itself.
/// Nothing of it changes after the record was made. Without an object it is the empty record.
template <class Object>
struct AttributeEntry {
  AttributeEntry() = default;
  AttributeEntry(std::shared_ptr<Object> object, const GattId& gattId,
                 const char* (*nameOf)(const Uuid&))
      : platform(std::move(object)),
        uuid(platform->AttributeUuid()),
        id(gattId),
        name(nameOf(uuid)),
        uuidText(uuid) {}

  std::shared_ptr<Object> platform;
  Uuid uuid;
  GattId id;
  const char* name = "";
  UuidText uuidText;
};

/// A discovered descriptor.
struct DescriptorEntry : AttributeEntry<GattDescriptor> {
  DescriptorEntry() = default;
  DescriptorEntry(std::shared_ptr<GattDescriptor> object, const GattId& gattId)
      : AttributeEntry(std::move(object), gattId, &DescriptorName) {}
};

/// Descriptors that have been looked for, once, on behalf of a characteristic's fields; and which
/// of its fields have been computed.
namespace lazy_mark {
inline constexpr std::uint8_t kClientConfigurationKnown = 0x01;
inline constexpr std::uint8_t kExtendedPropertiesKnown = 0x02;
inline constexpr std::uint8_t kUserDescriptionKnown = 0x04;
inline constexpr std::uint8_t kFormatsKnown = 0x08;
inline constexpr std::uint8_t kDescriptorsKnown = 0x0F;
inline constexpr std::uint8_t kFlagsComputed = 0x10;
inline constexpr std::uint8_t kFormatIndexComputed = 0x20;
}  // namespace lazy_mark

/// The fields of a characteristic that are filled at first use. The tree's record has one and every
/// exposed copy of the record has its own. Read and written from any thread; two threads that
/// compute a field at once compute the same value.
struct CharacteristicState {
  CharacteristicState() = default;
  CharacteristicState(const CharacteristicState& other)
      : flags(other.flags.load()),
        valueFormatIndex(other.valueFormatIndex.load()),
        marks(other.marks.load()) {}
  CharacteristicState& operator=(const CharacteristicState&) = delete;

  bool Has(std::uint8_t mark) const { return (marks & mark) != 0; }
  void Mark(std::uint8_t bits) { marks |= bits; }

  std::atomic<std::uint32_t> flags{0};
  std::atomic<std::int32_t> valueFormatIndex{-1};
  std::atomic<std::uint8_t> marks{0};
};

/// Whether a characteristic is subscribed, as far as that is known.
enum class SubscriptionState : std::uint8_t { Unknown, Unsubscribed, Subscribed };

/// A discovered characteristic. What is neither atomic nor a kept text does not change after the
/// record was stored, except `descriptors`, which the tree's mutex guards.
struct CharacteristicEntry : AttributeEntry<GattCharacteristic> {
  CharacteristicEntry() = default;
  CharacteristicEntry(std::shared_ptr<GattCharacteristic> object, const GattId& gattId)
      : AttributeEntry(std::move(object), gattId, &CharacteristicName) {}

  CharacteristicState state;
  std::atomic<SubscriptionState> subscription{SubscriptionState::Unknown};
  KeptText userDescription;
  KeptText valueUnit;
  std::vector<std::shared_ptr<DescriptorEntry>> descriptors;
  EventToken valueChanged;
};

/// A discovered service. The three lists are guarded by the tree's mutex; the rest, but for the
/// kept texts, does not change.
struct ServiceEntry : AttributeEntry<GattDeviceService> {
  ServiceEntry() = default;
  ServiceEntry(std::shared_ptr<GattDeviceService> object, const GattId& gattId)
      : AttributeEntry(std::move(object), gattId, &ServiceName) {}

  KeptText parentIdsText;
  KeptText includedIdsText;
  std::vector<GattId> parentIds;
  std::vector<GattId> includedIds;
  std::vector<std::shared_ptr<CharacteristicEntry>> characteristics;
};

using ServicePtr = std::shared_ptr<ServiceEntry>;
using CharacteristicPtr = std::shared_ptr<CharacteristicEntry>;
using DescriptorPtr = std::shared_ptr<DescriptorEntry>;

}  // namespace ble
