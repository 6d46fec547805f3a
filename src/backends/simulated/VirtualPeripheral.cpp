#include "backends/simulated/VirtualPeripheral.h"

#include <algorithm>
#include <utility>

#include "backends/simulated/SimulatedLink.h"
#include "base/GattUuids.h"
#include "base/IfAlive.h"
#include "platform/PlatformFailure.h"

namespace ble::simulated {
namespace {

using Kind = PeripheralEvent::Kind;

constexpr std::int32_t kInvalidScenario = 22;

AttributeDatabase BuildOrThrow(const std::vector<ServiceScenario>& services,
                               const std::string& name) {
  std::string error;
  auto database = AttributeDatabase::Build(services, name, error);
  if (!database) throw PlatformFailure(kInvalidScenario, error);
  return std::move(*database);
}

}  // namespace

VirtualPeripheral::VirtualPeripheral(TimelineRef timeline, PeripheralScenario scenario)
    : timeline_(std::move(timeline)),
      scenario_(std::move(scenario)),
      name_(scenario_.name),
      database_(BuildOrThrow(scenario_.services, scenario_.name)) {
  for (const PeripheralEvent& event : scenario_.events) {
    if (event.kind == Kind::ChangeServices) (void)BuildOrThrow(event.services, {});
    events_.push_back({event});
  }
}

std::string VirtualPeripheral::Name() const {
  const MutexLock lock(mutex_);
  return name_;
}

void VirtualPeripheral::OnLinkOpened(const std::shared_ptr<SimulatedLink>& link) {
  std::erase_if(links_, [](const auto& other) { return other.expired(); });
  links_.push_back(link);
  for (std::size_t i = 0; i < events_.size(); ++i) {
    const Pending& pending = events_[i];
    if (pending.happened || pending.event.afterRequests || pending.event.kind == Kind::RestoreLink)
      continue;
    timeline_.PostAfter(pending.event.at, IfAlive(weak_from_this(), [on = std::weak_ptr(link),
                                                                     i](VirtualPeripheral& self) {
                          const auto open = on.lock();
                          if (open && open->IsOpen()) self.Happen(i);
                        }));
  }
}

void VirtualPeripheral::OnRequest(SimulatedLink& link, std::uint32_t count) {
  for (std::size_t i = 0; i < events_.size() && link.IsOpen(); ++i) {
    if (events_[i].event.afterRequests == count && events_[i].event.kind != Kind::RestoreLink)
      Happen(i);
  }
}

void VirtualPeripheral::Happen(std::size_t index) {
  if (std::exchange(events_[index].happened, true)) return;
  const PeripheralEvent& event = events_[index].event;
  switch (event.kind) {
    case Kind::DropLink:
      return DropLinks();
    case Kind::RestoreLink:
      inReach_ = true;
      return backInReach_.Raise();
    case Kind::ChangeName:
      return ChangeName(event.name);
    case Kind::ChangeServices:
      return ChangeServices(event.services);
  }
}

void VirtualPeripheral::DropLinks() {
  const auto restore = std::ranges::find_if(events_, [](const Pending& pending) {
    return pending.event.kind == Kind::RestoreLink && !pending.happened;
  });
  if (restore != events_.end()) {
    inReach_ = false;
    const auto index = static_cast<std::size_t>(restore - events_.begin());
    timeline_.PostAfter(
        restore->event.at,
        IfAlive(weak_from_this(), [index](VirtualPeripheral& self) { self.Happen(index); }));
  }
  ForEachLink([](SimulatedLink& link) { link.Drop(); });
}

void VirtualPeripheral::ChangeName(const std::string& name) {
  {
    const MutexLock lock(mutex_);
    name_ = name;
  }
  if (Attribute* value = database_.Find(database_.ValueHandleOf(gatt_uuid::kDeviceName)))
    value->value.assign(name.begin(), name.end());
  nameChanged_.Raise();
}

void VirtualPeripheral::ChangeServices(const std::vector<ServiceScenario>& services) {
  database_ = BuildOrThrow(services, Name());  // checked when the peripheral was made
  ForEachLink([](SimulatedLink& link) { link.OnServicesReplaced(); });
}

template <class Action>
void VirtualPeripheral::ForEachLink(Action action) {
  const auto links = links_;  // the list may grow while an action calls out
  for (const auto& weak : links) {
    if (const auto link = weak.lock()) action(*link);
  }
}

}  // namespace ble::simulated
