#include "backends/UnavailableRadio.h"
#include "frame/ConfigItem.h"
#include "fuzz/Input.h"
#include "fuzz/Instance.h"
#include "platform/SystemServices.h"

// Fuzzes configuration texts, one per line, and reads the settings that they have written.
namespace {

using namespace ble;
using fuzz::Require;

std::int32_t Apply(CorvaneBLE_Handle handle, const std::string& text, std::string& answer) {
  const char* pointer = nullptr;
  const std::int32_t code = fuzz::Config(handle, text, pointer);
  Require(pointer != nullptr);
  answer = pointer;
  Require(CorvaneBLE_BLEClient_GetLastErrorCode(handle) == code);
  Require(code == 0 || code == CORVANEBLE_ERROR_UNKNOWN || code == CORVANEBLE_ERROR_INVALID_STATE);
  Require(code == 0 || *CorvaneBLE_BLEClient_GetLastError(handle) != '\0');
  return code;
}

// A value without surrounding blanks and quotes is stored unchanged.
bool IsPlain(const std::string& value) {
  constexpr const char* kDecoration = " \t\r\n\"";
  return value.empty() || (value.find_first_of(kDecoration) != 0 &&
                           value.find_last_of(kDecoration) != value.size() - 1);
}

void WriteAndReadBack(CorvaneBLE_Handle handle, const std::string& text) {
  std::string answer;
  const ConfigItem item = ParseConfigItem(text);
  if (Apply(handle, text, answer) != 0 || item.isRead) return;

  std::string stored;
  if (Apply(handle, item.name, stored) != 0 || !IsPlain(stored)) return;
  Require(Apply(handle, item.name + "=" + stored, answer) == 0);
  Require(Apply(handle, item.name, answer) == 0);
  Require(answer == stored || item.name.size() == sizeof("LastError") - 1);
}

// The same in UTF-16, with arbitrary units.
void ApplyWide(CorvaneBLE_Handle handle, const std::string& text) {
  std::u16string wide;
  for (const char c : text)
    wide += static_cast<char16_t>(static_cast<unsigned char>(c) << (wide.size() % 3 == 2 ? 8 : 0));
  std::intptr_t params[] = {fuzz::Param(wide.c_str()), 0};
  std::int32_t lengths[2] = {};
  (void)CorvaneBLE_BLEClient_Do(handle, CORVANEBLE_METHOD_CONFIG + CORVANEBLE_WIDE, 1, params,
                                lengths, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = fuzz::Text({data, size});
  const fuzz::Instance instance({MakeAbsentRadio(), SystemClock(), SystemPump()});
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    WriteAndReadBack(instance.Handle(), text.substr(begin, end - begin));
    begin = end + 1;
  }
  ApplyWide(instance.Handle(), text);
  return 0;
}
