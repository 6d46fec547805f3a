#pragma once

#include <corvaneble/corvaneble.hpp>
#include <string>
#include <vector>

#include "gatt/Attributes.h"
#include "text/ValueText.h"

namespace corvaneble::tool {

/// The characteristics that the user wants to watch.
struct WatchWish {
  std::vector<std::string> pairs;            ///< service, characteristic, service, ...
  std::vector<std::string> characteristics;  ///< of any service; a UUID may match several
  bool all = false;                          ///< every one that can notify or indicate
};

/// A characteristic that is watched.
struct WatchedCharacteristic {
  AttributePath path;
  std::string uuid;
  std::string name;  ///< assigned name, or empty
  std::string userDescription;
  std::vector<Format> formats;

  /// What the user calls it: the description, else the name, else the UUID.
  std::string Label() const;
};

/// Discovers as much as is needed and finds each characteristic once. Throws if a named one does
/// not exist.
std::vector<WatchedCharacteristic> FindWatched(Client& client, const WatchWish& wish);

}  // namespace corvaneble::tool
