#include "platform/att/AttDescriptor.h"

#include <utility>

#include "platform/att/AttCharacteristic.h"

namespace corvaneble::platform::att {

AttDescriptor::AttDescriptor(std::shared_ptr<GattContext> context,
                             const std::shared_ptr<AttCharacteristic>& characteristic,
                             const DescriptorRecord& record)
    : context_(std::move(context)),
      characteristic_(characteristic),
      handle_(record.handle),
      uuid_(record.uuid) {}

bool AttDescriptor::BelongsTo(const std::shared_ptr<AttCharacteristic>& characteristic) const {
  return !characteristic_.owner_before(characteristic) &&
         !characteristic.owner_before(characteristic_);
}

AsyncOperationPtr<GattReadResult> AttDescriptor::ReadValueAsync(BluetoothCacheMode mode) {
  if (mode == BluetoothCacheMode::Cached) return Completed<GattReadResult>({}, {{}, value_.Get()});
  return OverLink<GattReadResult>(
      context_->Link(),
      [self = shared_from_this()](const BearerPtr& bearer, const auto& operation) {
        self->Read(bearer, [operation](const GattResult& status, Bytes value) {
          Complete(*operation, status, {{}, std::move(value)});
        });
      });
}

void AttDescriptor::Read(const BearerPtr& bearer, ReadDone done) {
  ReadWholeValue(
      bearer, handle_,
      [self = shared_from_this(), done = std::move(done)](const GattResult& status, Bytes value) {
        if (Succeeded(status)) {
          self->value_.Store(value);
          self->TellCharacteristic(value);
        }
        done(status, std::move(value));
      });
}

AsyncOperationPtr<GattWriteResult> AttDescriptor::WriteValueWithResultAsync(ByteView value) {
  if (value.size() > kMaxValueLength)
    return Completed<GattWriteResult>(ProtocolError(ErrorCode::InvalidAttributeValueLength));
  return OverLink<GattWriteResult>(
      context_->Link(), [self = shared_from_this(), bytes = Bytes(value.begin(), value.end())](
                            const BearerPtr& bearer, const auto& operation) {
        WriteWholeValue(bearer, self->context_->LongWrites(), self->handle_, bytes,
                        [self, bytes, operation](const GattResult& status) {
                          if (Succeeded(status)) self->TellCharacteristic(bytes);
                          Complete(*operation, status);
                        });
      });
}

void AttDescriptor::TellCharacteristic(ByteView value) const {
  if (const auto characteristic = characteristic_.lock())
    characteristic->Described({handle_, uuid_}, value);
}

}  // namespace corvaneble::platform::att
