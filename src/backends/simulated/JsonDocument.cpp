#include "backends/simulated/JsonDocument.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace ble::simulated {
namespace {

constexpr std::size_t kMaxTextSize = std::size_t{4} << 20;
constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kMaxMembers = 64;
constexpr std::size_t kMaxElements = 65536;

std::string LineAndColumn(std::string_view text, std::size_t position) {
  const std::string_view before = text.substr(0, std::min(position, text.size()));
  const auto line = 1 + std::count(before.begin(), before.end(), '\n');
  const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
  const std::size_t column = 1 + before.size() - lineStart;
  return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": ";
}

/// The part of a parser message that a reader of the file needs. What was read last is left out:
/// it may hold any bytes.
std::string Reason(std::string message) {
  const std::string_view mark = "syntax error while parsing ";
  if (const auto start = message.find(mark); start != std::string::npos)
    message.erase(0, start + mark.size());
  else if (const auto bracket = message.find("] "); bracket != std::string::npos)
    message.erase(0, bracket + 2);
  if (const auto end = message.find("; last read"); end != std::string::npos) message.erase(end);
  return message;
}

/// Builds the value from the parser's events. A container being filled is on the stack, and nothing
/// is added to it while one of its own children is, so the pointers hold.
class Builder final : public nlohmann::json_sax<Json> {
 public:
  explicit Builder(std::string_view text) : text_(text) {}

  bool null() override { return Add(Json(nullptr)); }
  bool boolean(bool value) override { return Add(Json(value)); }
  bool number_integer(number_integer_t value) override { return Add(Json(value)); }
  bool number_unsigned(number_unsigned_t value) override { return Add(Json(value)); }
  bool number_float(number_float_t value, const string_t&) override { return Add(Json(value)); }
  bool string(string_t& value) override { return Add(Json(std::move(value))); }
  bool binary(binary_t&) override { return false; }  // JSON texts have none
  bool start_object(std::size_t) override { return Open(Json::object()); }
  bool start_array(std::size_t) override { return Open(Json::array()); }
  bool end_object() override { return Close(); }
  bool end_array() override { return Close(); }

  bool key(string_t& name) override {
    Level& level = levels_.back();
    if (level.container->size() >= kMaxMembers) return Fail(Place(), "too many keys");
    level.key = std::move(name);
    if (level.container->contains(level.key))
      return Fail(Place(), "the key " + InQuotes(level.key) + " is given twice");
    return true;
  }

  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& problem) override {
    // The position counts the byte that made the parser stop.
    error_ = LineAndColumn(text_, position == 0 ? 0 : position - 1) + Reason(problem.what());
    return false;
  }

  Json TakeRoot() { return std::move(root_); }
  const std::string& Error() const { return error_; }

 private:
  struct Level {
    Json* container;
    std::string key;
  };

  bool Add(Json value) { return Put(std::move(value)) != nullptr; }

  bool Open(Json empty) {
    if (levels_.size() >= kMaxDepth) return Fail(Place(), "nested too deeply");
    Json* const container = Put(std::move(empty));
    if (container != nullptr) levels_.push_back({container, {}});
    return container != nullptr;
  }

  bool Close() {
    levels_.pop_back();
    return true;
  }

  /// Where the value now stands, or null when its container is full.
  Json* Put(Json value) {
    if (levels_.empty()) {
      root_ = std::move(value);
      return &root_;
    }
    Level& level = levels_.back();
    if (level.container->is_object()) return &((*level.container)[level.key] = std::move(value));
    if (level.container->size() >= kMaxElements) {
      Fail(Place(), "too many elements");
      return nullptr;
    }
    level.container->push_back(std::move(value));
    return &level.container->back();
  }

  /// Where the innermost open container stands.
  std::string Place() const {
    std::string place;
    for (std::size_t i = 0; i + 1 < levels_.size(); ++i) {
      const Level& level = levels_[i];
      place = level.container->is_object() ? MemberPlace(place, level.key)
                                           : ElementPlace(place, level.container->size() - 1);
    }
    return place;
  }

  bool Fail(const std::string& place, const std::string& text) {
    error_ = place.empty() ? text : place + ": " + text;
    return false;
  }

  std::string_view text_;
  Json root_;
  std::vector<Level> levels_;
  std::string error_;
};

}  // namespace

JsonDocument ParseJson(std::string_view text) {
  if (text.size() > kMaxTextSize) return {nullptr, "the file is larger than 4 MiB"};
  // The parser would take a NUL for the end of the text.
  if (const auto nul = text.find('\0'); nul != std::string_view::npos)
    return {nullptr, LineAndColumn(text, nul) + "a NUL byte"};
  Builder builder(text);
  if (!Json::sax_parse(text, &builder)) return {nullptr, builder.Error()};
  return {std::make_shared<const Json>(builder.TakeRoot()), {}};
}

std::string MemberPlace(const std::string& place, std::string_view key) {
  std::string member = place.empty() ? place : place + ".";
  // Keys of the file itself come in here before anything has checked them.
  for (const char c : key.substr(0, 40))
    member +=
        static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x7E ? '?' : c;
  return member;
}

std::string ElementPlace(const std::string& place, std::size_t index) {
  return place + "[" + std::to_string(index) + "]";
}

std::string InQuotes(std::string_view text) {
  constexpr std::size_t kShown = 40;
  std::size_t shown = std::min(text.size(), kShown);
  // Cut before a character, not inside one.
  while (shown < text.size() && shown > 0 &&
         (static_cast<unsigned char>(text[shown]) & 0xC0) == 0x80)
    --shown;
  std::string quoted = "\"";
  for (const char c : text.substr(0, shown))
    quoted += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
  return quoted + (shown < text.size() ? "...\"" : "\"");
}

}  // namespace ble::simulated
