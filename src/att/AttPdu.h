#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <tuple>

#include "base/ByteReader.h"
#include "base/Uuid.h"

/// The PDUs of the Attribute Protocol (Bluetooth Core 5.4, Vol 3 Part F, 3.4), for both ends of a
/// link. `Parse` checks the whole PDU, opcode and lengths included, and returns views into it;
/// `Build` is its reverse.
namespace ble::att {

inline constexpr std::uint16_t kDefaultMtu = 23;
inline constexpr std::uint16_t kMaxMtu = 517;  ///< a longest value with the longest header
inline constexpr std::size_t kMaxValueLength = 512;
inline constexpr std::uint16_t kMaxHandle = 0xFFFF;

enum class Opcode : std::uint8_t {
  ErrorResponse = 0x01,
  ExchangeMtuRequest = 0x02,
  ExchangeMtuResponse = 0x03,
  FindInformationRequest = 0x04,
  FindInformationResponse = 0x05,
  FindByTypeValueRequest = 0x06,
  FindByTypeValueResponse = 0x07,
  ReadByTypeRequest = 0x08,
  ReadByTypeResponse = 0x09,
  ReadRequest = 0x0A,
  ReadResponse = 0x0B,
  ReadBlobRequest = 0x0C,
  ReadBlobResponse = 0x0D,
  ReadMultipleRequest = 0x0E,
  ReadMultipleResponse = 0x0F,
  ReadByGroupTypeRequest = 0x10,
  ReadByGroupTypeResponse = 0x11,
  WriteRequest = 0x12,
  WriteResponse = 0x13,
  PrepareWriteRequest = 0x16,
  PrepareWriteResponse = 0x17,
  ExecuteWriteRequest = 0x18,
  ExecuteWriteResponse = 0x19,
  HandleValueNotification = 0x1B,
  HandleValueIndication = 0x1D,
  HandleValueConfirmation = 0x1E,
  ReadMultipleVariableRequest = 0x20,
  ReadMultipleVariableResponse = 0x21,
  MultipleHandleValueNotification = 0x23,
  WriteCommand = 0x52,
  SignedWriteCommand = 0xD2,
};

/// Error codes of an error response. Applications add their own from 0x80 to 0x9F, profiles from
/// 0xE0; such a code is carried as it is.
enum class AttError : std::uint8_t {
  InvalidHandle = 0x01,
  ReadNotPermitted = 0x02,
  WriteNotPermitted = 0x03,
  InvalidPdu = 0x04,
  InsufficientAuthentication = 0x05,
  RequestNotSupported = 0x06,
  InvalidOffset = 0x07,
  InsufficientAuthorization = 0x08,
  PrepareQueueFull = 0x09,
  AttributeNotFound = 0x0A,
  AttributeNotLong = 0x0B,
  EncryptionKeySizeTooShort = 0x0C,
  InvalidAttributeValueLength = 0x0D,
  UnlikelyError = 0x0E,
  InsufficientEncryption = 0x0F,
  UnsupportedGroupType = 0x10,
  InsufficientResources = 0x11,
  DatabaseOutOfSync = 0x12,
  ValueNotAllowed = 0x13,
};

/// The opcode byte of a PDU; 0, which is no opcode, for an empty one.
constexpr Opcode OpcodeOf(ByteView pdu) {
  return pdu.empty() ? Opcode{0} : static_cast<Opcode>(pdu[0]);
}

/// Bit 6 of an opcode: a command, which is never answered, not even with an error.
constexpr bool IsCommand(Opcode opcode) {
  return (static_cast<std::uint8_t>(opcode) & 0x40) != 0;
}

/// Whether a PDU of this opcode answers a request with what it asked for.
constexpr bool IsResponse(Opcode opcode) {
  switch (opcode) {
    case Opcode::ExchangeMtuResponse:
    case Opcode::FindInformationResponse:
    case Opcode::FindByTypeValueResponse:
    case Opcode::ReadByTypeResponse:
    case Opcode::ReadResponse:
    case Opcode::ReadBlobResponse:
    case Opcode::ReadMultipleResponse:
    case Opcode::ReadByGroupTypeResponse:
    case Opcode::WriteResponse:
    case Opcode::PrepareWriteResponse:
    case Opcode::ExecuteWriteResponse:
    case Opcode::ReadMultipleVariableResponse:
      return true;
    default:
      return false;
  }
}

/// One PDU being built, in storage of its own: no allocation. What does not fit into the largest
/// ATT_MTU is not stored and turns `Ok` false.
class Pdu {
 public:
  explicit Pdu(Opcode opcode) { Add(opcode); }
  Pdu(const Pdu& other) : ok_(other.ok_) { Add(other.View()); }
  Pdu& operator=(const Pdu& other) {
    if (this == &other) return *this;
    size_ = 0;
    ok_ = other.ok_;
    return Add(other.View());
  }

  Pdu& Add(std::uint8_t value) { return Add(ByteView(&value, 1)); }
  Pdu& Add(std::same_as<bool> auto value) { return Add(static_cast<std::uint8_t>(value)); }
  Pdu& Add(Opcode value) { return Add(static_cast<std::uint8_t>(value)); }
  Pdu& Add(AttError value) { return Add(static_cast<std::uint8_t>(value)); }
  Pdu& Add(std::uint16_t value);
  Pdu& Add(const Uuid& uuid) { return Add(uuid.AttForm().View()); }
  Pdu& Add(ByteView bytes);

  bool Ok() const { return ok_; }
  std::size_t Size() const { return size_; }
  /// Bytes that may still be added under an ATT_MTU of `mtu`.
  std::size_t Room(std::size_t mtu) const { return mtu > size_ ? mtu - size_ : 0; }
  ByteView View() const { return {bytes_.data(), size_}; }
  operator ByteView() const { return View(); }  // NOLINT: a PDU is its bytes

 private:
  std::array<std::uint8_t, kMaxMtu> bytes_;  // only the first size_ are set, or ever copied
  std::size_t size_ = 0;
  bool ok_ = true;
};

/// The PDUs of fixed layout. `kOpcodes` lists the opcodes with this layout; where there are
/// several, the message says which is meant. `kFields` are the fields behind the opcode, in their
/// order.
struct ErrorResponse {
  Opcode request{};
  std::uint16_t handle = 0;
  AttError error{};

  static constexpr std::array kOpcodes{Opcode::ErrorResponse};
  static constexpr std::tuple kFields{&ErrorResponse::request, &ErrorResponse::handle,
                                      &ErrorResponse::error};
};

struct ExchangeMtu {
  Opcode opcode = Opcode::ExchangeMtuRequest;
  std::uint16_t mtu = kDefaultMtu;

  static constexpr std::array kOpcodes{Opcode::ExchangeMtuRequest, Opcode::ExchangeMtuResponse};
  static constexpr std::tuple kFields{&ExchangeMtu::mtu};
};

struct FindInformationRequest {
  std::uint16_t start = 0;
  std::uint16_t end = 0;

  static constexpr std::array kOpcodes{Opcode::FindInformationRequest};
  static constexpr std::tuple kFields{&FindInformationRequest::start, &FindInformationRequest::end};
};

struct FindByTypeValueRequest {
  std::uint16_t start = 0;
  std::uint16_t end = 0;
  std::uint16_t type = 0;
  ByteView value;

  static constexpr std::array kOpcodes{Opcode::FindByTypeValueRequest};
  static constexpr std::tuple kFields{&FindByTypeValueRequest::start, &FindByTypeValueRequest::end,
                                      &FindByTypeValueRequest::type,
                                      &FindByTypeValueRequest::value};
};

struct ReadByTypeRequest {
  Opcode opcode = Opcode::ReadByTypeRequest;
  std::uint16_t start = 0;
  std::uint16_t end = 0;
  Uuid type;

  static constexpr std::array kOpcodes{Opcode::ReadByTypeRequest, Opcode::ReadByGroupTypeRequest};
  static constexpr std::tuple kFields{&ReadByTypeRequest::start, &ReadByTypeRequest::end,
                                      &ReadByTypeRequest::type};
};

struct ReadRequest {
  std::uint16_t handle = 0;

  static constexpr std::array kOpcodes{Opcode::ReadRequest};
  static constexpr std::tuple kFields{&ReadRequest::handle};
};

struct ReadBlobRequest {
  std::uint16_t handle = 0;
  std::uint16_t offset = 0;

  static constexpr std::array kOpcodes{Opcode::ReadBlobRequest};
  static constexpr std::tuple kFields{&ReadBlobRequest::handle, &ReadBlobRequest::offset};
};

/// A write, a notification or an indication.
struct HandleValue {
  Opcode opcode{};
  std::uint16_t handle = 0;
  ByteView value;

  static constexpr std::array kOpcodes{Opcode::WriteRequest, Opcode::WriteCommand,
                                       Opcode::HandleValueNotification,
                                       Opcode::HandleValueIndication};
  static constexpr std::tuple kFields{&HandleValue::handle, &HandleValue::value};
};

/// The response echoes the request.
struct PrepareWrite {
  Opcode opcode = Opcode::PrepareWriteRequest;
  std::uint16_t handle = 0;
  std::uint16_t offset = 0;
  ByteView value;

  static constexpr std::array kOpcodes{Opcode::PrepareWriteRequest, Opcode::PrepareWriteResponse};
  static constexpr std::tuple kFields{&PrepareWrite::handle, &PrepareWrite::offset,
                                      &PrepareWrite::value};
};

struct ExecuteWriteRequest {
  bool write = false;  ///< false: forget what was prepared

  static constexpr std::array kOpcodes{Opcode::ExecuteWriteRequest};
  static constexpr std::tuple kFields{&ExecuteWriteRequest::write};
};

/// Read the next field of a PDU; false when its bytes are no value of its type.
template <class Byte>
bool TakeField(ByteReader& reader, Byte& field) {
  static_assert(sizeof(Byte) == 1);
  field = static_cast<Byte>(reader.U8());
  return true;
}
inline bool TakeField(ByteReader& reader, bool& field) {
  const std::uint8_t byte = reader.U8();
  field = byte != 0;
  return byte <= 1;
}
inline bool TakeField(ByteReader& reader, std::uint16_t& field) {
  field = reader.U16();
  return true;
}
inline bool TakeField(ByteReader& reader, ByteView& field) {
  field = reader.TakeRest();
  return true;
}
inline bool TakeField(ByteReader& reader, Uuid& field) {
  const auto uuid = Uuid::FromAttForm(reader.TakeRest());
  field = uuid.value_or(Uuid());
  return uuid.has_value();
}

/// Reads fields that take up all of `bytes`; false when they do not.
template <class Record, class... Fields>
bool TakeFields(ByteView bytes, Record& record, Fields Record::*... fields) {
  ByteReader reader(bytes);
  return (TakeField(reader, record.*fields) && ...) && reader.Ok() && reader.AtEnd();
}

/// Reads a whole PDU; nothing when it is not a `Message`.
template <class Message>
std::optional<Message> Parse(ByteView pdu) {
  const Opcode opcode = OpcodeOf(pdu);
  constexpr auto& kOpcodes = Message::kOpcodes;
  if (std::find(kOpcodes.begin(), kOpcodes.end(), opcode) == kOpcodes.end()) return std::nullopt;
  Message message;
  if constexpr (kOpcodes.size() > 1) message.opcode = opcode;
  const auto take = [&](auto... fields) { return TakeFields(pdu.subspan(1), message, fields...); };
  if (!std::apply(take, Message::kFields)) return std::nullopt;
  return message;
}

/// The reverse of `Parse`.
template <class Message>
Pdu Build(const Message& message) {
  Opcode opcode = Message::kOpcodes[0];
  if constexpr (Message::kOpcodes.size() > 1) opcode = message.opcode;
  Pdu pdu(opcode);
  std::apply([&](auto... fields) { (pdu.Add(message.*fields), ...); }, Message::kFields);
  return pdu;
}

/// The list in a response to a search: elements of one length, at least one. Covers Find
/// Information (handle, UUID), Find By Type Value (handle, group end), Read By Type (handle,
/// value) and Read By Group Type (handle, group end, value).
class AttributeList {
 public:
  static std::optional<AttributeList> Parse(ByteView pdu);

  Opcode ResponseOpcode() const { return opcode_; }
  std::size_t Count() const { return elements_.size() / elementSize_; }
  /// Bytes of one element, handles included.
  ByteView Element(std::size_t index) const {
    return elements_.subspan(index * elementSize_, elementSize_);
  }

  /// A response whose elements, `elementSize` bytes each, are still to be added. The opcode must
  /// be one of the four; for Find Information the size, 4 or 18, chooses the format.
  static Pdu Begin(Opcode response, std::size_t elementSize);

 private:
  AttributeList(Opcode opcode, std::size_t elementSize, ByteView elements)
      : opcode_(opcode), elementSize_(elementSize), elements_(elements) {}

  Opcode opcode_;
  std::size_t elementSize_;
  ByteView elements_;
};

}  // namespace ble::att
