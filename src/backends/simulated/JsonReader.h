#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "backends/simulated/JsonDocument.h"

namespace ble::simulated {

/// The first thing found wrong in a document. Readers go on after it, with harmless values, and
/// what they report then is ignored.
class JsonProblem {
 public:
  void Report(const std::string& place, std::string_view text);

  bool Found() const { return !text_.empty(); }
  const std::string& Text() const { return text_; }  ///< "place: what is wrong"

 private:
  std::string text_;
};

/// A name in the file and what it stands for.
template <class T>
struct NamedValue {
  std::string_view name;
  T value;
};

/// One value of a document and its place. A getter that does not find what it asks for reports a
/// problem and returns an empty or the lowest value.
class JsonNode {
 public:
  JsonNode(const Json& value, std::string place, JsonProblem& problem)
      : value_(&value), place_(std::move(place)), problem_(&problem) {}

  bool IsString() const;
  bool IsArray() const;
  bool IsObject() const;
  bool Has(std::string_view key) const;  ///< an object with such a member
  /// A member that must be there.
  JsonNode Member(std::string_view key) const;

  bool Boolean() const;
  std::int64_t Integer(std::int64_t lowest, std::int64_t highest) const;
  /// The same, which may also be written as a text "0x...".
  std::int64_t IntegerOrHex(std::int64_t lowest, std::int64_t highest) const;
  std::string Text(std::size_t maxBytes) const;
  std::vector<JsonNode> Elements() const;
  std::vector<std::pair<std::string, JsonNode>> Members() const;  ///< in the order of the text

  /// The value of a name out of a table.
  template <class T, std::size_t N>
  T OneOf(const NamedValue<T> (&names)[N]) const {
    const std::string name = Text(64);
    std::string known;
    for (const NamedValue<T>& candidate : names) {
      if (candidate.name == name) return candidate.value;
      known += (known.empty() ? "" : ", ") + std::string(candidate.name);
    }
    Fail("must be one of: " + known);
    return names[0].value;
  }

  void Fail(std::string_view text) const { problem_->Report(place_, text); }

 private:
  const Json* value_;
  std::string place_;
  JsonProblem* problem_;
};

/// An object whose members have fixed names: any other is a problem, except "comment", a text that
/// every object may have.
class JsonObject {
 public:
  JsonObject(const JsonNode& node, std::initializer_list<std::string_view> keys);

  JsonNode At(std::string_view key) const { return node_.Member(key); }

  /// All set `target` to what the member says, if there is one: a boolean, what `reader` makes of
  /// it, what `reader` makes of each element, or what its name stands for.
  void Read(std::string_view key, bool& target) const {
    if (node_.Has(key)) target = At(key).Boolean();
  }
  template <class T, class Reader>
  void Read(std::string_view key, T& target, Reader reader) const {
    if (node_.Has(key)) target = reader(At(key));
  }
  template <class T, class Reader>
  void ReadAll(std::string_view key, std::vector<T>& target, Reader reader) const {
    if (!node_.Has(key)) return;
    for (const JsonNode& element : At(key).Elements())
      target.push_back(reader(element));
  }
  template <class T, std::size_t N>
  void ReadName(std::string_view key, T& target, const NamedValue<T> (&names)[N]) const {
    if (node_.Has(key)) target = At(key).OneOf(names);
  }

 private:
  const JsonNode node_;
};

}  // namespace ble::simulated
