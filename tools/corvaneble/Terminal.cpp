#include "Terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "text/Text.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace corvaneble::tool {
namespace {

/// The errno of the first output that was lost. Used on the main thread only.
int outputError = 0;

std::FILE* File(Stream stream) {
  return stream == Stream::Output ? stdout : stderr;
}

}  // namespace

bool IsTerminal(Stream stream) {
#ifdef _WIN32
  return _isatty(_fileno(File(stream))) != 0;
#else
  return isatty(fileno(File(stream))) == 1;
#endif
}

bool UseColor(Stream stream) {
  const char* noColor = std::getenv("NO_COLOR");
  return IsTerminal(stream) && (!noColor || !*noColor);
}

TerminalSize OutputSize() {
  TerminalSize size;
#ifdef _WIN32
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) {
    size.columns = static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
    size.rows = static_cast<std::size_t>(info.srWindow.Bottom - info.srWindow.Top + 1);
  }
#else
  winsize window{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_row > 0 && window.ws_col > 0)
    size = {window.ws_row, window.ws_col};
#endif
  return size;
}

void OccupyClosedStreams() {
#ifndef _WIN32
  // A new file gets the lowest free number. The direction is the wrong one, so that using the
  // stream still fails.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) == -1)
      (void)open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
#endif
}

void UseBinaryInput() {
#ifdef _WIN32
  _setmode(_fileno(stdin), _O_BINARY);
#endif
}

void Write(Stream stream, std::string_view text) {
#ifdef _WIN32
  if (stream == Stream::Output) _setmode(_fileno(stdout), _O_BINARY);
#endif
  const bool written = std::fwrite(text.data(), 1, text.size(), File(stream)) == text.size() &&
                       std::fflush(File(stream)) == 0;
  if (!written && stream == Stream::Output && outputError == 0) outputError = errno;
}

void CheckOutput() {
  if (outputError != 0)
    throw std::runtime_error(std::string("cannot write the output: ") + std::strerror(outputError));
}

void WriteLine(std::string line) {
  line += '\n';
  Write(Stream::Output, line);
}

void Complain(std::string_view text) {
  Write(Stream::Diagnostics, "corvaneble: " + Sanitize(text) + "\n");
}

void SetEnvironment(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

void ProgressLine::Show(std::string_view text) {
  if (!enabled_) return;
  Write(Stream::Diagnostics, "\r\x1b[K" + std::string(text));
  shown_ = true;
}

void ProgressLine::Clear() {
  if (shown_) Write(Stream::Diagnostics, "\r\x1b[K");
  shown_ = false;
}

}  // namespace corvaneble::tool
