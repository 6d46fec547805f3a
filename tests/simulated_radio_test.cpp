#include "backends/simulated/SimulatedRadio.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/FaultInjectingRadio.h"

namespace ble {
namespace {

using simulated::Fault;
using simulated::FaultInjectingRadio;
using simulated::milliseconds;
using WatcherStatus = BluetoothLEAdvertisementWatcherStatus;
using Configuration = GattClientCharacteristicConfigurationDescriptorValue;
namespace property = gatt_characteristic_properties;

constexpr auto kOverTheAir = BluetoothCacheMode::Uncached;
constexpr std::uint64_t kStrap = 0xE00000000001;

Uuid Uuid16(std::uint16_t number) {
  return Uuid::FromAssignedNumber(number);
}

simulated::CharacteristicScenario Measurement() {
  simulated::CharacteristicScenario measurement;
  measurement.uuid = Uuid16(0x2A37);
  measurement.properties = property::kRead | property::kWrite | property::kNotify;
  measurement.value = {1};
  measurement.stream = simulated::ValueStream{milliseconds(100), {{10}, {11}, {12}}, false};
  measurement.echo = true;
  return measurement;
}

simulated::Scenario Strap() {
  simulated::Scenario scenario;
  scenario.virtualTime = true;
  scenario.adapter.scanStartLatency = milliseconds(30);
  simulated::PeripheralScenario strap;
  strap.address = kStrap;
  strap.name = "Strap";
  strap.connectLatency = milliseconds(20);
  strap.services.push_back({"", {}, Uuid16(0x180D), true, {}, {Measurement()}});
  strap.advertising = simulated::AdvertisingScenario{};
  strap.advertising->data = {3, 0x03, 0x0D, 0x18};
  strap.advertising->scanResponse = Bytes{3, 0x09, 'H', 'R'};
  scenario.peripherals.push_back(strap);
  return scenario;
}

class SimulatedRadioTest : public testing::Test {
 protected:
  void Open(simulated::Scenario scenario, std::vector<Fault> faults = {}) {
    opened_ = simulated::OpenSimulatedRadio(std::move(scenario));
    faulty_ = std::make_shared<FaultInjectingRadio>(opened_.radio, opened_.timeline, faults);
    opened_.radio = faulty_;
  }

  /// Returns the result, or null if there is none after a minute. May throw `PlatformFailure`.
  template <class T>
  std::shared_ptr<T> Await(const AsyncOperationPtr<T>& operation) {
    opened_.pump->Step(std::chrono::seconds(60), &operation->Done());
    return operation->Done().IsSet() ? operation->GetResults() : nullptr;
  }

  void Sleep(int duration) { opened_.clock->Sleep(milliseconds(duration)); }

  /// Connects, discovers the measurement and counts its values. Returns false at the first failure.
  bool Subscribe() {
    if (!Await(opened_.radio->GetDefaultAdapterAsync())) return false;
    device_ = Await(opened_.radio->DeviceFromBluetoothAddressAsync(kStrap));
    if (!device_) return false;
    const auto services = Await(device_->GetGattServicesForUuidAsync(Uuid16(0x180D), kOverTheAir));
    if (!services || services->services.empty()) return false;
    const auto found = Await(services->services[0]->GetCharacteristicsAsync(kOverTheAir));
    if (!found || found->characteristics.empty()) return false;
    measurement_ = found->characteristics[0];
    token_ = measurement_->OnValueChanged([this](GattCharacteristic& from, ByteView value) {
      EXPECT_EQ(&from, measurement_.get());
      values_.insert(values_.end(), value.begin(), value.end());
    });
    const auto written =
        Await(measurement_->WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
            Configuration::Notify));
    return written && written->status == GattCommunicationStatus::Success;
  }

  simulated::OpenedSimulatedRadio opened_;
  std::shared_ptr<FaultInjectingRadio> faulty_;
  std::shared_ptr<BluetoothLEDevice> device_;
  std::shared_ptr<GattCharacteristic> measurement_;
  Bytes values_;
  EventToken token_;
};

TEST_F(SimulatedRadioTest, SendsTheValuesOfAStreamAndEchoes) {
  Open(Strap());
  ASSERT_TRUE(Subscribe());
  EXPECT_EQ(device_->ConnectionStatus(), BluetoothConnectionStatus::Connected);
  Sleep(99);
  EXPECT_EQ(values_, Bytes{});
  Sleep(1);
  EXPECT_EQ(values_, Bytes{10});
  Sleep(1000);
  EXPECT_EQ(values_, (Bytes{10, 11, 12}));  // not repeated
  Await(measurement_->WriteValueWithResultAsync(Bytes{77}, GattWriteOption::WriteWithResponse));
  Sleep(1);
  EXPECT_EQ(values_, (Bytes{10, 11, 12, 77}));
  EXPECT_EQ(Await(measurement_->ReadValueAsync(kOverTheAir))->value, Bytes{77});
}

TEST_F(SimulatedRadioTest, LinkNameAndServicesChangeAsTheScenarioSays) {
  using Event = simulated::PeripheralEvent;
  simulated::Scenario scenario = Strap();
  scenario.peripherals[0].events = {
      {Event::Kind::ChangeName, milliseconds(50), {}, "Br\xC3\xBC", {}},
      {Event::Kind::ChangeServices, milliseconds(60), {}, "", {}},
      {Event::Kind::DropLink, milliseconds(300), {}, "", {}},
      {Event::Kind::RestoreLink, milliseconds(500), {}, "", {}}};
  Open(scenario);
  device_ = Await(opened_.radio->DeviceFromBluetoothAddressAsync(kStrap));
  std::vector<std::string> log;
  const auto note = [&](const std::string& text) {
    log.push_back(std::to_string(opened_.clock->TickCount()) + " " + text);
  };
  const auto name =
      device_->OnNameChanged([&] { note(device_->Name() == u"Br\u00FC" ? "name" : "wrong name"); });
  const auto services =
      device_->OnGattServicesChanged([&](const GattServicesChangedEventArgs& args) {
        note("services " + std::string(args.text.begin(), args.text.end()));
      });
  const auto status = device_->OnConnectionStatusChanged([&] {
    note(device_->ConnectionStatus() == BluetoothConnectionStatus::Connected ? "up" : "down");
  });
  ASSERT_EQ(Await(device_->GetGattServicesAsync(kOverTheAir))->services.size(), 3U);
  Sleep(100);
  EXPECT_EQ(Await(device_->GetGattServicesAsync(kOverTheAir))->services.size(), 2U);
  Sleep(300);
  EXPECT_EQ(Await(device_->GetGattServicesAsync(kOverTheAir))->status,
            GattCommunicationStatus::Unreachable);
  Sleep(1000);
  EXPECT_EQ(log, (std::vector<std::string>{"20 up", "70 name", "80 services 0x0001-0xFFFF",
                                           "320 down", "840 up"}));
}

TEST_F(SimulatedRadioTest, DropsTheLinkOnACertainRequest) {
  simulated::Scenario scenario = Strap();
  scenario.peripherals[0].events = {
      {simulated::PeripheralEvent::Kind::DropLink, milliseconds(0), 3, "", {}}};
  Open(scenario);
  device_ = Await(opened_.radio->DeviceFromBluetoothAddressAsync(kStrap));
  EXPECT_EQ(Await(device_->GetGattServicesAsync(kOverTheAir))->status,
            GattCommunicationStatus::Unreachable);
  EXPECT_EQ(Await(device_->GetGattServicesAsync(kOverTheAir))->status,
            GattCommunicationStatus::Success);
}

TEST_F(SimulatedRadioTest, TheWatcherHearsWhatItAskedFor) {
  struct {
    BluetoothLEScanningMode mode;
    std::vector<Uuid> filter;
    std::string heard;  ///< p: packet, r: scan response, c: captured
  } const cases[] = {
      {BluetoothLEScanningMode::Passive, {}, "cp"},
      {BluetoothLEScanningMode::Active, {}, "ccprc"},
      {BluetoothLEScanningMode::Active, {Uuid16(0x180D)}, "p"},
      {BluetoothLEScanningMode::Active, {Uuid16(0x180D), Uuid16(0x180F)}, ""},
  };
  simulated::Scenario scenario = Strap();
  scenario.peripherals[0].advertising->count = 1;
  simulated::CaptureScenario capture;
  using Type = BluetoothLEAdvertisementType;
  capture.reports = {{std::chrono::microseconds(0), 7, false, Type::ScannableUndirected, 127, {}},
                     {std::chrono::microseconds(900), 7, false, Type::ScanResponse, -9, {}},
                     {std::chrono::microseconds(4000), 7, false, Type::ScanResponse, -9, {}}};
  scenario.captures = {capture};
  Open(scenario);
  std::string heard;
  int stops = 0;
  for (const auto& [mode, filter, expected] : cases) {
    const auto watcher = opened_.radio->CreateAdvertisementWatcher();
    const auto received = watcher->OnReceived([&](const auto& report) {
      heard += report.bluetoothAddress != kStrap                ? 'c'
               : report.advertisementType == Type::ScanResponse ? 'r'
                                                                : 'p';
    });
    const auto stopped = watcher->OnStopped([&](const auto& sender, const auto& args) {
      EXPECT_EQ(sender.Status(), WatcherStatus::Stopped);
      EXPECT_EQ(args.error, BluetoothError::Success);
      ++stops;
    });
    heard.clear();
    watcher->SetScanningMode(mode);
    watcher->SetAdvertisementFilter({filter});
    const auto begun = watcher->Begun();
    watcher->Start();
    Sleep(29);
    EXPECT_EQ(watcher->Status(), WatcherStatus::Created);
    EXPECT_FALSE(begun->IsSet());
    Sleep(500);
    EXPECT_EQ(watcher->Status(), WatcherStatus::Started);
    EXPECT_TRUE(begun->IsSet());
    EXPECT_EQ(heard, expected);
    watcher->Stop();
    watcher->Stop();
    EXPECT_EQ(watcher->Status(), WatcherStatus::Stopping);
    EXPECT_FALSE(watcher->Over()->IsSet());
    Sleep(1);
    EXPECT_EQ(watcher->Status(), WatcherStatus::Stopped);
    EXPECT_TRUE(watcher->Over()->IsSet());
  }
  EXPECT_EQ(stops, 4);
}

TEST_F(SimulatedRadioTest, TheRadioEndsAScanOnce) {
  simulated::Scenario scenario = Strap();
  scenario.radioEvents = {{milliseconds(250), BluetoothError::DisabledByUser},
                          {milliseconds(250), BluetoothError::OtherError}};
  Open(scenario);
  const auto watcher = opened_.radio->CreateAdvertisementWatcher();
  std::vector<BluetoothError> reasons;
  int heard = 0;
  const auto stopped = watcher->OnStopped([&](const auto& sender, const auto& args) {
    EXPECT_EQ(sender.Status(), WatcherStatus::Aborted);
    reasons.push_back(args.error);
  });
  const auto received = watcher->OnReceived([&](const auto&) { ++heard; });
  watcher->Start();
  Sleep(1000);
  watcher->Stop();
  Sleep(1000);
  EXPECT_EQ(reasons, std::vector<BluetoothError>{BluetoothError::DisabledByUser});
  EXPECT_EQ(heard, 3);
}

}  // namespace
}  // namespace ble
