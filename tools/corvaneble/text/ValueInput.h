#pragma once

#include <CLI/CLI.hpp>
#include <corvaneble/corvaneble.hpp>
#include <string>
#include <string_view>

namespace corvaneble::tool {

/// The bytes that hexadecimal digits stand for, two digits a byte; blanks, commas, colons and
/// dashes between bytes and "0x" in front are allowed. Throws `UsageError` for anything else.
Bytes ParseHex(std::string_view text);

/// Where the value to write comes from: `--text`, `--file`, or hexadecimal digits.
class ValueInput {
 public:
  /// Adds the two options; this object must outlive the parsing.
  void AddOptions(CLI::App& command);

  /// Whether one of the options was given, so that no digits are expected.
  bool FromOption() const { return textOption_->count() > 0 || fileOption_->count() > 0; }

  /// The value of the option, or what `hex` stands for. Throws `UsageError` when it is longer than
  /// an attribute can be, or when the file cannot be read; an interrupt ends waiting for input.
  Bytes Load(std::string_view hex) const;

 private:
  CLI::Option* textOption_ = nullptr;
  CLI::Option* fileOption_ = nullptr;
  std::string text_;
  std::string file_;
};

}  // namespace corvaneble::tool
