#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "att/CharacteristicDescription.h"
#include "att/GattContext.h"
#include "att/GattOperation.h"
#include "att/ValueRead.h"
#include "platform/Gatt.h"

namespace ble::att {

class AttDescriptor;

/// A characteristic found on a server.
class AttCharacteristic final : public GattCharacteristic,
                                public ValueKeeper,
                                public std::enable_shared_from_this<AttCharacteristic> {
 public:
  using Wanted = std::optional<Uuid>;

  AttCharacteristic(std::shared_ptr<GattContext> context, const CharacteristicRecord& record);

  /// Takes over what may differ when the characteristic is found again.
  void Update(const CharacteristicRecord& record);
  /// Takes over the value of one of its descriptors, or why it could not be read.
  void Described(const DescriptorRecord& descriptor, ByteView value);
  void NotDescribed(const DescriptorRecord& descriptor, const GattReadResult& read);
  /// Keeps a value that the server sent and raises `ValueChanged`; allocates nothing once the
  /// longest value has been seen.
  void Deliver(ByteView value);
  void Keep(ByteView value) override;

  std::uint16_t AttributeHandle() const override { return handle_; }
  Uuid AttributeUuid() const override { return uuid_; }
  std::uint32_t CharacteristicProperties() const override;
  std::u16string UserDescription() const override { return description_.UserDescription(); }
  std::vector<GattPresentationFormat> PresentationFormats() const override {
    return description_.PresentationFormats();
  }
  bool MissesDescription(const Uuid& descriptorUuid) const override {
    return description_.Misses(descriptorUuid) && context_->Link().IsOpen();
  }

  AsyncOperationPtr<GattDescriptorsResult> QueryDescriptors(const Wanted& wanted,
                                                            BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattReadResult> ReadValueAsync(BluetoothCacheMode mode) override;
  AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView value,
                                                               GattWriteOption option) override;
  AsyncOperationPtr<GattReadClientCharacteristicConfigurationDescriptorResult>
  ReadClientCharacteristicConfigurationDescriptorAsync() override;
  AsyncOperationPtr<GattWriteResult>
  WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
      GattClientCharacteristicConfigurationDescriptorValue value) override;

  [[nodiscard]] EventToken OnValueChanged(ValueChanged::Handler handler) override {
    return valueChanged_.Add(std::move(handler));
  }

 private:
  using ConfigurationFound =
      std::function<void(const GattResult& status, std::uint16_t descriptorHandle)>;

  /// Where the client configuration descriptor was found, and in which version of the database.
  /// Aligned as one number: Clang calls a library for an atomic that is not.
  struct alignas(std::uint32_t) FoundHandle {
    std::uint16_t handle = 0;  ///< 0: it was not
    std::uint16_t version = 0;
  };

  GattDescriptorsResult Publish(const std::vector<DescriptorRecord>& records, const Wanted& wanted);
  /// Searches the server and remembers what it finds.
  void SearchDescriptors(const BearerPtr& bearer, Found<DescriptorRecord> found);
  /// 0 when it is not known, or may have moved.
  std::uint16_t KnownConfiguration() const;
  /// The handle of the client configuration descriptor, searched for when it is not known.
  void WithConfiguration(const BearerPtr& bearer, ConfigurationFound use);

  const std::shared_ptr<GattContext> context_;
  const std::uint16_t handle_;
  const std::uint16_t valueHandle_;
  const Uuid uuid_;
  std::atomic<std::uint8_t> properties_;
  std::atomic<std::uint16_t> end_;
  std::atomic<FoundHandle> configuration_{FoundHandle{}};
  LastKnown<DescriptorRecord> descriptors_;
  CharacteristicDescription description_;
  KnownValue value_;
  ValueChanged valueChanged_;
};

}  // namespace ble::att
