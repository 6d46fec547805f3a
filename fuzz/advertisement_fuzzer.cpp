#include <array>

#include "fuzz/Input.h"
#include "fuzz/Instance.h"
#include "platform/SystemServices.h"

// Fuzzes advertising packets, from the payload to the event and the settings that a host reads.
// Input: packets, each with type, signal strength and payload.
namespace {

using namespace ble;
using fuzz::Param;
using fuzz::Require;
using fuzz::TextOf;

struct Adapter final : BluetoothAdapter {
  std::uint64_t BluetoothAddress() const override { return 0; }
  bool IsLowEnergySupported() const override { return true; }
};

// Starts immediately and reports the packets that the fuzzer passes.
class Watcher final : public BluetoothLEAdvertisementWatcher {
 public:
  BluetoothLEAdvertisementWatcherStatus Status() const override { return status_; }
  void SetScanningMode(BluetoothLEScanningMode) override {}
  void SetAdvertisementFilter(BluetoothLEAdvertisementFilter) override {}
  void Start() override {
    status_ = BluetoothLEAdvertisementWatcherStatus::Started;
    begun_.Open();
  }
  void Stop() override {
    status_ = BluetoothLEAdvertisementWatcherStatus::Stopped;
    over_.Open();
  }
  Latch::SignalPtr Begun() override { return begun_.Signal(); }
  Latch::SignalPtr Over() override { return over_.Signal(); }
  EventToken OnReceived(Received::Handler handler) override { return received_.Add(handler); }
  EventToken OnStopped(Stopped::Handler) override { return {}; }

  void Hear(const BluetoothLEAdvertisementReceivedEventArgs& args) { received_.Raise(args); }

 private:
  Latch begun_;
  Latch over_;
  Received received_;
  BluetoothLEAdvertisementWatcherStatus status_ = BluetoothLEAdvertisementWatcherStatus::Created;
};

class ListeningRadio final : public Radio {
 public:
  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override {
    return CompletedOperation<BluetoothAdapter>(std::make_shared<Adapter>());
  }
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    return watcher;
  }
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(std::uint64_t) override {
    return CompletedOperation<BluetoothLEDevice>(nullptr);
  }
  const std::shared_ptr<Watcher> watcher = std::make_shared<Watcher>();
};

// The current packet, and whether the host has received it.
struct Air {
  CorvaneBLE_Handle handle = nullptr;
  ByteView payload;
  bool reported = false;
};

// Returns whether a text is a list of canonical UUIDs; calls `visit` for each.
template <class Visit>
bool ForEachUuid(const std::string& list, Visit visit) {
  for (std::size_t begin = 0; begin < list.size(); begin += UuidText::kLength + 1) {
    if (begin > 0 && list[begin - 1] != ',') return false;
    const std::string text = list.substr(begin, UuidText::kLength);
    const auto uuid = ParseUuid(text);
    if (!uuid || FormatUuid(*uuid).View() != text) return false;
    visit(text);
  }
  return list.empty() || list.size() % (UuidText::kLength + 1) == UuidText::kLength;
}

// Counts the AD structures with a company identifier, independently of the library.
std::size_t CountManufacturerSections(ByteView payload) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < payload.size() && payload[at] != 0; at += payload[at] + 1U) {
    if (at + payload[at] >= payload.size()) break;
    if (payload[at] >= 3 && payload[at + 1] == 0xFF) ++count;
  }
  return count;
}

void AskForManufacturerData(const Air& air, const std::intptr_t* params) {
  const char* answer = nullptr;
  const std::size_t count = CountManufacturerSections(air.payload);
  Require(fuzz::Config(air.handle, "ManufacturerDataCount", answer) == 0);
  Require(answer == std::to_string(count));
  for (std::size_t i = 0; i <= count; ++i) {
    const std::string index = "[" + std::to_string(i) + "]";
    const std::int32_t expected = i < count ? 0 : CORVANEBLE_ERROR_INVALID_ARGUMENT;
    Require(fuzz::Config(air.handle, "ManufacturerData" + index, answer) == expected);
    Require(fuzz::Config(air.handle, "ManufacturerCompanyId" + index, answer) == expected);
    if (i == 0 && count > 0) Require(answer == std::to_string(params[7]));
  }
  Require((params[7] == CORVANEBLE_COMPANY_ABSENT) == (count == 0));
}

std::int32_t OnEvent(void* userData, std::int32_t event, std::int32_t count,
                     const std::intptr_t* params, const std::int32_t* lengths) {
  if (event != CORVANEBLE_EVENT_ADVERTISEMENT) return 0;
  auto& air = *static_cast<Air*>(userData);
  air.reported = true;
  Require(count == 11);
  Require(std::string(TextOf(params[0])).size() == 12);
  Require(params[1] != 0 && std::string(TextOf(params[1])).size() <= 3 * air.payload.size());
  Require(params[3] == CORVANEBLE_TX_POWER_ABSENT || (params[3] >= -128 && params[3] <= 127));
  for (const std::size_t list : {4, 6})
    Require(ForEachUuid(TextOf(params[list]), [](const std::string&) {}));
  Require(ForEachUuid(TextOf(params[5]), [&](const std::string& uuid) {
    const char* answer = nullptr;
    Require(fuzz::Config(air.handle, "ServiceData=" + uuid, answer) == 0);
  }));
  Require(lengths[8] >= 0 && TextOf(params[8])[lengths[8]] == '\0');
  AskForManufacturerData(air, params);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Air air;
  const auto radio = std::make_shared<ListeningRadio>();
  const fuzz::Instance instance({radio, SystemClock(), SystemPump()}, OnEvent, &air);
  air.handle = instance.Handle();
  std::array<std::intptr_t, 1> params{Param("")};
  std::array<std::int32_t, 1> lengths{};
  Require(CorvaneBLE_BLEClient_Do(air.handle, CORVANEBLE_METHOD_START_SCANNING, 1, params.data(),
                                  lengths.data(), nullptr) == 0);

  fuzz::Input input(data, size);
  BluetoothLEAdvertisement advertisement;
  while (!input.AtEnd()) {
    const auto type = static_cast<BluetoothLEAdvertisementType>(input.Byte() % 5);
    const auto rssi = static_cast<std::int8_t>(input.Byte());
    air.payload = input.Run();
    air.reported = false;
    advertisement.Assign(air.payload);
    radio->watcher->Hear({advertisement, 0xC0FFEE000001, rssi, type});
    Require(air.reported);
  }
  const char* answer = nullptr;
  Require(fuzz::Config(air.handle, "ManufacturerDataCount", answer) ==
          CORVANEBLE_ERROR_INVALID_STATE);
  return 0;
}
