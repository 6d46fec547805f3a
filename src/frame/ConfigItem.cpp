#include "frame/ConfigItem.h"

#include <algorithm>

#include "base/Text.h"
#include "frame/Settings.h"

namespace ble {
namespace {

/// Consumes the name and the index in front of the "="; returns where the "=" stands, or the end.
std::size_t ParseName(std::string_view text, ConfigItem& item) {
  std::size_t at = 0;
  while (at < text.size() && text[at] != '=') {
    if (text[at] != '[' && text[at] != '(') {
      item.name += text[at++];
      continue;
    }
    const std::size_t begin = at + 1;
    const std::size_t end = std::min(text.find_first_of("])", begin), text.size());
    item.indexText = TrimBlanks(text.substr(begin, end - begin));
    item.index = ParseDecimal(item.indexText);
    at = std::min(end + 1, text.size());
  }
  return at;
}

std::string_view ParseValue(std::string_view text) {
  text = TrimBlanks(text);
  if (!text.starts_with('"')) return text;
  text.remove_prefix(1);
  if (text.ends_with('"')) text.remove_suffix(1);
  return text;
}

}  // namespace

ConfigItem ParseConfigItem(std::string_view text) {
  ConfigItem item;
  if (text.data() == nullptr) return item;
  const std::size_t equals = ParseName(text, item);
  item.isRead = equals == text.size();
  if (item.isRead || equals + 1 == text.size()) return item;
  item.name = TrimBlanks(item.name);
  item.value = ParseValue(text.substr(equals + 1));
  return item;
}

}  // namespace ble
