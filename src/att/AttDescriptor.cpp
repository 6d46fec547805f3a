#include "att/AttDescriptor.h"

#include <utility>

#include "att/AttCharacteristic.h"

namespace ble::att {

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
  return ReadWholeValue(context_->Link(), handle_, shared_from_this());
}

void AttDescriptor::Keep(ByteView value) {
  value_.Store(value);
  TellCharacteristic(value);
}

AsyncOperationPtr<GattWriteResult> AttDescriptor::WriteValueWithResultAsync(ByteView value) {
  if (value.size() > kMaxValueLength)
    return Completed<GattWriteResult>(ProtocolError(AttError::InvalidAttributeValueLength));
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

}  // namespace ble::att
