#include <memory>
#include <nlohmann/json.hpp>

#include "Command.h"
#include "Host.h"
#include "Interrupt.h"
#include "Terminal.h"
#include "gatt/Attributes.h"
#include "gatt/Link.h"
#include "text/Report.h"
#include "text/Text.h"
#include "text/ValueInput.h"

namespace corvaneble::tool {
namespace {

enum class Response { Wanted, Unwanted };

struct WriteOptions {
  std::string address;
  AttributePath attribute;
  std::vector<std::string> rest;  ///< a descriptor, digits, or both
  ValueInput input;
  bool readBack = false;
  std::string digits;
};

/// Assigns the remaining arguments: a descriptor, then digits unless an option gives the value.
void SortOutRest(WriteOptions& options) {
  auto& rest = options.rest;
  if (!options.input.FromOption()) {
    if (rest.empty()) throw CLI::ValidationError("a value is missing: digits, --text or --file");
    options.digits = rest.back();
    rest.pop_back();
  }
  if (rest.size() > 1) throw CLI::ValidationError("the value is given twice");
  if (rest.empty()) return;
  if (const auto wrong = CheckAttribute(rest.front()); !wrong.empty())
    throw CLI::ValidationError("descriptor", wrong + " (bytes with blanks need quotes)");
  options.attribute.descriptor = rest.front();
}

int RunWrite(const Session& session, const WriteOptions& options, Response response) {
  const Bytes value = options.input.Load(options.digits);
  Host host(session);
  const Link link(*host, options.address);
  const FoundAttribute found = FindAttribute(*host, options.attribute);
  const auto& [service, characteristic, descriptor] = found.path;
  StopIfInterrupted();
  if (response == Response::Wanted)
    host->WriteValue(service, characteristic, descriptor, value);
  else
    host->PostValue(service, characteristic, value);

  std::optional<Bytes> now;
  if (options.readBack) now = host->ReadValue(service, characteristic, descriptor);
  if (session.json) {
    Json json = FoundJson(found, now ? &*now : nullptr);
    json["written"] = Hex(value);
    WriteLine(Dump(json));
  } else if (now) {
    WriteLine(ValueLine(*now, found.formats));
  }
  return kDone;
}

constexpr char kDigitsHelp[] = "The bytes in hexadecimal, unless there is --text or --file";

/// Adds a positional argument that is appended to `rest`.
void AddRest(CLI::App& command, const char* name, const char* help,
             const std::shared_ptr<WriteOptions>& options) {
  command.add_option_function<std::string>(
      name, [options](const std::string& text) { options->rest.push_back(text); }, help);
}

void SetAction(CLI::App& command, Session& session, const std::shared_ptr<WriteOptions>& options,
               Response response) {
  command.callback([&session, options, response] {
    SortOutRest(*options);
    session.run = [&session, options, response] { return RunWrite(session, *options, response); };
  });
}

}  // namespace

void AddWriteCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("write", "Write a value and wait for the device's response");
  const auto options = std::make_shared<WriteOptions>();
  AddAddress(*command, options->address);
  AddCharacteristic(*command, options->attribute);
  AddRest(*command, "descriptor", "UUID or identifier, if one is meant", options);
  AddRest(*command, "value", kDigitsHelp, options);
  options->input.AddOptions(*command);
  command->add_flag("--read-back", options->readBack, "Read the value afterwards and print it");
  command->footer(Examples({"write C0FFEE123456 180D 2A39 01",
                            "write C0FFEE123456 1809 2A21 \"3C 00\" --read-back",
                            "write C0FFEE123456 180A 2A29 2901 --text Maker",
                            "write C0FFEE123456 181C 2A8A --file name.txt"}));
  SetAction(*command, session, options, Response::Wanted);
}

void AddPostCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("post", "Write a value without waiting for a response");
  const auto options = std::make_shared<WriteOptions>();
  AddAddress(*command, options->address);
  AddCharacteristic(*command, options->attribute);
  AddRest(*command, "value", kDigitsHelp, options);
  options->input.AddOptions(*command);
  command->footer(Examples(
      {"post C0FFEE123456 1802 2A06 02", "post C0FFEE123456 1802 2A06 --file - < level.bin"}));
  SetAction(*command, session, options, Response::Unwanted);
}

}  // namespace corvaneble::tool
