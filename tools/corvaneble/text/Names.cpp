#include "text/Names.h"

#include <algorithm>
#include <iterator>

#include "text/Text.h"

namespace corvaneble::tool {
namespace {

struct NamedNumber {
  std::string_view uuid;  ///< short form
  std::string_view name;
};

// Assigned Numbers, 3.4.1: services of everyday devices.
constexpr NamedNumber kServiceNames[] = {
    {"1800", "Generic Access"},     {"1801", "Generic Attribute"}, {"1803", "Link Loss"},
    {"1805", "Current Time"},       {"1808", "Glucose"},           {"1809", "Thermometer"},
    {"180A", "Device Information"}, {"180D", "Heart Rate"},        {"180F", "Battery"},
    {"1810", "Blood Pressure"},     {"1812", "Human Interface"},   {"1814", "Running Speed"},
    {"1815", "Automation IO"},      {"1816", "Cycling Speed"},     {"1818", "Cycling Power"},
    {"181A", "Environment"},        {"181B", "Body Composition"},  {"181C", "User Data"},
    {"181D", "Weight Scale"},       {"1822", "Pulse Oximeter"},    {"1826", "Fitness Machine"},
    {"1827", "Mesh Provisioning"},  {"1828", "Mesh Proxy"},        {"184E", "Audio Stream"},
};

struct Unit {
  std::string_view uuid;  ///< short form
  std::string_view sign;
  std::string_view name;
};

// Assigned Numbers, 3.5.
constexpr Unit kUnits[] = {
    {"2700", "", ""},
    {"2701", "m", "metre"},
    {"2702", "kg", "kilogram"},
    {"2703", "s", "second"},
    {"2704", "A", "ampere"},
    {"2705", "K", "kelvin"},
    {"2710", "m²", "square metre"},
    {"2711", "m³", "cubic metre"},
    {"2712", "m/s", "metre per second"},
    {"2713", "m/s²", "metre per second squared"},
    {"2722", "Hz", "hertz"},
    {"2723", "N", "newton"},
    {"2724", "Pa", "pascal"},
    {"2725", "J", "joule"},
    {"2726", "W", "watt"},
    {"2728", "V", "volt"},
    {"272A", "Ω", "ohm"},
    {"272D", "T", "tesla"},
    {"272F", "°C", "degree Celsius"},
    {"2731", "lx", "lux"},
    {"2760", "min", "minute"},
    {"2761", "h", "hour"},
    {"2762", "d", "day"},
    {"2763", "°", "degree"},
    {"2767", "l", "litre"},
    {"2780", "bar", "bar"},
    {"2781", "mmHg", "millimetre of mercury"},
    {"27A6", "km/h", "kilometre per hour"},
    {"27A8", "/min", "per minute"},
    {"27AA", "kcal", "kilocalorie"},
    {"27AB", "kWh", "kilowatt hour"},
    {"27AC", "°F", "degree Fahrenheit"},
    {"27AD", "%", "percentage"},
    {"27AE", "‰", "per mille"},
    {"27AF", "bpm", "beats per minute"},
};

constexpr std::string_view kFlags[] = {"broadcast",    "read",           "write-without-response",
                                       "write",        "notify",         "indicate",
                                       "signed-write", "reliable-write", "writable-auxiliaries"};

// Assigned Numbers, 2.4.1, indexed by ValueFormat.
constexpr std::string_view kFormats[] = {
    "unknown", "boolean",    "uint2",      "uint4",    "uint8",   "uint12",  "uint16",
    "uint24",  "uint32",     "uint48",     "uint64",   "uint128", "sint8",   "sint12",
    "sint16",  "sint24",     "sint32",     "sint48",   "sint64",  "sint128", "float32",
    "float64", "medfloat16", "medfloat32", "uint16_2", "utf8",    "utf16",   "struct"};

constexpr std::string_view kBaseTail = "-0000-1000-8000-00805F9B34FB";

template <class Entry, std::size_t Size>
const Entry* Find(const Entry (&table)[Size], std::string_view uuid) {
  const auto found = std::find_if(std::begin(table), std::end(table),
                                  [&](const Entry& entry) { return entry.uuid == uuid; });
  return found == std::end(table) ? nullptr : found;
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
  const NamedNumber* service = Find(kServiceNames, number);
  return service ? std::string(service->name) : number;
}

std::string UnitSign(std::string_view uuid) {
  const std::string number = ShortUuid(uuid);
  const Unit* unit = Find(kUnits, number);
  return unit ? std::string(unit->sign) : number;
}

std::string UnitName(std::string_view uuid) {
  const Unit* unit = Find(kUnits, ShortUuid(uuid));
  return unit ? std::string(unit->name) : "";
}

std::vector<std::string> FlagNames(Flags flags) {
  std::vector<std::string> names;
  for (std::size_t bit = 0; bit < std::size(kFlags); ++bit)
    if (static_cast<unsigned>(flags) >> bit & 1) names.emplace_back(kFlags[bit]);
  return names;
}

std::string_view FormatName(ValueFormat format) {
  const auto index = static_cast<std::size_t>(format);
  return kFormats[index < std::size(kFormats) ? index : 0];
}

}  // namespace corvaneble::tool
