#include "api/BLEClient.h"

#include <array>
#include <optional>
#include <utility>

#include "base/NeverDestroyed.h"
#include "base/Text.h"

namespace ble {
namespace {

using WideTexts = std::array<std::u16string, kMaxEventParameters>;

/// The process-wide lock that serialises the creation of instances.
Mutex& CreationMutex() {
  static NeverDestroyed<Mutex> mutex;
  return *mutex;
}

std::intptr_t Pointer(const void* pointer) {
  return reinterpret_cast<std::intptr_t>(pointer);
}

/// A text that cannot be converted is delivered as null; the empty one needs no code page.
std::intptr_t WideText(const TextCodec& codec, const char* text, std::u16string& storage) {
  const bool isWide = *text == '\0' || codec.ToWide(text, storage) == error::kSuccess;
  return isWide ? Pointer(storage.c_str()) : 0;
}

}  // namespace

BLEClient::BLEClient(CorvaneBLE_EventCallback callback, void* userData, bool unicodeEvents,
                     OpenedRadio radio)
    : callback_(callback),
      userData_(userData),
      unicodeEvents_(unicodeEvents),
      engine_(*this, std::move(radio), SystemTextConverter()) {}

BLEClient* BLEClient::Create(CorvaneBLE_EventCallback callback, void* userData, bool unicodeEvents,
                             OpenedRadio radio) {
  const MutexLock lock(CreationMutex());
  const auto client =
      std::make_shared<BLEClient>(callback, userData, unicodeEvents, std::move(radio));
  client->engine_.Attach(client);
  client->self_ = client;
  return client.get();
}

std::shared_ptr<BLEClient> BLEClient::FromHandle(void* handle) {
  return handle != nullptr ? static_cast<BLEClient*>(handle)->self_ : nullptr;
}

void BLEClient::Destroy() {
  const struct Release {
    std::shared_ptr<BLEClient>& owner;
    ~Release() { owner.reset(); }
  } release{self_};  // at the end, also when the platform throws
  engine_.Gate().Close();
  engine_.Disconnect();
}

[[gnu::hot]] std::int32_t BLEClient::Fire(EventId event, std::span<const EventValue> values) {
  if (callback_ == nullptr) return 0;
  const CallGate::Pass pass(engine_.Gate());
  if (!pass) return 0;
  const EventInfo& info = InfoOf(event);
  const std::int32_t code = Invoke(info, values);
  if (code == 0) return 0;
  const std::string text =
      Concat("An unhandled error occurred in the ", std::string_view(info.name), " event handler");
  if (engine_.errors.RecordUnhandledEvent(code, text) && event != EventId::Error) {
    engine_.events.FireError(code, text.c_str());
  }
  return code;
}

[[gnu::hot]] std::int32_t BLEClient::Invoke(const EventInfo& info,
                                            std::span<const EventValue> values) {
  std::array<std::intptr_t, kMaxEventParameters> params;
  std::array<std::int32_t, kMaxEventParameters> lengths;
  std::optional<WideTexts> wide;  // costs something even when nothing is in it
  if (unicodeEvents_) wide.emplace();
  for (std::size_t i = 0; i < values.size(); ++i) {
    lengths[i] = 0;
    switch (info.parameters[i]) {
      case 'i':
        params[i] = values[i].integer;
        break;
      case 'b':
        params[i] = Pointer(values[i].bytes.data());
        lengths[i] = static_cast<std::int32_t>(values[i].bytes.size());
        break;
      default:
        params[i] =
            wide ? WideText(engine_.codec, values[i].text, (*wide)[i]) : Pointer(values[i].text);
    }
  }
  return callback_(userData_, static_cast<std::int32_t>(info.id),
                   static_cast<std::int32_t>(values.size()), params.data(), lengths.data());
}

}  // namespace ble
