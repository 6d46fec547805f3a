#pragma once

#include <corvaneble/corvaneble.hpp>
#include <string>
#include <vector>

#include "text/ValueText.h"

namespace corvaneble::tool {

/// The identifiers or UUIDs that lead to an attribute. Levels that do not apply are empty.
struct AttributePath {
  std::string service;
  std::string characteristic;
  std::string descriptor;
};

/// An attribute of the connected server.
struct FoundAttribute {
  AttributePath path;
  std::string uuid;
  std::string name;
  std::vector<Format> formats;  ///< of a characteristic
  int index = 0;                ///< of the characteristic, valid while its service is selected
};

/// Discovers as much as is needed and finds the attribute. Without a descriptor it is the
/// characteristic. Throws if there is no such attribute or if a UUID matches several.
FoundAttribute FindAttribute(Client& client, const AttributePath& wanted);

/// Whether `text` has the form of an identifier: 12 hexadecimal digits.
bool IsIdentifier(const std::string& text);

}  // namespace corvaneble::tool
