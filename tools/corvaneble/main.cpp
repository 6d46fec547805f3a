// The command-line tool: a host of the library like any other.

#include <cstdlib>
#include <exception>
#include <map>
#include <sstream>
#include <string_view>

#include "Command.h"
#include "Interrupt.h"
#include "Terminal.h"

namespace corvaneble::tool {
namespace {

#ifndef CORVANEBLE_VERSION
#define CORVANEBLE_VERSION "unknown"
#endif

constexpr char kDescription[] =
    "Scan for Bluetooth Low Energy devices, look into them, read, write and watch their values.";

constexpr char kFooter[] =
    "Examples:\n"
    "  corvaneble scan --for 10                     who is around?\n"
    "  corvaneble tree C0:FF:EE:12:34:56 --values   what does this device offer?\n"
    "  corvaneble read C0FFEE123456 180F 2A19       one value: the battery level\n"
    "  corvaneble watch C0FFEE123456 --all --for 60 --plot minute.svg\n"
    "                                               every value for a minute, and a chart of them\n"
    "  corvaneble --radio simulated demo            a tour without any hardware\n"
    "\n"
    "Radios (--radio NAME, or the environment variable CORVANEBLE_RADIO):\n"
    "  auto, simulated, simulated:FILE.json, linux[:hciN], windows\n"
    "\n"
    "Exit codes:\n"
    "  0 done; 1 the operation failed; 2 wrong usage, or a bad scenario or capture file;\n"
    "  130 interrupted; 141 whoever read the output has left";

constexpr char kRadioVariable[] = "CORVANEBLE_RADIO";

const std::map<std::string, int> kLogLevels = {{"none", CORVANEBLE_LOG_NONE},
                                               {"info", CORVANEBLE_LOG_INFO},
                                               {"detail", CORVANEBLE_LOG_DETAIL},
                                               {"debug", CORVANEBLE_LOG_DEBUG}};

std::string CheckRadio(const std::string& name) {
  for (const std::string_view radio : {"auto", "simulated", "linux", "windows"})
    if (name == radio) return "";
  for (const std::string_view prefix : {"simulated:", "linux:"})
    if (std::string_view(name).substr(0, prefix.size()) == prefix) return "";
  return "a radio is auto, simulated, simulated:FILE.json, linux, linux:hciN or windows";
}

void AddGlobalOptions(CLI::App& app, Session& session) {
  app.add_option("--radio", session.radio, "The radio to use")
      ->type_name("NAME")
      ->check(CheckRadio);
  app.add_option("--timeout", session.timeout, "Time for each operation of the radio (60)")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, 86400).description(""));
  app.add_option("--log", session.logLevel, "Log on standard error: none, info, detail, debug")
      ->type_name("LEVEL")
      ->transform(CLI::CheckedTransformer(kLogLevels, CLI::ignore_case).description(""));
  app.add_flag("--json", session.json, "One JSON object a line, for scripts");
}

/// Whether a scenario or capture file is at fault: it is only read when its radio is first used.
bool IsBadRadioFile(const Error& failure) {
  const char* radio = std::getenv(kRadioVariable);
  return failure.Code() == CORVANEBLE_ERROR_PLATFORM_FAILURE && radio &&
         std::string_view(radio).substr(0, 10) == "simulated:";
}

int Run(Session& session) {
  if (!session.radio.empty()) SetEnvironment(kRadioVariable, session.radio);
  WatchForInterrupt();
  try {
    const int code = session.run();
    CheckOutput();
    return Interrupted() ? kInterrupted : code;
  } catch (const InterruptedError&) {
    return kInterrupted;
  } catch (const UsageError& error) {
    Complain(error.what());
    return kUsage;
  } catch (const Error& failure) {
    Complain(std::to_string(failure.Code()) + " " + failure.what());
    if (Interrupted()) return kInterrupted;
    return IsBadRadioFile(failure) ? kUsage : kFailed;
  } catch (const std::exception& failure) {
    Complain(failure.what());
    return kFailed;
  }
}

/// Checks the radio of the environment, if the command line names none. Returns a complaint or "".
std::string CheckRadioVariable(const Session& session) {
  const char* radio = std::getenv(kRadioVariable);
  if (!session.radio.empty() || !radio || !*radio) return "";
  const std::string wrong = CheckRadio(radio);
  return wrong.empty() ? "" : std::string(kRadioVariable) + ": " + wrong;
}

/// Handles arguments that run no command: those that ask for help, and wrong ones.
int EndOfParsing(CLI::App& app, Session& session, const CLI::ParseError& error) {
  const auto words = app.remaining();
  if (app.get_subcommands().empty() && !words.empty() && words.front().substr(0, 1) != "-") {
    Complain("there is no command " + words.front() + "; corvaneble --help lists them");
    return kUsage;
  }
  std::ostringstream help, complaint;
  const int code = app.exit(error, help, complaint);
  Write(Stream::Diagnostics, complaint.str());
  if (code != 0) return kUsage;
  session.run = [&] {
    Write(Stream::Output, help.str());
    return kDone;
  };
  return Run(session);
}

int Main(int argc, char** argv) {
  OccupyClosedStreams();
  Session session;
  CLI::App app(kDescription, "corvaneble");
  app.footer(kFooter);
  app.set_version_flag("--version", "corvaneble " CORVANEBLE_VERSION);
  app.require_subcommand(0, 1);  // a word that is no command is reported by `EndOfParsing`
  app.fallthrough();
  AddGlobalOptions(app, session);
  AddScanCommand(app, session);
  AddTreeCommand(app, session);
  AddReadCommand(app, session);
  AddWriteCommand(app, session);
  AddPostCommand(app, session);
  AddWatchCommand(app, session);
  AddDescribeCommand(app, session);
  AddReportCommand(app, session);
  AddConfigCommand(app, session);
  AddRadiosCommand(app, session);
  AddDemoCommand(app, session);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return EndOfParsing(app, session, error);
  }
  std::string wrong = CheckRadioVariable(session);
  if (!session.run) wrong = "a command is missing; corvaneble --help lists them";
  if (wrong.empty()) return Run(session);
  Complain(wrong);
  return kUsage;
}

}  // namespace
}  // namespace corvaneble::tool

int main(int argc, char** argv) {
  return corvaneble::tool::Main(argc, argv);
}
