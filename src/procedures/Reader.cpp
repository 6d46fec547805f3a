#include "procedures/Reader.h"

#include <utility>

#include "procedures/ValueTarget.h"

namespace ble {

[[gnu::hot]] Result<Bytes> Reader::ReadValue(const std::string& serviceId,
                                             const std::string& characteristicId,
                                             const std::string& descriptorId) {
  const ValueIds ids{serviceId, characteristicId, descriptorId};
  const auto [missing, target] = FindValueTarget(ids, parts_.connection);
  if (!missing.Ok()) return missing;
  auto read = target.descriptor
                  ? ReadDescriptorValue(target.session->tree, *target.descriptor,
                                        BluetoothCacheMode::Uncached)
                  : ReadCharacteristicValue(*target.characteristic, BluetoothCacheMode::Uncached);
  if (read.status.Ok()) parts_.base.events.FireValue(NamesOf(ids, target), read.value);
  return read;
}

Result<Bytes> Reader::ReadCharacteristicValue(const CharacteristicEntry& characteristic,
                                              BluetoothCacheMode mode) {
  return Read(characteristic, "characteristic", mode);
}

Result<Bytes> Reader::ReadDescriptorValue(const GattObjectTree& tree,
                                          const DescriptorEntry& descriptor,
                                          BluetoothCacheMode mode) {
  auto read = Read(descriptor, "descriptor", mode);
  if (read.status.Ok()) read.status = parts_.reconciler.AfterRead(tree, descriptor, read.value);
  return read;
}

template <class Entry>
Result<Bytes> Reader::Read(const Entry& entry, const char* noun, BluetoothCacheMode mode) {
  const bool uncached = mode == BluetoothCacheMode::Uncached;
  const std::string_view kind = noun;
  const Quoted id{entry.id.View()};
  Log& log = parts_.base.log;
  if (uncached) {
    log.Write(LogLevel::Information, log_type::kRead, "Reading value for ", kind, " ID ", id, ".");
  } else {
    log.Write(LogLevel::Debug, log_type::kDebug, "Getting cached value for ", kind, " ID ", id,
              ".");
  }
  const auto [status, read] = parts_.gatt.Run(uncached ? log_type::kRead : log_type::kDebug,
                                              [&] { return entry.platform->ReadValueAsync(mode); });
  if (!status.Ok()) return status;
  if (uncached) {
    log.Write(LogLevel::Information, log_type::kRead, "Successfully read value for ", kind, " ID ",
              id, ".");
  }
  return std::move(read->value);
}

}  // namespace ble
