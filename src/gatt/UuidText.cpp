#include "gatt/UuidText.h"

#include <algorithm>

#include "base/Text.h"

namespace ble {
namespace {

constexpr std::string_view kBaseUuidTail = "00001000800000805F9B34FB";

std::string DigitsOnly(std::string_view text) {
  std::string digits;
  digits.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i, 2) == "0x") {
      ++i;
    } else {
      digits += text[i];
    }
  }
  std::erase(digits, '-');
  return digits;
}

}  // namespace

UuidText::UuidText(const Uuid& uuid) {
  char* out = text_.data();
  int position = 0;
  for (const std::uint8_t byte : uuid.BigEndian()) {
    if (position == 4 || position == 6 || position == 8 || position == 10) *out++ = '-';
    *out++ = kUpperCaseDigits[byte >> 4];
    *out++ = kUpperCaseDigits[byte & 0x0F];
    ++position;
  }
}

std::optional<Uuid> ParseUuid(std::string_view text) {
  // A canonical text has 36 characters; the longest that can still be a UUID is full of "0x" and
  // "-", so no length is refused before they are gone.
  std::string digits = DigitsOnly(TrimBlanks(text));
  if (digits.size() == 4) digits.insert(0, "0000");
  if (digits.size() == 8) digits += kBaseUuidTail;
  if (digits.size() != 32) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = HexByteOrFF(digits[2 * i], digits[2 * i + 1]);
  }
  return Uuid::FromBigEndian(bytes);
}

Result<std::vector<Uuid>> ParseUuidList(std::string_view text) {
  std::vector<Uuid> list;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    const std::string_view item = text.substr(begin, end - begin);
    begin = end + 1;
    if (item.empty()) continue;
    const std::optional<Uuid> uuid = ParseUuid(item);
    if (!uuid) return failure::kMalformedUuid;
    if (std::find(list.begin(), list.end(), *uuid) == list.end()) list.push_back(*uuid);
  }
  return list;
}

void JoinUuids(std::span<const Uuid> uuids, std::string& out) {
  out.clear();
  for (const Uuid& uuid : uuids) {
    if (!out.empty()) out += ',';
    out += FormatUuid(uuid).View();
  }
}

}  // namespace ble
