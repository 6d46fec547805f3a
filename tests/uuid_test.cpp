#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/Text.h"
#include "frame/ErrorState.h"
#include "gatt/AssignedNumbers.h"
#include "gatt/CharacteristicFlags.h"
#include "gatt/GattId.h"
#include "gatt/GattObjectTree.h"
#include "gatt/UuidText.h"
#include "platform/BluetoothAdvertisement.h"
#include "radio/AdvertisementUuids.h"
#include "radio/EnumText.h"
#include "radio/ResultMapping.h"
#include "radio/ServerId.h"
#include "support/StormRadio.h"

namespace ble {
namespace {

TEST(Uuid, AcceptedTexts) {
  const struct {
    const char* text;
    const char* canonical;  // empty: refused
  } cases[] = {
      {"180D", "0000180D-0000-1000-8000-00805F9B34FB"},
      {"  180d ", "0000180D-0000-1000-8000-00805F9B34FB"},
      {"0x180D", "0000180D-0000-1000-8000-00805F9B34FB"},
      {"0x0000180D", "0000180D-0000-1000-8000-00805F9B34FB"},
      {"12345678", "12345678-0000-1000-8000-00805F9B34FB"},
      {"0000180d00001000800000805f9b34fb", "0000180D-0000-1000-8000-00805F9B34FB"},
      {"12345678-9abc-def0-1234-56789abcdef0", "12345678-9ABC-DEF0-1234-56789ABCDEF0"},
      {"ZZZZ", "0000FFFF-0000-1000-8000-00805F9B34FB"},
      {"18G0", "000018FF-0000-1000-8000-00805F9B34FB"},
      {"0X180D", ""},
      {"{0000180D-0000-1000-8000-00805F9B34FB}", ""},
      {"18D", ""},
      {"\t180D", ""},
      {"", ""},
  };
  for (const auto& [text, canonical] : cases) {
    const auto uuid = ParseUuid(text);
    EXPECT_EQ(uuid ? FormatUuid(*uuid).c_str() : "", std::string(canonical)) << text;
  }
}

TEST(Uuid, ListsSkipDuplicatesAndStopAtTheFirstBadItem) {
  const auto [status, list] = ParseUuidList("180D,,0x180D, 180F,");
  EXPECT_TRUE(status.Ok());
  EXPECT_EQ(list, (std::vector{UuidFromShort(0x180D), UuidFromShort(0x180F)}));
  for (const char* bad : {"1800,XYZ,1801", " "}) {
    const Status malformed = ParseUuidList(bad).status;
    EXPECT_EQ(malformed.Code(), 600);
    EXPECT_EQ(malformed.Text(),
              "UUIDs hexadecimal strings must represent either 16-, 32-, or 128-bit values.");
  }
}

TEST(Uuid, AdvertisementBytesAreLittleEndianWhateverTheyHold) {
  const auto text = [](const Bytes& bytes) {
    const auto uuid = UuidFromAdvertisementBytes(bytes);
    return uuid ? std::string(FormatUuid(*uuid).View()) : "";
  };
  EXPECT_EQ(text({0x00, 0x18}), "00001800-0000-1000-8000-00805F9B34FB");
  EXPECT_EQ(text({0xFE, 0xFF}), "0000FFFE-0000-1000-8000-00805F9B34FB");
  EXPECT_EQ(text({0x78, 0x56, 0x34, 0x12}), "12345678-0000-1000-8000-00805F9B34FB");
  EXPECT_EQ(text({0xF0, 0xDE, 0xBC, 0x9A, 0x78, 0x56, 0x34, 0x12, 0xF0, 0xDE, 0xBC, 0x9A, 0x78,
                  0x56, 0x34, 0x12}),
            "12345678-9ABC-DEF0-1234-56789ABCDEF0");
  EXPECT_EQ(text({1, 2, 3}), "");
}

TEST(Uuid, NamesOfAssignedNumbers) {
  EXPECT_STREQ(ServiceName(UuidFromShort(0x180F)), "Battery Service");
  EXPECT_STREQ(ServiceName(UuidFromShort(0x180B)), "");
  EXPECT_STREQ(CharacteristicName(UuidFromShort(0x2A40)), "Ringer Control point");
  EXPECT_STREQ(CharacteristicName(UuidFromShort(0x2ADA)), "Fitness Machine Status");
  EXPECT_STREQ(CharacteristicName(UuidFromShort(0x2ACA)), "");
  EXPECT_STREQ(DescriptorName(UuidFromShort(0x2902)), "Client Characteristic Configuration");
  Uuid offBase = UuidFromShort(0x180F);
  offBase.data4[7] = 0;
  EXPECT_STREQ(ServiceName(offBase), "");
}

TEST(AdvertisementUuids, SectionsGoByWidthAndMalformedOnesFail) {
  std::vector<Uuid> uuids;
  std::vector<ByteView> values;
  std::string text = "x";
  const BluetoothLEAdvertisement both(
      Bytes{4, 0x16, 0x0F, 0x18, 0x64, 5, 0x20, 0x78, 0x56, 0x34, 0x12});
  EXPECT_TRUE(ServiceDataUuids(both, uuids, values, text).Ok());
  EXPECT_EQ(text, "12345678-0000-1000-8000-00805F9B34FB,0000180F-0000-1000-8000-00805F9B34FB");
  ASSERT_EQ(values.size(), 2U);
  EXPECT_TRUE(values[0].empty());
  EXPECT_EQ(values[1][0], 0x64);

  const BluetoothLEAdvertisement shortSection(Bytes{2, 0x16, 0x0F});
  Status status = ServiceDataUuids(shortSection, uuids, values, text);
  EXPECT_EQ(status.Code(), 202);
  EXPECT_EQ(status.Text(), "Expected byte[] length to be at least 2, but instead is 1.");
  EXPECT_EQ(text, "");

  const BluetoothLEAdvertisement twice(Bytes{5, 0x14, 0x0D, 0x18, 0x0D, 0x18});
  EXPECT_TRUE(SolicitedUuids(twice, uuids, text).Ok());
  EXPECT_EQ(text, "0000180D-0000-1000-8000-00805F9B34FB");
  const BluetoothLEAdvertisement ragged(Bytes{4, 0x14, 0x0D, 0x18, 0x0D});
  status = SolicitedUuids(ragged, uuids, text);
  EXPECT_EQ(status.Code(), 202);
  EXPECT_EQ(status.Text(), "Expected byte[] length to be a multiple of 2, but instead is 3.");
}

TEST(Identifiers, RoundTrip) {
  EXPECT_STREQ(GattId(0x000C, 0x000E, 0).c_str(), "000C000E0000");
  const GattId id(0x000C, 0x000E, 0x00FF);
  EXPECT_EQ(GattId::ParseKey("000c000e00FF"), id.ToKey());
  EXPECT_EQ(id.ServiceIdOf().View(), "000C00000000");
  EXPECT_EQ(id.CharacteristicIdOf().View(), "000C000E0000");
  for (const char* bad : {"", "000C", "000C000E00000", "000C000E000G"}) {
    EXPECT_FALSE(GattId::ParseKey(bad)) << bad;
  }
  EXPECT_STREQ(ServerId(0x00A050C4E2F1).c_str(), "00A050C4E2F1");
  EXPECT_EQ(ParseServerId("00a050c4e2f1zz"), 0x00A050C4E2F1U);
  EXPECT_EQ(ParseServerId("12"), 0x12FFFFFFFFFFU);
  EXPECT_EQ(ParseServerId("12F"), 0x12FFFFFFFFFFU);
}

TEST(GattObjectTree, IdsNeedTheHandlesOfTheLevelsAbove) {
  const struct {
    std::uint16_t service, characteristic, descriptor;
    ErrorCode code;
    const char* result;  // the id, or the message
  } cases[] = {
      {0x000C, 0x000E, 0, 0, "000C000E0000"},
      {0x0001, 0, 0, 0, "000100000000"},
      {0xFFFF, 0xFFFE, 0xFFFD, 0, "FFFFFFFEFFFD"},
      {0, 1, 0, 202, "Must supply a non-zero service handle."},
      {0x00AB, 0, 0x0010, 202,
       "Must supply a non-zero characteristic handle to supply a non-zero descriptor handle."},
  };
  for (const auto& [service, characteristic, descriptor, code, result] : cases) {
    const auto [status, id] = GattObjectTree::MakeGattId(service, characteristic, descriptor);
    EXPECT_EQ(status.Code(), code);
    EXPECT_EQ(code == 0 ? std::string(id.View()) : status.Text(), result);
  }
}

TEST(GattObjectTree, AServerThatLiesAboutItsServicesIsBounded) {
  std::shared_ptr<tests::StormRadio> radio;
  tests::StormRadio::Open(radio);
  int values = 0;
  GattObjectTree tree([&](GattCharacteristic&, ByteView) { ++values; });
  // Every service claims the same characteristic.
  const auto characteristic = radio->Characteristic(0);
  std::size_t records = 0;
  for (std::uint16_t handle = 1;; ++handle) {
    const auto [service, isNew] = tree.AddService(radio->Service(), GattId(handle, 0, 0));
    if (!service) break;
    ++records;
    if (!tree.AddCharacteristic(characteristic, service, GattId(handle, 2, 0)).first) break;
    ++records;
  }
  EXPECT_EQ(records, GattObjectTree::kMostRecords);
  radio->Notify(0, Bytes{1});
  EXPECT_EQ(values, 1);
}

TEST(ErrorState, TextAndCodeGoTheirOwnWays) {
  ErrorState errors;
  EXPECT_EQ(errors.Finish(Status(12345)), 12345);
  EXPECT_EQ(errors.LastText(), "[12345] (no description available)");
  EXPECT_EQ(errors.Finish(Status(301)), 301);  // the stored text stays
  EXPECT_EQ(errors.LastText(), "[12345] (no description available)");
  errors.SetLastText("");
  errors.Finish(Status(301));
  EXPECT_EQ(errors.LastText(), "Interrupted.");
  errors.SetLastText("");
  errors.Finish(Status(200));
  EXPECT_EQ(errors.LastText(), "Out of memory.");
  EXPECT_TRUE(errors.RecordUnhandledEvent(5, "first"));
  EXPECT_FALSE(errors.RecordUnhandledEvent(6, "second"));
  EXPECT_EQ(errors.EventCode(), 5);
}

TEST(CharacteristicFlags, SkipExtendedProperties) {
  EXPECT_EQ(FlagsText(FlagsFromProperties(0x3FF)), "B,R,WWR,W,N,I,ASR,RW,WA");
  EXPECT_EQ(FlagsFromProperties(0x300), 0x180U);
  EXPECT_EQ(FlagsText(0x180), "RW,WA");
  EXPECT_EQ(FlagsFromProperties(0x080), 0U);
}

TEST(ResultMapping, CodesAndTexts) {
  const struct {
    int status;
    int protocolError;
    ErrorCode code;
    const char* text;
  } cases[] = {
      {0, 5, 0, ""},
      {7, 0, 0, ""},
      {1, 0, 607, "Error attempting communication: Device unreachable."},
      {3, 0, 606, "Error attempting communication: Access denied by system."},
      {2, 0x05, 705,
       "Protocol error returned during communication: [5] {5}. Insufficient authentication."},
      {2, 0x11, 717,
       "Protocol error returned during communication: [17] {17}. Insufficient resources."},
      {2, 0xFD, 953,
       "Protocol error returned during communication: [253] {253}. Client characteristic "
       "configuration descriptor (CCCD) improperly configured."},
      {2, 0x85, 612,
       "Application-specific protocol error {133 (0x85) returned during communication. Consult the "
       "remote device's documentation for more information."},
      {2, 0xA0, 606, "Unknown protocol error 160 (0xa0) returned during communication."},
      {2, 0, 606, "Unknown protocol error 0 (0x0) returned during communication."},
  };
  for (const auto& [status, protocolError, code, text] : cases) {
    const Status mapped = MapGattResult(static_cast<GattCommunicationStatus>(status),
                                        static_cast<std::uint8_t>(protocolError));
    EXPECT_EQ(mapped.Code(), code);
    EXPECT_EQ(mapped.Text(), text);
  }
  for (int value = 1; value <= 0x11; ++value) {
    const auto error = static_cast<std::uint8_t>(value);
    EXPECT_EQ(MapGattResult(GattCommunicationStatus::ProtocolError, error).Code(), 700 + value);
  }
  EXPECT_STREQ(EnumText(static_cast<BluetoothError>(12)),
               "Windows.Devices.Bluetooth.BluetoothError");
  EXPECT_STREQ(EnumText(BluetoothError::TransportNotSupported), "TransportNotSupported");
}

TEST(Text, PartsBecomeOneTextOfAnyLength) {
  EXPECT_EQ(Concat("", Quoted{"a"}, Hex{0xBEEF}, Hex{0xBEEF, true}, std::uint8_t{255},
                   std::numeric_limits<std::int64_t>::min()),
            "\"a\"beefBEEF255-9223372036854775808");
  for (const std::size_t length : {0, 190, 191, 192, 1000}) {
    const std::string text(length, 'x');
    const TextPart parts[]{TextPart(text), TextPart(Quoted{text})};
    EXPECT_EQ(PassingText(parts).CStr(), text + '"' + text + '"');
    const TextPart alone[]{TextPart(text)};
    EXPECT_EQ(PassingText(alone).CStr(), text);
  }
}

}  // namespace
}  // namespace ble
