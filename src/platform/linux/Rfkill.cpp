#include "platform/linux/Rfkill.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace corvaneble::platform::linux_radio {
namespace {

std::string FirstLine(const std::filesystem::path& file) {
  std::string line;
  std::ifstream stream(file);
  std::getline(stream, line);
  return line;
}

}  // namespace

bool IsBluetoothBlocked(const std::string& adapterName) {
  std::error_code none;
  for (const auto& entry : std::filesystem::directory_iterator("/sys/class/rfkill", none)) {
    const std::filesystem::path& folder = entry.path();
    if (FirstLine(folder / "name") == adapterName)
      return FirstLine(folder / "soft") == "1" || FirstLine(folder / "hard") == "1";
  }
  return false;
}

}  // namespace corvaneble::platform::linux_radio
