#include "procedures/Writer.h"

#include <algorithm>

#include "gatt/DescriptorUuids.h"
#include "procedures/ValueTarget.h"

namespace ble {

Status Writer::WriteValue(const std::string& serviceId, const std::string& characteristicId,
                          const std::string& descriptorId, ByteView value) {
  const ValueIds ids{serviceId, characteristicId, descriptorId};
  const auto [missing, target] = FindValueTarget(ids, parts_.connection);
  if (!missing.Ok()) return missing;
  Status status = target.descriptor
                      ? WriteDescriptorValue(target.session->tree, *target.descriptor, value)
                      : WriteCharacteristicValue(*target.characteristic, value,
                                                 GattWriteOption::WriteWithResponse);
  if (status.Ok()) parts_.base.events.FireWriteResponse(NamesOf(ids, target));
  return status;
}

Status Writer::PostValue(const std::string& serviceId, const std::string& characteristicId,
                         ByteView value) {
  const auto [notConnected, session] = parts_.connection.RequireConnection();
  if (!session) return notConnected;
  if (characteristicId.empty()) return failure::kNoCharacteristicId;
  if (serviceId.empty()) return failure::kNoServiceId;
  if (const auto found = session->tree.FindService(serviceId); !found.value) return found.status;
  const auto [noCharacteristic, characteristic] =
      session->tree.FindCharacteristic(serviceId, characteristicId);
  if (!characteristic) return noCharacteristic;
  return WriteCharacteristicValue(*characteristic, value, GattWriteOption::WriteWithoutResponse);
}

Status Writer::WriteCharacteristicValue(const CharacteristicEntry& characteristic, ByteView value,
                                        GattWriteOption option) {
  const bool posts = option == GattWriteOption::WriteWithoutResponse;
  const Quoted id{characteristic.id.View()};
  parts_.base.log.Write(LogLevel::Information, log_type::kWrite,
                        std::string_view(posts ? "Posting" : "Writing"),
                        " value to characteristic ID ", id, ".");
  const Status status =
      parts_.gatt
          .Run(log_type::kWrite,
               [&] { return characteristic.platform->WriteValueWithResultAsync(value, option); })
          .status;
  if (!status.Ok()) return status;
  parts_.base.log.Write(LogLevel::Information, log_type::kWrite, "Successfully ",
                        std::string_view(posts ? "posted" : "wrote"),
                        " value to characteristic ID ", id, ".");
  return {};
}

Status Writer::WriteDescriptorValue(const GattObjectTree& tree, const DescriptorEntry& descriptor,
                                    ByteView value) {
  const Quoted id{descriptor.id.View()};
  parts_.base.log.Write(LogLevel::Information, log_type::kWrite, "Writing value to descriptor ID ",
                        id, ".");
  const Status status =
      parts_.gatt
          .Run(log_type::kWrite,
               [&] { return descriptor.platform->WriteValueWithResultAsync(value); })
          .status;
  if (!status.Ok()) return status;
  parts_.base.log.Write(LogLevel::Information, log_type::kWrite,
                        "Successfully wrote value to descriptor ID ", id, ".");
  return parts_.reconciler.AfterWrite(tree, descriptor, value);
}

Status Writer::WriteUserDescription(const GattObjectTree& tree,
                                    const CharacteristicEntry& characteristic,
                                    std::string_view text) {
  const Quoted id{characteristic.id.View()};
  const auto descriptors = tree.DescriptorsOf(characteristic);
  const auto found = std::find_if(descriptors.begin(), descriptors.end(), [](const auto& entry) {
    return entry->uuid == descriptor_uuid::kCharacteristicUserDescription;
  });
  if (found == descriptors.end()) {
    return {error::kNoUserDescription,
            Concat("Characteristic with ID ", id,
                   " does not have a Characteristic User Description descriptor despite having the "
                   "'Writable Auxiliaries' flag set.")};
  }
  Log& log = parts_.base.log;
  log.Write(LogLevel::Debug, log_type::kDebug, "Writing new value to User Description descriptor.");
  const ByteView bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  const auto [failed, written] =
      parts_.link.wait.Await([&] { return (*found)->platform->WriteValueWithResultAsync(bytes); });
  if (failed.Code() == error::kPlatformFailure) return failed;
  if (!written) return failure::kTimeout;
  Status status = ReportGattResult(*written, log, log_type::kDebug);
  parts_.base.errors.Note(status);  // before the log line, inside which the host may ask for it
  log.Write(LogLevel::Debug, log_type::kDebug,
            std::string_view(status.Ok() ? "Successfully wrote" : "Failed to write"),
            " new value to Characteristic User Description descriptor for characteristic ID ", id,
            ".");
  return status;
}

}  // namespace ble
