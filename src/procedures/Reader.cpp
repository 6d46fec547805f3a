#include "procedures/Reader.h"

#include <utility>

#include "procedures/ValueTarget.h"

namespace ble {

[[gnu::hot]] ErrorCode Reader::ReadValue(const std::string& serviceId,
                                         const std::string& characteristicId,
                                         const std::string& descriptorId, Bytes& value) {
  const ValueIds ids{serviceId, characteristicId, descriptorId};
  ValueTarget target;
  if (const ErrorCode code = FindValueTarget(ids, parts_.connection, parts_.errors, target))
    return code;
  const ErrorCode code =
      target.descriptor
          ? ReadDescriptorValue(target.session->tree, *target.descriptor,
                                BluetoothCacheMode::Uncached, value)
          : ReadCharacteristicValue(*target.characteristic, BluetoothCacheMode::Uncached, value);
  if (code == error::kSuccess) parts_.events.FireValue(NamesOf(ids, target), value);
  return code;
}

ErrorCode Reader::ReadCharacteristicValue(const CharacteristicEntry& characteristic,
                                          BluetoothCacheMode mode, Bytes& value) {
  return Read(characteristic, "characteristic", mode, value);
}

ErrorCode Reader::ReadDescriptorValue(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                                      BluetoothCacheMode mode, Bytes& value) {
  if (const ErrorCode code = Read(descriptor, "descriptor", mode, value)) return code;
  return parts_.reconciler.AfterRead(tree, descriptor, value);
}

template <class Entry>
ErrorCode Reader::Read(const Entry& entry, const char* noun, BluetoothCacheMode mode,
                       Bytes& value) {
  const bool uncached = mode == BluetoothCacheMode::Uncached;
  const std::string_view kind = noun;
  const Quoted id{entry.id.View()};
  if (uncached) {
    parts_.log.Write(LogLevel::Information, log_type::kRead, "Reading value for ", kind, " ID ", id,
                     ".");
  } else {
    parts_.log.Write(LogLevel::Debug, log_type::kDebug, "Getting cached value for ", kind, " ID ",
                     id, ".");
  }
  const auto read = parts_.gatt.Run(uncached ? log_type::kRead : log_type::kDebug,
                                    [&] { return entry.platform->ReadValueAsync(mode); });
  if (read.code != error::kSuccess) return read.code;
  if (uncached) {
    parts_.log.Write(LogLevel::Information, log_type::kRead, "Successfully read value for ", kind,
                     " ID ", id, ".");
  }
  value = std::move(read.result->value);
  return error::kSuccess;
}

}  // namespace ble
