#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace ble::simulated {

/// A parsed JSON value; members keep the order of the text.
using Json = nlohmann::ordered_json;

/// The value, or null and what is wrong with the text and where.
struct JsonDocument {
  std::shared_ptr<const Json> root;
  std::string error;
};

/// Parses a whole text as one JSON value. Stricter than JSON where a file would not mean what it
/// seems to: a key may be given once. Bounded on hostile texts: nesting, members per object and
/// size are limited. Never throws on account of the text.
[[nodiscard]] JsonDocument ParseJson(std::string_view text);

/// The place of a member or an element inside the value at `place`, as error messages show it.
[[nodiscard]] std::string MemberPlace(const std::string& place, std::string_view key);
[[nodiscard]] std::string ElementPlace(const std::string& place, std::size_t index);

/// Text from a file, fit for an error message: in quotes, shortened, without control characters.
[[nodiscard]] std::string InQuotes(std::string_view text);

}  // namespace ble::simulated
