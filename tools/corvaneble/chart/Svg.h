#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace corvaneble::tool {

/// Sanitised text with the special characters of XML escaped.
std::string XmlText(std::string_view text);

/// A coordinate, rounded to a tenth of a pixel.
std::string Pixels(double value);

/// Writes the elements of an SVG document, one on each line.
class SvgWriter {
 public:
  using Attribute = std::pair<std::string_view, std::string>;
  using Attributes = std::initializer_list<Attribute>;

  SvgWriter(double width, double height);

  void Element(std::string_view name, Attributes attributes);
  void Text(std::string_view text, Attributes attributes, std::string_view name = "text");
  void Open(std::string_view name, Attributes attributes);
  void Close(std::string_view name);

  /// Ends the document and returns it. The writer cannot be used afterwards.
  std::string Finish();

 private:
  void Begin(std::string_view name, Attributes attributes);

  std::string out_;
};

}  // namespace corvaneble::tool
