#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "Client.h"

namespace corvaneble::tool {

/// What the tool ends with.
enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2, kInterrupted = 130 };

/// The options in front of the command, and the command that was chosen.
struct Session {
  std::string radio;  ///< empty: what the environment says
  int timeout = -1;   ///< seconds; negative: the library's own
  int logLevel = 0;
  bool json = false;
  std::function<int()> run;

  /// Handler options for a `Client` of this session: prints log lines and errors on standard error
  /// and gives every event to `handler`.
  Client::Handler Reporting(Client::Handler handler = {}) const;
};

/// Each adds one command to the tool; choosing it sets `session.run`. `session` outlives `app`.
void AddScanCommand(CLI::App& app, Session& session);
void AddTreeCommand(CLI::App& app, Session& session);
void AddReadCommand(CLI::App& app, Session& session);
void AddConfigCommand(CLI::App& app, Session& session);
void AddRadiosCommand(CLI::App& app, Session& session);
void AddDemoCommand(CLI::App& app, Session& session);

/// Adds the positional argument for a server; `address` becomes 12 hexadecimal digits.
void AddAddress(CLI::App& command, std::string& address);

/// The lines under a command's help.
std::string Examples(std::initializer_list<const char*> lines);

}  // namespace corvaneble::tool
