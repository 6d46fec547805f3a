#include "backends/linux/LinuxRadio.h"

#include <system_error>
#include <utility>

#include "backends/linux/DeviceSearch.h"
#include "backends/linux/LinuxDevice.h"
#include "backends/linux/LinuxSession.h"
#include "backends/linux/LinuxWatcher.h"
#include "platform/SystemServices.h"

namespace ble::linux_radio {
namespace {

class LinuxAdapter final : public BluetoothAdapter {
 public:
  explicit LinuxAdapter(const AdapterObject& adapter)
      : address_(adapter.address), lowEnergy_(adapter.lowEnergy) {}

  std::uint64_t BluetoothAddress() const override { return address_; }
  bool IsLowEnergySupported() const override { return lowEnergy_; }

 private:
  const std::uint64_t address_;
  const bool lowEnergy_;
};

/// Ends an operation that there is no adapter for.
template <class T>
void CompleteWithout(CompletableOperation<T>& operation, LinuxSession& session, Absence absence) {
  const std::string reason = session.WhyNoAdapter();
  if (absence == Absence::Fails)
    return operation.Fail({static_cast<std::int32_t>(std::errc::no_such_device), reason});
  session.Notify(reason);
  operation.Complete(nullptr);
}

class LinuxRadio final : public Radio {
 public:
  LinuxRadio(std::shared_ptr<LinuxSession> session, Absence absence)
      : session_(std::move(session)), absence_(absence) {}

  AsyncOperationPtr<BluetoothAdapter> GetDefaultAdapterAsync() override {
    auto operation = std::make_shared<CompletableOperation<BluetoothAdapter>>();
    session_->Run([operation, absence = absence_](LinuxSession& session) {
      if (const AdapterObject* const adapter = session.Adapter())
        return operation->Complete(std::make_shared<LinuxAdapter>(*adapter));
      CompleteWithout(*operation, session, absence);
    });
    return operation;
  }

  std::shared_ptr<BluetoothLEAdvertisementWatcher> CreateAdvertisementWatcher() override {
    return std::make_shared<LinuxWatcher>(session_);
  }

  AsyncOperationPtr<BluetoothLEDevice> DeviceFromBluetoothAddressAsync(
      std::uint64_t address) override {
    auto operation = std::make_shared<CompletableOperation<BluetoothLEDevice>>();
    session_->Run([operation, address, absence = absence_](LinuxSession& session) {
      if (!session.Adapter()) return CompleteWithout(*operation, session, absence);
      FindDevice(session, address,
                 [operation, weak = session.weak_from_this()](const DeviceObject* device) {
                   const auto alive = weak.lock();
                   operation->Complete(
                       device && alive ? std::make_shared<LinuxDevice>(*alive, *device) : nullptr);
                 });
    });
    return operation;
  }

  void SetWaitLimit(std::chrono::milliseconds limit) override { session_->SetWaitLimit(limit); }

  EventToken OnNotice(Notice::Handler handler) override {
    Notice notices = session_->Notices();  // copies share their handlers
    return notices.Add(std::move(handler));
  }

 private:
  const std::shared_ptr<LinuxSession> session_;
  const Absence absence_;
};

}  // namespace

OpenedRadio OpenLinuxRadio(const std::string& adapterName, Absence absence) {
  auto session = LinuxSession::Create(adapterName);
  auto loop = session->Loop();
  return {std::make_shared<LinuxRadio>(std::move(session), absence), SystemClock(),
          std::move(loop)};
}

}  // namespace ble::linux_radio
