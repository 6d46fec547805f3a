#include "ValueInput.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "Command.h"
#include "Terminal.h"
#include "Text.h"

namespace corvaneble::tool {
namespace {

/// Bluetooth Core 5.4, Vol 3 Part F, 3.2.9.
constexpr std::size_t kLongestValue = 512;

constexpr char kSeparators[] = " \t\r\n,:-";

int Digit(char c) {
  return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

/// At most one byte more than a value can have: enough to see that it is too long.
Bytes ReadSome(std::istream& stream) {
  Bytes bytes;
  for (char c = 0; bytes.size() <= kLongestValue && stream.get(c);)
    bytes.push_back(static_cast<std::uint8_t>(c));
  return bytes;
}

Bytes ReadFile(const std::string& path) {
  if (path == "-") {
    UseBinaryInput();
    return ReadSome(std::cin);
  }
  std::ifstream file(path, std::ios::binary);
  Bytes bytes = ReadSome(file);
  if (!file.is_open() || file.bad() || (bytes.empty() && !file.eof()))
    throw std::runtime_error("cannot read " + path);
  return bytes;
}

}  // namespace

Bytes ParseHex(std::string_view text) {
  Bytes bytes;
  while (!text.empty()) {
    const std::string_view group = text.substr(0, text.find_first_of(kSeparators));
    text.remove_prefix(std::min(group.size() + 1, text.size()));
    std::string_view digits = group;
    if (digits.substr(0, 2) == "0x" || digits.substr(0, 2) == "0X") digits.remove_prefix(2);
    if (digits.empty() && group.empty()) continue;
    const std::string quoted = "\"" + std::string(group) + "\"";
    if (!IsHex(digits))
      throw UsageError(quoted + " is not hexadecimal; a text is written with --text");
    if (digits.size() % 2 != 0)
      throw UsageError(quoted + " has an odd number of digits: write two for each byte");
    for (std::size_t i = 0; i < digits.size(); i += 2)
      bytes.push_back(static_cast<std::uint8_t>(Digit(digits[i]) << 4 | Digit(digits[i + 1])));
  }
  return bytes;
}

void ValueInput::AddOptions(CLI::App& command) {
  textOption_ = command.add_option("--text", text_, "Write this text, as UTF-8")->type_name("TEXT");
  fileOption_ = command.add_option("--file", file_, "Write what this file holds; - standard input")
                    ->type_name("FILE")
                    ->excludes(textOption_);
}

Bytes ValueInput::Load(std::string_view hex) const {
  const Bytes value = fileOption_->count() > 0   ? ReadFile(file_)
                      : textOption_->count() > 0 ? Bytes(text_.begin(), text_.end())
                                                 : ParseHex(hex);
  if (value.size() > kLongestValue)
    throw UsageError("a value has at most " + std::to_string(kLongestValue) + " bytes");
  return value;
}

}  // namespace corvaneble::tool
