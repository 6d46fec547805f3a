#include "base/Text.h"

#include <algorithm>

namespace ble {
namespace {

std::size_t SizeOf(std::span<const TextPart> parts) {
  std::size_t size = 0;
  for (const TextPart& part : parts)
    size += part.Size();
  return size;
}

void PutAll(std::span<const TextPart> parts, char* out) {
  for (const TextPart& part : parts)
    out = part.Put(out);
}

}  // namespace

TextPart::TextPart(Hex part) {
  char* const end = std::to_chars(digits_, digits_ + sizeof digits_, part.value, 16).ptr;
  if (part.upperCase) std::transform(digits_, end, digits_, ToUpperAscii);
  text_ = {digits_, end};
}

char* TextPart::Put(char* out) const {
  if (quoted_) *out++ = '"';
  out = std::copy(text_.begin(), text_.end(), out);
  if (quoted_) *out++ = '"';
  return out;
}

std::string Join(std::span<const TextPart> parts) {
  std::string text(SizeOf(parts), '\0');
  PutAll(parts, text.data());
  return text;
}

[[gnu::hot]] PassingText::PassingText(std::span<const TextPart> parts) {
  const std::size_t size = SizeOf(parts);
  if (size >= sizeof inside_) outside_.resize(size);
  char* const begin = outside_.empty() ? inside_ : outside_.data();
  PutAll(parts, begin);
  begin[size] = '\0';
}

}  // namespace ble
