#include <memory>
#include <nlohmann/json.hpp>

#include "Attributes.h"
#include "Command.h"
#include "GattTree.h"
#include "Interrupt.h"
#include "Names.h"
#include "Report.h"
#include "Terminal.h"

namespace corvaneble::tool {
namespace {

struct ReadOptions {
  std::string address;
  AttributePath attribute;
  bool raw = false;
};

Json ReadJson(const FoundAttribute& found, const Bytes& value) {
  Json json{{"service", found.path.service}, {"characteristic", found.path.characteristic}};
  if (!found.path.descriptor.empty()) json["descriptor"] = found.path.descriptor;
  json["uuid"] = found.uuid;
  json["name"] = found.name;
  json["value"] = ValueJson(value, found.formats);
  return json;
}

int RunRead(const Session& session, const ReadOptions& options) {
  Client client(session.Reporting(), session.timeout, session.logLevel);
  const Link link(client, options.address);
  const FoundAttribute found = FindAttribute(client, options.attribute);
  StopIfInterrupted();
  const Bytes value = client.Read(found.path);
  if (options.raw)
    Write(Stream::Output, {reinterpret_cast<const char*>(value.data()), value.size()});
  else if (session.json)
    WriteLine(Dump(ReadJson(found, value)));
  else
    WriteLine(ValueLine(value, found.formats));
  return kDone;
}

std::string CheckAttribute(const std::string& text) {
  if (IsIdentifier(text) || !CanonicalUuid(text).empty()) return "";
  return "an identifier has 12 hexadecimal digits, a UUID 4, 8, 32, or 36 with dashes";
}

}  // namespace

void AddReadCommand(CLI::App& app, Session& session) {
  auto* command = app.add_subcommand("read", "Read one value from a device");
  const auto options = std::make_shared<ReadOptions>();
  AddAddress(*command, options->address);
  AttributePath& path = options->attribute;
  command->add_option("service", path.service, "UUID, or identifier as tree prints it")
      ->required()
      ->check(CheckAttribute);
  command->add_option("characteristic", path.characteristic, "UUID or identifier")
      ->required()
      ->check(CheckAttribute);
  command->add_option("descriptor", path.descriptor, "UUID or identifier")->check(CheckAttribute);
  command->add_flag("--raw", options->raw, "Write the bytes as they are");
  command->footer(Examples({"read C0FFEE123456 180F 2A19", "read C0FFEE123456 180A 2A29 --raw",
                            "--json read C0FFEE123456 000A00000000 000A000B0000"}));
  command->callback([&session, options] {
    session.run = [&session, options] { return RunRead(session, *options); };
  });
}

}  // namespace corvaneble::tool
