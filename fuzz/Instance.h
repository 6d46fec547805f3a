#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "api/BLEClient.h"
#include "corvaneble/corvaneble.h"
#include "platform/Radio.h"

namespace ble::fuzz {

/// An instance of the library on a radio of the fuzzer. Destroyed at the end of the run.
class Instance {
 public:
  explicit Instance(OpenedRadio radio, CorvaneBLE_EventCallback callback = nullptr,
                    void* userData = nullptr)
      : handle_(BLEClient::Create(callback, userData, false, std::move(radio))) {}
  ~Instance() { CorvaneBLE_BLEClient_Destroy(handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  CorvaneBLE_Handle Handle() const { return handle_; }

 private:
  const CorvaneBLE_Handle handle_;
};

/// Conversions between a text and a parameter.
inline std::intptr_t Param(const void* text) {
  return reinterpret_cast<std::intptr_t>(text);
}
template <class Char = char>
const Char* TextOf(std::intptr_t param) {
  return reinterpret_cast<const Char*>(param);
}

/// Calls Config. The result is valid until the next Config call of this thread.
inline std::int32_t Config(CorvaneBLE_Handle handle, const std::string& text, const char*& answer) {
  std::intptr_t params[] = {Param(text.c_str()), 0};
  std::int32_t lengths[2] = {};
  const std::int32_t code =
      CorvaneBLE_BLEClient_Do(handle, CORVANEBLE_METHOD_CONFIG, 1, params, lengths, nullptr);
  answer = TextOf(params[1]);
  return code;
}

}  // namespace ble::fuzz
