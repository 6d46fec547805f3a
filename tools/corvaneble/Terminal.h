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

/// Opens standard streams that were closed, so that no file or connection opened later takes their
/// numbers. Call first.
void OccupyClosedStreams();

/// Reads standard input without any conversion from now on.
void UseBinaryInput();

/// Writes to standard output or standard error, without buffering.
void Write(Stream stream, std::string_view text);
void WriteLine(std::string line);

/// Throws if something written to standard output was lost, as on a full disk. Loops that write
/// call it regularly.
void CheckOutput();

/// Writes a message to standard error: "corvaneble: TEXT".
void Complain(std::string_view text);

/// Sets an environment variable of this process, the library included.
void SetEnvironment(const char* name, const std::string& value);

/// A status line on standard error that is overwritten in place; nothing if it is no terminal.
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
