#include "support/Script.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "base/Text.h"
#include "base/Utf.h"
#include "frame/MethodTable.h"
#include "frame/PropertyTable.h"

namespace ble::tests {
namespace {

using Words = std::vector<std::string>;

std::string Visible(std::string_view text) {
  std::string visible;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n' || (byte >= 0x20 && byte < 0x7F)) {
      visible += c;
    } else if (c == '\r') {
      visible += "\\r";
    } else {
      visible += {'\\', 'x', kUpperCaseDigits[byte >> 4], kUpperCaseDigits[byte & 0x0F]};
    }
  }
  return visible;
}

/// The script as the host sees its texts.
std::string InSystemCodePage(std::string_view utf8) {
  std::u16string wide;
  AppendUtf16(utf8, wide);
  return Visible(Narrow(wide));
}

Words SplitIntoWords(const std::string& line) {
  Words words;
  std::istringstream stream(line);
  for (std::string word; stream >> std::quoted(word, '\'', '\0');) {
    for (std::size_t at; (at = word.find("\\x")) != std::string::npos;)
      word.replace(at, 4, 1, static_cast<char>(HexByteOrFF(word[at + 2], word[at + 3])));
    words.push_back(word);
  }
  return words;
}

/// The row of a table with a name.
template <class Table>
auto& Named(const Table& table, const std::string& name) {
  const auto row = std::ranges::find_if(table, [&](const auto& info) { return info.name == name; });
  if (row == table.end()) throw std::runtime_error("no call or property: " + name);
  return *row;
}

/// What a call gave: a failure its message, a read its value.
struct Outcome {
  std::int32_t code = 0;
  std::string value;
};

Outcome Do(Host& host, const Words& words) {
  const MethodInfo& method = Named(kMethodTable, words[0]);
  std::array<std::intptr_t, 5> params{};
  std::array<std::int32_t, 5> lengths{};
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    const std::string& word = words[i + 1];
    const bool isNumber = method.inputs[i] == 'i';
    params[i] = isNumber ? std::stoi(word) : reinterpret_cast<std::intptr_t>(word.c_str());
    lengths[i] = static_cast<std::int32_t>(word.size());
  }
  const std::int32_t code = CorvaneBLE_BLEClient_Do(
      host.Handle(), static_cast<std::int32_t>(method.id),
      static_cast<std::int32_t>(words.size() - 1), params.data(), lengths.data(), nullptr);
  if (code != 0) return {code, host.LastError()};
  if (method.id == Method::Config) return {0, reinterpret_cast<const char*>(params[1])};
  if (method.id != Method::ReadValue) return {};
  return {0, {reinterpret_cast<const char*>(params[3]), static_cast<std::size_t>(lengths[3])}};
}

/// The row and the index of a property such as `ServiceId[2]`.
std::pair<const PropertyInfo&, std::int32_t> PropertyAt(const std::string& word) {
  const std::size_t bracket = word.find('[');
  return {Named(kPropertyTable, word.substr(0, bracket)),
          bracket != std::string::npos ? std::stoi(word.substr(bracket + 1)) : 0};
}

Outcome Get(Host& host, const Words& words) {
  Outcome outcome;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const auto [info, index] = PropertyAt(words[i]);
    std::int32_t length = 0;
    const std::intptr_t value = CorvaneBLE_BLEClient_Get(
        host.Handle(), static_cast<std::int32_t>(info.id), index, &length, nullptr);
    outcome.code = CorvaneBLE_BLEClient_GetLastErrorCode(host.Handle());
    outcome.value += i > 1 ? ", " : "";
    if (info.type == PropertyType::Integer) {
      outcome.value += std::to_string(value);
    } else {
      const auto* text = reinterpret_cast<const char*>(value);
      const bool isText = info.type == PropertyType::Text;
      const std::size_t size = isText ? std::strlen(text) : static_cast<std::size_t>(length);
      outcome.value += Concat(Quoted{{text, size}});
    }
  }
  return outcome;
}

Outcome Set(Host& host, const Words& words) {
  const auto [info, index] = PropertyAt(words[1]);
  const auto number = static_cast<std::int32_t>(info.id);
  const std::int32_t code = info.type == PropertyType::Integer
                                ? host.Set(number, std::stoi(words[2]), index)
                                : host.SetText(number, words[2].c_str(), index);
  return {code, code == 0 ? "" : host.LastError()};
}

Outcome Call(Host& host, const std::string& line) {
  const Words words = SplitIntoWords(line.substr(2));
  if (words[0] == "Get") return Get(host, words);
  if (words[0] == "Set") return Set(host, words);
  if (words[0] != "Pass") return Do(host, words);
  host.Pump(std::stoi(words[1]));
  return {};
}

}  // namespace

std::int32_t Play(Host& host, const std::string& calls) {
  std::istringstream lines(calls);
  for (std::string line; std::getline(lines, line);) {
    if (const std::int32_t code = Call(host, line).code) return code;
  }
  return 0;
}

void ExpectPlayed(Host& host, std::string_view script) {
  script.remove_prefix(script.starts_with('\n') ? 1 : 0);
  const std::string expected = InSystemCodePage(script);
  std::string played;
  std::istringstream lines(expected);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("> ")) continue;
    host.Forget();
    auto [code, answer] = Call(host, line);
    if (code != 0) answer = std::to_string(code) + " " + answer;
    played += line + "\n" + (answer.empty() ? "" : "  = " + Visible(answer) + "\n");
    for (const HostEvent& event : host.Events()) {
      const bool isOurs = event.thread == std::this_thread::get_id();
      played += (isOurs ? "  " : "~ ") + Visible(event.Line()) + "\n";
    }
  }
  EXPECT_EQ(played, expected);
}

}  // namespace ble::tests
