#include "att/AttPdu.h"

namespace ble::att {

Pdu& Pdu::Add(std::uint16_t value) {
  return Add(static_cast<std::uint8_t>(value & 0xFF)).Add(static_cast<std::uint8_t>(value >> 8));
}

[[gnu::hot]] Pdu& Pdu::Add(ByteView bytes) {
  if (bytes.size() > bytes_.size() - size_) {
    ok_ = false;
    return *this;
  }
  std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(size_));
  size_ += bytes.size();
  return *this;
}

std::optional<AttributeList> AttributeList::Parse(ByteView pdu) {
  const Opcode opcode = OpcodeOf(pdu);
  ByteReader reader(pdu);
  reader.U8();
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
    pdu.Add(static_cast<std::uint8_t>(elementSize == 4 ? 1 : 2));
  else if (response != Opcode::FindByTypeValueResponse)
    pdu.Add(static_cast<std::uint8_t>(elementSize));
  return pdu;
}

}  // namespace ble::att
