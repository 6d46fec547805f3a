#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/Mutex.h"
#include "frame/SettingTable.h"

namespace ble {

/// The values of one instance's settings. Any thread.
class Settings {
 public:
  Settings();

  std::int32_t Integer(Setting id) const { return Number(id); }
  bool Flag(Setting id) const { return Number(id) != 0; }
  void SetInteger(Setting id, std::int32_t value) { Number(id) = value; }

  /// The value as the host reads it: "True" or "False", decimal, or the text.
  std::string Text(Setting id) const;

  /// Stores a value as the host writes it, converted to the setting's kind.
  void SetText(Setting id, std::string_view value);

 private:
  const std::atomic<std::int32_t>& Number(Setting id) const {
    return id == Setting::ZeroMemory ? processZeroMemory : numbers_[static_cast<std::size_t>(id)];
  }
  std::atomic<std::int32_t>& Number(Setting id) {
    return id == Setting::ZeroMemory ? processZeroMemory : numbers_[static_cast<std::size_t>(id)];
  }

  /// ZeroMemory belongs to the process: every instance reads and writes the same value.
  inline static std::atomic<std::int32_t> processZeroMemory{0};
  std::array<std::atomic<std::int32_t>, kSettingTable.size()> numbers_{};
  mutable Mutex mutex_;
  std::array<std::string, kSettingTable.size()> texts_ GUARDED_BY(mutex_);
};

/// The setting of a level with a name, without regard to case; null when there is none.
const SettingInfo* FindSetting(SettingLevel level, std::string_view name);

/// "TRUE", "yes" and "1" in any case are true, everything else is false.
bool ParseBoolean(std::string_view text);

/// A decimal number with an optional sign: as many digits as there are (none: 0), saturating at
/// the limits of 32 bits.
std::int32_t ParseDecimal(std::string_view text);

/// 1 for "TRUE" or "yes", 0 for "FALSE" or "no", hexadecimal after "0x", decimal otherwise.
std::int32_t ParseInteger(std::string_view text);

}  // namespace ble
