// The requirements for every radio, tested with the platform interfaces. The same cases run on each
// backend that has the peripheral of support/Backend.h.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/Radio.h"
#include "support/Backend.h"

namespace ble::tests {
namespace {

using namespace std::chrono_literals;
constexpr Uuid kBattery = Uuid::FromAssignedNumber(0x180F);
using CccdValue = GattClientCharacteristicConfigurationDescriptorValue;

class Conformance : public testing::TestWithParam<Backend> {
 protected:
  /// Waits for the operation, with a very long limit: time may be real, and the machine busy.
  template <class T>
  std::shared_ptr<T> Await(const AsyncOperationPtr<T>& operation) {
    const WakeSignal& done = operation->Done();
    for (int step = 0; step < kSteps && !done.IsSet(); ++step)
      radio.pump->Step(kStep, &done);
    if (!done.IsSet()) throw std::runtime_error("an operation did not end");
    return operation->GetResults();
  }

  void Pass(std::chrono::milliseconds time) { radio.clock->Sleep(time); }

  /// Lets time pass until a condition is true. Returns whether it became true.
  template <class Condition>
  bool Until(Condition condition) {
    for (int step = 0; !condition(); ++step) {
      if (step == kSteps) return false;
      Pass(kStep);
    }
    return true;
  }

  std::shared_ptr<BluetoothLEDevice> Device() {
    const auto search = radio.radio->DeviceFromBluetoothAddressAsync(GetParam().address);
    for (int step = 0; step < kSteps && !search->Done().IsSet(); ++step) {
      radio.pump->Step(10 * kStep, &search->Done());
      if (!search->Done().IsSet()) GetParam().beHeard();
    }
    return Await(search);
  }

  std::shared_ptr<GattDeviceService> Service(BluetoothLEDevice& device,
                                             const Uuid& uuid = kBattery) {
    const auto found =
        Await(device.GetGattServicesForUuidAsync(uuid, BluetoothCacheMode::Uncached));
    EXPECT_EQ(found->services.size(), 1U);
    return found->services.at(0);
  }

  std::shared_ptr<GattCharacteristic> Characteristic(GattDeviceService& service,
                                                     std::uint16_t uuid) {
    const auto found = Await(service.GetCharacteristicsForUuidAsync(Uuid::FromAssignedNumber(uuid),
                                                                    BluetoothCacheMode::Uncached));
    EXPECT_EQ(found->characteristics.size(), 1U);
    return found->characteristics.at(0);
  }

  Bytes Read(GattCharacteristic& characteristic, BluetoothCacheMode mode) {
    return Await(characteristic.ReadValueAsync(mode))->value;
  }

  static constexpr auto kStep = 100ms;
  static constexpr int kSteps = 3000;
  OpenedRadio radio = GetParam().open();
};

TEST_P(Conformance, AWatcherReportsFromStartToStop) {
  ASSERT_TRUE(Await(radio.radio->GetDefaultAdapterAsync())->IsLowEnergySupported());
  std::atomic<int> heard = 0;
  std::atomic<int> others = 0;
  std::atomic<int> responses = 0;
  std::atomic<int> stops = 0;
  int scans = 0;
  const auto scan = [&](auto mode, BluetoothLEAdvertisementFilter filter, auto enough,
                        bool listens = true) {
    const auto watcher = radio.radio->CreateAdvertisementWatcher();
    EXPECT_EQ(watcher->Status(), BluetoothLEAdvertisementWatcherStatus::Created);
    auto received = watcher->OnReceived([&](const auto& args) {
      (args.bluetoothAddress == GetParam().address ? heard : others) += 1;
      if (args.advertisementType == BluetoothLEAdvertisementType::ScanResponse) {
        ++responses;
      }
    });
    if (!listens) received.Reset();
    const auto stopped = watcher->OnStopped([&](const auto& sender, const auto& args) {
      EXPECT_EQ(args.error, BluetoothError::Success);
      EXPECT_EQ(sender.Status(), BluetoothLEAdvertisementWatcherStatus::Stopped);
      ++stops;
    });
    heard = others = responses = 0;
    watcher->SetScanningMode(mode);
    watcher->SetAdvertisementFilter(std::move(filter));
    watcher->Start();
    const auto has = [&](auto status) { return watcher->Status() == status; };
    EXPECT_TRUE(Until([&] { return has(BluetoothLEAdvertisementWatcherStatus::Started); }));
    EXPECT_TRUE(Until([&] { return GetParam().beHeard(), enough(); }));
    EXPECT_TRUE(has(BluetoothLEAdvertisementWatcherStatus::Started));
    watcher->Stop();
    EXPECT_TRUE(Until([&] { return stops > scans; }));
    EXPECT_EQ(stops, ++scans);
    EXPECT_TRUE(has(BluetoothLEAdvertisementWatcherStatus::Stopped));
    const int then = heard + others;
    Pass(500ms);
    EXPECT_EQ(heard + others, then);
  };
  scan(BluetoothLEScanningMode::Passive, {},
       [&] { return heard >= 8 && others >= GetParam().others; });
  EXPECT_EQ(responses, 0);
  scan(BluetoothLEScanningMode::Active, {{Uuid::FromAssignedNumber(0x180F)}},
       [&] { return heard >= 8; });
  EXPECT_EQ(others, 0);
  scan(BluetoothLEScanningMode::Active, {}, [&] { return responses >= GetParam().responses; });
  int times = 0;
  scan(
      BluetoothLEScanningMode::Active, {}, [&] { return ++times > 8; }, false);
  EXPECT_EQ(heard + others, 0);
}

TEST_P(Conformance, ADeviceIsFoundByAddressAndLinkedByTheFirstOperation) {
  radio.radio->SetWaitLimit(2000ms);
  EXPECT_EQ(Await(radio.radio->DeviceFromBluetoothAddressAsync(0xBADBADBADBAD)), nullptr);
  radio.radio->SetWaitLimit(0ms);
  const auto device = Device();
  ASSERT_TRUE(device);
  EXPECT_EQ(device->BluetoothAddress(), GetParam().address);
  EXPECT_EQ(device->Name(), u"Conformant");
  EXPECT_EQ(device->ConnectionStatus(), BluetoothConnectionStatus::Disconnected);
  std::atomic<int> changes = 0;
  const auto token = device->OnConnectionStatusChanged([&] { ++changes; });
  EXPECT_EQ(Await(device->GetGattServicesAsync(BluetoothCacheMode::Uncached))->status,
            GattCommunicationStatus::Success);
  EXPECT_EQ(device->ConnectionStatus(), BluetoothConnectionStatus::Connected);
  EXPECT_EQ(changes, 1);
}

TEST_P(Conformance, AttributesKeepTheirHandlesUuidsAndIdentity) {
  const auto device = Device();
  const auto all = Await(device->GetGattServicesAsync(BluetoothCacheMode::Uncached));
  const auto again = Await(device->GetGattServicesAsync(BluetoothCacheMode::Uncached));
  EXPECT_EQ(all->services, again->services);
  EXPECT_TRUE(std::is_sorted(
      all->services.begin(), all->services.end(),
      [](const auto& a, const auto& b) { return a->AttributeHandle() < b->AttributeHandle(); }));
  const auto battery = Service(*device);
  EXPECT_NE(std::find(all->services.begin(), all->services.end(), battery), all->services.end());

  const auto included = Await(battery->GetIncludedServicesAsync(BluetoothCacheMode::Uncached));
  ASSERT_EQ(included->services.size(), 1U);
  EXPECT_EQ(included->services[0]->AttributeUuid().data1, 0x5C0A0001U);
  const auto characteristics =
      Await(battery->GetCharacteristicsAsync(BluetoothCacheMode::Uncached))->characteristics;
  ASSERT_EQ(characteristics.size(), 3U);
  EXPECT_EQ(characteristics[0], Characteristic(*battery, 0x2A19));
  EXPECT_GT(characteristics[0]->AttributeHandle(), battery->AttributeHandle());
  EXPECT_TRUE(Await(battery->GetCharacteristicsForUuidAsync(Uuid::FromAssignedNumber(0x2AFF),
                                                            BluetoothCacheMode::Uncached))
                  ->characteristics.empty());
}

TEST_P(Conformance, DescriptorsBringTheFieldsThatDependOnThem) {
  const auto device = Device();
  const auto battery = Service(*device);
  const auto level = Characteristic(*battery, 0x2A19);
  EXPECT_EQ(level->UserDescription(), u"");
  const auto descriptors = Await(level->GetDescriptorsAsync(BluetoothCacheMode::Uncached));
  EXPECT_EQ(descriptors->descriptors.size(), 3U);
  EXPECT_EQ(level->UserDescription(), u"Charge");
  ASSERT_EQ(level->PresentationFormats().size(), 1U);
  EXPECT_EQ(level->PresentationFormats()[0].formatType, 4);
  EXPECT_EQ(level->PresentationFormats()[0].exponent, -1);
  EXPECT_EQ(level->PresentationFormats()[0].unit, 0x27AD);
  const auto extended = Characteristic(*battery, 0x2A1C);
  ASSERT_EQ(Await(extended->GetDescriptorsForUuidAsync(Uuid::FromAssignedNumber(0x2900),
                                                       BluetoothCacheMode::Uncached))
                ->descriptors.size(),
            1U);
  EXPECT_NE(
      extended->CharacteristicProperties() & gatt_characteristic_properties::kWritableAuxiliaries,
      0U);
}

TEST_P(Conformance, ValuesAreReadWrittenAndCached) {
  const auto device = Device();
  const auto battery = Service(*device);
  const auto level = Characteristic(*battery, 0x2A19);
  EXPECT_EQ(Read(*level, BluetoothCacheMode::Cached), Bytes{});
  EXPECT_EQ(Read(*level, BluetoothCacheMode::Uncached), Bytes{0x64});
  EXPECT_EQ(Read(*level, BluetoothCacheMode::Cached), Bytes{0x64});

  const auto write = [&](std::size_t size, GattWriteOption option) {
    const Bytes value(size, static_cast<std::uint8_t>(size + static_cast<std::size_t>(option)));
    const auto result = Await(level->WriteValueWithResultAsync(value, option));
    if (result->status != GattCommunicationStatus::Success) {
      return int{result->protocolError.value_or(0)};
    }
    // A command is not acknowledged.
    EXPECT_TRUE(Until([&] { return Read(*level, BluetoothCacheMode::Uncached) == value; }));
    return 0;
  };
  for (const std::size_t size : {0, 1, 61}) {
    EXPECT_EQ(write(size, GattWriteOption::WriteWithResponse), 0) << size;
    EXPECT_EQ(write(size, GattWriteOption::WriteWithoutResponse), 0) << size;
  }
  for (const std::size_t size : {std::size_t{62}, std::size_t{300}, GetParam().longestWrite}) {
    EXPECT_EQ(write(size, GattWriteOption::WriteWithResponse), 0) << size;
    EXPECT_EQ(write(size, GattWriteOption::WriteWithoutResponse), 0x0D) << size;
  }
  EXPECT_EQ(write(513, GattWriteOption::WriteWithResponse), 0x0D);

  const auto information = Service(*device, GetParam().information);
  EXPECT_EQ(Read(*Characteristic(*information, 0x2A29), BluetoothCacheMode::Uncached).size(), 81U);
  const auto refused = Characteristic(*battery, 0x2A1D);
  const auto read = Await(refused->ReadValueAsync(BluetoothCacheMode::Uncached));
  EXPECT_EQ(read->status, GattCommunicationStatus::ProtocolError);
  EXPECT_EQ(read->protocolError, 0x80);
  const auto written =
      Await(refused->WriteValueWithResultAsync(Bytes{1}, GattWriteOption::WriteWithResponse));
  EXPECT_EQ(written->protocolError, 0x08);
}

TEST_P(Conformance, SubscribedValuesArriveInOrderAndEndWithTheSubscription) {
  const auto device = Device();
  const auto battery = Service(*device);
  const struct {
    std::uint16_t uuid;
    CccdValue value;
  } cases[] = {{0x2A19, CccdValue::Notify}, {0x2A1C, CccdValue::Indicate}};
  for (const auto& [uuid, value] : cases) {
    const auto characteristic = Characteristic(*battery, uuid);
    std::vector<std::uint8_t> values;  // written on the radio's thread, read while it is idle
    std::atomic<std::size_t> count = 0;
    const auto token = characteristic->OnValueChanged([&](GattCharacteristic& sender, auto bytes) {
      EXPECT_EQ(&sender, characteristic.get());
      values.push_back(bytes.front());
      ++count;
    });
    const auto configure = [&](CccdValue wanted) {
      EXPECT_EQ(
          Await(characteristic->WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
                    wanted))
              ->status,
          GattCommunicationStatus::Success);
      EXPECT_EQ(Await(characteristic->ReadClientCharacteristicConfigurationDescriptorAsync())
                    ->clientCharacteristicConfigurationDescriptor,
                wanted);
    };
    const auto echo = [&](std::uint8_t byte) {
      Await(characteristic->WriteValueWithResultAsync(Bytes{byte},
                                                      GattWriteOption::WriteWithResponse));
    };
    configure(value);
    for (std::uint8_t i = 1; i <= 50; ++i)
      echo(i);
    EXPECT_TRUE(Until([&] { return count >= 50; }));
    configure(CccdValue::None);
    echo(99);
    Pass(500ms);
    ASSERT_EQ(values.size(), 50U);
    EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
    EXPECT_EQ(Read(*characteristic, BluetoothCacheMode::Cached), Bytes{50});
  }
}

TEST_P(Conformance, ObjectsOutliveTheirDeviceWithoutReachingIt) {
  auto device = Device();
  const auto battery = Service(*device);
  const auto level = Characteristic(*battery, 0x2A19);
  device.reset();
  EXPECT_EQ(Await(level->ReadValueAsync(BluetoothCacheMode::Uncached))->status,
            GattCommunicationStatus::Unreachable);
  EXPECT_EQ(Await(battery->GetCharacteristicsAsync(BluetoothCacheMode::Uncached))->status,
            GattCommunicationStatus::Unreachable);
}

INSTANTIATE_TEST_SUITE_P(Radios, Conformance, testing::ValuesIn(Backends()),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace ble::tests
