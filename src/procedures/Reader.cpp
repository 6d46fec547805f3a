#include "procedures/Reader.h"

#include <utility>

namespace corvaneble {

using platform::BluetoothCacheMode;

ErrorCode Reader::ReadValue(const std::string& serviceId, const std::string& characteristicId,
                            const std::string& descriptorId, platform::Bytes& value) {
  if (const ErrorCode code = parts_.connection.RequireConnection()) return code;
  if (serviceId.empty()) return parts_.errors.Raise(failure::kNoServiceId);
  if (characteristicId.empty()) return parts_.errors.Raise(failure::kNoCharacteristicId);
  if (!parts_.tree.FindService(serviceId)) return error::kNotDiscovered;
  if (const ErrorCode code = parts_.tree.RequireCharacteristic(serviceId, characteristicId)) {
    return code;
  }

  const auto announce = [&](const auto& entry) {
    parts_.events.FireValue({serviceId.c_str(), characteristicId.c_str(), descriptorId.c_str(),
                             entry.uuidText.c_str(), entry.name},
                            value);
    return error::kSuccess;
  };
  if (descriptorId.empty()) {
    const auto characteristic = parts_.tree.FindCharacteristic(serviceId, characteristicId);
    if (!characteristic) return error::kNotDiscovered;
    const ErrorCode code =
        ReadCharacteristicValue(*characteristic, BluetoothCacheMode::Uncached, value);
    return code != error::kSuccess ? code : announce(*characteristic);
  }
  const auto descriptor = parts_.tree.FindDescriptor(characteristicId, descriptorId);
  if (!descriptor) return error::kNotDiscovered;
  const ErrorCode code = ReadDescriptorValue(*descriptor, BluetoothCacheMode::Uncached, value);
  return code != error::kSuccess ? code : announce(*descriptor);
}

ErrorCode Reader::ReadCharacteristicValue(const CharacteristicEntry& characteristic,
                                          BluetoothCacheMode mode, platform::Bytes& value) {
  return Read(characteristic, "characteristic", mode, value);
}

ErrorCode Reader::ReadDescriptorValue(const DescriptorEntry& descriptor, BluetoothCacheMode mode,
                                      platform::Bytes& value) {
  if (const ErrorCode code = Read(descriptor, "descriptor", mode, value)) return code;
  return parts_.reconciler.AfterRead(descriptor, value);
}

template <class Entry>
ErrorCode Reader::Read(const Entry& entry, const char* noun, BluetoothCacheMode mode,
                       platform::Bytes& value) {
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
  value = read.result->value;
  return error::kSuccess;
}

}  // namespace corvaneble
