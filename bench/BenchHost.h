#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "api/BLEClient.h"
#include "backends/UnavailableRadio.h"
#include "corvaneble/corvaneble.h"
#include "platform/BluetoothAdvertisement.h"
#include "platform/SystemServices.h"

namespace ble::bench {

/// An instance that counts its events.
class BenchHost {
 public:
  explicit BenchHost(OpenedRadio radio, bool unicodeEvents = false)
      : handle_(BLEClient::Create(&OnEvent, this, unicodeEvents, std::move(radio))) {}
  ~BenchHost() { CorvaneBLE_BLEClient_Destroy(handle_); }
  BenchHost(const BenchHost&) = delete;
  BenchHost& operator=(const BenchHost&) = delete;

  CorvaneBLE_Handle Handle() const { return handle_; }
  std::uint64_t Events() const { return events_; }

  std::int32_t Do(std::int32_t method, const char* a = "", const char* b = "",
                  const char* c = "") const {
    std::intptr_t params[] = {reinterpret_cast<std::intptr_t>(a),
                              reinterpret_cast<std::intptr_t>(b),
                              reinterpret_cast<std::intptr_t>(c), 0};
    std::int32_t lengths[4] = {};
    return CorvaneBLE_BLEClient_Do(handle_, method, 3, params, lengths, nullptr);
  }

 private:
  static std::int32_t CORVANEBLE_CALL OnEvent(void* userData, std::int32_t /*event*/,
                                              std::int32_t /*count*/,
                                              const std::intptr_t* /*params*/,
                                              const std::int32_t* /*lengths*/) {
    ++static_cast<BenchHost*>(userData)->events_;
    return 0;
  }

  std::uint64_t events_ = 0;
  CorvaneBLE_Handle handle_;
};

/// A radio that receives the packets of the benchmark, on the thread of the benchmark.
class LoopbackRadio final : public Radio {
 public:
  class Watcher final : public BluetoothLEAdvertisementWatcher {
   public:
    using Status_ = BluetoothLEAdvertisementWatcherStatus;
    Status_ Status() const override { return status_; }
    void SetScanningMode(BluetoothLEScanningMode) override {}
    void SetAdvertisementFilter(BluetoothLEAdvertisementFilter) override {}
    void Start() override {
      status_ = Status_::Started;
      begun_.Open();
    }
    void Stop() override {
      status_ = Status_::Stopped;
      over_.Open();
    }
    Latch::SignalPtr Begun() override { return begun_.Signal(); }
    Latch::SignalPtr Over() override { return over_.Signal(); }
    EventToken OnReceived(Received::Handler handler) override {
      return received_.Add(std::move(handler));
    }
    EventToken OnStopped(Stopped::Handler handler) override {
      return stopped_.Add(std::move(handler));
    }
    void Hear(const BluetoothLEAdvertisementReceivedEventArgs& args) const {
      received_.Raise(args);
    }

   private:
    Status_ status_ = Status_::Created;
    Latch begun_;
    Latch over_;
    Received received_;
    Stopped stopped_;
  };

  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override {
    class Adapter final : public BluetoothAdapter {
     public:
      std::uint64_t BluetoothAddress() const override { return 0; }
      bool IsLowEnergySupported() const override { return true; }
    };
    return CompletedOperation<BluetoothAdapter>(std::make_shared<Adapter>());
  }
  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    return watcher_;
  }
  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(std::uint64_t) override {
    return CompletedOperation<BluetoothLEDevice>(nullptr);
  }

  const Watcher& Ether() const { return *watcher_; }

 private:
  const std::shared_ptr<Watcher> watcher_ = std::make_shared<Watcher>();
};

}  // namespace ble::bench
