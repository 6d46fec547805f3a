#include "Names.h"

#include <algorithm>
#include <iterator>

#include "Text.h"

namespace corvaneble::tool {
namespace {

struct NamedNumber {
  std::string_view uuid;  ///< short form
  std::string_view name;
};

// Assigned Numbers, 3.4.1: those worth a word in a table of devices.
constexpr NamedNumber kServices[] = {
    {"1800", "Generic Access"},     {"1801", "Generic Attribute"}, {"1803", "Link Loss"},
    {"1805", "Current Time"},       {"1808", "Glucose"},           {"1809", "Thermometer"},
    {"180A", "Device Information"}, {"180D", "Heart Rate"},        {"180F", "Battery"},
    {"1810", "Blood Pressure"},     {"1812", "Human Interface"},   {"1814", "Running Speed"},
    {"1815", "Automation IO"},      {"1816", "Cycling Speed"},     {"1818", "Cycling Power"},
    {"181A", "Environment"},        {"181B", "Body Composition"},  {"181C", "User Data"},
    {"181D", "Weight Scale"},       {"1822", "Pulse Oximeter"},    {"1826", "Fitness Machine"},
    {"1827", "Mesh Provisioning"},  {"1828", "Mesh Proxy"},        {"184E", "Audio Stream"},
};

// Assigned Numbers, 3.5.
constexpr NamedNumber kUnits[] = {
    {"2700", ""},    {"2701", "m"},    {"2702", "kg"},   {"2703", "s"},    {"2704", "A"},
    {"2705", "K"},   {"2710", "m²"},   {"2711", "m³"},   {"2712", "m/s"},  {"2713", "m/s²"},
    {"2722", "Hz"},  {"2723", "N"},    {"2724", "Pa"},   {"2725", "J"},    {"2726", "W"},
    {"2728", "V"},   {"272A", "Ω"},    {"272D", "T"},    {"272F", "°C"},   {"2731", "lx"},
    {"2760", "min"}, {"2761", "h"},    {"2762", "d"},    {"2763", "°"},    {"2767", "l"},
    {"2780", "bar"}, {"2781", "mmHg"}, {"27A6", "km/h"}, {"27A8", "/min"}, {"27AA", "kcal"},
    {"27AB", "kWh"}, {"27AC", "°F"},   {"27AD", "%"},    {"27AE", "‰"},    {"27AF", "bpm"},
};

constexpr std::string_view kFlags[] = {"broadcast",    "read",           "write-without-response",
                                       "write",        "notify",         "indicate",
                                       "signed-write", "reliable-write", "writable-auxiliaries"};

// Assigned Numbers, 2.4.1, by CorvaneBLE_ValueFormat.
constexpr std::string_view kFormats[] = {
    "unknown", "boolean",    "uint2",      "uint4",    "uint8",   "uint12",  "uint16",
    "uint24",  "uint32",     "uint48",     "uint64",   "uint128", "sint8",   "sint12",
    "sint16",  "sint24",     "sint32",     "sint48",   "sint64",  "sint128", "float32",
    "float64", "medfloat16", "medfloat32", "uint16_2", "utf8",    "utf16",   "struct"};

constexpr std::string_view kBaseTail = "-0000-1000-8000-00805F9B34FB";

template <std::size_t Size>
std::string_view Find(const NamedNumber (&table)[Size], std::string_view uuid,
                      std::string_view otherwise) {
  const auto found = std::find_if(std::begin(table), std::end(table),
                                  [&](const NamedNumber& entry) { return entry.uuid == uuid; });
  return found == std::end(table) ? otherwise : found->name;
}

}  // namespace

std::string ShortUuid(std::string_view uuid) {
  if (uuid.size() == 36 && uuid.substr(0, 4) == "0000" && uuid.substr(8) == kBaseTail)
    uuid = uuid.substr(4, 4);
  return std::string(uuid);
}

std::string CanonicalUuid(std::string_view text) {
  std::string digits;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dash = text.size() == 36 && (i == 8 || i == 13 || i == 18 || i == 23);
    if (dash != (text[i] == '-')) return "";
    if (!dash) digits += text[i];
  }
  if (!IsHex(digits)) return "";
  digits = ToUpper(digits);
  if (digits.size() == 4) digits.insert(0, "0000");
  if (digits.size() == 8) return digits.append(kBaseTail);
  if (digits.size() != 32) return "";
  for (const std::size_t at : {20u, 16u, 12u, 8u})
    digits.insert(at, "-");
  return digits;
}

std::string ServiceName(std::string_view uuid) {
  const std::string number = ShortUuid(uuid);
  return std::string(Find(kServices, number, number));
}

std::string UnitSign(std::string_view uuid) {
  const std::string number = ShortUuid(uuid);
  return std::string(Find(kUnits, number, number));
}

std::vector<std::string> FlagNames(int flags) {
  std::vector<std::string> names;
  for (std::size_t bit = 0; bit < std::size(kFlags); ++bit)
    if (flags >> bit & 1) names.emplace_back(kFlags[bit]);
  return names;
}

std::string_view FormatName(int format) {
  const auto index = static_cast<std::size_t>(format);
  return kFormats[index < std::size(kFormats) ? index : 0];
}

}  // namespace corvaneble::tool
