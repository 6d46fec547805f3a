#include "backends/simulated/BuiltInScene.h"

namespace ble::simulated {
namespace {

constexpr std::string_view kScene = R"json({
  "comment": "The built-in scene: five ordinary devices on one desk.",
  "time": "real",
  "adapter": {"address": "02:C0:5E:00:00:00", "scanStartLatency": 20},
  "peripherals": [
    {
      "comment": "A heart rate strap that notifies.",
      "address": "C0:FF:EE:00:00:01", "addressType": "random", "name": "Pulse Strap 7",
      "connectLatency": 60, "responseDelay": 5,
      "advertising": {
        "interval": 200, "rssi": -52,
        "data": {"flags": 6, "services": ["180D", "180F", "180A"], "name": "Pulse Strap 7"},
        "scanResponse": {"txPower": 4, "appearance": 833,
                         "serviceData": [{"uuid": "180F", "data": "5F"}]}
      },
      "services": [
        {
          "uuid": "180D",
          "characteristics": [
            {"uuid": "2A37", "properties": ["notify"],
             "stream": {"interval": 1000, "values": [
               "16 48 3A03", "16 49 3003", "16 4B 1E03", "16 4C 1803", "16 4B 1E03", "16 4A 2703"]}},
            {"uuid": "2A38", "properties": ["read"], "value": "01"},
            {"uuid": "2A39", "properties": ["write"], "maxLength": 1}
          ]
        },
        {
          "uuid": "180F",
          "characteristics": [
            {"uuid": "2A19", "properties": ["read", "notify"], "value": "5F",
             "stream": {"interval": 15000, "values": ["5F", "5E", "5D"]},
             "descriptors": [{"presentationFormat": {"format": "uint8", "unit": "27AD"}}]}
          ]
        },
        {
          "uuid": "180A",
          "characteristics": [
            {"uuid": "2A29", "properties": ["read"], "value": {"utf8": "Corvane Instruments"}},
            {"uuid": "2A24", "properties": ["read"], "value": {"utf8": "PS-7"}},
            {"uuid": "2A25", "properties": ["read"], "value": {"utf8": "PS7-000431"}},
            {"uuid": "2A26", "properties": ["read"], "value": {"utf8": "2.4.1"}}
          ]
        }
      ]
    },
    {
      "comment": "A thermometer that indicates; its values say how they are to be read.",
      "address": "D2:7E:00:00:00:02", "addressType": "random", "name": "Window Thermometer",
      "connectLatency": 90, "responseDelay": 8,
      "advertising": {
        "interval": 500, "rssi": -67,
        "data": {"flags": 6, "services": ["1809", "181A"],
                 "serviceData": [{"uuid": "1809", "data": "D5 00 00 FF"}]},
        "scanResponse": {"name": "Window Thermometer", "txPower": -4}
      },
      "services": [
        {
          "uuid": "1809",
          "characteristics": [
            {"uuid": "2A1C", "properties": ["indicate"],
             "stream": {"interval": 2000, "values": [
               "00 D50000FF", "00 D60000FF", "00 D70000FF", "00 D60000FF"]}},
            {"uuid": "2A1D", "properties": ["read"], "value": "02"},
            {"uuid": "2A21", "properties": ["read", "write"], "value": "0200", "maxLength": 2}
          ]
        },
        {
          "uuid": "181A", "handle": "0x0040",
          "characteristics": [
            {"uuid": "2A6E", "handle": "0x0041", "properties": ["read", "notify"], "value": "5208",
             "stream": {"interval": 1000, "values": ["5208", "5C08", "6608", "5C08"]},
             "descriptors": [
               {"userDescription": "Temperature at the window"},
               {"presentationFormat": {"format": "sint16", "exponent": -2, "unit": "272F"}}]},
            {"uuid": "2A6F", "properties": ["read"], "value": "7C15",
             "descriptors": [
               {"presentationFormat": {"format": "uint16", "exponent": -2, "unit": "27AD"}}]},
            {"comment": "Temperature and humidity in one value: two formats and their order.",
             "uuid": "7E3A0001-91C4-4B0D-A6F2-5D1E8C27B940", "handle": "0x0060",
             "properties": ["read"], "value": "5208 7C15",
             "descriptors": [
               {"userDescription": "Temperature, humidity"},
               {"handle": "0x0070",
                "presentationFormat": {"format": "uint16", "exponent": -2, "unit": "27AD"}},
               {"handle": "0x0071",
                "presentationFormat": {"format": "sint16", "exponent": -2, "unit": "272F"}},
               {"handle": "0x0072", "aggregateFormat": ["0x0071", "0x0070"]}]}
          ]
        }
      ]
    },
    {
      "comment": "Services that include services, one of them nested; descriptions to write.",
      "address": "0A:C0:DE:00:00:03", "addressType": "public", "name": "Garden Station",
      "connectLatency": 40, "mtu": 185,
      "advertising": {
        "interval": 300, "rssi": -74,
        "data": {"flags": 6, "services": ["9A1B0001-3C5D-4E7F-8A9B-0C1D2E3F4051"],
                 "solicited": ["1805"]},
        "scanResponse": {"name": "Garden Station", "manufacturer": [
          {"company": "0xFFFF", "data": {"utf8": "gs1"}}]}
      },
      "services": [
        {
          "id": "station", "uuid": "9A1B0001-3C5D-4E7F-8A9B-0C1D2E3F4051",
          "includes": ["valves", "battery"],
          "characteristics": [
            {"uuid": "9A1B0002-3C5D-4E7F-8A9B-0C1D2E3F4051",
             "properties": ["read", "write", "writableAuxiliaries"], "value": {"utf8": "roses"},
             "descriptors": [{"userDescription": "Bed 1", "writable": true, "maxLength": 32}]},
            {"uuid": "9A1B0003-3C5D-4E7F-8A9B-0C1D2E3F4051",
             "properties": ["write", "writeWithoutResponse", "notify"], "echo": true,
             "descriptors": [{"userDescription": "Console"}]}
          ]
        },
        {
          "id": "valves", "uuid": "9A1B0100-3C5D-4E7F-8A9B-0C1D2E3F4051", "primary": false,
          "includes": ["clock"],
          "characteristics": [
            {"uuid": "9A1B0101-3C5D-4E7F-8A9B-0C1D2E3F4051",
             "properties": ["read", "write", "reliableWrites", "writableAuxiliaries"],
             "value": "00", "maxLength": 1,
             "descriptors": [{"userDescription": "Valve north", "writable": true},
                             {"presentationFormat": {"format": "boolean"}}]}
          ]
        },
        {
          "id": "clock", "uuid": "1805", "primary": false,
          "characteristics": [
            {"uuid": "2A2B", "properties": ["read"], "value": "EA07 06 15 08 1E 00 07 00 00"}
          ]
        },
        {
          "id": "battery", "uuid": "180F",
          "characteristics": [{"uuid": "2A19", "properties": ["read"], "value": "4B"}]
        }
      ]
    },
    {
      "comment": "A beacon: it only advertises.",
      "address": "E8:5B:0A:00:00:04", "addressType": "random", "connectable": false,
      "advertising": {
        "interval": 100, "rssi": -81, "type": "nonConnectableUndirected",
        "data": {"flags": 4, "manufacturer": [
          {"company": "0xFFFF", "data": "0215 6B3C1F0A 0001 0007 C5"}],
          "serviceData": [{"uuid": "180F", "data": "64"}]}
      }
    },
    {
      "comment": "One characteristic for each ATT error, for reading and writing alike.",
      "address": "F2:0B:AD:00:00:05", "addressType": "random", "name": "Error Bench",
      "connectLatency": 30,
      "advertising": {
        "interval": 1000, "rssi": -59, "data": {"flags": 6, "name": "Error Bench"}
      },
      "services": [
        {
          "uuid": "6E0E0000-5A1D-4C0B-8E55-0A7B1C2D3E4F",
          "characteristics": [
            {"uuid": "6E0E0001-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "invalidHandle", "writeError": "invalidHandle",
             "descriptors": [{"userDescription": "invalidHandle"}]},
            {"uuid": "6E0E0002-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "readNotPermitted", "writeError": "readNotPermitted",
             "descriptors": [{"userDescription": "readNotPermitted"}]},
            {"uuid": "6E0E0003-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "writeNotPermitted", "writeError": "writeNotPermitted",
             "descriptors": [{"userDescription": "writeNotPermitted"}]},
            {"uuid": "6E0E0004-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "invalidPdu", "writeError": "invalidPdu",
             "descriptors": [{"userDescription": "invalidPdu"}]},
            {"uuid": "6E0E0005-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "insufficientAuthentication", "writeError": "insufficientAuthentication",
             "descriptors": [{"userDescription": "insufficientAuthentication"}]},
            {"uuid": "6E0E0006-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "requestNotSupported", "writeError": "requestNotSupported",
             "descriptors": [{"userDescription": "requestNotSupported"}]},
            {"uuid": "6E0E0007-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "invalidOffset", "writeError": "invalidOffset",
             "descriptors": [{"userDescription": "invalidOffset"}]},
            {"uuid": "6E0E0008-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "insufficientAuthorization", "writeError": "insufficientAuthorization",
             "descriptors": [{"userDescription": "insufficientAuthorization"}]},
            {"uuid": "6E0E0009-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "prepareQueueFull", "writeError": "prepareQueueFull",
             "descriptors": [{"userDescription": "prepareQueueFull"}]},
            {"uuid": "6E0E000A-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "attributeNotFound", "writeError": "attributeNotFound",
             "descriptors": [{"userDescription": "attributeNotFound"}]},
            {"uuid": "6E0E000B-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "attributeNotLong", "writeError": "attributeNotLong",
             "descriptors": [{"userDescription": "attributeNotLong"}]},
            {"uuid": "6E0E000C-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "encryptionKeySizeTooShort", "writeError": "encryptionKeySizeTooShort",
             "descriptors": [{"userDescription": "encryptionKeySizeTooShort"}]},
            {"uuid": "6E0E000D-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "invalidAttributeValueLength", "writeError": "invalidAttributeValueLength",
             "descriptors": [{"userDescription": "invalidAttributeValueLength"}]},
            {"uuid": "6E0E000E-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "unlikelyError", "writeError": "unlikelyError",
             "descriptors": [{"userDescription": "unlikelyError"}]},
            {"uuid": "6E0E000F-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "insufficientEncryption", "writeError": "insufficientEncryption",
             "descriptors": [{"userDescription": "insufficientEncryption"}]},
            {"uuid": "6E0E0010-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "unsupportedGroupType", "writeError": "unsupportedGroupType",
             "descriptors": [{"userDescription": "unsupportedGroupType"}]},
            {"uuid": "6E0E0011-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "insufficientResources", "writeError": "insufficientResources",
             "descriptors": [{"userDescription": "insufficientResources"}]},
            {"uuid": "6E0E0012-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "databaseOutOfSync", "writeError": "databaseOutOfSync",
             "descriptors": [{"userDescription": "databaseOutOfSync"}]},
            {"uuid": "6E0E0013-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "valueNotAllowed", "writeError": "valueNotAllowed",
             "descriptors": [{"userDescription": "valueNotAllowed"}]},
            {"uuid": "6E0E0080-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "0x80", "writeError": "0x80",
             "descriptors": [{"userDescription": "application error 0x80"}]},
            {"uuid": "6E0E00FC-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "writeRequestRejected", "writeError": "writeRequestRejected",
             "descriptors": [{"userDescription": "writeRequestRejected"}]},
            {"uuid": "6E0E00FD-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "cccDescriptorImproperlyConfigured", "writeError": "cccDescriptorImproperlyConfigured",
             "descriptors": [{"userDescription": "cccDescriptorImproperlyConfigured"}]},
            {"uuid": "6E0E00FE-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "procedureAlreadyInProgress", "writeError": "procedureAlreadyInProgress",
             "descriptors": [{"userDescription": "procedureAlreadyInProgress"}]},
            {"uuid": "6E0E00FF-5A1D-4C0B-8E55-0A7B1C2D3E4F", "properties": ["read", "write"],
             "readError": "outOfRange", "writeError": "outOfRange",
             "descriptors": [{"userDescription": "outOfRange"}]}
          ]
        }
      ]
    }
  ]
}
)json";

}  // namespace

ScenarioResult BuiltInScene() {
  return ParseScenario(kScene, "the built-in scene");
}

std::string_view BuiltInSceneText() {
  return kScene;
}

}  // namespace ble::simulated
