#pragma once

#include <corvaneble/corvaneble.hpp>
#include <string>
#include <vector>

#include "text/ValueText.h"

namespace corvaneble::tool {

/// Names one attribute; the levels that do not apply are empty.
struct AttributePath {
  std::string service;
  std::string characteristic;
  std::string descriptor;
};

/// One attribute of the connected server, found by what a person typed.
struct FoundAttribute {
  AttributePath path;
  std::string uuid;
  std::string name;
  std::vector<Format> formats;  ///< of a characteristic
  int index = 0;  ///< of the characteristic, for properties as long as its service is selected
};

/// Discovers as much as is needed and finds the attribute. Each level of `wanted` is an identifier
/// or a UUID; without a descriptor the characteristic is meant. Throws when there is none, or when
/// a UUID fits several.
FoundAttribute FindAttribute(Client& client, const AttributePath& wanted);

/// Whether `text` has the form of an identifier: 12 hexadecimal digits.
bool IsIdentifier(const std::string& text);

}  // namespace corvaneble::tool
