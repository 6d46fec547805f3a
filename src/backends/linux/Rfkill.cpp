#include "backends/linux/Rfkill.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace ble::linux_radio {
namespace {

std::string FirstLine(const std::filesystem::path& file) {
  std::string line;
  std::ifstream stream(file);
  std::getline(stream, line);
  return line;
}

/// Whether a switch that has `value` in its file `key` is on.
bool IsBlocked(const char* key, const std::string& value) {
  std::error_code ended;
  for (std::filesystem::directory_iterator entry("/sys/class/rfkill", ended), end;
       !ended && entry != end; entry.increment(ended)) {
    const std::filesystem::path& folder = entry->path();
    if (FirstLine(folder / key) == value &&
        (FirstLine(folder / "soft") == "1" || FirstLine(folder / "hard") == "1"))
      return true;
  }
  return false;
}

}  // namespace

bool IsAdapterBlocked(const std::string& adapterName) {
  return IsBlocked("name", adapterName);
}

bool IsBluetoothBlocked() {
  return IsBlocked("type", "bluetooth");
}

}  // namespace ble::linux_radio
