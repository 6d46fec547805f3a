#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvaneble::tool {

enum class Stream { Output, Diagnostics };

bool IsTerminal(Stream stream);

/// Whether colours and bold may be used: a terminal, and no NO_COLOR in the environment.
bool UseColor(Stream stream);

struct TerminalSize {
  std::size_t rows = 24;
  std::size_t columns = 80;
};
TerminalSize OutputSize();

/// Takes the places of standard streams that were closed, so that no file or connection opened
/// later gets what is meant for them. Call first.
void OccupyClosedStreams();

/// From now on standard input is taken byte for byte.
void UseBinaryInput();

/// Writes to standard output or standard error, at once.
void Write(Stream stream, std::string_view text);
void WriteLine(std::string line);

/// Throws when something written to standard output was lost, as on a full disk. What goes on
/// writing asks now and then.
void CheckOutput();

/// A message for the person at the terminal, on standard error: "corvaneble: TEXT".
void Complain(std::string_view text);

/// Replaces the environment variable, for this process and the library in it.
void SetEnvironment(const char* name, const std::string& value);

/// A line on standard error that replaces itself; nothing when standard error is no terminal.
class ProgressLine {
 public:
  ProgressLine() = default;
  ~ProgressLine() { Clear(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void Show(std::string_view text);
  void Clear();

 private:
  const bool enabled_ = IsTerminal(Stream::Diagnostics);
  bool shown_ = false;
};

}  // namespace corvaneble::tool
