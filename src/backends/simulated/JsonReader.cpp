#include "backends/simulated/JsonReader.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "base/NeverDestroyed.h"

namespace ble::simulated {
namespace {

std::string Range(std::int64_t lowest, std::int64_t highest) {
  return "must be an integer from " + std::to_string(lowest) + " to " + std::to_string(highest);
}

}  // namespace

void JsonProblem::Report(const std::string& place, std::string_view text) {
  if (Found()) return;
  text_ = place.empty() ? std::string(text) : place + ": " + std::string(text);
}

bool JsonNode::IsString() const {
  return value_->is_string();
}
bool JsonNode::IsArray() const {
  return value_->is_array();
}
bool JsonNode::IsObject() const {
  return value_->is_object();
}
bool JsonNode::Has(std::string_view key) const {
  return value_->is_object() && value_->contains(std::string(key));
}

JsonNode JsonNode::Member(std::string_view key) const {
  static const NeverDestroyed<Json> absent;
  const bool present = Has(key);
  if (!present) Fail("the key " + InQuotes(key) + " is missing");
  return {present ? (*value_)[std::string(key)] : *absent, MemberPlace(place_, key), *problem_};
}

bool JsonNode::Boolean() const {
  if (value_->is_boolean()) return value_->get<bool>();
  Fail("must be true or false");
  return false;
}

std::int64_t JsonNode::Integer(std::int64_t lowest, std::int64_t highest) const {
  // Numbers from 2^63 on are kept unsigned; no range here reaches so far.
  const bool tooLarge =
      value_->is_number_unsigned() && value_->get<std::uint64_t>() > std::uint64_t(INT64_MAX);
  if (value_->is_number_integer() && !tooLarge) {
    const auto number = value_->get<std::int64_t>();
    if (number >= lowest && number <= highest) return number;
  }
  Fail(Range(lowest, highest));
  return lowest;
}

std::int64_t JsonNode::IntegerOrHex(std::int64_t lowest, std::int64_t highest) const {
  if (!IsString()) return Integer(lowest, highest);
  const std::string& text = value_->get_ref<const std::string&>();
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const bool prefixed = text.size() > 2 && text.starts_with("0x") && text[2] != '-';
  if (prefixed) {
    const auto [stop, error] = std::from_chars(text.data() + 2, end, number, 16);
    if (error == std::errc() && stop == end && number >= lowest && number <= highest) return number;
  }
  Fail(Range(lowest, highest) + ", or \"0x...\"");
  return lowest;
}

std::string JsonNode::Text(std::size_t maxBytes) const {
  if (!IsString()) {
    Fail("must be a text");
    return {};
  }
  const std::string& text = value_->get_ref<const std::string&>();
  if (text.size() <= maxBytes) return text;
  Fail("must not be longer than " + std::to_string(maxBytes) + " bytes");
  return {};
}

std::vector<JsonNode> JsonNode::Elements() const {
  std::vector<JsonNode> elements;
  if (!IsArray()) {
    Fail("must be an array");
    return elements;
  }
  elements.reserve(value_->size());
  for (const Json& element : *value_)
    elements.emplace_back(element, ElementPlace(place_, elements.size()), *problem_);
  return elements;
}

std::vector<std::pair<std::string, JsonNode>> JsonNode::Members() const {
  std::vector<std::pair<std::string, JsonNode>> members;
  if (!IsObject()) {
    Fail("must be an object");
    return members;
  }
  for (const auto& [key, value] : value_->items())
    members.emplace_back(key, JsonNode(value, MemberPlace(place_, key), *problem_));
  return members;
}

JsonObject::JsonObject(const JsonNode& node, std::initializer_list<std::string_view> keys)
    : node_(node) {
  for (const auto& [key, value] : node.Members()) {
    if (key == "comment")
      (void)value.Text(4096);
    else if (std::find(keys.begin(), keys.end(), key) == keys.end())
      node.Fail("unknown key " + InQuotes(key));
  }
}

}  // namespace ble::simulated
