#include "backends/simulated/AttServer.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "platform/Gatt.h"

namespace ble::simulated {

using att::AttError;
using att::Opcode;
using att::Pdu;

namespace {

namespace property = gatt_characteristic_properties;

constexpr std::size_t kPrepareQueueLimit = 64;
constexpr std::size_t kIndicationQueueLimit = 64;  ///< later values are lost
/// The bits of a client characteristic configuration.
constexpr std::uint16_t kNotifyBit = 0x0001;
constexpr std::uint16_t kIndicateBit = 0x0002;
/// Longest value in a Read By Type response, whose length field is one octet.
constexpr std::size_t kLongestListedValue = 253;

}  // namespace

/// A response that lists elements of one size, as many as fit; it begins with the first of them.
class AttServer::ListResponse {
 public:
  ListResponse(Opcode response, std::size_t mtu) : opcode_(response), mtu_(mtu) {}

  /// Whether an element of this size may follow; `Pdu` is then ready to take it.
  bool Accepts(std::size_t size) {
    if (!pdu_) {
      pdu_ = att::AttributeList::Begin(opcode_, size);
      size_ = size;
    }
    return size == size_ && pdu_->Room(mtu_) >= size;
  }

  att::Pdu& Pdu() { return *pdu_; }
  bool IsEmpty() const { return !pdu_; }

 private:
  Opcode opcode_;
  std::size_t mtu_;
  std::size_t size_ = 0;
  std::optional<att::Pdu> pdu_;
};

AttServer::AttServer(AttributeDatabase& database, std::uint16_t mtu, Host& host)
    : database_(database),
      offeredMtu_(std::clamp(mtu, att::kDefaultMtu, att::kMaxMtu)),
      host_(host) {}

AttServer::Reply AttServer::Handle(ByteView pdu) {
  request_ = att::OpcodeOf(pdu);
  if (request_ == Opcode::HandleValueConfirmation) {
    Confirm();
    return {};
  }
  if (request_ == Opcode::WriteCommand) WriteCommand(pdu);
  // Even opcodes are requests, known or not; commands and what only a server sends get no answer.
  const auto code = static_cast<std::uint8_t>(request_);
  if (code == 0 || code % 2 != 0 || att::IsCommand(request_)) return {};

  delay_ = {};
  silent_ = false;
  const Pdu response = Serve(pdu);
  if (silent_) return {};
  return {response, delay_};
}

Pdu AttServer::Refuse(AttError error, std::uint16_t handle) const {
  return att::Build(att::ErrorResponse{request_, handle, error});
}

template <class Message>
Pdu AttServer::Parsed(ByteView pdu, Pdu (AttServer::*serve)(const Message&)) {
  const auto request = att::Parse<Message>(pdu);
  if (!request) return Refuse(AttError::InvalidPdu, 0);
  if constexpr (requires { request->start; }) {
    if (request->start == 0 || request->start > request->end)
      return Refuse(AttError::InvalidHandle, request->start);
  }
  return (this->*serve)(*request);
}

Pdu AttServer::Serve(ByteView pdu) {
  switch (request_) {
    case Opcode::ExchangeMtuRequest:
      return Parsed(pdu, &AttServer::ExchangeMtu);
    case Opcode::FindInformationRequest:
      return Parsed(pdu, &AttServer::FindInformation);
    case Opcode::FindByTypeValueRequest:
      return Parsed(pdu, &AttServer::FindByTypeValue);
    case Opcode::ReadByTypeRequest:
      return Parsed(pdu, &AttServer::ReadByType);
    case Opcode::ReadRequest:
      return Parsed(pdu, &AttServer::Read);
    case Opcode::ReadBlobRequest:
      return Parsed(pdu, &AttServer::ReadBlob);
    case Opcode::ReadMultipleRequest:
      return ReadMultiple(pdu);
    case Opcode::ReadByGroupTypeRequest:
      return Parsed(pdu, &AttServer::ReadByGroupType);
    case Opcode::WriteRequest:
      return Parsed(pdu, &AttServer::Write);
    case Opcode::PrepareWriteRequest:
      return Parsed(pdu, &AttServer::PrepareWrite);
    case Opcode::ExecuteWriteRequest:
      return ExecuteWrite(pdu);
    default:
      return Refuse(AttError::RequestNotSupported, 0);
  }
}

Pdu AttServer::ExchangeMtu(const att::ExchangeMtu& request) {
  mtu_ = std::max(att::kDefaultMtu, std::min(offeredMtu_, request.mtu));
  return att::Build(att::ExchangeMtu{Opcode::ExchangeMtuResponse, offeredMtu_});
}

Pdu AttServer::FindInformation(const att::FindInformationRequest& request) {
  ListResponse list(Opcode::FindInformationResponse, mtu_);
  for (const Attribute& attribute : database_.InRange(request.start, request.end)) {
    if (!list.Accepts(2 + attribute.type.AttForm().size)) break;
    list.Pdu().Add(attribute.handle).Add(attribute.type);
  }
  return Finished(list, request.start);
}

Pdu AttServer::FindByTypeValue(const att::FindByTypeValueRequest& request) {
  ListResponse list(Opcode::FindByTypeValueResponse, mtu_);
  for (const Attribute& attribute : database_.InRange(request.start, request.end)) {
    if (!attribute.IsType(request.type) || !attribute.readable || attribute.readError) continue;
    if (!std::ranges::equal(ValueOf(attribute), request.value)) continue;
    if (!list.Accepts(4)) break;
    list.Pdu()
        .Add(attribute.handle)
        .Add(attribute.IsService() ? attribute.groupEnd : attribute.handle);
  }
  return Finished(list, request.start);
}

Pdu AttServer::ReadByType(const att::ReadByTypeRequest& request) {
  ListResponse list(Opcode::ReadByTypeResponse, mtu_);
  for (const Attribute& attribute : database_.InRange(request.start, request.end)) {
    if (attribute.type != request.type) continue;
    // An attribute that cannot be read is an error when it is the first, else where the list ends.
    if (const auto refusal = attribute.ReadRefusal()) {
      if (!list.IsEmpty()) break;
      Touch(attribute);
      return Refuse(*refusal, attribute.handle);
    }
    ByteView value = ValueOf(attribute);
    value = value.first(std::min<std::size_t>({value.size(), mtu_ - 4U, kLongestListedValue}));
    if (!list.Accepts(2 + value.size())) break;
    Touch(attribute);
    list.Pdu().Add(attribute.handle).Add(value);
  }
  return Finished(list, request.start);
}

Pdu AttServer::ReadByGroupType(const att::ReadByTypeRequest& request) {
  if (request.type != Uuid::FromAssignedNumber(gatt_uuid::kPrimaryService) &&
      request.type != Uuid::FromAssignedNumber(gatt_uuid::kSecondaryService))
    return Refuse(AttError::UnsupportedGroupType, request.start);
  ListResponse list(Opcode::ReadByGroupTypeResponse, mtu_);
  for (const Attribute& attribute : database_.InRange(request.start, request.end)) {
    if (attribute.type != request.type) continue;
    if (!list.Accepts(4 + attribute.value.size())) break;
    list.Pdu().Add(attribute.handle).Add(attribute.groupEnd).Add(attribute.value);
  }
  return Finished(list, request.start);
}

Pdu AttServer::Finished(ListResponse& list, std::uint16_t start) const {
  return list.IsEmpty() ? Refuse(AttError::AttributeNotFound, start) : list.Pdu();
}

Pdu AttServer::Read(const att::ReadRequest& request) {
  return ReadFrom(Opcode::ReadResponse, request.handle, 0);
}

Pdu AttServer::ReadBlob(const att::ReadBlobRequest& request) {
  return ReadFrom(Opcode::ReadBlobResponse, request.handle, request.offset);
}

Pdu AttServer::ReadFrom(Opcode opcode, std::uint16_t handle, std::size_t offset) {
  Pdu response(opcode);
  if (const Refusal refusal = AppendValue(response, handle, offset))
    return Refuse(*refusal, handle);
  return response;
}

Pdu AttServer::ReadMultiple(ByteView pdu) {
  ByteReader handles(pdu.subspan(1));
  if (handles.Remaining() < 4 || handles.Remaining() % 2 != 0)
    return Refuse(AttError::InvalidPdu, 0);
  Pdu response(Opcode::ReadMultipleResponse);
  while (!handles.AtEnd()) {
    const std::uint16_t handle = handles.U16();
    if (const Refusal refusal = AppendValue(response, handle, 0)) return Refuse(*refusal, handle);
  }
  return response;
}

Pdu AttServer::Write(const att::HandleValue& request) {
  Refusal refusal = CheckWritable(request.handle);
  if (!refusal) refusal = Store(*database_.Find(request.handle), request.value);
  if (refusal) return Refuse(*refusal, request.handle);
  return Pdu(Opcode::WriteResponse);
}

void AttServer::WriteCommand(ByteView pdu) {
  const auto command = att::Parse<att::HandleValue>(pdu);
  Attribute* attribute = command ? database_.Find(command->handle) : nullptr;
  if (!attribute || attribute->writeError || !attribute->writableCommand) return;
  (void)Store(*attribute, command->value);
}

Pdu AttServer::PrepareWrite(const att::PrepareWrite& request) {
  if (const Refusal refusal = CheckWritable(request.handle))
    return Refuse(*refusal, request.handle);
  if (prepared_.size() >= kPrepareQueueLimit)
    return Refuse(AttError::PrepareQueueFull, request.handle);
  prepared_.push_back(
      {request.handle, request.offset, {request.value.begin(), request.value.end()}});
  att::PrepareWrite response = request;
  response.opcode = Opcode::PrepareWriteResponse;
  return att::Build(response);
}

Pdu AttServer::ExecuteWrite(ByteView pdu) {
  const std::vector<PreparedWrite> prepared = std::exchange(prepared_, {});
  const auto request = att::Parse<att::ExecuteWriteRequest>(pdu);
  if (!request) return Refuse(AttError::InvalidPdu, 0);
  if (!request->write) return Pdu(Opcode::ExecuteWriteResponse);

  // All or nothing: the values are put together before the first of them is stored.
  std::map<std::uint16_t, Bytes> values;
  for (const PreparedWrite& write : prepared) {
    Attribute* attribute = database_.Find(write.handle);
    if (!attribute) return Refuse(AttError::InvalidHandle, write.handle);
    const ByteView stored = ValueOf(*attribute);
    Bytes& value = values.try_emplace(write.handle, stored.begin(), stored.end()).first->second;
    if (write.offset > value.size()) return Refuse(AttError::InvalidOffset, write.handle);
    value.resize(write.offset);
    value.insert(value.end(), write.part.begin(), write.part.end());
    if (value.size() > attribute->maxLength)
      return Refuse(AttError::InvalidAttributeValueLength, write.handle);
  }
  for (const auto& [handle, value] : values) {
    Attribute& attribute = *database_.Find(handle);
    Touch(attribute);
    if (const Refusal refusal = Store(attribute, value)) return Refuse(*refusal, handle);
  }
  return Pdu(Opcode::ExecuteWriteResponse);
}

void AttServer::Touch(const Attribute& attribute) {
  delay_ = std::max(delay_, attribute.responseDelay);
  silent_ = silent_ || attribute.neverResponds;
}

AttServer::Refusal AttServer::AppendValue(Pdu& response, std::uint16_t handle, std::size_t offset) {
  const Attribute* attribute = database_.Find(handle);
  if (!attribute) return AttError::InvalidHandle;
  Touch(*attribute);
  if (const Refusal refusal = attribute->ReadRefusal()) return refusal;
  const ByteView value = ValueOf(*attribute);
  if (offset > value.size()) return AttError::InvalidOffset;
  response.Add(value.subspan(offset, std::min(value.size() - offset, response.Room(mtu_))));
  return {};
}

AttServer::Refusal AttServer::CheckWritable(std::uint16_t handle) {
  const Attribute* attribute = database_.Find(handle);
  if (!attribute) return AttError::InvalidHandle;
  Touch(*attribute);
  if (attribute->writeError) return static_cast<AttError>(*attribute->writeError);
  if (!attribute->writable) return AttError::WriteNotPermitted;
  return {};
}

AttServer::Refusal AttServer::Store(Attribute& attribute, ByteView value) {
  if (attribute.IsType(gatt_uuid::kClientConfiguration))
    return StoreConfiguration(attribute, value);
  if (value.size() > attribute.maxLength) return AttError::InvalidAttributeValueLength;
  attribute.value.assign(value.begin(), value.end());
  if (const auto* characteristic = database_.FindByValue(attribute.handle))
    host_.OnValueWritten(*characteristic, value);
  return {};
}

AttServer::Refusal AttServer::StoreConfiguration(const Attribute& attribute, ByteView value) {
  if (value.size() != 2) return AttError::InvalidAttributeValueLength;
  const auto* characteristic = database_.FindByConfiguration(attribute.handle);
  const std::uint32_t properties = characteristic ? characteristic->properties : 0;
  const unsigned allowed = ((properties & property::kNotify) != 0 ? kNotifyBit : 0U) |
                           ((properties & property::kIndicate) != 0 ? kIndicateBit : 0U);
  const std::uint16_t configuration = LoadU16(value);
  if ((configuration & ~allowed) != 0) return AttError::ValueNotAllowed;
  configurations_[attribute.handle] = configuration;
  if (characteristic) host_.OnConfigured(*characteristic, configuration);
  return {};
}

ByteView AttServer::ValueOf(const Attribute& attribute) {
  if (!attribute.IsType(gatt_uuid::kClientConfiguration)) return attribute.value;
  const auto found = configurations_.find(attribute.handle);
  const std::uint16_t configuration = found != configurations_.end() ? found->second : 0;
  configurationValue_ = {static_cast<std::uint8_t>(configuration),
                         static_cast<std::uint8_t>(configuration >> 8)};
  return configurationValue_;
}

std::uint16_t AttServer::Configuration(const HostedCharacteristic& characteristic) const {
  const auto found = configurations_.find(characteristic.configurationHandle);
  return found != configurations_.end() ? found->second : std::uint16_t{0};
}

void AttServer::SendValue(const HostedCharacteristic& characteristic, ByteView value) {
  const std::uint16_t configuration = Configuration(characteristic);
  if (configuration == 0) return;
  const bool notify = (configuration & kNotifyBit) != 0;
  const ByteView sent = value.first(std::min<std::size_t>(value.size(), mtu_ - 3U));
  const Pdu pdu = att::Build(
      att::HandleValue{notify ? Opcode::HandleValueNotification : Opcode::HandleValueIndication,
                       characteristic.valueHandle, sent});
  if (notify) return host_.SendPdu(pdu);
  if (indications_.size() >= kIndicationQueueLimit) return;
  indications_.emplace_back(pdu.View().begin(), pdu.View().end());
  if (indications_.size() == 1) host_.SendPdu(pdu);
}

void AttServer::Confirm() {
  if (indications_.empty()) return;
  indications_.pop_front();
  if (indications_.empty()) return;
  const Bytes next = indications_.front();  // its confirmation may arrive while it is being sent
  host_.SendPdu(next);
}

void AttServer::OnServicesReplaced() {
  static constexpr std::array<std::uint8_t, 4> kEveryHandle{0x01, 0x00, 0xFF, 0xFF};
  prepared_.clear();
  const auto* serviceChanged =
      database_.FindByValue(database_.ValueHandleOf(gatt_uuid::kServiceChanged));
  const std::uint16_t configuration = serviceChanged ? Configuration(*serviceChanged) : 0;
  configurations_.clear();
  if (configuration == 0) return;
  configurations_.emplace(serviceChanged->configurationHandle, configuration);
  SendValue(*serviceChanged, kEveryHandle);
}

}  // namespace ble::simulated
