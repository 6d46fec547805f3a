#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "api/BLEClient.h"
#include "api/EventString.h"
#include "api/Library.h"
#include "api/Stream.h"
#include "corvaneble/corvaneble.h"

// The exported functions. Each checks its handle and forwards to the instance.

using ble::BLEClient;
using ble::BLEClientEngine;
using ble::OpenRadio;
using ble::RadioNameFromEnvironment;

namespace {

constexpr std::int32_t kNullHandle = CORVANEBLE_ERROR_OUT_OF_MEMORY;

/// Runs the body with the instance behind a handle, which is kept alive during the call: the host
/// may destroy it from inside a callback. Returns `otherwise` for a null handle, and if memory runs
/// out where no error can be stored.
template <class Answer, class Body>
Answer With(CorvaneBLE_Handle handle, Answer otherwise, Body body) {
  try {
    const auto instance = BLEClient::FromHandle(handle);
    return instance ? static_cast<Answer>(body(*instance)) : otherwise;
  } catch (const std::exception&) {
    return otherwise;
  }
}

template <class Body>
std::int32_t WithEngine(CorvaneBLE_Handle handle, Body body) {
  return With(handle, kNullHandle, [&](BLEClient& client) { return body(client.Engine()); });
}

const char* Hold(ble::ReturnSlot& slot, std::string text) {
  slot.narrow = std::move(text);
  return slot.narrow.c_str();
}

const char* OrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

const void* EvtStr(ble::EventString& record, std::int32_t mode, const char* text) {
  if (mode == CORVANEBLE_STRING_READ) return ble::ReadNarrow(record);
  if (mode == CORVANEBLE_STRING_ATTACH) ble::SetNarrow(record, text, false);
  if (mode == CORVANEBLE_STRING_COPY) ble::SetNarrow(record, text, true);
  return nullptr;
}

const void* EvtStr(ble::EventString& record, std::int32_t mode, const char16_t* text) {
  if (mode == CORVANEBLE_STRING_READ) return ble::ReadWide(record);
  if (mode == CORVANEBLE_STRING_ATTACH) ble::SetWide(record, text, false);
  if (mode == CORVANEBLE_STRING_COPY) ble::SetWide(record, text, true);
  return nullptr;
}

}  // namespace

extern "C" {

CorvaneBLE_Handle CORVANEBLE_CALL CorvaneBLE_BLEClient_Create(CorvaneBLE_EventCallback callback,
                                                              void* userData, void* /*reserved*/,
                                                              int32_t flags) {
  try {
    return BLEClient::Create(callback, userData, (flags & CORVANEBLE_UNICODE_EVENTS) != 0,
                             OpenRadio(RadioNameFromEnvironment()));
  } catch (const std::exception&) {
    return nullptr;
  }
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Destroy(CorvaneBLE_Handle client) {
  return With(client, 0, [](BLEClient& instance) {
    instance.Destroy();
    return 0;
  });
}

intptr_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Get(CorvaneBLE_Handle client, int32_t propertyId,
                                                  int32_t index, int32_t* length,
                                                  void* /*reserved*/) {
  return With(client, std::intptr_t{0}, [&](BLEClient& instance) {
    return instance.Engine().Properties().Get(propertyId, index, length);
  });
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Set(CorvaneBLE_Handle client, int32_t propertyId,
                                                 int32_t index, intptr_t value,
                                                 int32_t /*length*/) {
  return WithEngine(client, [&](BLEClientEngine& engine) {
    return engine.Properties().Set(propertyId, index, value);
  });
}

[[gnu::hot]] int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_Do(CorvaneBLE_Handle client,
                                                             int32_t methodId, int32_t paramCount,
                                                             intptr_t* params, int32_t* lengths,
                                                             void* /*reserved*/) {
  return WithEngine(client, [&](BLEClientEngine& engine) {
    return engine.Methods().Do(methodId, {paramCount, params, lengths});
  });
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_CheckIndex(CorvaneBLE_Handle client,
                                                        int32_t propertyId, int32_t index) {
  return WithEngine(client, [&](BLEClientEngine& engine) {
    return engine.Properties().CheckIndex(propertyId, index);
  });
}

const char* CORVANEBLE_CALL CorvaneBLE_BLEClient_GetLastError(CorvaneBLE_Handle client) {
  return With(client, static_cast<const char*>(nullptr), [](BLEClient& instance) {
    auto& engine = instance.Engine();
    return Hold(engine.Slots().OfLastError(), engine.errors.LastText());
  });
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_GetLastErrorCode(CorvaneBLE_Handle client) {
  return WithEngine(client, [](BLEClientEngine& engine) { return engine.errors.LastCode(); });
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_SetLastErrorAndCode(CorvaneBLE_Handle client,
                                                                 int32_t code, const char* text) {
  return WithEngine(client, [&](BLEClientEngine& engine) {
    engine.errors.SetLastText(OrEmpty(text));
    engine.errors.SetLastCode(code);
    return code;
  });
}

const char* CORVANEBLE_CALL CorvaneBLE_BLEClient_GetEventError(CorvaneBLE_Handle client) {
  return With(client, static_cast<const char*>(nullptr), [](BLEClient& instance) {
    auto& engine = instance.Engine();
    return Hold(engine.Slots().OfEventError(), engine.errors.EventText());
  });
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_GetEventErrorCode(CorvaneBLE_Handle client) {
  return WithEngine(client, [](BLEClientEngine& engine) { return engine.errors.EventCode(); });
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_SetEventErrorAndCode(CorvaneBLE_Handle client,
                                                                  int32_t code, const char* text) {
  return WithEngine(client, [&](BLEClientEngine& engine) {
    engine.errors.SetEvent(code, OrEmpty(text));
    return code;
  });
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_StaticInit(void* module) {
  return ble::StaticInit(module);
}

int32_t CORVANEBLE_CALL CorvaneBLE_BLEClient_StaticDestroy(void) {
  return ble::StaticDestroy();
}

const void* CORVANEBLE_CALL CorvaneBLE_EvtStr(CorvaneBLE_EventString* record, int32_t mode,
                                              const void* text, int32_t form) {
  if (record == nullptr) return nullptr;
  try {
    if (form == CORVANEBLE_STRING_NARROW) {
      return EvtStr(*record, mode, static_cast<const char*>(text));
    }
    if (form == CORVANEBLE_STRING_WIDE) {
      return EvtStr(*record, mode, static_cast<const char16_t*>(text));
    }
  } catch (const std::exception&) {
  }
  return nullptr;
}

int32_t CORVANEBLE_CALL CorvaneBLE_Stream(void* stream, int32_t operation, intptr_t* args,
                                          void* result) {
  return ble::DispatchStream(static_cast<ble::Stream*>(stream), operation, args, result);
}

}  // extern "C"
