#include "backends/simulated/ScenarioJson.h"
#include "base/HexText.h"

namespace ble::simulated {
namespace {

constexpr NamedValue<BluetoothError> kBluetoothErrors[] = {
    {"radioNotAvailable", BluetoothError::RadioNotAvailable},
    {"resourceInUse", BluetoothError::ResourceInUse},
    {"deviceNotConnected", BluetoothError::DeviceNotConnected},
    {"otherError", BluetoothError::OtherError},
    {"disabledByPolicy", BluetoothError::DisabledByPolicy},
    {"notSupported", BluetoothError::NotSupported},
    {"disabledByUser", BluetoothError::DisabledByUser},
    {"consentRequired", BluetoothError::ConsentRequired},
    {"transportNotSupported", BluetoothError::TransportNotSupported},
};

// Bluetooth Core 5.4, Vol 3 Part F, 3.4.1.1; the last four: Core Supplement, Part B.
constexpr NamedValue<std::uint8_t> kAttErrors[] = {
    {"invalidHandle", 0x01},
    {"readNotPermitted", 0x02},
    {"writeNotPermitted", 0x03},
    {"invalidPdu", 0x04},
    {"insufficientAuthentication", 0x05},
    {"requestNotSupported", 0x06},
    {"invalidOffset", 0x07},
    {"insufficientAuthorization", 0x08},
    {"prepareQueueFull", 0x09},
    {"attributeNotFound", 0x0A},
    {"attributeNotLong", 0x0B},
    {"encryptionKeySizeTooShort", 0x0C},
    {"invalidAttributeValueLength", 0x0D},
    {"unlikelyError", 0x0E},
    {"insufficientEncryption", 0x0F},
    {"unsupportedGroupType", 0x10},
    {"insufficientResources", 0x11},
    {"databaseOutOfSync", 0x12},
    {"valueNotAllowed", 0x13},
    {"writeRequestRejected", 0xFC},
    {"cccDescriptorImproperlyConfigured", 0xFD},
    {"procedureAlreadyInProgress", 0xFE},
    {"outOfRange", 0xFF},
};

constexpr std::int64_t kDayInMilliseconds = 24 * 60 * 60 * 1000;

}  // namespace

Uuid ReadUuid(const JsonNode& node) {
  if (const auto uuid = StrictUuid(node.Text(36))) return *uuid;
  node.Fail("must be a UUID: 4, 8 or (with dashes) 32 hexadecimal digits");
  return {};
}

std::uint64_t ReadAddress(const JsonNode& node) {
  if (const auto address = ParseAddress(node.Text(17))) return *address;
  node.Fail("must be an address such as \"C0:FF:EE:00:00:01\"");
  return 0;
}

Bytes ReadBytes(const JsonNode& node, std::size_t maxSize) {
  Bytes bytes;
  if (node.IsArray()) {
    for (const JsonNode& element : node.Elements())
      bytes.push_back(static_cast<std::uint8_t>(element.Integer(0, 255)));
  } else if (node.IsObject()) {
    const std::string text = JsonObject(node, {"utf8"}).At("utf8").Text(maxSize);
    bytes.assign(text.begin(), text.end());
  } else if (!node.IsString() || !ParseHex(node.Text(16 * maxSize + 16), true, bytes)) {
    node.Fail("must be bytes: hexadecimal text, an array of numbers or {\"utf8\": \"...\"}");
  }
  if (bytes.size() > maxSize) {
    node.Fail("must not be longer than " + std::to_string(maxSize) + " bytes");
    bytes.clear();
  }
  return bytes;
}

Bytes ReadValue(const JsonNode& node) {
  return ReadBytes(node, 512);
}

milliseconds ReadDuration(const JsonNode& node) {
  return milliseconds(node.Integer(0, kDayInMilliseconds));
}

milliseconds ReadInterval(const JsonNode& node) {
  return milliseconds(node.Integer(1, kDayInMilliseconds));
}

BluetoothError ReadBluetoothError(const JsonNode& node) {
  return node.OneOf(kBluetoothErrors);
}

std::uint8_t ReadAttError(const JsonNode& node) {
  if (node.IsString() && !node.Text(64).starts_with("0x")) return node.OneOf(kAttErrors);
  return ReadUnsigned<std::uint8_t, 1>(node);
}

}  // namespace ble::simulated
