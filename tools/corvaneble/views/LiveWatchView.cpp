#include "views/LiveWatchView.h"

#include <algorithm>

#include "Terminal.h"
#include "text/Text.h"

namespace corvaneble::tool {
namespace {

constexpr std::size_t kLabelWidth = 26;
constexpr std::size_t kValueWidth = 20;
constexpr std::size_t kCountWidth = 8;
constexpr char kTitles[] = "CHARACTERISTIC              VALUE                  COUNT  ";

}  // namespace

void LiveWatchView::AddSource(const WatchedCharacteristic& characteristic) {
  rows_.push_back({Sanitize(characteristic.Label()), "", {}, 0});
  changed_ = true;
}

void LiveWatchView::Show(const Sample& sample) {
  Row& row = rows_[sample.source];
  ++row.count;
  row.value = sample.meaning.text ? *sample.meaning.text
                                  : PrintableText(sample.value).value_or(Hex(sample.value, " "));
  if (sample.meaning.number) row.moves.Add(*sample.meaning.number);
  changed_ = true;
}

void LiveWatchView::Refresh(bool last) {
  const auto now = std::chrono::steady_clock::now();
  if (!last && (!changed_ || now - drawn_ < std::chrono::milliseconds(100))) return;
  const std::string back = drawnLines_ > 0 ? "\x1b[" + std::to_string(drawnLines_) + "A\x1b[J" : "";
  Write(Stream::Output, back + Render());
  drawn_ = now;
  changed_ = false;
}

std::string LiveWatchView::Render() {
  const TerminalSize size = OutputSize();
  const std::size_t width = size.columns > 1 ? size.columns - 1 : 1;
  const std::size_t fixed = sizeof kTitles - 1;
  const std::size_t shown = std::min(rows_.size(), size.rows > 3 ? size.rows - 3 : 1);
  const bool color = UseColor(Stream::Output);
  std::string text = (color ? "\x1b[1m" : "") + Fit(kTitles, width) + (color ? "\x1b[0m\n" : "\n");
  for (std::size_t i = 0; i < shown; ++i) {
    const Row& row = rows_[i];
    const std::string moves = row.moves.Render(width > fixed ? width - fixed : 0);
    text += Fit(Fit(row.label, kLabelWidth) + "  " + Fit(row.value, kValueWidth) +
                    RightAligned(std::to_string(row.count), kCountWidth) + "  " + moves,
                width) +
            "\n";
  }
  drawnLines_ = shown + 1;
  if (shown < rows_.size()) {
    text += Fit("... and " + std::to_string(rows_.size() - shown) + " more", width) + "\n";
    ++drawnLines_;
  }
  return text;
}

}  // namespace corvaneble::tool
