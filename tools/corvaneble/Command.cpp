#include "Command.h"

#include "Attributes.h"
#include "Names.h"
#include "Terminal.h"
#include "Text.h"

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

Client::Handler Session::Reporting(Client::Handler handler) const {
  return [handler = std::move(handler)](const Event& event) {
    if (const auto* line = std::get_if<LogLine>(&event))
      Write(Stream::Diagnostics, "log " + std::to_string(line->level) + " " + line->kind + ": " +
                                     Sanitize(line->message) + "\n");
    if (const auto* error = std::get_if<ErrorReported>(&event))
      Complain(std::to_string(error->code) + " " + error->text);
    if (handler) handler(event);
  };
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

std::string Examples(std::initializer_list<const char*> lines) {
  std::string text = "Examples:\n";
  for (const char* line : lines)
    text += std::string("  corvaneble ") + line + "\n";
  return text;
}

}  // namespace corvaneble::tool
