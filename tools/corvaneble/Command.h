#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <stdexcept>
#include <string>

#include "gatt/Attributes.h"

namespace corvaneble::tool {

/// A wrong argument that is only found while the command runs. Ends the tool with `kUsage`.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The exit codes of the tool.
enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

/// The options of all commands, and the chosen command.
struct Session {
  std::string radio;  ///< empty: CORVANEBLE_RADIO decides
  int timeout = -1;   ///< seconds; negative: the library's own
  int logLevel = 0;
  bool json = false;
  std::function<int()> run;
};

/// Each adds one command to the tool; choosing it sets `session.run`. `session` outlives `app`.
void AddScanCommand(CLI::App& app, Session& session);
void AddTreeCommand(CLI::App& app, Session& session);
void AddReadCommand(CLI::App& app, Session& session);
void AddWriteCommand(CLI::App& app, Session& session);
void AddPostCommand(CLI::App& app, Session& session);
void AddWatchCommand(CLI::App& app, Session& session);
void AddDescribeCommand(CLI::App& app, Session& session);
void AddReportCommand(CLI::App& app, Session& session);
void AddConfigCommand(CLI::App& app, Session& session);
void AddRadiosCommand(CLI::App& app, Session& session);
void AddDemoCommand(CLI::App& app, Session& session);

/// Adds the positional argument for a server; `address` becomes 12 hexadecimal digits.
void AddAddress(CLI::App& command, std::string& address);

/// Adds the positional arguments for a service and a characteristic of it.
void AddCharacteristic(CLI::App& command, AttributePath& path);

/// Checks that an argument is a UUID or an identifier. Returns a complaint, empty if it is fine.
std::string CheckAttribute(const std::string& text);

/// The same for a UUID, a time in seconds and a count.
std::string CheckUuid(const std::string& text);
std::string CheckSeconds(const std::string& text);
std::string CheckCount(const std::string& text);

/// The examples below a command's help.
std::string Examples(std::initializer_list<const char*> lines);

}  // namespace corvaneble::tool
