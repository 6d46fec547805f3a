#pragma once

#include <chrono>
#include <corvaneble/corvaneble.hpp>
#include <cstddef>
#include <map>
#include <string>

#include "Terminal.h"

namespace corvaneble::tool {

/// The devices that were heard, for the live view of a scan.
class DeviceTable {
 public:
  using Time = std::chrono::steady_clock::time_point;

  void Update(const AdvertisementEvent& advertisement, Time now);
  std::size_t Size() const { return devices_.size(); }

  /// As many devices as fit, the strongest first. `lines` receives the number of lines.
  std::string Render(TerminalSize size, bool color, Time now, std::size_t& lines) const;

 private:
  struct Device {
    std::string name;
    double rssi = 0;  ///< dBm, smoothed, so that lines do not swap places with every packet
    Time heard;
    std::vector<std::string> services;
    std::optional<int> companyId;
  };

  static std::string Row(const std::string& id, const Device& device, Time now);

  std::map<std::string, Device> devices_;
};

}  // namespace corvaneble::tool
