// Whole sequences of calls and events at the most talkative log level, compared byte for byte.

#include <gtest/gtest.h>

#include "support/Host.h"
#include "support/Script.h"

namespace ble::tests {
namespace {

/// A device with something of everything: a service with two parents, one without a name, letters
/// among the digits of its handles, descriptions in another script, a configured format.
constexpr const char* kRichScene = R"({"peripherals": [
  {"address": "00A050C4E2F1", "name": "M\u00e4\u00dfger\u00e4t",
   "advertising": {"interval": 100, "rssi": -42, "data": {"services": ["181A"], "name": "Meter"}},
   "services": [
    {"id": "inner", "uuid": "180A", "handle": 171, "primary": false, "characteristics": [
      {"uuid": "2A29", "handle": 172, "properties": ["read"], "value": {"utf8": "Corvane"}}]},
    {"id": "weather", "uuid": "0x181A", "handle": 256, "includes": ["inner"], "characteristics": [
      {"uuid": "2A6E", "handle": 266,
       "properties": ["read", "write", "notify", "indicate", "writableAuxiliaries"], "value": "1500",
       "stream": {"interval": 1000, "values": ["0100", "0200"]}, "echo": true,
       "descriptors": [
         {"userDescription": "F\u00fchler\u0000 1", "writable": true},
         {"handle": 270, "presentationFormat": {"format": "sint16", "exponent": -2, "unit": "272F"}},
         {"handle": 271, "presentationFormat": {"format": "uint8", "exponent": 3, "unit": "27AD"}},
         {"handle": 272, "aggregateFormat": [271, 270]}]},
      {"uuid": "2A6F", "handle": 282, "properties": ["read", "writeWithoutResponse", "notify"], "value": "00"}]},
    {"uuid": "5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40", "handle": 512,
     "includes": ["inner", "weather"], "characteristics": [
      {"uuid": "5C0A0002-7D2E-4B1F-9A63-1E5F2C8D7B40", "handle": 522,
       "properties": ["broadcast", "indicate"], "value": "07"}]}]}]})";

TEST(Sequence, FromScanToDisconnect) {
  Host host(kRichScene);
  host.Config("LogLevel=3");
  ExpectPlayed(host, R"(
> StartScanning 181a
  Log|2|Scanning is starting.|Scanning
  Log|3|Scanning parameters:\r
\x09Active scanning: 0\r
\x09Service UUIDs: 0000181A-0000-1000-8000-00805F9B34FB.|Scanning
  Log|1|Scanning started.|Scanning
  StartScan|0000181A-0000-1000-8000-00805F9B34FB
> Pass 100
~ Advertisement|00A050C4E2F1|Meter|-42|-2147483648|0000181A-0000-1000-8000-00805F9B34FB|||-1||1|0
> Connect 00A050C4E2F1
  Log|2|Scanning is stopping.|Scanning
~ Log|1|Scanning stopped.|Scanning
~ StopScan|0|
  Log|1|Successfully connected to server ID 00A050C4E2F1.|Connection
  Connected|0|OK
> Get Scanning ServerId ServerName
  = 0, "00A050C4E2F1", "Mäßgerät"
> DiscoverServices ,181A,0x181a,180F
  Log|1|Beginning discovery of root services.|Discovery
  Log|2|Attempting to discover root services with UUID "0000181A-0000-1000-8000-00805F9B34FB".|Discovery
~ Log|3|System updated device connection status to "Connected".|Debug
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Discovery
  Log|3|Discovered 1 root services with UUID "0000181A-0000-1000-8000-00805F9B34FB".|Discovery
  Log|2|Attempting to discover root services with UUID "0000180F-0000-1000-8000-00805F9B34FB".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Discovery
  Log|3|Discovered 0 root services with UUID "0000180F-0000-1000-8000-00805F9B34FB".|Discovery
  Discovered|0|010000000000|||0000181A-0000-1000-8000-00805F9B34FB|Environmental Sensing
  Log|1|Finished discovering root services.|Discovery
  Log|2|Discovered 1 root services.|Discovery
> DiscoverCharacteristics 010000000000 2A6E,2A6F
  Log|1|Beginning discovery of characteristics for service ID "010000000000".|Discovery
  Log|2|Attempting to discover characteristics with UUID "00002A6E-0000-1000-8000-00805F9B34FB".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Discovery
  Log|3|Discovered 1 characteristics with UUID "00002A6E-0000-1000-8000-00805F9B34FB".|Discovery
  Log|2|Attempting to discover characteristics with UUID "00002A6F-0000-1000-8000-00805F9B34FB".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Discovery
  Log|3|Discovered 1 characteristics with UUID "00002A6F-0000-1000-8000-00805F9B34FB".|Discovery
  Discovered|1|010000000000|0100010A0000||00002A6E-0000-1000-8000-00805F9B34FB|Temperature
  Discovered|1|010000000000|0100011A0000||00002A6F-0000-1000-8000-00805F9B34FB|Humidity
  Log|1|Finished discovering characteristics for service ID "010000000000".|Discovery
  Log|2|Discovered 2 characteristics for service ID "010000000000".|Discovery
> ReadValue 010000000000 0100010A0000
  = \x15\x00
  Log|1|Reading value for characteristic ID "0100010A0000".|Read
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Read
  Log|1|Successfully read value for characteristic ID "0100010A0000".|Read
  Value|010000000000|0100010A0000||00002A6E-0000-1000-8000-00805F9B34FB|Temperature|\x15\x00
> WriteValue 010000000000 0100010A0000 '' ab
  Log|1|Writing value to characteristic ID "0100010A0000".|Write
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Write
  Log|1|Successfully wrote value to characteristic ID "0100010A0000".|Write
  WriteResponse|010000000000|0100010A0000||00002A6E-0000-1000-8000-00805F9B34FB|Temperature
> PostValue 010000000000 0100011A0000 c
  Log|1|Posting value to characteristic ID "0100011A0000".|Write
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Write
  Log|1|Successfully posted value to characteristic ID "0100011A0000".|Write
> Select 010000000000
> Get CharacteristicFlags[0] CharacteristicCanSubscribe[0] CharacteristicUserDescription[0]
  = 314, 1, "Fühler"
  Log|3|Ensuring that any "Characteristic Extended Properties" descriptors has been discovered for characteristic ID "0100010A0000".|Debug
  Log|3|Trying to discover the "Characteristic Extended Properties" descriptor for characteristic ID "0100010A0000".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Debug
  Discovered|2|010000000000|0100010A0000|0100010A0112|00002900-0000-1000-8000-00805F9B34FB|Characteristic Extended Properties
  Log|3|Finished; discovered 1 "Characteristic Extended Properties" descriptors for characteristic ID "0100010A0000".|Discovery
  Log|3|Ensuring that any "Characteristic User Description" descriptors has been discovered for characteristic ID "0100010A0000".|Debug
  Log|3|Trying to discover the "Characteristic User Description" descriptor for characteristic ID "0100010A0000".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Debug
  Discovered|2|010000000000|0100010A0000|0100010A010C|00002901-0000-1000-8000-00805F9B34FB|Characteristic User Description
  Log|3|Finished; discovered 1 "Characteristic User Description" descriptors for characteristic ID "0100010A0000".|Discovery
> Get CharacteristicValueFormatIndex[0] CharacteristicValueFormatCount[0]
  = 0, 2
  Log|3|Ensuring that any "Characteristic Aggregate Format" descriptors has been discovered for characteristic ID "0100010A0000".|Debug
  Log|3|Trying to discover the "Characteristic Aggregate Format" descriptor for characteristic ID "0100010A0000".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Debug
  Discovered|2|010000000000|0100010A0000|0100010A0110|00002905-0000-1000-8000-00805F9B34FB|Characteristic Aggregate Format
  Log|3|Finished; discovered 1 "Characteristic Aggregate Format" descriptors for characteristic ID "0100010A0000".|Discovery
  Log|3|Ensuring that any "Characteristic Presentation Format" descriptors has been discovered for characteristic ID "0100010A0000".|Debug
  Log|3|Trying to discover the "Characteristic Presentation Format" descriptor for characteristic ID "0100010A0000".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Debug
  Discovered|2|010000000000|0100010A0000|0100010A010E|00002904-0000-1000-8000-00805F9B34FB|Characteristic Presentation Format
  Discovered|2|010000000000|0100010A0000|0100010A010F|00002904-0000-1000-8000-00805F9B34FB|Characteristic Presentation Format
  Log|3|Finished; discovered 2 "Characteristic Presentation Format" descriptors for characteristic ID "0100010A0000".|Discovery
> Get CharacteristicValueFormat[0] CharacteristicValueExponent[0] CharacteristicValueUnit[0]
  = 4, 3, "000027AD-0000-1000-8000-00805F9B34FB"
> Get CharacteristicSubscribed[0] CharacteristicCachedValue[0]
  = 0, "\x15\x00"
  Log|3|Ensuring that any "Client Characteristic Configuration" descriptors has been discovered for characteristic ID "0100010A0000".|Debug
  Log|3|Trying to discover the "Client Characteristic Configuration" descriptor for characteristic ID "0100010A0000".|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Debug
  Discovered|2|010000000000|0100010A0000|0100010A0111|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
  Log|3|Finished; discovered 1 "Client Characteristic Configuration" descriptors for characteristic ID "0100010A0000".|Discovery
  Log|3|Getting CCCD state for characteristic ID "0100010A0000" from device.|Subscriptions
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Subscriptions
  Log|3|Got CCCD state for characteristic ID "0100010A0000" from device.|Subscriptions
  Log|3|Getting cached value for characteristic ID "0100010A0000".|Debug
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Debug
> Get CharacteristicFlags[0] CharacteristicUserDescription[0] CharacteristicSubscribed[0]
  = 314, "Fühler", 0
> Subscribe 010000000000 0100010A0000
  Log|3|Ensuring that any "Characteristic Extended Properties" descriptors has been discovered for characteristic ID "0100010A0000".|Debug
  Log|3|Ensuring that any "Client Characteristic Configuration" descriptors has been discovered for characteristic ID "0100010A0000".|Debug
  Log|1|Subscribing to characteristic ID "0100010A0000".|Subscriptions
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Subscriptions
  Log|1|Successfully subscribed to characteristic ID "0100010A0000".|Subscriptions
  Subscribed|010000000000|0100010A0000|00002A6E-0000-1000-8000-00805F9B34FB|Temperature
> Pass 2000
~ Value|010000000000|0100010A0000||00002A6E-0000-1000-8000-00805F9B34FB|Temperature|\x01\x00
~ Value|010000000000|0100010A0000||00002A6E-0000-1000-8000-00805F9B34FB|Temperature|\x02\x00
> DiscoverDescriptors 010000000000 0100010A0000
  Log|1|Beginning discovery of descriptors for characteristic ID "0100010A0000".|Discovery
  Log|2|Attempting to discover all descriptors.|Discovery
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Discovery
  Discovered|2|010000000000|0100010A0000|0100010A010C|00002901-0000-1000-8000-00805F9B34FB|Characteristic User Description
  Discovered|2|010000000000|0100010A0000|0100010A010E|00002904-0000-1000-8000-00805F9B34FB|Characteristic Presentation Format
  Discovered|2|010000000000|0100010A0000|0100010A010F|00002904-0000-1000-8000-00805F9B34FB|Characteristic Presentation Format
  Discovered|2|010000000000|0100010A0000|0100010A0110|00002905-0000-1000-8000-00805F9B34FB|Characteristic Aggregate Format
  Discovered|2|010000000000|0100010A0000|0100010A0111|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
  Discovered|2|010000000000|0100010A0000|0100010A0112|00002900-0000-1000-8000-00805F9B34FB|Characteristic Extended Properties
  Log|1|Finished discovering descriptors for characteristic ID "0100010A0000".|Discovery
  Log|2|Discovered 6 descriptors for characteristic ID "0100010A0000".|Discovery
> Select '' ''
> Select 010000000000 0100010A0000
> Get CharacteristicFlags[0] CharacteristicUserDescription[0] CharacteristicValueFormatCount[0] CharacteristicSubscribed[0]
  = 314, "Fühler", 2, 1
> Set CharacteristicCount 1
> Set CharacteristicCount 2
> Get CharacteristicId[0] CharacteristicFlags[0] CharacteristicId[1] CharacteristicFlags[1]
  = "0100010A0000", 314, "", 0
> ReadValue 010000000000 0100010A0000 0100010A0111
  = \x01\x00
  Log|1|Reading value for descriptor ID "0100010A0111".|Read
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Read
  Log|1|Successfully read value for descriptor ID "0100010A0111".|Read
  Value|010000000000|0100010A0000|0100010A0111|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration|\x01\x00
> Unsubscribe 010000000000 0100010A0000
  Log|1|Unsubscribing from characteristic ID "0100010A0000".|Subscriptions
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Subscriptions
  Log|1|Successfully unsubscribed from characteristic ID "0100010A0000".|Subscriptions
  Unsubscribed|010000000000|0100010A0000|00002A6E-0000-1000-8000-00805F9B34FB|Temperature
> Pass 2000
> WriteValue 010000000000 0100010A0000 0100010A0111 \x02\x00
  Log|1|Writing value to descriptor ID "0100010A0111".|Write
  Log|3|BLE Result Status: Success (Protocol Code: 0).|Write
  Log|1|Successfully wrote value to descriptor ID "0100010A0111".|Write
  Log|1|Successfully subscribed to characteristic ID "0100010A0000".|Subscriptions
  Subscribed|010000000000|0100010A0000|00002A6E-0000-1000-8000-00805F9B34FB|Temperature
  WriteResponse|010000000000|0100010A0000|0100010A0111|00002902-0000-1000-8000-00805F9B34FB|Client Characteristic Configuration
> Disconnect
  Log|1|Disconnecting from server ID 00A050C4E2F1.|Connection
  Log|1|Disconnected from server ID 00A050C4E2F1.|Connection
  Disconnected|0|OK
)");
}

TEST(Sequence, TheReportOfTheTree) {
  Host host(kRichScene);
  ASSERT_EQ(Play(host, R"(> Config CodePage=1252
> Config AutoDiscoverIncludedServices=True
> Connect 00A050C4E2F1
> DiscoverServices 5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40
> Config AutoDiscoverIncludedServices=False
> Discover 181A 2A6F
> Discover 181A,1801
> Discover 5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40 '' 1
> Discover '' '' 0 020000000000
> Select 010000000000
> Get CharacteristicValueFormatCount[1] CharacteristicUserDescription[1]
> Subscribe 010000000000 0100010A0000
> Get CharacteristicSubscribed[1])"),
            0);
  ExpectPlayed(host, R"(
> Config GattObjTreeInfo
  = GATT Object Tree Info [>Services, >>Characteristics, >>>Descriptors]:\r
>5C0A0001-7D2E-4B1F-9A63-1E5F2C8D7B40 [ID=020000000000, ParentSvcIds="", IncludedSvcIds="00AB00000000,010000000000"]\r
>>5C0A0002-7D2E-4B1F-9A63-1E5F2C8D7B40 [ID=0200020A0000, Flags=0x0 (), Subscribed=False, UserDescr="", VFCount=0]\r
>>>00002902-0000-1000-8000-00805F9B34FB "Client Characteristic Configuration" [ID=0200020A020C]\r
>0000180A-0000-1000-8000-00805F9B34FB "Device Information" [ID=00AB00000000, ParentSvcIds="020000000000,010000000000", IncludedSvcIds=""]\r
>>00002A29-0000-1000-8000-00805F9B34FB "Manufacturer Name String" [ID=00AB00AC0000, Flags=0x0 (), Subscribed=False, UserDescr="", VFCount=0]\r
>0000181A-0000-1000-8000-00805F9B34FB "Environmental Sensing" [ID=010000000000, ParentSvcIds="020000000000", IncludedSvcIds="00AB00000000"]\r
>>00002A6F-0000-1000-8000-00805F9B34FB "Humidity" [ID=0100011A0000, Flags=0x0 (), Subscribed=False, UserDescr="", VFCount=0]\r
>>00002A6E-0000-1000-8000-00805F9B34FB "Temperature" [ID=0100010A0000, Flags=0x13A (R,W,N,I,WA), Subscribed=True, UserDescr="Fühler", VFCount=2]\r
>>>00002905-0000-1000-8000-00805F9B34FB "Characteristic Aggregate Format" [ID=0100010A0110]\r
>>>00002904-0000-1000-8000-00805F9B34FB "Characteristic Presentation Format" [ID=0100010A010E]\r
>>>00002904-0000-1000-8000-00805F9B34FB "Characteristic Presentation Format" [ID=0100010A010F]\r
>>>00002901-0000-1000-8000-00805F9B34FB "Characteristic User Description" [ID=0100010A010C]\r
>>>00002900-0000-1000-8000-00805F9B34FB "Characteristic Extended Properties" [ID=0100010A0112]\r
>>>00002902-0000-1000-8000-00805F9B34FB "Client Characteristic Configuration" [ID=0100010A0111]\r
>00001801-0000-1000-8000-00805F9B34FB "Generic Attribute" [ID=000600000000, ParentSvcIds="", IncludedSvcIds=""]\r
>>00002A05-0000-1000-8000-00805F9B34FB "Service Changed" [ID=000600070000, Flags=0x0 (), Subscribed=False, UserDescr="", VFCount=0]\r

)");
}

}  // namespace
}  // namespace ble::tests
