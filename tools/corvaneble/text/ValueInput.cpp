#include "text/ValueInput.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Command.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// The longest attribute value (Bluetooth Core 5.4, Vol 3 Part F, 3.2.9).
constexpr std::size_t kLongestValue = 512;

constexpr char kSeparators[] = " \t\r\n,:-";

int Digit(char c) {
  return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

[[noreturn]] void FailToRead(const std::string& name, int error) {
  StopIfInterrupted();
  throw UsageError("cannot read " + name + ": " + std::strerror(error));
}

/// Reads one byte more than a value can have at most, which shows that a file is too long.
Bytes ReadSome(std::FILE* file, const std::string& name) {
  Bytes bytes(kLongestValue + 1);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  if (std::ferror(file) != 0) FailToRead(name, errno);
  return bytes;
}

Bytes ReadFile(const std::string& path) {
  if (path == "-") {
    UseBinaryInput();
    const InterruptibleCalls interruptible;
    return ReadSome(stdin, "standard input");
  }
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             &std::fclose);
  if (!file) FailToRead(path, errno);
  return ReadSome(file.get(), path);
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
