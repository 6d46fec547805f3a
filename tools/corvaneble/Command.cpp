#include "Command.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

std::string NormalizeAddress(std::string text) {
  if (text.size() == 17)
    for (const std::size_t at : {14u, 11u, 8u, 5u, 2u})
      if (text[at] == ':' || text[at] == '-') text.erase(at, 1);
  if (text.size() != 12 || !IsHex(text))
    throw CLI::ValidationError("an address is 12 hexadecimal digits, with or without colons");
  return text;
}

}  // namespace

void AddAddress(CLI::App& command, std::string& address) {
  command.add_option("address", address, "Address of the device, as scan prints it")
      ->required()
      ->transform(NormalizeAddress);
}

void AddCharacteristic(CLI::App& command, AttributePath& path) {
  command.add_option("service", path.service, "UUID, or identifier as tree prints it")
      ->required()
      ->check(CheckAttribute);
  command.add_option("characteristic", path.characteristic, "UUID or identifier")
      ->required()
      ->check(CheckAttribute);
}

std::string CheckAttribute(const std::string& text) {
  if (IsIdentifier(text) || !CanonicalUuid(text).empty()) return "";
  return "an identifier has 12 hexadecimal digits, a UUID 4, 8, 32, or 36 with dashes";
}

std::string CheckUuid(const std::string& text) {
  return CanonicalUuid(text).empty() ? "a UUID has 4, 8, 32 hexadecimal digits, or 36 with dashes"
                                     : "";
}

std::string CheckSeconds(const std::string& text) {
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  const bool isNumber = end != text.c_str() && *end == '\0' && std::isfinite(seconds);
  return isNumber && seconds >= 0 ? "" : "must be a number of seconds, 0 or more";
}

std::string CheckCount(const std::string& text) {
  std::uint64_t count = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, count);
  if (error == std::errc::result_out_of_range) return "is too large";
  return error == std::errc() && rest == end ? "" : "must be a number, 0 or more";
}

std::string Examples(std::initializer_list<const char*> lines) {
  std::string text = "Examples:\n";
  for (const char* line : lines)
    text += std::string("  corvaneble ") + line + "\n";
  return text;
}

}  // namespace corvaneble::tool
