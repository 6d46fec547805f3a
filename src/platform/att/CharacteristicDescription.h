#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Gatt.h"
#include "platform/att/Discovery.h"

namespace corvaneble::platform::att {

/// What a characteristic's descriptors say about it (Bluetooth Core 5.4, Vol 3 Part G, 3.3.3).
/// Any thread.
class CharacteristicDescription {
 public:
  /// Whether descriptors of this type say something that is kept here.
  static bool Understands(const Guid& descriptorUuid);

  /// Takes over a descriptor's value; a value that its type does not allow is ignored.
  void Learn(const DescriptorRecord& descriptor, ByteView value);

  /// The bits above the property byte: reliable writes and writable auxiliaries.
  std::uint32_t ExtendedProperties() const;
  std::u16string UserDescription() const;
  /// First those that the aggregate format lists, in its order, then the others by handle.
  std::vector<GattPresentationFormat> PresentationFormats() const;

 private:
  mutable std::mutex mutex_;  // guards everything below
  std::uint32_t extendedProperties_ = 0;
  std::u16string userDescription_;
  std::map<std::uint16_t, GattPresentationFormat> formats_;  // by handle of the descriptor
  std::vector<std::uint16_t> aggregate_;
};

}  // namespace corvaneble::platform::att
