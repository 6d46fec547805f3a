#include "att/GattClient.h"
#include "fuzz/HostileServer.h"
#include "fuzz/Input.h"
#include "fuzz/VirtualExecutor.h"

// Fuzzes the GATT client with a hostile server. Input: a byte array with the steps of the client,
// then the script of the server.
namespace {

using namespace ble;
using fuzz::Input;
using fuzz::Require;

constexpr std::size_t kMaxHeld = 64;       // objects of each type that the client keeps
constexpr std::size_t kMaxTasks = 50'000;  // more count as a run that does not end

class Client {
 public:
  Client(Input steps, const std::shared_ptr<fuzz::HostileServer>& server,
         const std::shared_ptr<fuzz::VirtualExecutor>& executor)
      : steps_(steps), executor_(executor), client_(std::in_place, server, executor, Events()) {}

  void Run() {
    while (!steps_.AtEnd()) {
      const std::uint8_t step = steps_.Byte();
      Begin(step % 16);
      if (step >= 0x80) executor_->RunAll(kMaxTasks);  // otherwise the next step does not wait
    }
    executor_->RunAll(kMaxTasks);
    Require(pending_ == 0);
    client_.reset();
    executor_->RunAll(kMaxTasks);
    Require(pending_ == 0);
  }

 private:
  static constexpr auto kUncached = BluetoothCacheMode::Uncached;
  static constexpr auto kCached = BluetoothCacheMode::Cached;
  using Configuration = GattClientCharacteristicConfigurationDescriptorValue;

  att::GattClientEvents Events() {
    att::GattClientEvents events;
    events.linkChanged = [this](bool open) { Require(std::exchange(open_, open) != open); };
    events.servicesChanged = [](const std::u16string& range) { Require(range.size() == 13); };
    return events;
  }

  // An operation completes exactly once, with a result or an error.
  template <class T, class Use>
  void Await(const AsyncOperationPtr<T>& operation, Use use) {
    ++pending_;
    operation->OnCompleted([this, use, done = false](AsyncOperation<T>& finished) mutable {
      Require(!std::exchange(done, true));
      --pending_;
      const auto result = finished.GetResults();
      Require(result != nullptr);
      const bool isProtocolError = result->status == GattCommunicationStatus::ProtocolError;
      Require(isProtocolError == result->protocolError.has_value());
      use(*result);
      if (steps_.AtEnd() || nested_) return;
      nested_ = true;  // the client continues inside the completion
      if (const std::uint8_t step = steps_.Byte(); step >= 0xC0) Begin(step % 16);
      nested_ = false;
    });
  }

  template <class T>
  static void Hold(std::vector<std::shared_ptr<T>>& held,
                   const std::vector<std::shared_ptr<T>>& found) {
    for (const auto& object : found) {
      Require(object != nullptr && object->AttributeHandle() != 0);
      if (held.size() < kMaxHeld) held.push_back(object);
    }
  }

  template <class T>
  std::shared_ptr<T> Pick(const std::vector<std::shared_ptr<T>>& held) {
    return held.empty() ? nullptr : held[steps_.Byte() % held.size()];
  }

  void Begin(int step) {
    if (step <= 2) return AskForServices(step);
    if (step <= 4) return AskService(step);
    if (step <= 10) return AskCharacteristic(step);
    if (step <= 12) return AskDescriptor(step);
    if (step == 13) return LookAtProperties();
    if (step == 14) return Forget();
    if (client_ && steps_.Byte() == 0xFF) client_->Close();
  }

  void AskForServices(int step) {
    const auto use = [this](const GattDeviceServicesResult& result) {
      Hold(services_, result.services);
    };
    const Uuid uuid = Uuid::FromAssignedNumber(0x1801);
    if (step == 0) Await(client_->GetGattServicesAsync(kUncached), use);
    if (step == 1) Await(client_->GetGattServicesForUuidAsync(uuid, kUncached), use);
    if (step == 2) Await(client_->GetGattServicesAsync(kCached), use);
  }

  void AskService(int step) {
    const auto service = Pick(services_);
    if (!service) return;
    if (step == 3) {
      Await(service->GetIncludedServicesAsync(kUncached),
            [this](const GattDeviceServicesResult& result) { Hold(services_, result.services); });
    } else {
      Await(service->GetCharacteristicsAsync(kUncached),
            [this](const GattCharacteristicsResult& result) { Listen(result.characteristics); });
    }
  }

  void Listen(const std::vector<std::shared_ptr<GattCharacteristic>>& found) {
    Hold(characteristics_, found);
    while (tokens_.size() < characteristics_.size()) {
      const auto& characteristic = characteristics_[tokens_.size()];
      tokens_.push_back(
          characteristic->OnValueChanged([raw = characteristic.get()](auto& source, auto value) {
            Require(&source == raw && value.size() <= 512);
          }));
    }
  }

  void AskCharacteristic(int step) {
    const auto characteristic = Pick(characteristics_);
    if (!characteristic) return;
    switch (step) {
      case 5:
        return Await(characteristic->GetDescriptorsAsync(kUncached),
                     [this](const GattDescriptorsResult& result) {
                       Hold(descriptors_, result.descriptors);
                     });
      case 6:
        return Await(characteristic->ReadValueAsync(kUncached), CheckValue);
      case 7:
        return Await(characteristic->WriteValueWithResultAsync(NextValue(),
                                                               GattWriteOption::WriteWithResponse),
                     [](const GattWriteResult&) {});
      case 8:
        return Await(characteristic->WriteValueWithResultAsync(
                         NextValue(), GattWriteOption::WriteWithoutResponse),
                     [](const GattWriteResult&) {});
      case 9:
        return Await(
            characteristic->WriteClientCharacteristicConfigurationDescriptorWithResultAsync(
                static_cast<Configuration>(steps_.Byte() % 3)),
            [](const GattWriteResult&) {});
      default:
        return Await(characteristic->ReadClientCharacteristicConfigurationDescriptorAsync(),
                     [](const auto&) {});
    }
  }

  void AskDescriptor(int step) {
    const auto descriptor = Pick(descriptors_);
    if (!descriptor) return;
    if (step == 11) return Await(descriptor->ReadValueAsync(kUncached), CheckValue);
    Await(descriptor->WriteValueWithResultAsync(NextValue()), [](const GattWriteResult&) {});
  }

  static void CheckValue(const GattReadResult& result) {
    Require(result.value.size() <= 512);
    Require(result.value.empty() || result.status == GattCommunicationStatus::Success);
  }

  Bytes NextValue() { return Bytes(steps_.U16() % 600, 0xA5); }

  void LookAtProperties() {
    const Uuid uuid = Uuid::FromAssignedNumber(0x2902);
    const auto services = services_;  // a completion of a cached query may change services_
    for (const auto& service : services) {
      (void)service->AttributeUuid();
      Await(service->GetIncludedServicesForUuidAsync(uuid, kCached), [](const auto&) {});
      Await(service->GetCharacteristicsForUuidAsync(uuid, kCached), [](const auto&) {});
    }
    const auto characteristics = characteristics_;
    for (const auto& characteristic : characteristics) {
      Require(characteristic->CharacteristicProperties() <= 0x3FF);
      Require(characteristic->UserDescription().size() <= 512);
      (void)characteristic->PresentationFormats();
      Await(characteristic->ReadValueAsync(kCached), CheckValue);
      Await(characteristic->GetDescriptorsForUuidAsync(uuid, kCached), [](const auto&) {});
    }
  }

  void Forget() {
    tokens_.clear();
    descriptors_.clear();
    characteristics_.clear();
    services_.clear();
  }

  Input steps_;
  const std::shared_ptr<fuzz::VirtualExecutor> executor_;
  bool open_ = false;
  bool nested_ = false;
  int pending_ = 0;
  std::vector<std::shared_ptr<GattDeviceService>> services_;
  std::vector<std::shared_ptr<GattCharacteristic>> characteristics_;
  std::vector<std::shared_ptr<GattDescriptor>> descriptors_;
  std::vector<EventToken> tokens_;
  std::optional<att::GattClient> client_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const Input steps(input.Run());
  const auto executor = std::make_shared<fuzz::VirtualExecutor>();
  Client(steps, std::make_shared<fuzz::HostileServer>(input, *executor), executor).Run();
  return 0;
}
