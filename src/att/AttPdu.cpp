#include "att/AttPdu.h"

#include <algorithm>
#include <initializer_list>

namespace ble::att {

namespace {

// A reader behind the opcode byte; one that has failed already when the opcode is another.
ByteReader Body(ByteView pdu, Opcode opcode) {
  ByteReader reader(pdu);
  if (static_cast<Opcode>(reader.U8()) != opcode) reader.Take(pdu.size());
  return reader;
}

template <class T>
std::optional<T> Whole(const ByteReader& reader, const T& parsed) {
  if (!reader.Ok() || !reader.AtEnd()) return std::nullopt;
  return parsed;
}

bool OneOf(Opcode opcode, std::initializer_list<Opcode> allowed) {
  return std::find(allowed.begin(), allowed.end(), opcode) != allowed.end();
}

}  // namespace

Pdu& Pdu::U8(std::uint8_t value) {
  return Put({&value, 1});
}

Pdu& Pdu::U16(std::uint16_t value) {
  const std::uint8_t bytes[] = {static_cast<std::uint8_t>(value & 0xFF),
                                static_cast<std::uint8_t>(value >> 8)};
  return Put(bytes);
}

[[gnu::hot]] Pdu& Pdu::Put(ByteView bytes) {
  if (bytes.size() > bytes_.size() - size_) {
    ok_ = false;
    return *this;
  }
  std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(size_));
  size_ += bytes.size();
  return *this;
}

Pdu& Pdu::Type(const Uuid& uuid) {
  return Put(uuid.AttForm().View());
}

std::optional<ErrorResponse> ErrorResponse::Parse(ByteView pdu) {
  ByteReader reader = Body(pdu, Opcode::ErrorResponse);
  ErrorResponse parsed;
  parsed.request = static_cast<Opcode>(reader.U8());
  parsed.handle = reader.U16();
  parsed.error = static_cast<AttError>(reader.U8());
  return Whole(reader, parsed);
}

Pdu ErrorResponse::Build() const {
  return Pdu(Opcode::ErrorResponse)
      .U8(static_cast<std::uint8_t>(request))
      .U16(handle)
      .U8(static_cast<std::uint8_t>(error));
}

std::optional<ExchangeMtu> ExchangeMtu::Parse(ByteView pdu) {
  const Opcode opcode = OpcodeOf(pdu);
  if (!OneOf(opcode, {Opcode::ExchangeMtuRequest, Opcode::ExchangeMtuResponse}))
    return std::nullopt;
  ByteReader reader = Body(pdu, opcode);
  const ExchangeMtu parsed{opcode, reader.U16()};
  return Whole(reader, parsed);
}

Pdu ExchangeMtu::Build() const {
  return Pdu(opcode).U16(mtu);
}

std::optional<FindInformationRequest> FindInformationRequest::Parse(ByteView pdu) {
  ByteReader reader = Body(pdu, Opcode::FindInformationRequest);
  FindInformationRequest parsed;
  parsed.start = reader.U16();
  parsed.end = reader.U16();
  return Whole(reader, parsed);
}

Pdu FindInformationRequest::Build() const {
  return Pdu(Opcode::FindInformationRequest).U16(start).U16(end);
}

std::optional<FindByTypeValueRequest> FindByTypeValueRequest::Parse(ByteView pdu) {
  ByteReader reader = Body(pdu, Opcode::FindByTypeValueRequest);
  FindByTypeValueRequest parsed;
  parsed.start = reader.U16();
  parsed.end = reader.U16();
  parsed.type = reader.U16();
  parsed.value = reader.TakeRest();
  return Whole(reader, parsed);
}

Pdu FindByTypeValueRequest::Build() const {
  return Pdu(Opcode::FindByTypeValueRequest).U16(start).U16(end).U16(type).Put(value);
}

std::optional<ReadByTypeRequest> ReadByTypeRequest::Parse(ByteView pdu) {
  const Opcode opcode = OpcodeOf(pdu);
  if (!OneOf(opcode, {Opcode::ReadByTypeRequest, Opcode::ReadByGroupTypeRequest}))
    return std::nullopt;
  ByteReader reader = Body(pdu, opcode);
  ReadByTypeRequest parsed;
  parsed.opcode = opcode;
  parsed.start = reader.U16();
  parsed.end = reader.U16();
  const auto type = Uuid::FromAttForm(reader.TakeRest());
  if (!type) return std::nullopt;
  parsed.type = *type;
  return Whole(reader, parsed);
}

Pdu ReadByTypeRequest::Build() const {
  return Pdu(opcode).U16(start).U16(end).Type(type);
}

std::optional<ReadRequest> ReadRequest::Parse(ByteView pdu) {
  ByteReader reader = Body(pdu, Opcode::ReadRequest);
  const ReadRequest parsed{reader.U16()};
  return Whole(reader, parsed);
}

[[gnu::hot]] Pdu ReadRequest::Build() const {
  return Pdu(Opcode::ReadRequest).U16(handle);
}

std::optional<ReadBlobRequest> ReadBlobRequest::Parse(ByteView pdu) {
  ByteReader reader = Body(pdu, Opcode::ReadBlobRequest);
  ReadBlobRequest parsed;
  parsed.handle = reader.U16();
  parsed.offset = reader.U16();
  return Whole(reader, parsed);
}

Pdu ReadBlobRequest::Build() const {
  return Pdu(Opcode::ReadBlobRequest).U16(handle).U16(offset);
}

std::optional<HandleValue> HandleValue::Parse(ByteView pdu) {
  const Opcode opcode = OpcodeOf(pdu);
  if (!OneOf(opcode, {Opcode::WriteRequest, Opcode::WriteCommand, Opcode::HandleValueNotification,
                      Opcode::HandleValueIndication}))
    return std::nullopt;
  ByteReader reader = Body(pdu, opcode);
  HandleValue parsed;
  parsed.opcode = opcode;
  parsed.handle = reader.U16();
  parsed.value = reader.TakeRest();
  return Whole(reader, parsed);
}

Pdu HandleValue::Build() const {
  return Pdu(opcode).U16(handle).Put(value);
}

std::optional<PrepareWrite> PrepareWrite::Parse(ByteView pdu) {
  const Opcode opcode = OpcodeOf(pdu);
  if (!OneOf(opcode, {Opcode::PrepareWriteRequest, Opcode::PrepareWriteResponse}))
    return std::nullopt;
  ByteReader reader = Body(pdu, opcode);
  PrepareWrite parsed;
  parsed.opcode = opcode;
  parsed.handle = reader.U16();
  parsed.offset = reader.U16();
  parsed.value = reader.TakeRest();
  return Whole(reader, parsed);
}

Pdu PrepareWrite::Build() const {
  return Pdu(opcode).U16(handle).U16(offset).Put(value);
}

std::optional<ExecuteWriteRequest> ExecuteWriteRequest::Parse(ByteView pdu) {
  ByteReader reader = Body(pdu, Opcode::ExecuteWriteRequest);
  const std::uint8_t flags = reader.U8();
  if (flags > 1) return std::nullopt;
  return Whole(reader, ExecuteWriteRequest{flags == 1});
}

Pdu ExecuteWriteRequest::Build() const {
  return Pdu(Opcode::ExecuteWriteRequest).U8(write ? 1 : 0);
}

std::optional<AttributeList> AttributeList::Parse(ByteView pdu) {
  const Opcode opcode = OpcodeOf(pdu);
  ByteReader reader = Body(pdu, opcode);
  std::size_t elementSize = 4;  // Find By Type Value: two handles
  std::size_t smallest = 4;
  switch (opcode) {
    case Opcode::FindInformationResponse: {
      const std::uint8_t format = reader.U8();
      if (format != 1 && format != 2) return std::nullopt;
      elementSize = format == 1 ? 4 : 18;
      break;
    }
    case Opcode::FindByTypeValueResponse:
      break;
    case Opcode::ReadByTypeResponse:
      elementSize = reader.U8();
      smallest = 2;
      break;
    case Opcode::ReadByGroupTypeResponse:
      elementSize = reader.U8();
      break;
    default:
      return std::nullopt;
  }
  const ByteView elements = reader.TakeRest();
  if (elementSize < smallest || elements.empty() || elements.size() % elementSize != 0)
    return std::nullopt;
  return AttributeList(opcode, elementSize, elements);
}

Pdu AttributeList::Begin(Opcode response, std::size_t elementSize) {
  Pdu pdu(response);
  if (response == Opcode::FindInformationResponse)
    pdu.U8(elementSize == 4 ? 1 : 2);
  else if (response != Opcode::FindByTypeValueResponse)
    pdu.U8(static_cast<std::uint8_t>(elementSize));
  return pdu;
}

}  // namespace ble::att
