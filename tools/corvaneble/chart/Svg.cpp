#include "chart/Svg.h"

#include <cstdio>

#include "text/Text.h"

namespace corvaneble::tool {

std::string XmlText(std::string_view text) {
  std::string out;
  for (const char c : Sanitize(text)) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string Pixels(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

SvgWriter::SvgWriter(double width, double height) {
  const std::string box = "0 0 " + Pixels(width) + " " + Pixels(height);
  Open("svg", {{"xmlns", "http://www.w3.org/2000/svg"},
               {"width", Pixels(width)},
               {"height", Pixels(height)},
               {"viewBox", box},
               {"font-family", "system-ui, 'Segoe UI', 'DejaVu Sans', sans-serif"},
               {"font-size", "12"}});
}

void SvgWriter::Begin(std::string_view name, Attributes attributes) {
  out_.append("<").append(name);
  for (const auto& [key, value] : attributes)
    out_.append(" ").append(key).append("=\"").append(XmlText(value)).append("\"");
}

void SvgWriter::Element(std::string_view name, Attributes attributes) {
  Begin(name, attributes);
  out_ += "/>\n";
}

void SvgWriter::Text(std::string_view text, Attributes attributes, std::string_view name) {
  Begin(name, attributes);
  out_.append(">").append(XmlText(text)).append("</").append(name).append(">\n");
}

void SvgWriter::Open(std::string_view name, Attributes attributes) {
  Begin(name, attributes);
  out_ += ">\n";
}

void SvgWriter::Close(std::string_view name) {
  out_.append("</").append(name).append(">\n");
}

std::string SvgWriter::Finish() {
  Close("svg");
  return std::move(out_);
}

}  // namespace corvaneble::tool
