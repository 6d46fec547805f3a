#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "att/GattSearch.h"
#include "base/Mutex.h"
#include "platform/Gatt.h"

namespace ble::att {

/// What a characteristic's descriptors say about it (Bluetooth Core 5.4, Vol 3 Part G, 3.3.3): the
/// descriptors that the last query found, with the values that could be read. Any thread.
class CharacteristicDescription {
 public:
  /// Whether descriptors of this type say something that is kept here.
  static bool Understands(const Uuid& descriptorUuid);

  /// Takes over which descriptors there are, in the database with this version. Forgets all others,
  /// and the values from any other database.
  void Adopt(std::uint32_t databaseVersion, const std::vector<DescriptorRecord>& descriptors);

  /// Takes over a descriptor's value; a value that its type does not allow says nothing.
  void Learn(const DescriptorRecord& descriptor, ByteView value);

  /// Forgets the value of a descriptor that could not be read; one that was not answered is not
  /// missed, since asking it again costs the link. False when it was so before.
  bool Fail(const DescriptorRecord& descriptor, bool unanswered);

  /// Whether a descriptor of a type was found and not read, and may be now.
  bool Misses(const Uuid& descriptorUuid) const;

  /// The bits above the property byte: reliable writes and writable auxiliaries.
  std::uint32_t ExtendedProperties() const;
  std::u16string UserDescription() const;
  /// First those that the aggregate format lists, in its order, then the others by handle.
  std::vector<GattPresentationFormat> PresentationFormats() const;

 private:
  enum class State { Unread, Read, Refused, Unanswered };
  struct Entry {
    DescriptorRecord descriptor;
    State state = State::Unread;
    Bytes value;
  };

  Entry* Find(const DescriptorRecord& descriptor) REQUIRES(mutex_);
  /// The value of the first descriptor of a type; empty when it is not known.
  ByteView ValueOf(std::uint16_t assignedNumber) const REQUIRES(mutex_);

  mutable Mutex mutex_;
  std::uint32_t databaseVersion_ GUARDED_BY(mutex_) = 0;
  /// Of types that are understood, in the order of their handles.
  std::vector<Entry> entries_ GUARDED_BY(mutex_);
};

}  // namespace ble::att
