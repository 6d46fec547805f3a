#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/BluetoothAdvertisement.h"
#include "platform/PlatformFailure.h"
#include "platform/Radio.h"
#include "platform/SystemServices.h"

namespace ble::tests {

/// A radio without threads: operations complete on the calling thread, and the test raises events,
/// on any number of threads at once.
class StormRadio final : public Radio, public std::enable_shared_from_this<StormRadio> {
 public:
  static OpenedRadio Open(std::shared_ptr<StormRadio>& radio) {
    radio = std::make_shared<StormRadio>();
    return {radio, SystemClock(), SystemPump()};
  }

  void Hear() const { received_.Raise({advertisement_, 0x00A050C4E2F1, -50, {}}); }
  void Notify(std::size_t characteristic, ByteView value) {
    characteristics_[characteristic]->Raise(value);
  }
  std::shared_ptr<GattDeviceService> Service() {
    return std::make_shared<StormService>(shared_from_this());
  }
  std::shared_ptr<GattCharacteristic> Characteristic(std::size_t index) const {
    return characteristics_[index];
  }
  void ChangeName() const { nameChanged_.Raise(); }
  void ChangeServices() const { servicesChanged_.Raise({u"0x0001-0xFFFF"}); }
  std::atomic<bool> isBroken = false;  ///< reading the address of a device throws
  void ChangeStatus(bool connected) {
    connected_ = connected;
    statusChanged_.Raise();
  }

  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override {
    struct Adapter final : BluetoothAdapter {
      std::uint64_t BluetoothAddress() const override { return 1; }
      bool IsLowEnergySupported() const override { return true; }
    };
    return CompletedOperation<BluetoothAdapter>(std::make_shared<Adapter>());
  }
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    return std::make_shared<Watcher>(shared_from_this());
  }
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(std::uint64_t) override {
    connected_ = true;
    return CompletedOperation<BluetoothLEDevice>(std::make_shared<Device>(shared_from_this()));
  }

 private:
  using Ptr = std::shared_ptr<StormRadio>;
  using Mode = BluetoothCacheMode;

  template <class T>
  static AsyncOperationPtr<T> Done(T result) {
    return CompletedOperation<T>(std::make_shared<T>(std::move(result)));
  }

  class Watcher final : public BluetoothLEAdvertisementWatcher {
   public:
    using State = BluetoothLEAdvertisementWatcherStatus;
    explicit Watcher(Ptr radio) : radio_(std::move(radio)) {}
    State Status() const override { return status_; }
    void SetScanningMode(BluetoothLEScanningMode) override {}
    void SetAdvertisementFilter(BluetoothLEAdvertisementFilter) override {}
    void Start() override {
      status_ = State::Started;
      begun_.Open();
    }
    void Stop() override {
      if (status_.exchange(State::Stopped) == State::Stopped) return;
      over_.Open();
      stopped_.Raise(*this, {});
    }
    Latch::SignalPtr Begun() override { return begun_.Signal(); }
    Latch::SignalPtr Over() override { return over_.Signal(); }
    EventToken OnReceived(Received::Handler handler) override {
      return radio_->received_.Add(std::move(handler));
    }
    EventToken OnStopped(Stopped::Handler handler) override {
      return stopped_.Add(std::move(handler));
    }

   private:
    const Ptr radio_;
    std::atomic<State> status_ = State::Created;
    Latch begun_;
    Latch over_;
    Stopped stopped_;
  };

  class StormCharacteristic final : public GattCharacteristic {
   public:
    explicit StormCharacteristic(std::uint16_t handle) : handle_(handle) {}
    void Raise(ByteView value) { changed_.Raise(*this, value); }

    std::uint16_t AttributeHandle() const override { return handle_; }
    Uuid AttributeUuid() const override { return Uuid::FromAssignedNumber(0x2A19); }
    std::uint32_t CharacteristicProperties() const override { return 0x1A; }
    std::u16string UserDescription() const override { return u"storm"; }
    std::vector<GattPresentationFormat> PresentationFormats() const override {
      return {{4, 0, 0x2700, 1, 0}};
    }
    AsyncOperationPtr<GattDescriptorsResult> QueryDescriptors(const std::optional<Uuid>&,
                                                              Mode) override {
      return Done(GattDescriptorsResult{});
    }
    AsyncOperationPtr<GattReadResult> ReadValueAsync(Mode) override {
      return Done(GattReadResult{{}, {1, 2, 3}});
    }
    AsyncOperationPtr<GattWriteResult> WriteValueWithResultAsync(ByteView,
                                                                 GattWriteOption) override {
      return Done(GattWriteResult{});
    }
    AsyncOperationPtr<GattReadClientCharacteristicConfigurationDescriptorResult>
    ReadClientCharacteristicConfigurationDescriptorAsync() override {
      return Done(GattReadClientCharacteristicConfigurationDescriptorResult{});
    }
    AsyncOperationPtr<GattWriteResult>
    WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
        GattClientCharacteristicConfigurationDescriptorValue) override {
      return Done(GattWriteResult{});
    }
    EventToken OnValueChanged(ValueChanged::Handler handler) override {
      return changed_.Add(std::move(handler));
    }

   private:
    const std::uint16_t handle_;
    ValueChanged changed_;
  };

  class StormService final : public GattDeviceService {
   public:
    explicit StormService(Ptr radio) : radio_(std::move(radio)) {}
    std::uint16_t AttributeHandle() const override { return 1; }
    Uuid AttributeUuid() const override { return Uuid::FromAssignedNumber(0x180F); }
    AsyncOperationPtr<GattDeviceServicesResult> QueryIncludedServices(const std::optional<Uuid>&,
                                                                      Mode) override {
      return Done(GattDeviceServicesResult{});
    }
    AsyncOperationPtr<GattCharacteristicsResult> QueryCharacteristics(const std::optional<Uuid>&,
                                                                      Mode) override {
      GattCharacteristicsResult result;
      for (const auto& one : radio_->characteristics_)
        result.characteristics.push_back(one);
      return Done(std::move(result));
    }

   private:
    const Ptr radio_;
  };

  class Device final : public BluetoothLEDevice {
   public:
    explicit Device(Ptr radio) : radio_(std::move(radio)) {}
    std::uint64_t BluetoothAddress() const override {
      if (radio_->isBroken) throw PlatformFailure(-1, "Broken.");
      return 0x00A050C4E2F1;
    }
    BluetoothConnectionStatus ConnectionStatus() const override {
      return radio_->connected_ ? BluetoothConnectionStatus::Connected
                                : BluetoothConnectionStatus::Disconnected;
    }
    std::u16string Name() const override { return u"Storm"; }
    AsyncOperationPtr<GattDeviceServicesResult> QueryGattServices(const std::optional<Uuid>&,
                                                                  Mode) override {
      return Done(GattDeviceServicesResult{{}, {std::make_shared<StormService>(radio_)}});
    }
    EventToken OnConnectionStatusChanged(Changed::Handler handler) override {
      return radio_->statusChanged_.Add(std::move(handler));
    }
    EventToken OnNameChanged(Changed::Handler handler) override {
      return radio_->nameChanged_.Add(std::move(handler));
    }
    EventToken OnGattServicesChanged(GattServicesChanged::Handler handler) override {
      return radio_->servicesChanged_.Add(std::move(handler));
    }

   private:
    const Ptr radio_;
  };

  const BluetoothLEAdvertisement advertisement_{
      Bytes{3, 0x09, 'S', 't', 5, 0xFF, 0x4C, 0, 1, 2, 4, 0x16, 0x0F, 0x18, 0x64}};
  const std::vector<std::shared_ptr<StormCharacteristic>> characteristics_{
      std::make_shared<StormCharacteristic>(2), std::make_shared<StormCharacteristic>(5)};
  std::atomic<bool> connected_ = false;
  BluetoothLEAdvertisementWatcher::Received received_;
  BluetoothLEDevice::Changed statusChanged_;
  BluetoothLEDevice::Changed nameChanged_;
  BluetoothLEDevice::GattServicesChanged servicesChanged_;
};

}  // namespace ble::tests
