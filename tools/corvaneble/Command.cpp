#include "Command.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include "Terminal.h"
#include "gatt/Attributes.h"
#include "text/Names.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

/// A message whose further lines are set in below the first.
std::string Indented(std::string_view text) {
  std::string lines;
  for (;;) {
    const std::size_t end = text.find("\r\n");
    lines += Sanitize(text.substr(0, end));
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 2);
    if (text.substr(0, 1) == "\t") text.remove_prefix(1);
    lines += "\n      ";
  }
}

std::string NormalizeAddress(std::string text) {
  if (text.size() == 17)
    for (const std::size_t at : {14u, 11u, 8u, 5u, 2u})
      if (text[at] == ':' || text[at] == '-') text.erase(at, 1);
  if (text.size() != 12 || !IsHex(text))
    throw CLI::ValidationError("an address is 12 hexadecimal digits, with or without colons");
  return text;
}

}  // namespace

Client::Handler Session::Reporting(Client::Handler handler) const {
  return [level = logLevel, handler = std::move(handler)](const Event& event) {
    const auto* line = std::get_if<LogLine>(&event);
    if (line && line->level <= level)
      Write(Stream::Diagnostics, "log " + std::to_string(line->level) + " " + line->kind + ": " +
                                     Indented(line->message) + "\n");
    else if (line && line->kind == "Radio")  // something that the user can do something about
      Complain(line->message);
    if (const auto* error = std::get_if<ErrorReported>(&event))
      Complain(std::to_string(error->code) + " " + error->text);
    if (handler) handler(event);
  };
}

void TellDropped(const Client& client) {
  const struct {
    std::size_t count;
    const char* what;
  } kinds[] = {{client.Dropped<Advertisement>(), "advertisements"},
               {client.Dropped<ValueReceived>(), "values"},
               {client.Dropped<LogLine>() + client.Waiting<LogLine>(), "log lines"}};
  for (const auto& [count, what] : kinds)
    if (count > 0)
      Complain(std::to_string(count) + " " + what +
               " came faster than they could be shown and were dropped");
}

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
