#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backends/simulated/AttributeDatabase.h"
#include "backends/simulated/Scenario.h"
#include "backends/simulated/TimelineRef.h"
#include "base/Mutex.h"
#include "platform/Event.h"

namespace ble::simulated {

class SimulatedLink;

/// One peripheral of a scenario, alive: its name, its attributes and what happens to it while it is
/// connected. Every event of the scenario happens once.
///
/// A dropped link leaves the peripheral out of reach until its next restoring event, if one is
/// still to come; without one it can be connected to again at once.
///
/// Everything but `Scenario`, `Name` and the event registrations belongs to the radio's thread.
class VirtualPeripheral : public std::enable_shared_from_this<VirtualPeripheral> {
 public:
  /// Throws `PlatformFailure` when the services cannot be laid out.
  VirtualPeripheral(TimelineRef timeline, PeripheralScenario scenario);

  const PeripheralScenario& Scenario() const { return scenario_; }
  std::string Name() const;  ///< UTF-8

  [[nodiscard]] EventToken OnNameChanged(std::function<void()> handler) {
    return nameChanged_.Add(std::move(handler));
  }
  /// Raised when a peripheral whose link had dropped can be connected to again.
  [[nodiscard]] EventToken OnBackInReach(std::function<void()> handler) {
    return backInReach_.Add(std::move(handler));
  }

  bool InReach() const { return scenario_.connectable && inReach_; }
  AttributeDatabase& Database() { return database_; }

  /// A link has opened: the events timed from there are on their way.
  void OnLinkOpened(const std::shared_ptr<SimulatedLink>& link);
  /// A link's request number `count`, before it is served.
  void OnRequest(SimulatedLink& link, std::uint32_t count);

 private:
  struct Pending {
    PeripheralEvent event;
    bool happened = false;
  };

  void Happen(std::size_t index);
  void DropLinks();
  void ChangeName(const std::string& name);
  void ChangeServices(const std::vector<ServiceScenario>& services);
  template <class Action>
  void ForEachLink(Action action);

  TimelineRef timeline_;
  const PeripheralScenario scenario_;
  EventSource<> nameChanged_;
  EventSource<> backInReach_;

  mutable Mutex mutex_;
  std::string name_ GUARDED_BY(mutex_);

  AttributeDatabase database_;
  std::vector<Pending> events_;
  std::vector<std::weak_ptr<SimulatedLink>> links_;
  bool inReach_ = true;
};

}  // namespace ble::simulated
