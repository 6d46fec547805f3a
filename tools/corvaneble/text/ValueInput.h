#pragma once

#include <CLI/CLI.hpp>
#include <corvaneble/corvaneble.hpp>
#include <string>
#include <string_view>

namespace corvaneble::tool {

/// The bytes that hexadecimal digits stand for, two digits a byte; blanks, commas, colons and
/// dashes between bytes and "0x" in front are allowed. Throws `UsageError` for anything else.
Bytes ParseHex(std::string_view text);

/// The value to write: from `--text`, `--file` or hexadecimal digits.
class ValueInput {
 public:
  /// Adds the two options; this object must outlive the parsing.
  void AddOptions(CLI::App& command);

  /// Whether one of the options was given, so that no digits are expected.
  bool FromOption() const { return textOption_->count() > 0 || fileOption_->count() > 0; }

  /// The value of the option, or what `hex` stands for. Throws `UsageError` if it is longer than
  /// an attribute can be or the file cannot be read. An interrupt ends the wait for input.
  Bytes Load(std::string_view hex) const;

 private:
  CLI::Option* textOption_ = nullptr;
  CLI::Option* fileOption_ = nullptr;
  std::string text_;
  std::string file_;
};

}  // namespace corvaneble::tool
