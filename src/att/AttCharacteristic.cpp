#include "att/AttCharacteristic.h"

#include <array>
#include <cstddef>
#include <utility>

#include "att/AttDescriptor.h"
#include "base/GattUuids.h"
#include "base/HexText.h"

namespace ble::att {

namespace {

using Configuration = GattClientCharacteristicConfigurationDescriptorValue;
using ConfigurationResult = GattReadClientCharacteristicConfigurationDescriptorResult;

// Bits of the client configuration (Bluetooth Core 5.4, Vol 3 Part G, 3.3.3.3).
constexpr std::uint8_t kNotifyBit = 0x01;
constexpr std::uint8_t kIndicateBit = 0x02;

Configuration ParseConfiguration(ByteView value) {
  const std::uint8_t bits = value.empty() ? 0 : value[0];
  if ((bits & kNotifyBit) != 0) return Configuration::Notify;
  return (bits & kIndicateBit) != 0 ? Configuration::Indicate : Configuration::None;
}

std::string NoticeOf(const DescriptorRecord& descriptor, const GattReadResult& read) {
  return "The descriptor with handle " + HexNumber<std::string>(descriptor.handle, 4) +
         " could not be read: " +
         (read.protocolError ? "protocol error " + HexNumber<std::string>(*read.protocolError, 2)
                             : "no answer") +
         ".";
}

using DescriptorList = std::vector<std::shared_ptr<AttDescriptor>>;

/// The descriptors whose values describe their characteristic.
DescriptorList Understood(const GattDescriptorsResult& found) {
  DescriptorList understood;
  for (const auto& descriptor : found.descriptors)
    if (CharacteristicDescription::Understands(descriptor->AttributeUuid()))
      understood.push_back(std::static_pointer_cast<AttDescriptor>(descriptor));
  return understood;
}

/// Reads descriptors one after another, for as long as there is a link. The host did not ask for
/// their values, so no pairing is started for them.
void ReadDescriptions(const BearerPtr& bearer, std::shared_ptr<AttCharacteristic> characteristic,
                      std::shared_ptr<const DescriptorList> descriptors, std::size_t next,
                      std::function<void()> done) {
  if (next == descriptors->size() || !bearer->IsUsable()) return done();
  (*descriptors)[next]->ReadUnasked(bearer)->OnCompleted([=](auto& operation) {
    const GattReadResult& read = *operation.GetResults();
    const AttDescriptor& descriptor = *(*descriptors)[next];
    if (!Succeeded(read))
      characteristic->NotDescribed({descriptor.AttributeHandle(), descriptor.AttributeUuid()},
                                   read);
    ReadDescriptions(bearer, characteristic, descriptors, next + 1, done);
  });
}

}  // namespace

AttCharacteristic::AttCharacteristic(std::shared_ptr<GattContext> context,
                                     const CharacteristicRecord& record)
    : context_(std::move(context)),
      handle_(record.handle),
      valueHandle_(record.valueHandle),
      uuid_(record.uuid),
      properties_(record.properties),
      end_(record.end) {}

void AttCharacteristic::Update(const CharacteristicRecord& record) {
  properties_ = record.properties;
  end_ = record.end;
}

void AttCharacteristic::Described(const DescriptorRecord& descriptor, ByteView value) {
  description_.Learn(descriptor, value);
}

void AttCharacteristic::NotDescribed(const DescriptorRecord& descriptor,
                                     const GattReadResult& read) {
  if (description_.Fail(descriptor, !read.protocolError))
    context_->Notify(NoticeOf(descriptor, read));
}

[[gnu::hot]] void AttCharacteristic::Keep(ByteView value) {
  value_.Store(value);
}

[[gnu::hot]] void AttCharacteristic::Deliver(ByteView value) {
  Keep(value);
  valueChanged_.Raise(*this, value);
}

std::uint32_t AttCharacteristic::CharacteristicProperties() const {
  return properties_ | description_.ExtendedProperties();
}

[[gnu::hot]] AsyncOperationPtr<GattReadResult> AttCharacteristic::ReadValueAsync(
    BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached) return Completed<GattReadResult>({}, {{}, value_.Get()});
  return ReadWholeValue(context_->Link(), valueHandle_, shared_from_this());
}

AsyncOperationPtr<GattWriteResult> AttCharacteristic::WriteValueWithResultAsync(
    ByteView value, GattWriteOption option) {
  if (value.size() > kMaxValueLength)
    return Completed<GattWriteResult>(ProtocolError(AttError::InvalidAttributeValueLength));
  return OverLink<GattWriteResult>(
      context_->Link(),
      [self = shared_from_this(), option, bytes = Bytes(value.begin(), value.end())](
          const BearerPtr& bearer, const auto& operation) {
        auto done = [operation](const GattResult& status) { Complete(*operation, status); };
        if (option == GattWriteOption::WriteWithoutResponse)
          return WriteWithoutResponse(*bearer, self->valueHandle_, bytes, std::move(done));
        WriteWholeValue(bearer, self->context_->LongWrites(), self->valueHandle_, bytes,
                        std::move(done));
      });
}

AsyncOperationPtr<ConfigurationResult>
AttCharacteristic::ReadClientCharacteristicConfigurationDescriptorAsync() {
  return OverLink<ConfigurationResult>(
      context_->Link(),
      [self = shared_from_this()](const BearerPtr& bearer, const auto& operation) {
        self->WithConfiguration(bearer, [=](const GattResult& found, std::uint16_t handle) {
          if (!Succeeded(found)) return Complete(*operation, found);
          ReadWholeValue(bearer, handle, nullptr)->OnCompleted([=](auto& read) {
            const auto result = read.GetResults();
            Complete(*operation, *result, {{}, ParseConfiguration(result->value)});
          });
        });
      });
}

AsyncOperationPtr<GattWriteResult>
AttCharacteristic::WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
    GattClientCharacteristicConfigurationDescriptorValue value) {
  return OverLink<GattWriteResult>(
      context_->Link(),
      [self = shared_from_this(), value](const BearerPtr& bearer, const auto& operation) {
        self->WithConfiguration(bearer, [=](const GattResult& found, std::uint16_t handle) {
          if (!Succeeded(found)) return Complete(*operation, found);
          const std::array<std::uint8_t, 2> bits{static_cast<std::uint8_t>(value), 0};
          bearer->Request(
              Build(HandleValue{Opcode::WriteRequest, handle, bits}),
              [operation](const AttReply& reply) { Complete(*operation, StatusOf(reply)); });
        });
      });
}

AsyncOperationPtr<GattDescriptorsResult> AttCharacteristic::QueryDescriptors(
    const Wanted& wanted, BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached) return Completed({}, Publish(descriptors_.Get(), wanted));
  return OverLink<GattDescriptorsResult>(
      context_->Link(),
      [self = shared_from_this(), wanted](const BearerPtr& bearer, const auto& operation) {
        const std::uint32_t version = self->context_->DatabaseVersion();
        self->SearchDescriptors(bearer, [=](const GattResult& status,
                                            const std::vector<DescriptorRecord>& records) {
          if (!Succeeded(status)) return Complete(*operation, status);
          self->description_.Adopt(version, records);
          const auto result = self->Publish(records, wanted);
          ReadDescriptions(bearer, self, std::make_shared<const DescriptorList>(Understood(result)),
                           0, [=] { Complete(*operation, status, result); });
        });
      });
}

GattDescriptorsResult AttCharacteristic::Publish(const std::vector<DescriptorRecord>& records,
                                                 const Wanted& wanted) {
  GattDescriptorsResult result;
  const auto make = [this, self = shared_from_this()](const auto& record) {
    return context_->Attributes().Descriptor(context_, self, record);
  };
  AppendObjects(records, wanted, make, result.descriptors);
  return result;
}

void AttCharacteristic::SearchDescriptors(const BearerPtr& bearer, Found<DescriptorRecord> found) {
  // The version at the beginning: a change during the search makes the handle out of date.
  const std::uint16_t version = context_->DatabaseVersion();
  DiscoverDescriptors(
      bearer, static_cast<std::uint16_t>(valueHandle_ + 1), end_,
      [self = shared_from_this(), version, found = std::move(found)](
          const GattResult& status, std::vector<DescriptorRecord> records) {
        if (Succeeded(status)) {
          self->descriptors_.Store(records);
          for (const DescriptorRecord& record : records)
            if (record.uuid == Uuid::FromAssignedNumber(gatt_uuid::kClientConfiguration))
              self->configuration_ = FoundHandle{record.handle, version};
        }
        found(status, std::move(records));
      });
}

std::uint16_t AttCharacteristic::KnownConfiguration() const {
  const FoundHandle known = configuration_;
  return known.version == context_->DatabaseVersion() ? known.handle : std::uint16_t{0};
}

void AttCharacteristic::WithConfiguration(const BearerPtr& bearer, ConfigurationFound use) {
  if (const std::uint16_t known = KnownConfiguration()) return use({}, known);
  SearchDescriptors(bearer, [self = shared_from_this(), use = std::move(use)](
                                const GattResult& status, const std::vector<DescriptorRecord>&) {
    const std::uint16_t handle = self->KnownConfiguration();
    if (Succeeded(status) && handle == 0) return use(ProtocolError(AttError::AttributeNotFound), 0);
    use(status, handle);
  });
}

}  // namespace ble::att
