#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace corvaneble::tool {

/// Text for XML: sanitised, with the characters that mean something in XML escaped.
std::string XmlText(std::string_view text);

/// A coordinate with a tenth of a pixel, which is as fine as an eye sees.
std::string Pixels(double value);

/// Writes the elements of an SVG document, one a line.
class SvgWriter {
 public:
  using Attribute = std::pair<std::string_view, std::string>;
  using Attributes = std::initializer_list<Attribute>;

  SvgWriter(double width, double height);

  void Element(std::string_view name, Attributes attributes);
  void Text(std::string_view text, Attributes attributes, std::string_view name = "text");
  void Open(std::string_view name, Attributes attributes);
  void Close(std::string_view name);

  /// The document, closed; the writer is done with.
  std::string Finish();

 private:
  void Begin(std::string_view name, Attributes attributes);

  std::string out_;
};

}  // namespace corvaneble::tool
