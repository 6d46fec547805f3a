#include "platform/att/AttCharacteristic.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "platform/att/AttDescriptor.h"

namespace corvaneble::platform::att {

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

using Reading = CharacteristicDescription::Reading;
using Readings = CharacteristicDescription::Readings;

/// Of no database: they have 16 bits.
constexpr std::uint32_t kNoVersion = 0xFFFFFFFF;

std::string NoticeOf(const DescriptorRecord& descriptor, const GattReadResult& read) {
  return "The descriptor with handle " + HexNumber<std::string>(descriptor.handle, 4) +
         " could not be read: " +
         (read.protocolError ? "protocol error " + HexNumber<std::string>(*read.protocolError, 2)
                             : "no answer") +
         ".";
}

/// Those of the descriptors whose values say something about their characteristic.
std::vector<std::shared_ptr<AttDescriptor>> Understood(
    const std::vector<std::shared_ptr<GattDescriptor>>& descriptors) {
  std::vector<std::shared_ptr<AttDescriptor>> understood;
  for (const auto& descriptor : descriptors)
    if (CharacteristicDescription::Understands(descriptor->Uuid()))
      understood.push_back(std::static_pointer_cast<AttDescriptor>(descriptor));
  return understood;
}

/// Reads descriptors one after another, for as long as there is a link; what cannot be read stays
/// unknown. Nobody asked for their values: no pairing is started for them.
class DescriptionRead : public std::enable_shared_from_this<DescriptionRead> {
 public:
  using Done = std::function<void(Readings)>;

  /// `readings` are those of the descriptors and of others; `done` gets them back. `context` is
  /// told what could not be read, if it is to be told.
  DescriptionRead(BearerPtr bearer, std::vector<std::shared_ptr<AttDescriptor>> descriptors,
                  Readings readings, std::shared_ptr<GattContext> context, Done done)
      : bearer_(std::move(bearer)),
        descriptors_(std::move(descriptors)),
        context_(std::move(context)),
        done_(std::move(done)),
        readings_(std::move(readings)) {}

  void ReadNext() {
    if (next_ == descriptors_.size() || !bearer_->IsUsable()) return done_(std::move(readings_));
    descriptors_[next_]->ReadUnasked(bearer_)->OnCompleted([self = shared_from_this()](auto& read) {
      self->Note(*read.GetResults());
      self->ReadNext();
    });
  }

 private:
  void Note(const GattReadResult& read) {
    const std::uint16_t handle = descriptors_[next_++]->AttributeHandle();
    const auto reading = std::find_if(readings_.begin(), readings_.end(), [&](const auto& one) {
      return one.descriptor.handle == handle;
    });
    reading->value = read.value;
    if (Succeeded(read)) {
      reading->outcome = Reading::Outcome::Read;
      return;
    }
    reading->outcome =
        read.protocolError ? Reading::Outcome::Refused : Reading::Outcome::Unanswered;
    if (context_) context_->Notify(NoticeOf(reading->descriptor, read));
  }

  const BearerPtr bearer_;
  const std::vector<std::shared_ptr<AttDescriptor>> descriptors_;
  const std::shared_ptr<GattContext> context_;
  const Done done_;
  Readings readings_;
  std::size_t next_ = 0;
};

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

AsyncOperationPtr<GattDescriptorsResult> AttCharacteristic::GetDescriptorsAsync(
    BluetoothCacheMode mode) {
  return QueryDescriptors(std::nullopt, mode);
}

AsyncOperationPtr<GattDescriptorsResult> AttCharacteristic::GetDescriptorsForUuidAsync(
    const Guid& uuid, BluetoothCacheMode mode) {
  return QueryDescriptors(uuid, mode);
}

[[gnu::hot]] AsyncOperationPtr<GattReadResult> AttCharacteristic::ReadValueAsync(
    BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached) return Completed<GattReadResult>({}, {{}, value_.Get()});
  return ReadWholeValue(context_->Link(), valueHandle_, shared_from_this());
}

AsyncOperationPtr<GattWriteResult> AttCharacteristic::WriteValueWithResultAsync(
    ByteView value, GattWriteOption option) {
  if (value.size() > kMaxValueLength)
    return Completed<GattWriteResult>(ProtocolError(ErrorCode::InvalidAttributeValueLength));
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
              HandleValue{Opcode::WriteRequest, handle, bits}.Build(),
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
        self->SearchDescriptors(
            bearer, [=](const GattResult& status, const std::vector<DescriptorRecord>& records) {
              if (!Succeeded(status)) return Complete(*operation, status);
              const auto result = self->Publish(records, wanted);
              // A query for all reads all anew; one for a kind keeps what is known of the others.
              const std::uint32_t keeps = wanted ? version : kNoVersion;
              std::make_shared<DescriptionRead>(
                  bearer, Understood(result.descriptors), self->description_.Known(keeps, records),
                  self->context_,
                  [=](Readings readings) {
                    self->description_.Replace(version, std::move(readings));
                    Complete(*operation, status, result);
                  })
                  ->ReadNext();
            });
      });
}

AsyncOperationPtr<GattResult> AttCharacteristic::ReadMissingDescriptionsAsync() {
  const std::vector<DescriptorRecord> missing = description_.Missing();
  if (missing.empty() || !context_->Link().IsOpen()) return nullptr;
  return OverLink<GattResult>(
      context_->Link(),
      [self = shared_from_this(), missing](const BearerPtr& bearer, const auto& operation) {
        const auto found = self->Publish(missing, std::nullopt);
        // What is read tells the description by itself; the user knows already what is not.
        std::make_shared<DescriptionRead>(
            bearer, Understood(found.descriptors), self->description_.Known(kNoVersion, missing),
            nullptr, [operation](const Readings&) { Complete(*operation, GattResult{}); })
            ->ReadNext();
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
  // That of the beginning: what changes meanwhile makes the handle out of date.
  const std::uint32_t version = context_->DatabaseVersion();
  DiscoverDescriptors(
      bearer, static_cast<std::uint16_t>(valueHandle_ + 1), end_,
      [self = shared_from_this(), version, found = std::move(found)](
          const GattResult& status, std::vector<DescriptorRecord> records) {
        if (Succeeded(status)) {
          self->descriptors_.Store(records);
          for (const DescriptorRecord& record : records)
            if (record.uuid == Guid::FromAssignedNumber(gatt_uuid::kClientConfiguration))
              self->configuration_ = version << 16 | record.handle;
        }
        found(status, std::move(records));
      });
}

std::uint16_t AttCharacteristic::KnownConfiguration() const {
  const std::uint32_t known = configuration_;
  if (known >> 16 != context_->DatabaseVersion()) return 0;
  return static_cast<std::uint16_t>(known & 0xFFFF);
}

void AttCharacteristic::WithConfiguration(const BearerPtr& bearer, ConfigurationFound use) {
  if (const std::uint16_t known = KnownConfiguration()) return use({}, known);
  SearchDescriptors(bearer, [self = shared_from_this(), use = std::move(use)](
                                const GattResult& status, const std::vector<DescriptorRecord>&) {
    const std::uint16_t handle = self->KnownConfiguration();
    if (Succeeded(status) && handle == 0)
      return use(ProtocolError(ErrorCode::AttributeNotFound), 0);
    use(status, handle);
  });
}

}  // namespace corvaneble::platform::att
