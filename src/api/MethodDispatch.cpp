#include "api/MethodDispatch.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "api/Boundary.h"
#include "base/Text.h"
#include "frame/PropertyTable.h"

namespace ble {
namespace {

constexpr std::size_t kConfigAnswer = 1;    // where Config leaves its answer
constexpr std::size_t kReadValueBytes = 3;  // where ReadValue leaves the value

void StoreResult(const MethodCall& call, std::size_t position, const void* pointer) {
  if (call.params != nullptr) call.params[position] = reinterpret_cast<std::intptr_t>(pointer);
}

}  // namespace

[[gnu::hot]] ErrorCode MethodDispatch::Do(std::int32_t methodId, const MethodCall& call) {
  const auto [number, form] = DecodeMethodNumber(methodId);
  if (number == static_cast<std::int32_t>(Method::ConvertToWide)) return ConvertToWide(call);
  const MethodInfo* info = FindMethod(number);
  if (info == nullptr) return parts_.base.errors.Finish({});
  return parts_.base.errors.Finish(RunToStatus([&, form = form] {
    Inputs inputs;
    Status status = TakeInputs(*info, call, form, inputs);
    return status.Ok() ? Run(info->id, inputs, call, form) : status;
  }));
}

[[gnu::hot]] Status MethodDispatch::TakeInputs(const MethodInfo& info, const MethodCall& call,
                                               TextForm form, Inputs& inputs) const {
  for (std::size_t i = 0; i < info.inputs.size() && call.params != nullptr; ++i) {
    const std::intptr_t value = call.params[i];
    switch (info.inputs[i]) {
      case 's':
        if (Status status = TakeText(value, form, inputs.texts[i]); !status.Ok()) return status;
        break;
      case 'i':
        inputs.integers[i] = static_cast<std::int32_t>(value);
        break;
      default:
        if (value == 0 || call.lengths == nullptr) break;
        inputs.bytes[i] = {reinterpret_cast<const std::uint8_t*>(value),
                           static_cast<std::size_t>(std::max(call.lengths[i], 0))};
    }
  }
  return {};
}

[[gnu::hot]] Status MethodDispatch::TakeText(std::intptr_t value, TextForm form,
                                             std::string& text) const {
  if (value == 0) return {};
  if (form == TextForm::Wide) {
    return Status(parts_.base.codec.ToNarrow(reinterpret_cast<const char16_t*>(value), text));
  }
  text = reinterpret_cast<const char*>(value);
  return {};
}

[[gnu::hot]] Status MethodDispatch::Run(Method method, const Inputs& inputs, const MethodCall& call,
                                        TextForm form) {
  const auto& texts = inputs.texts;
  switch (method) {
    case Method::Config:
      return Config(inputs, call, form);
    case Method::Connect:
      return parts_.connection.Connect(texts[0]);
    case Method::Disconnect:
      return parts_.connection.Disconnect();
    case Method::Discover:
      return parts_.services.Discover(texts[0], texts[1], inputs.integers[2] != 0, texts[3]);
    case Method::DiscoverCharacteristics:
      return parts_.attributes.DiscoverCharacteristics(texts[0], texts[1]);
    case Method::DiscoverDescriptors:
      return parts_.attributes.DiscoverDescriptors(texts[0], texts[1]);
    case Method::DiscoverServices:
      return parts_.services.DiscoverServices(texts[0], texts[1]);
    case Method::DoEvents:
      parts_.link.wait.DoEvents();
      return {};
    case Method::PostValue:
      return parts_.writer.PostValue(texts[0], texts[1], inputs.bytes[2]);
    case Method::ReadValue:
      return ReadValue(inputs, call);
    case Method::Select:
      return parts_.connection.Select(texts[0], texts[1]);
    case Method::StartScanning:
      return parts_.scanner.StartScanning(texts[0]);
    case Method::StopScanning:
      return parts_.scanner.StopScanning();
    case Method::Subscribe:
      return parts_.subscriptions.Subscribe(texts[0], texts[1]);
    case Method::Unsubscribe:
      return parts_.subscriptions.Unsubscribe(texts[0], texts[1]);
    case Method::WriteValue:
      return parts_.writer.WriteValue(texts[0], texts[1], texts[2], inputs.bytes[3]);
    case Method::ConvertToWide:
      break;
  }
  return {};
}

Status MethodDispatch::Config(const Inputs& inputs, const MethodCall& call, TextForm form) {
  const bool hasText = call.params != nullptr && call.params[0] != 0;
  const std::string_view text = hasText ? std::string_view(inputs.texts[0]) : std::string_view();
  std::string answer;
  Status status;
  if (EqualsIgnoringCase(text, "BuildInfo")) {
    answer = kBuildInfo;
  } else {
    status = parts_.config.Config(text, answer);
  }
  ReturnSlot& slot = parts_.slots.OfConfig();
  slot.narrow = std::move(answer);
  if (form == TextForm::Wide && status.Ok()) {
    status = Status(parts_.base.codec.ToWide(slot.narrow, slot.wide));
    StoreResult(call, kConfigAnswer, slot.wide.c_str());
  } else {
    StoreResult(call, kConfigAnswer, slot.narrow.c_str());
  }
  return status;
}

[[gnu::hot]] Status MethodDispatch::ReadValue(const Inputs& inputs, const MethodCall& call) {
  const auto [status, value] =
      parts_.reader.ReadValue(inputs.texts[0], inputs.texts[1], inputs.texts[2]);
  if (!status.Ok()) return status;
  ReturnSlot& slot = parts_.slots.OfReadValue();
  const std::size_t size = value.size();
  slot.bytes.resize(size + 1);  // in the room of an earlier value
  *std::copy(value.begin(), value.end(), slot.bytes.begin()) = 0;
  StoreResult(call, kReadValueBytes, slot.bytes.data());
  if (call.lengths != nullptr) call.lengths[kReadValueBytes] = static_cast<std::int32_t>(size);
  return {};
}

ErrorCode MethodDispatch::ConvertToWide(const MethodCall& call) const {
  if (call.paramCount != 2 || call.params == nullptr || call.lengths == nullptr) {
    return error::kUnknown;
  }
  call.params[2] = 0;
  const auto* source = reinterpret_cast<const char*>(call.params[0]);
  auto* buffer = reinterpret_cast<char16_t*>(call.params[1]);
  const std::int32_t size = source != nullptr ? std::max(call.lengths[0], 0) : 0;
  const std::int32_t capacity = call.lengths[1];
  constexpr auto invalid = static_cast<ErrorCode>(ConversionError::InvalidParameter);
  constexpr auto tooSmall = static_cast<ErrorCode>(ConversionError::InsufficientBuffer);
  const bool converts = capacity > 0;
  if (converts && (size == 0 || buffer == nullptr)) return invalid;
  if (size == 0) return error::kSuccess;

  std::u16string wide;
  const ErrorCode code = parts_.base.codec.ToWide({source, static_cast<std::size_t>(size)}, wide);
  if (converts && code != error::kSuccess) return code;
  if (converts && wide.size() > static_cast<std::size_t>(capacity)) return tooSmall;
  if (converts) std::copy(wide.begin(), wide.end(), buffer);
  call.params[2] = static_cast<std::intptr_t>(wide.size());
  return error::kSuccess;
}

}  // namespace ble
