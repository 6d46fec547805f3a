#pragma once

#include <corvaneble/corvaneble.hpp>
#include <string>
#include <vector>

#include "gatt/Attributes.h"
#include "text/ValueText.h"

namespace corvaneble::tool {

/// Which characteristics a person wants to watch.
struct WatchWish {
  std::vector<std::string> pairs;            ///< service, characteristic, service, ...
  std::vector<std::string> characteristics;  ///< of whatever service; a UUID means all it fits
  bool all = false;                          ///< every one that can notify or indicate
};

/// A characteristic that is watched.
struct WatchedCharacteristic {
  AttributePath path;
  std::string uuid;
  std::string name;  ///< assigned name, or empty
  std::string userDescription;
  std::vector<Format> formats;

  /// What a person would call it.
  std::string Label() const;
};

/// Discovers as much as is needed; each characteristic is there once. Throws when one that was
/// named does not exist.
std::vector<WatchedCharacteristic> FindWatched(Client& client, const WatchWish& wish);

}  // namespace corvaneble::tool
