#include "procedures/Writer.h"

#include <algorithm>

#include "gatt/DescriptorUuids.h"
#include "procedures/ValueTarget.h"

namespace ble {

ErrorCode Writer::WriteValue(const std::string& serviceId, const std::string& characteristicId,
                             const std::string& descriptorId, ByteView value) {
  const ValueIds ids{serviceId, characteristicId, descriptorId};
  ValueTarget target;
  if (const ErrorCode code = FindValueTarget(ids, parts_.connection, parts_.errors, target))
    return code;
  const ErrorCode code = target.descriptor
                             ? WriteDescriptorValue(target.session->tree, *target.descriptor, value)
                             : WriteCharacteristicValue(*target.characteristic, value,
                                                        GattWriteOption::WriteWithResponse);
  if (code == error::kSuccess) parts_.events.FireWriteResponse(NamesOf(ids, target));
  return code;
}

ErrorCode Writer::PostValue(const std::string& serviceId, const std::string& characteristicId,
                            ByteView value) {
  SessionPtr session;
  if (const ErrorCode code = parts_.connection.RequireConnection(session)) return code;
  if (characteristicId.empty()) return parts_.errors.Raise(failure::kNoCharacteristicId);
  if (serviceId.empty()) return parts_.errors.Raise(failure::kNoServiceId);
  if (!session->tree.FindService(serviceId)) return error::kNotDiscovered;
  const auto characteristic = session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return error::kNotDiscovered;
  return WriteCharacteristicValue(*characteristic, value, GattWriteOption::WriteWithoutResponse);
}

ErrorCode Writer::WriteCharacteristicValue(const CharacteristicEntry& characteristic,
                                           ByteView value, GattWriteOption option) {
  const bool posts = option == GattWriteOption::WriteWithoutResponse;
  const Quoted id{characteristic.id.View()};
  parts_.log.Write(LogLevel::Information, log_type::kWrite,
                   std::string_view(posts ? "Posting" : "Writing"), " value to characteristic ID ",
                   id, ".");
  const auto written = parts_.gatt.Run(log_type::kWrite, [&] {
    return characteristic.platform->WriteValueWithResultAsync(value, option);
  });
  if (written.code != error::kSuccess) return written.code;
  parts_.log.Write(LogLevel::Information, log_type::kWrite, "Successfully ",
                   std::string_view(posts ? "posted" : "wrote"), " value to characteristic ID ", id,
                   ".");
  return error::kSuccess;
}

ErrorCode Writer::WriteDescriptorValue(const GattObjectTree& tree,
                                       const DescriptorEntry& descriptor, ByteView value) {
  const Quoted id{descriptor.id.View()};
  parts_.log.Write(LogLevel::Information, log_type::kWrite, "Writing value to descriptor ID ", id,
                   ".");
  const auto written = parts_.gatt.Run(
      log_type::kWrite, [&] { return descriptor.platform->WriteValueWithResultAsync(value); });
  if (written.code != error::kSuccess) return written.code;
  parts_.log.Write(LogLevel::Information, log_type::kWrite,
                   "Successfully wrote value to descriptor ID ", id, ".");
  return parts_.reconciler.AfterWrite(tree, descriptor, value);
}

ErrorCode Writer::WriteUserDescription(const GattObjectTree& tree,
                                       const CharacteristicEntry& characteristic,
                                       std::string_view text) {
  const Quoted id{characteristic.id.View()};
  const auto descriptors = tree.DescriptorsOf(characteristic);
  const auto found = std::find_if(descriptors.begin(), descriptors.end(), [](const auto& entry) {
    return entry->uuid == descriptor_uuid::kCharacteristicUserDescription;
  });
  if (found == descriptors.end()) {
    return parts_.errors.Raise(
        error::kNoUserDescription,
        Concat("Characteristic with ID ", id,
               " does not have a Characteristic User Description descriptor despite having the "
               "'Writable Auxiliaries' flag set."));
  }
  parts_.log.Write(LogLevel::Debug, log_type::kDebug,
                   "Writing new value to User Description descriptor.");
  const ByteView bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  const auto written =
      parts_.wait.Await([&] { return (*found)->platform->WriteValueWithResultAsync(bytes); });
  if (written.code == error::kPlatformFailure) return written.code;
  if (!written.result) return parts_.errors.Raise(failure::kTimeout);
  const ErrorCode code = parts_.reporter.ReportGattResult(*written.result, log_type::kDebug);
  parts_.log.Write(
      LogLevel::Debug, log_type::kDebug,
      std::string_view(code == error::kSuccess ? "Successfully wrote" : "Failed to write"),
      " new value to Characteristic User Description descriptor for characteristic ID ", id, ".");
  return code;
}

}  // namespace ble
