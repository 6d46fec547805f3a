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

namespace corvaneble::tests {

/// A radio without any thread of its own: operations finish where they are started, and every event
/// is raised by whoever calls, on as many threads at once as call.
class StormRadio final : public platform::Radio, public std::enable_shared_from_this<StormRadio> {
 public:
  static platform::OpenedRadio Open(std::shared_ptr<StormRadio>& radio) {
    radio = std::make_shared<StormRadio>();
    return {radio, platform::SystemClock(), platform::SystemPump()};
  }

  void Hear() const { received_.Raise({advertisement_, 0x00A050C4E2F1, -50, {}}); }
  void Notify(std::size_t characteristic, platform::ByteView value) {
    characteristics_[characteristic]->Raise(value);
  }
  std::shared_ptr<platform::GattDeviceService> Service() {
    return std::make_shared<StormService>(shared_from_this());
  }
  std::shared_ptr<platform::GattCharacteristic> Characteristic(std::size_t index) const {
    return characteristics_[index];
  }
  void ChangeName() const { nameChanged_.Raise(); }
  void ChangeServices() const { servicesChanged_.Raise({u"0x0001-0xFFFF"}); }
  std::atomic<bool> isBroken = false;  ///< devices throw when they are asked who they are
  void ChangeStatus(bool connected) {
    connected_ = connected;
    statusChanged_.Raise();
  }

  platform::AsyncOperationPtr<platform::BluetoothAdapter> GetDefaultAdapterAsync() override {
    struct Adapter final : platform::BluetoothAdapter {
      std::uint64_t BluetoothAddress() const override { return 1; }
      bool IsLowEnergySupported() const override { return true; }
    };
    return platform::CompletedOperation<platform::BluetoothAdapter>(std::make_shared<Adapter>());
  }
  std::shared_ptr<platform::BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    return std::make_shared<Watcher>(shared_from_this());
  }
  platform::AsyncOperationPtr<platform::BluetoothLEDevice> DeviceFromBluetoothAddressAsync(
      std::uint64_t) override {
    connected_ = true;
    return platform::CompletedOperation<platform::BluetoothLEDevice>(
        std::make_shared<Device>(shared_from_this()));
  }

 private:
  using Ptr = std::shared_ptr<StormRadio>;
  using Mode = platform::BluetoothCacheMode;

  template <class T>
  static platform::AsyncOperationPtr<T> Done(T result) {
    return platform::CompletedOperation<T>(std::make_shared<T>(std::move(result)));
  }

  class Watcher final : public platform::BluetoothLEAdvertisementWatcher {
   public:
    using State = platform::BluetoothLEAdvertisementWatcherStatus;
    explicit Watcher(Ptr radio) : radio_(std::move(radio)) {}
    State Status() const override { return status_; }
    void SetScanningMode(platform::BluetoothLEScanningMode) override {}
    void SetAdvertisementFilter(platform::BluetoothLEAdvertisementFilter) override {}
    void Start() override {
      status_ = State::Started;
      begun_.Open();
    }
    void Stop() override {
      if (status_.exchange(State::Stopped) == State::Stopped) return;
      over_.Open();
      stopped_.Raise(*this, {});
    }
    platform::Latch::SignalPtr Begun() override { return begun_.Signal(); }
    platform::Latch::SignalPtr Over() override { return over_.Signal(); }
    platform::EventToken OnReceived(Received::Handler handler) override {
      return radio_->received_.Add(std::move(handler));
    }
    platform::EventToken OnStopped(Stopped::Handler handler) override {
      return stopped_.Add(std::move(handler));
    }

   private:
    const Ptr radio_;
    std::atomic<State> status_ = State::Created;
    platform::Latch begun_;
    platform::Latch over_;
    Stopped stopped_;
  };

  class StormCharacteristic final : public platform::GattCharacteristic {
   public:
    explicit StormCharacteristic(std::uint16_t handle) : handle_(handle) {}
    void Raise(platform::ByteView value) { changed_.Raise(*this, value); }

    std::uint16_t AttributeHandle() const override { return handle_; }
    platform::Guid Uuid() const override { return platform::Guid::FromAssignedNumber(0x2A19); }
    std::uint32_t CharacteristicProperties() const override { return 0x1A; }
    std::u16string UserDescription() const override { return u"storm"; }
    std::vector<platform::GattPresentationFormat> PresentationFormats() const override {
      return {{4, 0, 0x2700, 1, 0}};
    }
    platform::AsyncOperationPtr<platform::GattDescriptorsResult> GetDescriptorsAsync(
        Mode) override {
      return Done(platform::GattDescriptorsResult{});
    }
    platform::AsyncOperationPtr<platform::GattDescriptorsResult> GetDescriptorsForUuidAsync(
        const platform::Guid&, Mode) override {
      return Done(platform::GattDescriptorsResult{});
    }
    platform::AsyncOperationPtr<platform::GattReadResult> ReadValueAsync(Mode) override {
      return Done(platform::GattReadResult{{}, {1, 2, 3}});
    }
    platform::AsyncOperationPtr<platform::GattWriteResult> WriteValueWithResultAsync(
        platform::ByteView, platform::GattWriteOption) override {
      return Done(platform::GattWriteResult{});
    }
    platform::AsyncOperationPtr<platform::GattReadClientCharacteristicConfigurationDescriptorResult>
    ReadClientCharacteristicConfigurationDescriptorAsync() override {
      return Done(platform::GattReadClientCharacteristicConfigurationDescriptorResult{});
    }
    platform::AsyncOperationPtr<platform::GattWriteResult>
    WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
        platform::GattClientCharacteristicConfigurationDescriptorValue) override {
      return Done(platform::GattWriteResult{});
    }
    platform::EventToken OnValueChanged(ValueChanged::Handler handler) override {
      return changed_.Add(std::move(handler));
    }

   private:
    const std::uint16_t handle_;
    ValueChanged changed_;
  };

  class StormService final : public platform::GattDeviceService {
   public:
    explicit StormService(Ptr radio) : radio_(std::move(radio)) {}
    std::uint16_t AttributeHandle() const override { return 1; }
    platform::Guid Uuid() const override { return platform::Guid::FromAssignedNumber(0x180F); }
    platform::AsyncOperationPtr<platform::GattDeviceServicesResult> GetIncludedServicesAsync(
        Mode) override {
      return Done(platform::GattDeviceServicesResult{});
    }
    platform::AsyncOperationPtr<platform::GattDeviceServicesResult> GetIncludedServicesForUuidAsync(
        const platform::Guid&, Mode) override {
      return Done(platform::GattDeviceServicesResult{});
    }
    platform::AsyncOperationPtr<platform::GattCharacteristicsResult> GetCharacteristicsAsync(
        Mode) override {
      platform::GattCharacteristicsResult result;
      for (const auto& one : radio_->characteristics_)
        result.characteristics.push_back(one);
      return Done(std::move(result));
    }
    platform::AsyncOperationPtr<platform::GattCharacteristicsResult> GetCharacteristicsForUuidAsync(
        const platform::Guid&, Mode mode) override {
      return GetCharacteristicsAsync(mode);
    }

   private:
    const Ptr radio_;
  };

  class Device final : public platform::BluetoothLEDevice {
   public:
    explicit Device(Ptr radio) : radio_(std::move(radio)) {}
    std::uint64_t BluetoothAddress() const override {
      if (radio_->isBroken) throw platform::PlatformFailure(-1, "Broken.");
      return 0x00A050C4E2F1;
    }
    platform::BluetoothConnectionStatus ConnectionStatus() const override {
      return radio_->connected_ ? platform::BluetoothConnectionStatus::Connected
                                : platform::BluetoothConnectionStatus::Disconnected;
    }
    std::u16string Name() const override { return u"Storm"; }
    platform::AsyncOperationPtr<platform::GattDeviceServicesResult> GetGattServicesAsync(
        Mode) override {
      return Done(platform::GattDeviceServicesResult{{}, {std::make_shared<StormService>(radio_)}});
    }
    platform::AsyncOperationPtr<platform::GattDeviceServicesResult> GetGattServicesForUuidAsync(
        const platform::Guid&, Mode mode) override {
      return GetGattServicesAsync(mode);
    }
    platform::EventToken OnConnectionStatusChanged(Changed::Handler handler) override {
      return radio_->statusChanged_.Add(std::move(handler));
    }
    platform::EventToken OnNameChanged(Changed::Handler handler) override {
      return radio_->nameChanged_.Add(std::move(handler));
    }
    platform::EventToken OnGattServicesChanged(GattServicesChanged::Handler handler) override {
      return radio_->servicesChanged_.Add(std::move(handler));
    }

   private:
    const Ptr radio_;
  };

  const platform::BluetoothLEAdvertisement advertisement_{
      platform::Bytes{3, 0x09, 'S', 't', 5, 0xFF, 0x4C, 0, 1, 2, 4, 0x16, 0x0F, 0x18, 0x64}};
  const std::vector<std::shared_ptr<StormCharacteristic>> characteristics_{
      std::make_shared<StormCharacteristic>(2), std::make_shared<StormCharacteristic>(5)};
  std::atomic<bool> connected_ = false;
  platform::BluetoothLEAdvertisementWatcher::Received received_;
  platform::BluetoothLEDevice::Changed statusChanged_;
  platform::BluetoothLEDevice::Changed nameChanged_;
  platform::BluetoothLEDevice::GattServicesChanged servicesChanged_;
};

}  // namespace corvaneble::tests
