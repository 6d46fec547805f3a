#include "gatt/WatchTargets.h"

#include <algorithm>
#include <stdexcept>

#include "Interrupt.h"
#include "gatt/Attributes.h"
#include "gatt/GattTree.h"
#include "gatt/Link.h"
#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// Gathers characteristics of the service that is selected.
class Targets {
 public:
  explicit Targets(Client& client) : client_(client) {}

  void Add(const std::string& service, int index) {
    WatchedCharacteristic target;
    target.path = {service, client_.CharacteristicId(index), ""};
    if (std::any_of(found_.begin(), found_.end(), [&](const WatchedCharacteristic& other) {
          return other.path.characteristic == target.path.characteristic;
        }))
      return;
    target.uuid = client_.CharacteristicUuid(index);
    target.name = client_.CharacteristicDescription(index);
    try {
      target.userDescription = client_.CharacteristicUserDescription(index);
      target.formats = FormatsOf(client_, index);
    } catch (const Error& failure) {  // the values can be shown without them
      if (LinkIsGone(failure.Code())) throw;
    }
    found_.push_back(std::move(target));
  }

  std::vector<WatchedCharacteristic> Take() { return std::move(found_); }

 private:
  Client& client_;
  std::vector<WatchedCharacteristic> found_;
};

/// A characteristic that was asked for without its service.
struct Wanted {
  std::string text;
  bool byId;
  std::string key;
  bool seen = false;
};

void AddFromEverywhere(Client& client, const WatchWish& wish, Targets& targets) {
  std::vector<Wanted> wanted;
  for (const std::string& text : wish.characteristics) {
    const bool byId = IsIdentifier(text);
    wanted.push_back({text, byId, byId ? ToUpper(text) : CanonicalUuid(text)});
  }
  DiscoverAllServices(client);
  const int services = client.ServiceCount();
  for (int i = 0; i < services; ++i) {
    StopIfInterrupted();
    const std::string service = client.ServiceId(i);
    client.DiscoverCharacteristics(service);
    client.SetSelectedService(service);
    const int count = client.CharacteristicCount();
    for (int index = 0; index < count; ++index) {
      bool take = wish.all && client.CharacteristicCanSubscribe(index);
      for (Wanted& one : wanted) {
        const auto key =
            one.byId ? client.CharacteristicId(index) : client.CharacteristicUuid(index);
        if (key == one.key) take = one.seen = true;
      }
      if (take) targets.Add(service, index);
    }
  }
  for (const Wanted& one : wanted)
    if (!one.seen) throw std::runtime_error("the device has no characteristic " + one.text);
}

}  // namespace

std::string WatchedCharacteristic::Label() const {
  if (!userDescription.empty()) return userDescription;
  return name.empty() ? ShortUuid(uuid) : name;
}

std::vector<WatchedCharacteristic> FindWatched(Client& client, const WatchWish& wish) {
  client.Config("IncludeRediscovered", "False");
  Targets targets(client);
  for (std::size_t i = 0; i + 1 < wish.pairs.size(); i += 2) {
    const FoundAttribute found = FindAttribute(client, {wish.pairs[i], wish.pairs[i + 1], ""});
    targets.Add(found.path.service, found.index);
  }
  if (wish.all || !wish.characteristics.empty()) AddFromEverywhere(client, wish, targets);
  return targets.Take();
}

}  // namespace corvaneble::tool
