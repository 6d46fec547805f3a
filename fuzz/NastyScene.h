#pragma once

#include <string_view>

namespace ble::fuzz {

/// A scene with many failures within a short time: cyclic includes; slow, silent and refusing
/// attributes; notifications and indications; lost links; changes of the name and the services. The
/// handles are fixed, so that calls can use attributes that are not discovered yet.
inline constexpr std::string_view kNastyScene = R"json({
  "time": "virtual",
  "peripherals": [
    {
      "address": "C0FFEE000001", "addressType": "random", "name": "Pulse \u2665",
      "advertising": {
        "interval": 400,
        "data": {"name": "Pulse \u2665", "services": ["180F", "180D"], "txPower": -4,
                 "serviceData": [{"uuid": "180F", "data": "64"}]},
        "scanResponse": {"manufacturer": [{"company": 76, "data": "0102"},
                                          {"company": 76, "data": ""}]}
      },
      "services": [
        {
          "uuid": "180F", "id": "battery", "handle": "0x0010", "includes": ["circle"],
          "characteristics": [
            {
              "uuid": "2A19", "handle": "0x0012", "value": "64",
              "properties": ["read", "write", "notify", "indicate", "extendedProperties",
                             "writableAuxiliaries"],
              "stream": {"interval": 300, "values": ["63", "", "C3A5"]},
              "descriptors": [
                {"uuid": "2902"},
                {"userDescription": "Level", "writable": true},
                {"presentationFormat": {"format": "uint8", "unit": "27AD"}}
              ]
            },
            {
              "uuid": "2A19", "handle": "0x0020", "value": {"utf8": "a second one, and long"},
              "properties": ["read", "write", "writeWithoutResponse", "indicate"], "echo": true
            }
          ]
        },
        {
          "uuid": "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40", "id": "circle", "handle": "0x0040",
          "primary": false, "includes": ["battery", "circle"],
          "characteristics": [
            {"uuid": "2A00", "handle": "0x0044", "properties": ["read"], "neverResponds": true},
            {"uuid": "2A01", "handle": "0x0048", "properties": ["read", "write"],
             "readError": 128, "writeError": "insufficientEncryption"},
            {"uuid": "2A02", "handle": "0x004C", "properties": ["notify", "read"],
             "responseDelay": 1500}
          ]
        }
      ],
      "events": [
        {"kind": "changeName", "at": 700, "name": "\ud83d\udc93"},
        {"kind": "changeServices", "at": 2500, "services": [
          {"uuid": "180F", "handle": "0x0010", "characteristics": [
            {"uuid": "2A1A", "handle": "0x0012", "properties": ["read"], "value": "01"}]}]},
        {"kind": "dropLink", "at": 6000}, {"kind": "restoreLink", "at": 500}
      ]
    },
    {
      "address": "C0FFEE000002", "name": "Quitter", "mtu": 23, "connectLatency": 250,
      "advertising": {"interval": 700, "type": "scannableUndirected",
                      "data": "03160F 0409FF41FE 02FFAA 05FFFFFF0001 FF"},
      "services": [
        {"uuid": "180D", "handle": "0x0010", "characteristics": [
          {"uuid": "2A37", "handle": "0x0012", "properties": ["notify", "read", "write"],
           "value": "0102030405060708090A0B0C0D0E0F101112131415161718191A1B1C"}]}
      ],
      "events": [{"kind": "dropLink", "afterRequests": 9},
                 {"kind": "restoreLink", "at": 300}]
    },
    {"address": "C0FFEE000003", "connectable": false}
  ],
  "radioEvents": [{"at": 9000, "error": "disabledByUser"}]
})json";

}  // namespace ble::fuzz
