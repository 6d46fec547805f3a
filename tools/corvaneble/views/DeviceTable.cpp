#include "views/DeviceTable.h"

#include <algorithm>
#include <cmath>

#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

constexpr double kWeight = 0.25;   // of a new packet's RSSI in the average
constexpr double kWeakest = -100;  // dBm: an empty bar
constexpr double kStrongest = -30;
constexpr std::size_t kBarWidth = 10;

constexpr char kHeader[] =
    "ADDRESS       SIGNAL            AGE  NAME                    COMPANY  SERVICES";

std::string Bar(double rssi) {
  const double share = std::clamp((rssi - kWeakest) / (kStrongest - kWeakest), 0.0, 1.0);
  const auto filled = static_cast<std::size_t>(std::lround(share * kBarWidth));
  return std::string(filled, '#') + std::string(kBarWidth - filled, '.');
}

}  // namespace

void DeviceTable::Update(const AdvertisementEvent& a, Time now) {
  const auto [entry, isNew] = devices_.try_emplace(a.serverId);
  Device& device = entry->second;
  device.rssi = isNew ? a.rssi : device.rssi + kWeight * (a.rssi - device.rssi);
  device.heard = now;
  if (!a.name.empty()) device.name = a.name;
  if (a.companyId) device.companyId = a.companyId;
  for (const auto* uuids : {&a.serviceUuids, &a.servicesWithData})
    for (const std::string& uuid : SplitList(*uuids))
      if (std::find(device.services.begin(), device.services.end(), uuid) == device.services.end())
        device.services.push_back(uuid);
}

std::string DeviceTable::Row(const std::string& id, const Device& device, Time now) {
  const auto age = std::chrono::duration_cast<std::chrono::seconds>(now - device.heard).count();
  std::vector<std::string> services;
  for (const std::string& uuid : device.services)
    services.push_back(ServiceName(uuid));
  return id + "  " + Bar(device.rssi) + RightAligned(std::to_string(std::lround(device.rssi)), 5) +
         RightAligned(std::to_string(age), 5) + "s  " + Fit(Sanitize(device.name), 22) + "  " +
         Fit(device.companyId ? Hex16(*device.companyId) : "", 7) + "  " + JoinList(services, ", ");
}

std::string DeviceTable::Render(TerminalSize size, bool color, Time now, std::size_t& lines) const {
  std::vector<const std::pair<const std::string, Device>*> order;
  for (const auto& entry : devices_)
    order.push_back(&entry);
  std::stable_sort(order.begin(), order.end(), [](const auto* left, const auto* right) {
    return left->second.rssi > right->second.rssi;
  });
  const std::size_t room = size.rows > 3 ? size.rows - 3 : 1;  // less header, "more", prompt
  const std::size_t shown = std::min(room, order.size());
  const std::size_t width = size.columns > 1 ? size.columns - 1 : 1;

  std::string text =
      color ? "\x1b[1m" + Fit(kHeader, width) + "\x1b[0m\n" : Fit(kHeader, width) + "\n";
  for (std::size_t i = 0; i < shown; ++i)
    text += Fit(Row(order[i]->first, order[i]->second, now), width) + "\n";
  lines = shown + 1;
  if (order.size() > shown) {
    text += Fit("... and " + std::to_string(order.size() - shown) + " more", width) + "\n";
    ++lines;
  }
  return text;
}

}  // namespace corvaneble::tool
