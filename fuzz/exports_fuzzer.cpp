#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "api/BLEClient.h"
#include "backends/simulated/ScenarioLoader.h"
#include "backends/simulated/SimulatedRadio.h"
#include "frame/EventTable.h"
#include "frame/HostNumber.h"
#include "frame/MethodTable.h"
#include "frame/PropertyTable.h"
#include "fuzz/Arguments.h"
#include "fuzz/Input.h"
#include "fuzz/Instance.h"
#include "fuzz/NastyScene.h"

// Fuzzes the exported functions.
namespace {

using namespace ble;
using namespace ble::simulated;
using fuzz::Input;
using fuzz::Param;
using fuzz::Require;
using fuzz::TextArgument;

constexpr int kMaxDepth = 6;              // of callbacks nested in calls nested in callbacks
constexpr milliseconds kCalmTime{2'000};  // simulated

// Calls the functions with arbitrary arguments, from the host's own thread and from the callback on
// any thread. Only the rules of the header are kept: arrays and texts are as long as required, and
// a destroyed instance is not used.
//
// Input: whether events are in UTF-16; a byte array with the program of the host's thread; a byte
// array for each callback on that thread; the rest is for callbacks on other threads.
class Host {
 public:
  Host(const Scenario& scenario, Input input)
      : scenario_(scenario),
        unicode_(input.Flag()),
        program_(input.LongRun()),
        ownCallbacks_(input.LongRun()),
        otherCallbacks_(input) {}

  void Run() {
    Create();
    while (!program_.AtEnd())
      Execute(program_);
    StayCalm();
    Destroy();
    // The thread of a radio may still hold the destroyed instance. After one more step of its time
    // it no longer does, and the radio is destroyed here, with its thread.
    for (const auto& timeline : timelines_)
      (void)timeline->Step(milliseconds(1), nullptr);
  }

 private:
  static std::int32_t CORVANEBLE_CALL OnEvent(void* userData, std::int32_t event,
                                              std::int32_t count, const std::intptr_t* params,
                                              const std::int32_t* lengths) {
    auto& host = *static_cast<Host*>(userData);
    const std::string_view kinds = InfoOf(static_cast<EventId>(event)).parameters;
    Require(static_cast<std::size_t>(count) == kinds.size());
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      if (kinds[i] == 'b') fuzz::ReadBytes(params[i], lengths[i]);
      if (kinds[i] == 's' && !host.unicode_) fuzz::ReadText<char>(params[i]);
      if (kinds[i] == 's' && host.unicode_ && params[i] != 0) fuzz::ReadText<char16_t>(params[i]);
    }
    return host.Obey();
  }

  // Runs the program of a callback.
  std::int32_t Obey() {
    thread_local int depth = 0;
    Input program{{}};
    {
      const std::lock_guard lock(mutex_);
      if (over_ || depth == kMaxDepth) return 0;
      program = Input((IsOwnThread() ? ownCallbacks_ : otherCallbacks_).Run());
      ++callbacks_;
    }
    ++depth;
    const std::int32_t code = program.AtEnd() ? 0 : static_cast<std::int8_t>(program.Byte());
    while (!program.AtEnd())
      Execute(program);
    --depth;
    const std::lock_guard lock(mutex_);
    if (--callbacks_ == 0) idle_.notify_all();
    return code;
  }

  // Lets time pass while the host's thread is in no call, so that callbacks on other threads may
  // destroy the instance. Then waits until no callback runs.
  void StayCalm() {
    {
      const std::lock_guard lock(mutex_);
      calm_ = true;
    }
    (void)timelines_.back()->Step(kCalmTime, nullptr);
    std::unique_lock lock(mutex_);
    over_ = true;
    idle_.wait(lock, [this] { return callbacks_ == 0; });
  }

  bool IsOwnThread() const { return std::this_thread::get_id() == thread_; }

  void Create() {
    auto opened = OpenSimulatedRadio(scenario_);
    timelines_.push_back(opened.timeline);
    handle_ = BLEClient::Create(&Host::OnEvent, this, unicode_, std::move(opened));
  }
  void Destroy() { (void)CorvaneBLE_BLEClient_Destroy(handle_.exchange(nullptr)); }

  void Execute(Input& program) {
    switch (program.Byte() % 16) {
      case 0:
      case 1:
        return Get(program);
      case 2:
        return GetAnything(program);
      case 3:
        return Set(program);
      case 4:
        return SetAnything(program);
      case 5:
      case 6:
      case 7:
        return Do(program);
      case 8:
        return DoAnything(program);
      case 9:
        return ConvertToWide(program);
      case 10:
        return CheckIndexes(program);
      case 11:
        return UseErrors(program);
      case 12:
        return ConnectAndDiscover(program);
      case 13:
        for (int steps = program.Byte() % 64; steps > 0; --steps)
          Call(CORVANEBLE_METHOD_DO_EVENTS, 0, nullptr, nullptr);
        return;
      case 14:
        return UseHelpers(program);
      default:
        return Recreate();
    }
  }

  std::int32_t Call(std::int32_t method, std::int32_t count, std::intptr_t* params,
                    std::int32_t* lengths) {
    return CorvaneBLE_BLEClient_Do(handle_, method, count, params, lengths, nullptr);
  }

  void Get(Input& program) {
    const PropertyInfo& info = kPropertyTable[program.Byte() % kPropertyTable.size()];
    const std::int32_t form = program.Byte() % 3 * CORVANEBLE_WIDE;
    const std::int32_t index = program.Byte() % 8 - 1;
    std::int32_t length = 0;
    const CorvaneBLE_Handle handle = handle_;
    const std::intptr_t value = CorvaneBLE_BLEClient_Get(
        handle, static_cast<std::int32_t>(info.id) + form, index, &length, nullptr);
    if (handle == nullptr) return Require(value == 0);
    if (info.type == PropertyType::Text) {
      form == CORVANEBLE_WIDE ? fuzz::ReadText<char16_t>(value) : fuzz::ReadText<char>(value);
    } else if (info.type == PropertyType::Bytes && form == CORVANEBLE_BYTES_AS_WIDE) {
      fuzz::ReadText<char16_t>(value);
    } else if (info.type == PropertyType::Bytes && length > 0) {
      fuzz::ReadBytes(value, length);
    }
  }

  void GetAnything(Input& program) {
    const std::int32_t property = program.I32();
    (void)CorvaneBLE_BLEClient_Get(handle_, property, program.I32(), nullptr, nullptr);
  }

  void Set(Input& program) {
    const PropertyInfo& info = kPropertyTable[program.Byte() % kPropertyTable.size()];
    const std::int32_t index = program.Byte() % 8 - 1;
    const bool wide = program.Flag();
    const std::int32_t property = static_cast<std::int32_t>(info.id) + (wide ? CORVANEBLE_WIDE : 0);
    if (info.type == PropertyType::Text) {
      const TextArgument text(program, wide);
      (void)CorvaneBLE_BLEClient_Set(handle_, property, index, text.Value(), program.I32());
    } else {
      (void)CorvaneBLE_BLEClient_Set(handle_, property, index, program.I32(), 0);
    }
  }

  // Any property except texts: an arbitrary number is not a valid pointer.
  void SetAnything(Input& program) {
    const std::int32_t property = program.I32();
    const PropertyInfo* const info = FindProperty(DecodePropertyNumber(property).number);
    if (info != nullptr && info->type == PropertyType::Text) return;
    const std::int32_t index = program.I32();
    (void)CorvaneBLE_BLEClient_Set(handle_, property, index, program.I32(), program.I32());
  }

  void Do(Input& program) {
    const MethodInfo& info = kMethodTable[program.Byte() % kMethodTable.size()];
    const std::uint8_t how = program.Byte();
    const bool wide = (how & 1) != 0;
    std::vector<TextArgument> texts;
    texts.reserve(kMaxMethodInputs);
    std::array<std::intptr_t, kMaxMethodInputs> params{};
    std::array<std::int32_t, kMaxMethodInputs> lengths{};
    for (std::size_t i = 0; i < info.inputs.size(); ++i) {
      const char kind = info.inputs[i];
      if (kind == 'i') params[i] = program.I32();
      if (kind == 'i') continue;
      const TextArgument& text = texts.emplace_back(program, wide && kind == 's');
      params[i] = text.Value();
      lengths[i] = kind == 'b' ? text.NarrowSize() - program.Byte() % 4 : program.I32();
    }
    const std::int32_t code = Call(
        static_cast<std::int32_t>(info.id) + (wide ? CORVANEBLE_WIDE : 0),
        (how & 2) != 0 ? program.I32() : static_cast<std::int32_t>(info.inputs.size()),
        (how & 12) != 12 ? params.data() : nullptr, (how & 48) != 48 ? lengths.data() : nullptr);
    if (code != 0 || (how & 12) == 12) return;
    if (info.id == Method::Config)
      wide ? fuzz::ReadText<char16_t>(params[1]) : fuzz::ReadText<char>(params[1]);
    if (info.id == Method::ReadValue && (how & 48) != 48) fuzz::ReadBytes(params[3], lengths[3]);
  }

  // An unknown method does not read the arrays.
  void DoAnything(Input& program) {
    const std::int32_t method = program.I32();
    const std::int32_t number = DecodeMethodNumber(method).number;
    if (FindMethod(number) == nullptr && number != CORVANEBLE_METHOD_CONVERT_TO_WIDE)
      Call(method, program.I32(), nullptr, nullptr);
  }

  void ConvertToWide(Input& program) {
    const TextArgument text(program, false);
    std::array<char16_t, 16> buffer{};
    std::intptr_t params[] = {text.Value(), program.Flag() ? 0 : Param(buffer.data()), 0};
    std::int32_t lengths[] = {text.NarrowSize() - program.Byte() % 4, program.Byte() % 20 - 3, 0};
    const std::int32_t capacity = lengths[1];
    const std::int32_t code = Call(CORVANEBLE_METHOD_CONVERT_TO_WIDE,
                                   program.Flag() ? program.I32() : 2, params, lengths);
    if (code == 0 && capacity > 0) Require(params[2] <= capacity);
  }

  void CheckIndexes(Input& program) {
    const std::int32_t property = program.Byte();
    const std::int32_t index = program.I32();
    const CorvaneBLE_Handle handle = handle_;
    const std::int32_t code = CorvaneBLE_BLEClient_CheckIndex(handle, property, index);
    Require(handle != nullptr ? code == 0 || code == CORVANEBLE_ERROR_INDEX_OUT_OF_RANGE
                              : code == CORVANEBLE_ERROR_OUT_OF_MEMORY);
    (void)CorvaneBLE_BLEClient_CheckIndex(handle, program.I32(), index);
  }

  void UseErrors(Input& program) {
    const CorvaneBLE_Handle handle = handle_;
    const std::int32_t code = program.I32();
    const TextArgument argument(program, false);
    const char* const text = fuzz::TextOf(argument.Value());
    const std::int32_t expected = handle != nullptr ? code : CORVANEBLE_ERROR_OUT_OF_MEMORY;
    Require(CorvaneBLE_BLEClient_SetLastErrorAndCode(handle, code, text) == expected);
    Require(CorvaneBLE_BLEClient_SetEventErrorAndCode(handle, code, text) == expected);
    (void)CorvaneBLE_BLEClient_GetLastErrorCode(handle);
    (void)CorvaneBLE_BLEClient_GetEventErrorCode(handle);
    if (handle == nullptr) return;
    fuzz::ReadText<char>(Param(CorvaneBLE_BLEClient_GetLastError(handle)));
    fuzz::ReadText<char>(Param(CorvaneBLE_BLEClient_GetEventError(handle)));
  }

  // Connects and discovers in one step, because later calls have more to test.
  void ConnectAndDiscover(Input& program) {
    std::intptr_t server[] = {Param(program.Flag() ? "C0FFEE000001" : "C0FFEE000002")};
    std::int32_t lengths[4] = {};
    (void)Call(CORVANEBLE_METHOD_CONNECT, 1, server, lengths);
    std::intptr_t everything[] = {0, 0, 1, 0};
    (void)Call(CORVANEBLE_METHOD_DISCOVER, 4, everything, lengths);
    std::intptr_t battery[] = {Param("001000000000"), Param("001000120000")};
    (void)Call(CORVANEBLE_METHOD_SELECT, 2, battery, lengths);
  }

  void UseHelpers(Input& program) {
    CorvaneBLE_EventString record{};
    record.codePage = program.U16();
    std::vector<TextArgument> texts;  // attached texts must outlive the record
    const int count = program.Byte() % 8;
    texts.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      const std::int32_t form = program.Byte() % 4;
      const std::int32_t mode = program.Byte() % 4;
      const TextArgument& text = texts.emplace_back(program, form == CORVANEBLE_STRING_WIDE);
      const void* const read =
          CorvaneBLE_EvtStr(&record, mode, fuzz::TextOf<void>(text.Value()), form);
      if (read == nullptr) continue;
      Require(mode == CORVANEBLE_STRING_READ);
      form == CORVANEBLE_STRING_WIDE ? fuzz::ReadText<char16_t>(Param(read))
                                     : fuzz::ReadText<char>(Param(read));
    }
    // Copying null frees everything.
    (void)CorvaneBLE_EvtStr(&record, CORVANEBLE_STRING_COPY, nullptr, CORVANEBLE_STRING_NARROW);
    Require(record.ownership == 0 && record.narrow == nullptr && record.wide == nullptr);

    std::uint64_t result = 0;
    std::intptr_t args[2] = {};
    (void)CorvaneBLE_Stream(nullptr, 495 + program.Byte() % 20, args, &result);
    (void)CorvaneBLE_BLEClient_StaticInit(nullptr);
  }

  // Another thread destroys the instance only while the host's thread makes no calls, and creates
  // no new one: outer callbacks might use the new instance while its own callbacks destroy it.
  void Recreate() {
    {
      const std::lock_guard lock(mutex_);
      if (over_ || (!calm_ && !IsOwnThread())) return;
    }
    Destroy();
    if (IsOwnThread()) Create();
  }

  const Scenario& scenario_;
  const bool unicode_;
  const std::thread::id thread_ = std::this_thread::get_id();
  Input program_;
  std::vector<std::shared_ptr<Timeline>> timelines_;  // of all instances; host's own thread only
  std::atomic<CorvaneBLE_Handle> handle_{nullptr};

  std::mutex mutex_;  // guards everything below
  std::condition_variable idle_;
  bool calm_ = false;
  bool over_ = false;
  int callbacks_ = 0;  // number of running callbacks
  Input ownCallbacks_;
  Input otherCallbacks_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ScenarioResult scene = ParseScenario(fuzz::kNastyScene, "scene");
  if (const auto* const error = std::get_if<std::string>(&scene)) std::puts(error->c_str());
  Host(std::get<Scenario>(scene), Input(data, size)).Run();
  return 0;
}
